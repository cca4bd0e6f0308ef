#include "QmlFixture.h"
#include "Views/EntryListModel.h"
#include "Views/TextSelection.h"

namespace tessarin
{

namespace
{

// A list of messages with one entry that is far longer than the view.
class LongTextTest : public testing::Test
{
protected:
    LongTextTest() : model([this]() -> const std::vector<ChatEntry>& { return entries; }) { }
    ~LongTextTest() override { qml.view().setSource({}); }

    static std::string paragraphs(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "Paragraph " + std::to_string(i) + " with **some** words, which are not the same in each, so that heights differ: "
                + std::string(static_cast<std::size_t>(i % 7) * 60, 'o') + ".\n\n";
        }
        return text;
    }
    void open(ChatEntryKind kind, std::string text)
    {
        entries.push_back(ChatEntry::make(kind, std::move(text)));
        model.noteReset();
        list = qml.show("MessageList", { { "entries", QVariant::fromValue(&model) } }, QSize(800, 500));
        settle();
    }
    void settle()
    {
        EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; }));
    }
    void frame() { EXPECT_FALSE(qml.view().grabWindow().isNull()); }
    void scrollBy(double distance)
    {
        list->setProperty("contentY", list->property("contentY").toDouble() + distance);
        frame();
    }
    [[nodiscard]] QList<QQuickItem*> pages() const { return QmlFixture::items(list, "MarkdownPage"); }
    [[nodiscard]] QRectF placeOf(const QQuickItem* item) const { return item->mapRectToItem(list, QRectF(QPointF(), item->size())); }
    // The page in the middle of the view.
    [[nodiscard]] QQuickItem* pageInSight() const
    {
        for (QQuickItem* page : pages()) {
            if (placeOf(page).contains(QPointF(200, 250))) {
                return page;
            }
        }
        return nullptr;
    }

    std::vector<ChatEntry> entries;
    EntryListModel model;
    QmlFixture qml;
    QQuickItem* list = nullptr;
};

constexpr int fewPages = 12;

TEST_F(LongTextTest, OnlyThePagesInSightAndTheEndsExist)
{
    open(ChatEntryKind::assistant, paragraphs(4000));
    EXPECT_TRUE(QmlFixture::becomes([this] { return pages().size() < fewPages; })) << pages().size();
    EXPECT_TRUE(list->property("atYEnd").toBool());
    EXPECT_NE(pageInSight(), nullptr);
}

TEST_F(LongTextTest, APageComesIntoBeingBeforeItIsSeenAndGoesAfterwards)
{
    open(ChatEntryKind::assistant, paragraphs(1000));
    for (int step = 0; step < 120; ++step) {
        scrollBy(-200);
        ASSERT_NE(pageInSight(), nullptr) << step;
    }
    EXPECT_TRUE(QmlFixture::becomes([this] { return pages().size() < fewPages; })) << pages().size();
}

TEST_F(LongTextTest, WhatIsSeenStaysInItsPlaceWhenAPageAboveItComesIntoBeing)
{
    open(ChatEntryKind::assistant, paragraphs(1000));
    for (int step = 0; step < 100; ++step) {
        const QPointer<QQuickItem> page = pageInSight();
        ASSERT_NE(page, nullptr) << step;
        const double before = placeOf(page).top();
        scrollBy(-60);
        ASSERT_NE(page, nullptr) << step;
        EXPECT_NEAR(placeOf(page).top(), before + 60, 1) << step;
    }
}

TEST_F(LongTextTest, AStreamedAnswerKeepsOnlyThePagesInSight)
{
    open(ChatEntryKind::assistant, "begin\n\n");
    for (int chunk = 0; chunk < 150; ++chunk) {
        entries.back().text += paragraphs(5);
        model.noteTextAppended(0);
        model.flush();
        frame();
    }
    EXPECT_TRUE(QmlFixture::becomes([this] { return pages().size() < fewPages; })) << pages().size();
    EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("atYEnd").toBool(); }));
    EXPECT_NE(pageInSight(), nullptr);
}

TEST_F(LongTextTest, SelectingAllOfALongAnswerSelectsEveryPage)
{
    open(ChatEntryKind::assistant, paragraphs(600));
    auto* selection = QmlFixture::items(list, "MarkdownPages").value(0);
    ASSERT_NE(selection, nullptr);
    QMetaObject::invokeMethod(selection, "selectAll");
    QString selected;
    QMetaObject::invokeMethod(selection, "selectedText", Q_RETURN_ARG(QString, selected));
    for (int i = 0; i < 600; ++i) {
        ASSERT_TRUE(selected.contains(QStringLiteral("Paragraph %1 with some").arg(i))) << i;
    }
}

TEST_F(LongTextTest, AShortMessageIsAsHighAsItsTextAlsoWhenItsRowIsMadeAheadOfTime)
{
    for (int i = 0; i < 60; ++i) {
        entries.push_back(ChatEntry::make(i % 2 == 0 ? ChatEntryKind::user : ChatEntryKind::assistant,
            "Some words of a message that has more than one line, some words of a message that has more than one line.\nEnd\n"));
    }
    open(ChatEntryKind::assistant, "end");
    qsizetype seen = 0;
    for (int step = 0; step < 20; ++step) {
        scrollBy(-150);
        QTest::qWait(20); // rows ahead are made when there is time
        for (const QQuickItem* message : QmlFixture::items(list, "PlainPages")) {
            const QQuickItem* text = QmlFixture::items(message, "SelectableText").value(0);
            ASSERT_NE(text, nullptr) << step;
            ASSERT_EQ(message->height(), text->height()) << step;
            ++seen;
        }
    }
    EXPECT_GT(seen, 20);
}

TEST_F(LongTextTest, AMessageThatWasLaidOutInANarrowListTakesItsNewHeight)
{
    entries.push_back(ChatEntry::make(ChatEntryKind::user, "Some words that need several lines in a narrow list.\nEnd\n"));
    model.noteReset();
    list = qml.show("MessageList", { { "entries", QVariant::fromValue(&model) }, { "width", 0 } }, QSize(1, 1));
    for (const int width : { 800, 40, 800, 120, 300, 800 }) {
        qml.view().resize(width, 500);
        EXPECT_TRUE(QmlFixture::becomes([&] { return qRound(list->width()) == width; }));
        frame();
        const QQuickItem* message = QmlFixture::items(list, "PlainPages").value(0);
        ASSERT_NE(message, nullptr) << width;
        const QQuickItem* text = QmlFixture::items(message, "SelectableText").value(0);
        ASSERT_NE(text, nullptr) << width;
        EXPECT_EQ(message->height(), text->height()) << width;
        EXPECT_EQ(message->height(), message->implicitHeight()) << width;
    }
    EXPECT_LT(QmlFixture::items(list, "PlainPages").value(0)->height(), 60);
}

TEST_F(LongTextTest, AnOutputOfMegabytesHasOnlyThePagesInSight)
{
    std::string output;
    for (int line = 0; output.size() < 3'000'000; ++line) {
        output += "line " + std::to_string(line) + " of what the tool has printed\n";
    }
    open(ChatEntryKind::tool, output);
    QMetaObject::invokeMethod(QmlFixture::items(list, "ToolCardHead").value(0), "clicked");
    QQuickItem* shown = QmlFixture::items(list, "ToolOutput").value(0);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->height(), 260);
    frame();
    EXPECT_GT(QmlFixture::items(shown, "SelectableText").size(), 0);
    EXPECT_LT(QmlFixture::items(shown, "SelectableText").size(), 5);
    auto* selection = QmlFixture::items(shown, "tessarin::TextSelection").value(0);
    ASSERT_NE(selection, nullptr);
    QMetaObject::invokeMethod(selection, "selectAll");
    QString selected;
    QMetaObject::invokeMethod(selection, "selectedText", Q_RETURN_ARG(QString, selected));
    EXPECT_EQ(selected.toStdString(), output);
}

std::string endlessLine()
{
    std::string line = "begin";
    for (int word = 0; line.size() < 150'000; ++word) {
        line += line.size() < 75'000 ? "solid" + std::to_string(word) : " word" + std::to_string(word);
    }
    return line;
}

class EndlessLineTest : public LongTextTest
{
protected:
    // What is laid out of the text at this moment.
    [[nodiscard]] static qsizetype charactersIn(const QQuickItem* item)
    {
        qsizetype characters = 0;
        for (const QQuickItem* text : QmlFixture::items(item, "SelectableText")) {
            characters += text->property("length").toInt();
        }
        return characters;
    }
    [[nodiscard]] QQuickItem* openOutput(std::string text)
    {
        open(ChatEntryKind::tool, std::move(text));
        QMetaObject::invokeMethod(QmlFixture::items(list, "ToolCardHead").value(0), "clicked");
        frame();
        return QmlFixture::items(list, "ToolOutput").value(0);
    }
    [[nodiscard]] static std::string selectedAllOf(QQuickItem* selection)
    {
        QMetaObject::invokeMethod(selection, "selectAll");
        QString selected;
        QMetaObject::invokeMethod(selection, "selectedText", Q_RETURN_ARG(QString, selected));
        return selected.toStdString();
    }

    // What a window laid out in the time of a few frames may hold.
    static constexpr qsizetype fewCharacters = 30'000;
};

TEST_F(EndlessLineTest, OfTheOutputOnlyWhatIsSeenIsLaidOut)
{
    QQuickItem* shown = openOutput(endlessLine());
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->height(), 260);
    EXPECT_GT(charactersIn(shown), 1000);
    EXPECT_LT(charactersIn(shown), fewCharacters / 2);
    const QQuickItem* view = QmlFixture::items(shown, "QQuickListView").value(0);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->property("contentWidth").toDouble(), view->width()) << "it is wrapped";
    for (const QQuickItem* text : QmlFixture::items(shown, "SelectableText")) {
        EXPECT_LE(text->property("contentWidth").toDouble(), view->width());
    }
    EXPECT_EQ(selectedAllOf(QmlFixture::items(shown, "tessarin::TextSelection").value(0)), endlessLine());
}

TEST_F(EndlessLineTest, TheOtherLinesOfTheOutputAreNotWrapped)
{
    const std::string wide(1000, 'w');
    QQuickItem* shown = openOutput(wide + "\n" + endlessLine());
    ASSERT_NE(shown, nullptr);
    const QQuickItem* view = QmlFixture::items(shown, "QQuickListView").value(0);
    const QQuickItem* first = QmlFixture::items(shown, "SelectableText").value(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->property("text").toString().toStdString(), wide);
    EXPECT_EQ(first->property("lineCount").toInt(), 1);
    EXPECT_GT(first->width(), view->width());
    EXPECT_GE(view->property("contentWidth").toDouble(), first->width()) << "it can be scrolled to its end";
}

TEST_F(EndlessLineTest, OfAPromptAnAnswerAndCodeOnlyWhatIsNearIsLaidOut)
{
    const std::string line = endlessLine();
    struct Row {
        ChatEntryKind kind;
        std::string before;
        const char* pages;
    };
    for (const Row& row : { Row{ ChatEntryKind::user, "", "PlainPages" }, Row{ ChatEntryKind::assistant, "", "MarkdownPages" },
             Row{ ChatEntryKind::assistant, "```cpp\n", "MarkdownPages" }, Row{ ChatEntryKind::system, "", "PlainPages" } }) {
        entries.clear();
        open(row.kind, row.before + line);
        frame();
        EXPECT_TRUE(QmlFixture::becomes([&] { return charactersIn(list) < fewCharacters; })) << row.pages << charactersIn(list);
        for (int step = 0; step < 30; ++step) {
            scrollBy(-200);
            EXPECT_LT(charactersIn(list), fewCharacters) << step;
        }
        for (const QQuickItem* text : QmlFixture::items(list, "SelectableText")) {
            EXPECT_LE(text->property("contentWidth").toDouble(), list->width());
        }
        QQuickItem* pages = QmlFixture::items(list, row.pages).value(0);
        ASSERT_NE(pages, nullptr);
        EXPECT_EQ(selectedAllOf(pages), line);
    }
}

TEST_F(EndlessLineTest, OfReasoningThatGrowsOnlyTheEndIsLaidOutAgain)
{
    open(ChatEntryKind::thought, "begin");
    QMetaObject::invokeMethod(QmlFixture::items(list, "DisclosureButton").value(0), "clicked");
    const std::string line = endlessLine();
    for (std::size_t size = 0; size < line.size(); size += 5000) {
        entries.back().text = line.substr(0, size + 5000);
        model.noteTextAppended(0);
        model.flush();
        frame();
        EXPECT_TRUE(QmlFixture::becomes([this] { return charactersIn(list) < fewCharacters; })) << size;
    }
    QQuickItem* pages = QmlFixture::items(list, "PlainPages").value(0);
    ASSERT_NE(pages, nullptr);
    EXPECT_EQ(selectedAllOf(pages), entries.back().text);
}

TEST_F(LongTextTest, AShortOutputIsAsHighAsItsLines)
{
    open(ChatEntryKind::tool, "one\ntwo\nthree\n");
    QMetaObject::invokeMethod(QmlFixture::items(list, "ToolCardHead").value(0), "clicked");
    QQuickItem* shown = QmlFixture::items(list, "ToolOutput").value(0);
    ASSERT_NE(shown, nullptr);
    frame();
    const QQuickItem* text = QmlFixture::items(shown, "SelectableText").value(0);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(shown->height(), text->height() + 24);
}

} // namespace

} // namespace tessarin
