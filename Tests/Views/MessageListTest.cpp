#include "QmlFixture.h"
#include "Views/EntryListModel.h"

#include <QPointer>

namespace tessarin
{

namespace
{

class MessageListTest : public testing::Test
{
protected:
    MessageListTest() : model([this]() -> const std::vector<ChatEntry>& { return entries; }) { }
    ~MessageListTest() override { qml.view().setSource({}); }

    void fill(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            entries.push_back(ChatEntry::make(i % 2 == 0 ? ChatEntryKind::user : ChatEntryKind::assistant, "Message " + std::to_string(i)));
        }
        model.noteReset();
    }
    void open()
    {
        list = qml.show("MessageList", { { "entries", QVariant::fromValue(&model) } }, QSize(800, 500));
        EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; }));
    }
    void append(ChatEntryKind kind, std::string text)
    {
        entries.push_back(ChatEntry::make(kind, std::move(text)));
        model.noteAppended();
        model.flush();
    }
    double contentY() const { return list->property("contentY").toDouble(); }
    bool isAtEnd() const { return list->property("atYEnd").toBool(); }
    void scrollTo(double y) { list->setProperty("contentY", y); }
    // The row of an entry, when it exists.
    QQuickItem* row(int index) const
    {
        QQuickItem* item = nullptr;
        QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, index));
        return item;
    }
    // Where the row ends in the view.
    double bottomOf(int index) const { return row(index)->mapToItem(list, QPointF(0, row(index)->height())).y(); }

    std::vector<ChatEntry> entries;
    EntryListModel model;
    QmlFixture qml;
    QQuickItem* list = nullptr;
};

TEST_F(MessageListTest, OpensAtItsEnd)
{
    fill(200);
    open();
    EXPECT_TRUE(isAtEnd());
    ASSERT_NE(row(199), nullptr);
    EXPECT_NEAR(bottomOf(199), 500 - 20, 1);
}

TEST_F(MessageListTest, AShortTaskBeginsBelowItsUpperMargin)
{
    fill(2);
    open();
    EXPECT_EQ(row(0)->mapToItem(list, QPointF()).y(), 24);
    append(ChatEntryKind::assistant, "one more");
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(2) != nullptr; }));
    EXPECT_EQ(row(0)->mapToItem(list, QPointF()).y(), 24);
}

TEST_F(MessageListTest, ATaskThatJustFillsTheViewKeepsItsLowerMargin)
{
    fill(2);
    open();
    const double rows = bottomOf(1) - 24;
    qml.view().resize(800, static_cast<int>(rows) + 24 + 8);
    EXPECT_TRUE(QmlFixture::becomes([&] { return std::abs(bottomOf(1) - (rows + 24 + 8 - 20)) < 2; })) << bottomOf(1);
}

TEST_F(MessageListTest, TheKeysScrollAsFarAsTheListGoes)
{
    fill(100);
    open();
    list->forceActiveFocus(Qt::TabFocusReason);
    const double end = contentY();
    QTest::keyClick(&qml.view(), Qt::Key_PageDown);
    EXPECT_EQ(contentY(), end);
    QTest::keyClick(&qml.view(), Qt::Key_PageUp);
    EXPECT_EQ(contentY(), end - (500 - 36));
    QTest::keyClick(&qml.view(), Qt::Key_Down);
    EXPECT_EQ(contentY(), end - (500 - 36) + 36);
    QTest::keyClick(&qml.view(), Qt::Key_End);
    EXPECT_TRUE(isAtEnd());
}

TEST_F(MessageListTest, TheFocusOfTheListIsSeenButNotThatOfAText)
{
    append(ChatEntryKind::user, "hello");
    open();
    const QQuickItem* ring = QmlFixture::items(qml.view().contentItem(), "ScrollFocus").value(0);
    ASSERT_NE(ring, nullptr);
    EXPECT_FALSE(ring->isVisible());
    list->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(ring->isVisible());
    QmlFixture::items(list, "SelectableText").value(0)->forceActiveFocus();
    EXPECT_FALSE(ring->isVisible());
}

TEST_F(MessageListTest, TabGoesFromRowToRowInTheirOrderAndTheListFollows)
{
    for (int i = 0; i < 40; ++i) {
        append(ChatEntryKind::tool, "output");
        entries.back().title = std::to_string(i);
    }
    model.noteReset();
    open();
    QQuickItem* head = QmlFixture::items(row(39), "ToolCardHead").value(0);
    ASSERT_NE(head, nullptr);
    head->forceActiveFocus(Qt::TabFocusReason);
    for (int i = 38; i >= 5; --i) {
        QTest::keyClick(&qml.view(), Qt::Key_Backtab, Qt::ShiftModifier);
        const QQuickItem* focused = qml.view().activeFocusItem();
        ASSERT_EQ(focused->property("title").toString().toStdString(), std::to_string(i));
        const QRectF place = focused->mapRectToItem(list, QRectF(QPointF(), focused->size()));
        EXPECT_GE(place.top(), 0) << i;
        EXPECT_LE(place.bottom(), 500) << i;
    }
    for (int i = 6; i < 40; ++i) {
        QTest::keyClick(&qml.view(), Qt::Key_Tab);
        const QQuickItem* focused = qml.view().activeFocusItem();
        ASSERT_EQ(focused->property("title").toString().toStdString(), std::to_string(i));
        EXPECT_LE(focused->mapRectToItem(list, QRectF(QPointF(), focused->size())).bottom(), 500) << i;
    }
}

TEST_F(MessageListTest, ALongOutputIsScrolledByKeys)
{
    append(ChatEntryKind::tool, std::string(400, 'x') + std::string(60, '\n') + "end");
    open();
    QMetaObject::invokeMethod(QmlFixture::items(list, "ToolCardHead").value(0), "clicked");
    QQuickItem* output = QmlFixture::items(list, "ToolOutput").value(0);
    ASSERT_NE(output, nullptr);
    QQuickItem* view = QmlFixture::items(output, "QQuickListView").value(0);
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(QmlFixture::becomes([&] { return view->property("activeFocusOnTab").toBool(); }));
    view->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_Right);
    QTest::keyClick(&qml.view(), Qt::Key_Down);
    EXPECT_EQ(view->property("contentX").toDouble(), 36);
    EXPECT_EQ(view->property("contentY").toDouble(), 36);
    QTest::keyClick(&qml.view(), Qt::Key_Left);
    QTest::keyClick(&qml.view(), Qt::Key_Home);
    EXPECT_EQ(view->property("contentX").toDouble(), 0);
    EXPECT_EQ(view->property("contentY").toDouble(), 0);
}

TEST_F(MessageListTest, AHundredThousandEntriesHaveOnlyTheirVisibleRows)
{
    fill(100000);
    open();
    ASSERT_NE(row(99999), nullptr);
    EXPECT_EQ(row(0), nullptr);
    EXPECT_LT(QmlFixture::items(list, "EntryRow").size() + QmlFixture::items(list, "UserRow").size()
            + QmlFixture::items(list, "AssistantRow").size(),
        60);
}

TEST_F(MessageListTest, AnotherLastTextPullsTheListDown)
{
    fill(100);
    open();
    scrollTo(contentY() - 2000);
    append(ChatEntryKind::assistant, "the newest");
    EXPECT_TRUE(QmlFixture::becomes([this] { return isAtEnd() && row(100) != nullptr && std::abs(bottomOf(100) - 480) < 2; }));
}

TEST_F(MessageListTest, AGrowingAnswerKeepsItsEndInSight)
{
    fill(100);
    append(ChatEntryKind::assistant, "It");
    open();
    for (int i = 0; i < 50; ++i) {
        entries.back().text += "\n\nanother paragraph";
        model.noteTextAppended(entries.size() - 1);
        model.flush();
    }
    EXPECT_TRUE(QmlFixture::becomes([this] { return std::abs(bottomOf(100) - 480) < 2; }));
    EXPECT_GT(row(100)->height(), 1000);
}

TEST_F(MessageListTest, AnAnswerWhoseRowsGrowOnTheWayEndsInSight)
{
    fill(100);
    open();
    append(ChatEntryKind::assistant,
        "# Found\n\n| file | why |\n|---|---|\n| notes.txt | " + std::string(300, 'w') + " |\n\n```sh\nmake\n```\n\n> the end");
    EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() > 0; })) << "after the way down";
    EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; }));
    EXPECT_NEAR(bottomOf(100), 480, 1);
    qml.view().resize(800, 460);
    EXPECT_TRUE(QmlFixture::becomes([this] { return std::abs(bottomOf(100) - 440) < 1; }));
}

TEST_F(MessageListTest, ThePersonWhoScrollsIsNotPulledBack)
{
    fill(100);
    open();
    list->forceActiveFocus(Qt::TabFocusReason);
    append(ChatEntryKind::assistant, "the newest");
    EXPECT_TRUE(list->property("gliding").toBool());
    QTest::keyClick(&qml.view(), Qt::Key_Up);
    EXPECT_FALSE(list->property("gliding").toBool());
    EXPECT_EQ(list->property("settling").toInt(), 0);
    EXPECT_FALSE(isAtEnd());
}

TEST_F(MessageListTest, ANewToolCardDoesNotMoveTheList)
{
    fill(100);
    open();
    const double before = contentY();
    append(ChatEntryKind::tool, "");
    EXPECT_EQ(list->property("count").toInt(), 101);
    EXPECT_EQ(contentY(), before);
}

TEST_F(MessageListTest, AChangeOfStatusDoesNotMoveTheList)
{
    fill(100);
    append(ChatEntryKind::tool, "output");
    open();
    scrollTo(contentY() - 500);
    const double before = contentY();
    entries.back().status = "completed";
    model.noteChanged(entries.size() - 1);
    model.flush();
    EXPECT_EQ(contentY(), before);
}

TEST_F(MessageListTest, ATaskThatIsChosenLaterOpensAtItsEndToo)
{
    fill(10);
    open();
    entries.clear();
    fill(500);
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(499) != nullptr && std::abs(bottomOf(499) - 480) < 2; }));
}

TEST_F(MessageListTest, AListAtItsEndStaysThereWhenTheWindowShrinks)
{
    fill(100);
    open();
    qml.view().resize(600, 300);
    EXPECT_TRUE(QmlFixture::becomes([this] { return std::abs(bottomOf(99) - 280) < 2; }));
}

TEST_F(MessageListTest, ATaskThatHasJustBegunIsAtItsEndWhenTheWindowShrinks)
{
    open();
    append(ChatEntryKind::user, "hello");
    append(ChatEntryKind::assistant, "one\n\ntwo\n\nthree\n\nfour");
    qml.view().resize(800, 120);
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(1) != nullptr && std::abs(bottomOf(1) - 100) < 1; }));
    EXPECT_TRUE(list->property("atRest").toBool());
    qml.view().resize(800, 90);
    EXPECT_TRUE(QmlFixture::becomes([this] { return std::abs(bottomOf(1) - 70) < 1; }));
}

TEST_F(MessageListTest, ATaskThatFitsStaysAtItsEnd)
{
    fill(2);
    open();
    EXPECT_TRUE(list->property("atRest").toBool()) << "all of it is seen";
    qml.view().resize(800, 80);
    EXPECT_TRUE(QmlFixture::becomes([this] { return std::abs(bottomOf(1) - 60) < 1; }));
    EXPECT_TRUE(list->property("atRest").toBool());
    qml.view().resize(800, 500);
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(0)->mapToItem(list, QPointF()).y() == 24; }));
    EXPECT_TRUE(list->property("atRest").toBool());
}

TEST_F(MessageListTest, ASelectionStaysWhileOtherMessagesGrowAndCome)
{
    append(ChatEntryKind::user, "select these words");
    append(ChatEntryKind::assistant, "It");
    open();
    QQuickItem* text = QmlFixture::items(row(0), "SelectableText").value(0);
    ASSERT_NE(text, nullptr);
    QMetaObject::invokeMethod(text, "select", Q_ARG(int, 7), Q_ARG(int, 12));
    for (int i = 0; i < 5; ++i) {
        entries.back().text += " grows\n\nand grows";
        model.noteTextAppended(1);
        model.flush();
    }
    append(ChatEntryKind::tool, "output");
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(2) != nullptr; }));
    EXPECT_EQ(QmlFixture::items(row(0), "SelectableText").value(0), text) << "it is the same text";
    EXPECT_EQ(text->property("selectedText").toString(), "these");
}

TEST_F(MessageListTest, ASelectionFarOutOfSightStays)
{
    fill(60);
    open();
    // All rows of a task of more than fifty are gone that are far out of sight.
    append(ChatEntryKind::user, "select these words");
    append(ChatEntryKind::assistant, "It");
    ASSERT_TRUE(QmlFixture::becomes([this] { return row(60) != nullptr && !QmlFixture::items(row(60), "SelectableText").isEmpty(); }));
    QPointer<QQuickItem> text = QmlFixture::items(row(60), "SelectableText").value(0);
    QMetaObject::invokeMethod(text, "select", Q_ARG(int, 7), Q_ARG(int, 12));
    for (int i = 0; i < 200; ++i) {
        entries.back().text += "\n\nIt grows.";
        model.noteTextAppended(61);
        model.flush();
    }
    for (int i = 0; i < 60; ++i) {
        append(ChatEntryKind::system, "A note.");
    }
    QMetaObject::invokeMethod(list, "toEnd");
    EXPECT_TRUE(QmlFixture::becomes([this] { return row(121) != nullptr && row(61) == nullptr; })) << "others are gone";
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->property("selectedText").toString(), "these");
}

TEST_F(MessageListTest, ALongTaskOfVeryUnevenRowsComesToRestWhereverItIsScrolledTo)
{
    for (int i = 0; i < 120; ++i) {
        std::string text = "Message " + std::to_string(i);
        for (int line = 0; i % 7 == 3 && line < 500 * (1 + i % 3); ++line) {
            text += "\n\nA line of a long message.";
        }
        entries.push_back(ChatEntry::make(i % 2 == 0 ? ChatEntryKind::user : ChatEntryKind::assistant, text));
    }
    model.noteReset();
    open();
    EXPECT_NEAR(bottomOf(119), 500 - 20, 1);
    for (const int height : { 60, 500, 130 }) {
        qml.view().resize(800, height);
        for (int step = 0; step < 20; ++step) {
            scrollTo(list->property("originY").toDouble() + list->property("contentHeight").toDouble() * (step * 13 % 20) / 20);
            QCoreApplication::processEvents();
        }
        QMetaObject::invokeMethod(list, "settle");
        ASSERT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; })) << height;
        EXPECT_NEAR(bottomOf(119), height - 20, 1);
    }
}

TEST_F(MessageListTest, AToolCardBeginsClosedAndOnlyThePersonOpensIt)
{
    append(ChatEntryKind::tool, "");
    open();
    EXPECT_TRUE(QmlFixture::items(list, "ToolOutput").isEmpty());
    entries[0].text = "output";
    entries[0].status = "failed";
    model.noteChanged(0);
    model.flush();
    EXPECT_TRUE(QmlFixture::items(list, "ToolOutput").isEmpty());
    QQuickItem* head = QmlFixture::items(list, "ToolCardHead").value(0);
    ASSERT_NE(head, nullptr);
    QMetaObject::invokeMethod(head, "clicked");
    EXPECT_EQ(QmlFixture::items(list, "ToolOutput").size(), 1);
    entries[0].status = "completed";
    model.noteChanged(0);
    model.flush();
    EXPECT_EQ(QmlFixture::items(list, "ToolOutput").size(), 1);
    QMetaObject::invokeMethod(head, "clicked");
    EXPECT_TRUE(QmlFixture::items(list, "ToolOutput").isEmpty());
}

TEST_F(MessageListTest, AToolCardWithoutTextOpensToNothing)
{
    append(ChatEntryKind::tool, "");
    open();
    const double before = row(0)->height();
    QMetaObject::invokeMethod(QmlFixture::items(list, "ToolCardHead").value(0), "clicked");
    EXPECT_EQ(row(0)->height(), before);
}

TEST_F(MessageListTest, ABubbleStandsAtTheRightAndKeepsItsDistanceFromTheLeft)
{
    append(ChatEntryKind::user, std::string(2000, 'x') + " " + std::string(200, 'y'));
    append(ChatEntryKind::user, "short");
    open();
    const auto bubble = [this](int index) { return QmlFixture::items(row(index), "PlainPages").value(0)->parentItem(); };
    const double column = bubble(0)->parentItem()->width();
    EXPECT_EQ(bubble(0)->x(), 80);
    EXPECT_EQ(bubble(0)->width(), column - 80);
    EXPECT_LT(bubble(1)->width(), 100);
    EXPECT_EQ(bubble(1)->x() + bubble(1)->width(), column);
}

TEST_F(MessageListTest, ReasoningIsClosedUntilThePersonOpensIt)
{
    append(ChatEntryKind::thought, "Weighing the options.");
    open();
    EXPECT_TRUE(QmlFixture::items(list, "SelectableText").isEmpty());
    QMetaObject::invokeMethod(QmlFixture::items(list, "DisclosureButton").value(0), "clicked");
    EXPECT_EQ(QmlFixture::items(list, "SelectableText").size(), 1);
}

} // namespace

} // namespace tessarin
