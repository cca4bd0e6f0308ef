#include "PresenterFixture.h"
#include "QmlFixture.h"

namespace tessarin
{

namespace
{

class RootViewTest : public PresenterTest
{
protected:
    void show()
    {
        window.attach(model);
        root = qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(1180, 760));
    }
    void open()
    {
        openProject({ "grok" });
        show();
    }
    QQuickItem* item(const char* name) const { return QmlFixture::items(root, name).value(0); }
    QRectF placeOf(const QQuickItem* found) const { return found->mapRectToItem(root, QRectF(QPointF(), found->size())); }
    // A failure as the model publishes it.
    void fail(const std::string& message)
    {
        runtime.script("grok", testing::failingTurn(message));
        model->send("hi");
        waitFor(ConnectionState::Kind::failed);
    }
    void dragGripTo(int x)
    {
        const QRect grip = placeOf(item("SidebarGrip")).toRect();
        const QPoint begin(grip.left(), grip.center().y());
        QTest::mousePress(&qml.view(), Qt::LeftButton, {}, begin);
        QTest::mouseMove(&qml.view(), (begin + QPoint(x, begin.y())) / 2);
        QTest::mouseMove(&qml.view(), QPoint(x, begin.y()));
        QTest::mouseRelease(&qml.view(), Qt::LeftButton, {}, QPoint(x, begin.y()));
    }

    QmlFixture qml;
    QQuickItem* root = nullptr;
};

TEST_F(RootViewTest, BothColumnsStandAtFirstAndTheSidebarKeepsItsBounds)
{
    open();
    EXPECT_TRUE(item("SidebarView")->isVisible());
    EXPECT_EQ(item("SidebarView")->width(), 260);
    EXPECT_EQ(placeOf(item("DetailView")).left(), 260);
    dragGripTo(300);
    EXPECT_EQ(item("SidebarView")->width(), 300);
    dragGripTo(900);
    EXPECT_EQ(item("SidebarView")->width(), 340);
    dragGripTo(20);
    EXPECT_EQ(item("SidebarView")->width(), 220);
    EXPECT_EQ(placeOf(item("DetailView")).left(), 220);
}

TEST_F(RootViewTest, WithoutAProjectTheWelcomeScreenStands)
{
    openModel();
    show();
    EXPECT_NE(item("WelcomeView"), nullptr);
    EXPECT_EQ(item("ConversationView"), nullptr);
    model->addWorkspace(makeFolder("harbor"));
    EXPECT_EQ(item("WelcomeView"), nullptr);
    EXPECT_NE(item("ConversationView"), nullptr);
}

TEST_F(RootViewTest, TheWelcomeScreenSaysWhatTheProgramIsForInOrder)
{
    openModel();
    show();
    QStringList read;
    for (const QQuickItem* text : QmlFixture::items(item("WelcomeView"), "Prose")) {
        read.append(text->property("text").toString());
    }
    ASSERT_EQ(read.size(), 2);
    EXPECT_EQ(read[0].count('.'), 2) << "a tag line of two sentences";
    EXPECT_EQ(read[1], "One native project workspace for Grok, ChatGPT/Codex, and Kimi,\nusing the subscriptions you already pay for.");
    QStringList labels;
    for (const QQuickItem* label : QmlFixture::items(item("WelcomeView"), "LabelledSymbol")) {
        labels.append(label->property("symbol").toString() + " " + label->property("text").toString());
    }
    EXPECT_EQ(labels, (QStringList{ "key.slash Subscription-first", "terminal Local tools", "checkmark.shield Approval controls" }));
    EXPECT_EQ(QmlFixture::items(item("WelcomeView"), "PushButton").value(0)->property("text").toString(), "Open a Project");
}

TEST_F(RootViewTest, TheBannerStandsOverTheDetailUntilItIsDismissed)
{
    open();
    QQuickItem* banner = item("SlidingBanner");
    EXPECT_FALSE(banner->isVisible());
    fail("The wheel came off.");
    EXPECT_EQ(banner->property("message").toString(), "The wheel came off.");
    const QRectF detail = placeOf(item("DetailView"));
    EXPECT_TRUE(QmlFixture::becomes([&] { return banner->opacity() == 1 && placeOf(banner).top() == detail.top() + 8; }));
    EXPECT_EQ(placeOf(banner).left(), detail.left() + 20);
    EXPECT_EQ(placeOf(banner).right(), detail.right() - 20);
    QMetaObject::invokeMethod(QmlFixture::items(banner, "SymbolButton").value(0), "clicked");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_TRUE(QmlFixture::becomes([&] { return !banner->isVisible(); }));
    EXPECT_EQ(placeOf(banner).bottom(), detail.top()) << "it leaves beyond the edge";
}

TEST_F(RootViewTest, ALongMessageIsCutInTheBanner)
{
    open();
    std::string words;
    for (int i = 0; i < 400; ++i) {
        words += "word ";
    }
    fail(words);
    QQuickItem* text = QmlFixture::items(item("SlidingBanner"), "Prose").value(0);
    EXPECT_TRUE(text->property("truncated").toBool());
    EXPECT_EQ(text->property("lineCount").toInt(), 3);
}

TEST_F(RootViewTest, DismissingByKeyGivesTheFocusBackToTheComposer)
{
    open();
    fail("The wheel came off.");
    QmlFixture::items(item("SlidingBanner"), "SymbolButton").value(0)->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_Return);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_TRUE(item("ComposerField")->property("areaFocus").toBool());
}

TEST_F(RootViewTest, ANewTaskIsReadyToBeTypedInto)
{
    open();
    const auto focusElsewhere = [&] { item("SidebarHeader")->forceActiveFocus(Qt::TabFocusReason); };
    const auto isTypedInto = [&] { return item("ComposerField")->property("areaFocus").toBool(); };
    const auto tasks = [&] { return model->workspaces().front().threads.size(); };
    focusElsewhere();
    ASSERT_FALSE(isTypedInto());
    QTest::keyClick(&qml.view(), Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(tasks(), 2U);
    EXPECT_TRUE(isTypedInto());
    focusElsewhere();
    QMetaObject::invokeMethod(QmlFixture::items(item("SidebarHeader"), "SymbolButton").value(0), "clicked");
    EXPECT_EQ(tasks(), 3U);
    EXPECT_TRUE(isTypedInto());
    focusElsewhere();
    QMetaObject::invokeMethod(QmlFixture::items(item("ProjectHeading"), "SymbolButton").value(0), "clicked");
    EXPECT_EQ(tasks(), 4U);
    EXPECT_TRUE(isTypedInto());
}

TEST_F(RootViewTest, ASidebarThatGoesLeavesItsFocusToTheComposer)
{
    open();
    QmlFixture::items(item("SidebarHeader"), "SymbolButton").value(0)->forceActiveFocus(Qt::TabFocusReason);
    ASSERT_FALSE(item("ComposerField")->property("areaFocus").toBool());
    QTest::keyClick(&qml.view(), Qt::Key_F9);
    EXPECT_FALSE(item("SidebarView")->isVisible());
    EXPECT_TRUE(item("ComposerField")->property("areaFocus").toBool());
}

TEST_F(RootViewTest, EveryButtonThatIsOnlyASymbolTellsWhatItDoes)
{
    open();
    const QList<QQuickItem*> buttons = QmlFixture::items(root, "SymbolButton");
    EXPECT_GE(buttons.size(), 4);
    for (const QQuickItem* button : buttons) {
        EXPECT_NE(button->property("toolTip").toString(), "") << button->property("symbol").toString().toStdString();
    }
}

} // namespace

} // namespace tessarin
