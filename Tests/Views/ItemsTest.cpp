#include "InlineQml.h"
#include "QmlFixture.h"
#include "Views/BlockStack.h"
#include "Views/KeyboardUse.h"
#include "Views/OrderedItem.h"
#include "Views/ReadOnlyShortcuts.h"
#include "Views/StyledText.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTextBlock>
#include <QTextDocument>

namespace tessarin
{

namespace
{

TEST(BlockStack, StacksAtOnceWhenAHeightChanges)
{
    BlockStack stack;
    stack.setWidth(100);
    QQuickItem first(&stack);
    QQuickItem second(&stack);
    first.setHeight(10);
    second.setHeight(20);
    EXPECT_EQ(second.y(), 10);
    EXPECT_EQ(second.width(), 100);
    EXPECT_EQ(stack.implicitHeight(), 30);
    first.setHeight(15);
    EXPECT_EQ(second.y(), 15);
    EXPECT_EQ(stack.implicitHeight(), 35);
    first.setVisible(false);
    EXPECT_EQ(stack.implicitHeight(), 20);
    second.setImplicitWidth(70);
    EXPECT_EQ(stack.implicitWidth(), 70);
    second.setParentItem(nullptr);
    EXPECT_EQ(stack.implicitHeight(), 0);
}

TEST(HeadingLine, StaysWithinItsWidthAndItsLines)
{
    InlineQml qml;
    const auto object = qml.create("HeadingLine { text: 'tessarin WWWWWWWWWWWWWWWWWWWWWWWW is available' }");
    auto* heading = qobject_cast<QQuickItem*>(object.get());
    const auto* line = heading->childItems().value(0);
    const double lineHeight = heading->implicitHeight();
    EXPECT_FALSE(line->property("truncated").toBool());
    heading->setWidth(200);
    EXPECT_LE(line->property("contentWidth").toDouble(), 200);
    EXPECT_TRUE(line->property("truncated").toBool());
    heading->setProperty("maximumLineCount", 5);
    EXPECT_LE(line->property("contentWidth").toDouble(), 200);
    EXPECT_FALSE(line->property("truncated").toBool());
    EXPECT_GE(heading->implicitHeight(), 2 * lineHeight);
    heading->setProperty("maximumLineCount", 2);
    EXPECT_LE(line->property("lineCount").toInt(), 2);
}

TEST(LazyItem, HoldsWhatIsWantedAndNothingElse)
{
    InlineQml qml;
    const auto object
        = qml.create("LazyItem { id: outer; property int size: 30; active: false; Component { id: other; Item { implicitHeight: 5 } }\n"
                     "property Component second: other\nsourceComponent: Item { implicitHeight: outer.size } }");
    auto* lazy = qobject_cast<QQuickItem*>(object.get());
    EXPECT_EQ(lazy->childItems().size(), 0);
    lazy->setProperty("active", true);
    ASSERT_EQ(lazy->childItems().size(), 1);
    EXPECT_EQ(lazy->implicitHeight(), 30);
    lazy->setProperty("size", 40);
    EXPECT_EQ(lazy->height(), 40);
    lazy->setProperty("sourceComponent", lazy->property("second"));
    EXPECT_EQ(lazy->implicitHeight(), 5);
    lazy->setProperty("active", false);
    EXPECT_EQ(lazy->childItems().size(), 0);
    EXPECT_EQ(lazy->implicitHeight(), 0);
}

TEST(KeyboardUse, IsOnFromAKeyUntilAPress)
{
    const KeyboardUse use;
    QQuickView view;
    view.show();
    EXPECT_FALSE(use.isOn());
    QTest::keyPress(&view, Qt::Key_Shift);
    EXPECT_FALSE(use.isOn()) << "a modifier alone says nothing";
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_TRUE(use.isOn());
    QTest::mouseClick(&view, Qt::LeftButton);
    EXPECT_FALSE(use.isOn());
}

TEST(OrderedItem, StandsAmongItsSiblingsWhereItsOrderSays)
{
    QQuickItem list;
    QQuickItem other(&list);
    OrderedItem third;
    OrderedItem first;
    OrderedItem second;
    third.setOrder(3);
    first.setOrder(1);
    second.setOrder(2);
    for (OrderedItem* row : { &third, &first, &second }) {
        row->setParentItem(&list);
    }
    EXPECT_EQ(list.childItems(), (QList<QQuickItem*>{ &other, &first, &second, &third }));
    first.setOrder(9);
    EXPECT_EQ(list.childItems(), (QList<QQuickItem*>{ &other, &second, &third, &first }));
    first.setOrder(1);
    EXPECT_EQ(list.childItems(), (QList<QQuickItem*>{ &other, &first, &second, &third }));
}

class StyledTextTest : public ::testing::Test
{
protected:
    StyledTextTest()
        : view(qml.create("SelectableText { label: \"Text\"; lineHeight: 22; font.pixelSize: 14; width: 300 }",
            { { "content", QVariant::fromValue(StyledRuns()) } }))
    {
        document = view->property("textDocument").value<QQuickTextDocument*>()->textDocument();
    }
    void set(const QList<TextRun>& runs)
    {
        StyledRuns content;
        content.runs = runs;
        view->setProperty("content", QVariant::fromValue(content));
    }
    static TextRun run(const char* text, bool isStrong = false)
    {
        TextRun run;
        run.text = QString::fromUtf8(text);
        run.isStrong = isStrong;
        return run;
    }
    QTextCharFormat formatAt(int position) const
    {
        QTextCursor cursor(document);
        cursor.setPosition(position + 1);
        return cursor.charFormat();
    }

    InlineQml qml;
    std::unique_ptr<QObject> view;
    QTextDocument* document = nullptr;
};

TEST_F(StyledTextTest, WritesRunsInTheirStyles)
{
    TextRun link = run("there");
    link.link = "https://example.org/ä";
    TextRun trap = run("no");
    trap.link = "file:///etc/passwd";
    set({ run("plain "), run("bold", true), link, trap });
    EXPECT_EQ(document->toPlainText(), "plain boldthereno");
    EXPECT_NE(formatAt(0).fontWeight(), QFont::DemiBold);
    EXPECT_EQ(formatAt(7).fontWeight(), QFont::DemiBold);
    EXPECT_EQ(formatAt(11).anchorHref(), "https://example.org/%C3%A4");
    EXPECT_FALSE(formatAt(16).isAnchor());
    EXPECT_EQ(view->property("text").toString(), "plain boldthereno");
}

TEST_F(StyledTextTest, EveryLineHasTheSameHeight)
{
    set({ run("one\ntwo\nthree") });
    EXPECT_EQ(document->blockCount(), 3);
    EXPECT_EQ(view->property("height").toDouble(), 66);
}

TEST_F(StyledTextTest, OnlyWhatDiffersIsWritten)
{
    set({ run("one "), run("two", true) });
    int firstChanged = -1;
    QObject::connect(document, &QTextDocument::contentsChange, document, [&](int position, int, int) { firstChanged = position; });
    set({ run("one "), run("two and more", true), run(" end") });
    EXPECT_EQ(document->toPlainText(), "one two and more end");
    EXPECT_EQ(firstChanged, 7);
    EXPECT_EQ(formatAt(10).fontWeight(), QFont::DemiBold);
    set({ run("one ") });
    EXPECT_EQ(document->toPlainText(), "one ");
    set({});
    EXPECT_EQ(document->toPlainText(), "");
}

TEST(ReadOnlyShortcuts, AReadOnlyTextKeepsOnlyCopyingAndSelecting)
{
    InlineQml qml;
    ReadOnlyShortcuts filter;
    const auto isTaken = [&](QObject* object, int key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::ShortcutOverride, key, modifiers);
        event.accept();
        return filter.eventFilter(object, &event) && !event.isAccepted();
    };
    const auto readOnly = qml.create("TextEdit { readOnly: true }");
    EXPECT_TRUE(isTaken(readOnly.get(), Qt::Key_N, Qt::ControlModifier));
    EXPECT_FALSE(isTaken(readOnly.get(), Qt::Key_C, Qt::ControlModifier));
    EXPECT_FALSE(isTaken(readOnly.get(), Qt::Key_A, Qt::ControlModifier));
    const auto editable = qml.create("TextEdit {}");
    EXPECT_FALSE(isTaken(editable.get(), Qt::Key_N, Qt::ControlModifier));
    const auto item = qml.create("Item {}");
    EXPECT_FALSE(isTaken(item.get(), Qt::Key_N, Qt::ControlModifier));
}

} // namespace

} // namespace tessarin
