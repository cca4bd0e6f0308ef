#include "Views/ButtonAccessible.h"

#include "QmlFixture.h"

#include <QDir>
#include <QRegularExpression>
#include <QSignalSpy>

namespace tessarin
{

namespace
{

class ButtonAccessibleTest : public testing::Test
{
protected:
    ButtonAccessibleTest() { ButtonAccessible::install(); }

    void show(const char* type, const QVariantMap& properties)
    {
        button = qml.show(type, properties, QSize(200, 40));
        spoken = QAccessible::queryAccessibleInterface(button);
        ASSERT_NE(spoken, nullptr);
    }
    void press() { spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction()); }

    QmlFixture qml;
    QQuickItem* button = nullptr;
    QAccessibleInterface* spoken = nullptr;
};

TEST_F(ButtonAccessibleTest, TellsWhatItIsAndIsPressed)
{
    show("SymbolButton", { { "symbol", "plus" }, { "toolTip", "New task" } });
    EXPECT_EQ(spoken->role(), QAccessible::Button);
    EXPECT_EQ(spoken->text(QAccessible::Name), "New task");
    EXPECT_EQ(spoken->text(QAccessible::Value), "");
    const QSignalSpy clicked(button, SIGNAL(clicked()));
    press();
    EXPECT_EQ(clicked.count(), 1);
    EXPECT_TRUE(spoken->state().focusable);
    EXPECT_FALSE(spoken->state().focused);
    spoken->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_TRUE(spoken->state().focused);
    EXPECT_FALSE(spoken->state().expandable);
    EXPECT_FALSE(spoken->state().hasPopup);
}

TEST_F(ButtonAccessibleTest, StandsInTheTreeOfItsWindow)
{
    show("SymbolButton", { { "symbol", "plus" }, { "toolTip", "New task" } });
    QAccessibleInterface* root = QAccessible::queryAccessibleInterface(&qml.view());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(spoken->parent(), root);
    EXPECT_EQ(spoken->window(), &qml.view());
    EXPECT_EQ(spoken->rect().size(), button->size().toSize());
    ASSERT_EQ(root->childCount(), 1);
    EXPECT_EQ(root->child(0), spoken);
    EXPECT_EQ(spoken->childCount(), 0);
    EXPECT_FALSE(spoken->state().invisible);
    EXPECT_FALSE(spoken->state().offscreen);
    button->setY(-500);
    EXPECT_TRUE(spoken->state().offscreen);
    button->setVisible(false);
    EXPECT_TRUE(spoken->state().invisible);
}

TEST_F(ButtonAccessibleTest, TellsThatItIsDisabledAndIsNotPressedThen)
{
    show("PushButton", { { "text", "Go" }, { "enabled", false } });
    EXPECT_TRUE(spoken->state().disabled);
    const QSignalSpy clicked(button, SIGNAL(clicked()));
    press();
    EXPECT_EQ(clicked.count(), 0);
    button->setEnabled(true);
    EXPECT_FALSE(spoken->state().disabled);
    press();
    EXPECT_EQ(clicked.count(), 1);
}

TEST_F(ButtonAccessibleTest, TellsWhetherWhatItDisclosesIsOpen)
{
    show("DisclosureButton", { { "symbol", "checklist" }, { "text", "Reasoning" }, { "expanded", false } });
    EXPECT_TRUE(spoken->state().expandable);
    EXPECT_TRUE(spoken->state().collapsed);
    EXPECT_FALSE(spoken->state().expanded);
    button->setProperty("expanded", true);
    EXPECT_TRUE(spoken->state().expanded);
    EXPECT_FALSE(spoken->state().collapsed);
}

TEST_F(ButtonAccessibleTest, AHeadWithNothingToShowIsNotExpandable)
{
    show("ToolCardHead",
        { { "title", "Search" }, { "symbol", "plus" }, { "status", "Completed" }, { "statusTint", 1 }, { "expandable", false },
            { "expanded", false } });
    EXPECT_FALSE(spoken->state().expandable);
    EXPECT_FALSE(spoken->state().collapsed);
    button->setProperty("expandable", true);
    EXPECT_TRUE(spoken->state().collapsed);
}

TEST_F(ButtonAccessibleTest, TellsThatItHasAMenu)
{
    show("PlainButton", { { "symbol", "plus" }, { "text", "Auto" }, { "menu", true } });
    EXPECT_EQ(spoken->text(QAccessible::Description), "Menu");
    EXPECT_TRUE(spoken->state().hasPopup);
}

TEST_F(ButtonAccessibleTest, TellsWhatIsChosen)
{
    show("SectionButton", { { "symbol", "plus" }, { "text", "Code" }, { "current", true } });
    EXPECT_EQ(spoken->role(), QAccessible::RadioButton);
    EXPECT_TRUE(spoken->state().checkable);
    EXPECT_TRUE(spoken->state().checked);
    const QSignalSpy clicked(button, SIGNAL(clicked()));
    press();
    EXPECT_EQ(clicked.count(), 1);
    button->setProperty("current", false);
    EXPECT_FALSE(spoken->state().checked);
}

// The press of Qt Quick 6.4 does nothing, and ours has nothing to do where a component forgets to say what.
TEST(Buttons, SayWhatAPressDoes)
{
    const QRegularExpression button(
        QStringLiteral("^T\\.(AbstractButton|Button|ItemDelegate|MenuItem|MenuBarItem|RadioButton|CheckBox|Switch) "),
        QRegularExpression::MultilineOption);
    int count = 0;
    const QFileInfoList files = QDir(QStringLiteral(":/Tessarin")).entryInfoList({ QStringLiteral("*.qml") });
    for (const QFileInfo& info : files) {
        QFile file(info.filePath());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        if (text.contains(button)) {
            ++count;
            EXPECT_TRUE(text.contains(QStringLiteral("Accessible.onPressAction: "))) << info.fileName().toStdString();
        }
    }
    EXPECT_GE(count, 10) << "the sources are there to be read";
}

} // namespace

} // namespace tessarin
