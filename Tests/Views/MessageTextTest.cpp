#include "QmlFixture.h"
#include "Views/EntryListModel.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QQuickTextDocument>
#include <QSignalSpy>
#include <QTextDocument>

namespace tessarin
{

namespace
{

// What a person does with the texts of messages: select, copy, follow links.
class MessageTextTest : public testing::Test
{
protected:
    MessageTextTest() : model([this]() -> const std::vector<ChatEntry>& { return entries; }) { QGuiApplication::clipboard()->clear(); }
    ~MessageTextTest() override { qml.view().setSource({}); }

    void open(std::initializer_list<std::pair<ChatEntryKind, const char*>> all)
    {
        for (const auto& [kind, text] : all) {
            entries.push_back(ChatEntry::make(kind, text));
        }
        model.noteReset();
        list = qml.show("MessageList", { { "entries", QVariant::fromValue(&model) } }, QSize(900, 700));
        EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; }));
    }
    void openAnswer(const char* text) { open({ { ChatEntryKind::assistant, text } }); }
    QList<QQuickItem*> texts() const { return QmlFixture::items(list, "SelectableText"); }
    QStringList selected() const
    {
        QStringList parts;
        for (const QQuickItem* text : texts()) {
            parts.append(text->property("selectedText").toString());
        }
        return parts;
    }
    // In the window, before the character of that text.
    QPoint at(int text, int position) const
    {
        QRectF place;
        QMetaObject::invokeMethod(texts()[text], "positionToRectangle", Q_RETURN_ARG(QRectF, place), Q_ARG(int, position));
        return texts()[text]->mapToScene(place.center()).toPoint() + QPoint(1, 0);
    }
    void draw(QPoint from, QPoint to)
    {
        QTest::mousePress(&qml.view(), Qt::LeftButton, {}, from);
        for (int step = 1; step <= 8; ++step) {
            QTest::mouseMove(&qml.view(), from + (to - from) * step / 8);
        }
        QTest::mouseRelease(&qml.view(), Qt::LeftButton, {}, to);
        QCoreApplication::processEvents();
    }
    QString copied()
    {
        QTest::keySequence(&qml.view(), QKeySequence::Copy);
        return QGuiApplication::clipboard()->text();
    }

    std::vector<ChatEntry> entries;
    EntryListModel model;
    QmlFixture qml;
    QQuickItem* list = nullptr;
};

TEST_F(MessageTextTest, ASelectionRunsAcrossParagraphsAndIsCopiedWhole)
{
    openAnswer("one two\n\nthree\n\nfour five");
    draw(at(0, 4), at(2, 4));
    EXPECT_EQ(selected(), (QStringList{ "two", "three", "four" }));
    EXPECT_EQ(copied(), "two\n\nthree\n\nfour");
}

TEST_F(MessageTextTest, ASelectionRunsUpwardsToo)
{
    openAnswer("one two\n\nthree\n\nfour five");
    draw(at(2, 4), at(0, 4));
    EXPECT_EQ(selected(), (QStringList{ "two", "three", "four" }));
}

TEST_F(MessageTextTest, ASelectionThatComesBackIsThatOfItsTextAlone)
{
    openAnswer("one two\n\nthree\n\nfour five");
    QTest::mousePress(&qml.view(), Qt::LeftButton, {}, at(0, 0));
    QTest::mouseMove(&qml.view(), at(2, 4));
    EXPECT_EQ(selected(), (QStringList{ "one two", "three", "four" }));
    QTest::mouseMove(&qml.view(), at(0, 3));
    QTest::mouseRelease(&qml.view(), Qt::LeftButton, {}, at(0, 3));
    EXPECT_EQ(selected(), (QStringList{ "one", "", "" }));
    EXPECT_EQ(copied(), "one");
}

TEST_F(MessageTextTest, APressElsewhereInAMessageEndsTheSelection)
{
    open({ { ChatEntryKind::user, "mine" }, { ChatEntryKind::assistant, "one\n\ntwo" } });
    draw(at(1, 0), at(2, 3));
    EXPECT_EQ(selected(), (QStringList{ "", "one", "two" }));
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, at(0, 1));
    EXPECT_EQ(selected(), (QStringList{ "", "", "" }));
}

TEST_F(MessageTextTest, ShiftReachesFromWhereTheSelectionBegan)
{
    openAnswer("one two\n\nthree");
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, at(0, 4));
    QTest::mouseClick(&qml.view(), Qt::LeftButton, Qt::ShiftModifier, at(1, 2));
    EXPECT_EQ(selected(), (QStringList{ "two", "th" }));
    EXPECT_EQ(copied(), "two\n\nth");
}

TEST_F(MessageTextTest, SelectAllTakesTheWholeMessage)
{
    open({ { ChatEntryKind::user, "mine" }, { ChatEntryKind::assistant, "one\n\n- two\n  1. three\n- [x] four\n\n```\nfive\n```" } });
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, at(1, 1));
    QTest::keySequence(&qml.view(), QKeySequence::SelectAll);
    EXPECT_EQ(selected(), (QStringList{ "", "one", "two", "three", "four", "five" }));
    EXPECT_EQ(copied(), "one\n\n- two\n  1. three\n- [x] four\n\nfive") << "with the marks of lists as Markdown writes them";
}

TEST_F(MessageTextTest, TheKeysGoFromMessageToMessageAndCopyEach)
{
    open({ { ChatEntryKind::user, "mine" }, { ChatEntryKind::tool, "" }, { ChatEntryKind::assistant, "one\n\ntwo" },
        { ChatEntryKind::system, "A note." } });
    const auto taken = [this](Qt::Key key) {
        QTest::keyClick(&qml.view(), key, Qt::ControlModifier);
        QTest::keySequence(&qml.view(), QKeySequence::SelectAll);
        return copied();
    };
    list->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_EQ(taken(Qt::Key_Up), "A note.") << "from the lower edge";
    EXPECT_EQ(taken(Qt::Key_Up), "one\n\ntwo");
    EXPECT_EQ(taken(Qt::Key_Up), "mine") << "a tool that shows no text is passed over";
    EXPECT_EQ(taken(Qt::Key_Up), "mine") << "there is none before";
    EXPECT_EQ(taken(Qt::Key_Down), "one\n\ntwo");
    EXPECT_EQ(selected(), (QStringList{ "", "one", "two", "" }));
    const auto ringed = [this] {
        QStringList names;
        for (const QQuickItem* row : list->property("contentItem").value<QQuickItem*>()->childItems()) {
            const auto* text = row->property("texts").value<QQuickItem*>();
            if (text != nullptr && text->property("hasKeys").toBool()) {
                names.append(row->property("name").toString());
            }
        }
        return names;
    };
    EXPECT_EQ(ringed().size(), 1) << "it is seen where they are";
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, at(0, 1));
    EXPECT_EQ(ringed(), QStringList());
}

TEST_F(MessageTextTest, ASelectionIsNotLostByAnotherMessagesGrowth)
{
    open({ { ChatEntryKind::user, "one\ntwo" }, { ChatEntryKind::assistant, "three" } });
    draw(at(0, 0), at(0, 7));
    EXPECT_EQ(selected()[0], "one\ntwo");
    for (int i = 0; i < 20; ++i) {
        entries.back().text += " and more\n\nof it";
        model.noteTextAppended(1);
        model.flush();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(selected()[0], "one\ntwo");
}

TEST_F(MessageTextTest, TheKeyboardStopsAtEachLinkAndShowsWhereItLeads)
{
    openAnswer("See [the first](https://example.org/one) and [a file](file:///etc/passwd), then [the *second*](https://example.org/two).");
    const QList<QQuickItem*> spots = QmlFixture::items(list, "TextLinkSpot");
    ASSERT_EQ(spots.size(), 2) << "a link that is not opened is no link";
    list->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_Tab);
    EXPECT_TRUE(spots[0]->hasActiveFocus());
    EXPECT_EQ(QmlFixture::items(spots[0], "HoverTip").value(0)->property("text"), "https://example.org/one");
    EXPECT_TRUE(QmlFixture::items(spots[0], "HoverTip").value(0)->property("active").toBool());
    QTest::keyClick(&qml.view(), Qt::Key_Tab);
    EXPECT_TRUE(spots[1]->hasActiveFocus());
    EXPECT_FALSE(QmlFixture::items(spots[0], "HoverTip").value(0)->property("active").toBool());
}

TEST_F(MessageTextTest, AScreenReaderIsToldOfALinkAndWhereItLeads)
{
    openAnswer("See [the first](https://example.org/one).");
    QQuickItem* spot = QmlFixture::items(list, "TextLinkSpot").value(0);
    ASSERT_NE(spot, nullptr);
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(spot);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::Link);
    EXPECT_EQ(accessible->text(QAccessible::Name), "the first");
    EXPECT_EQ(accessible->text(QAccessible::Description), "https://example.org/one");
    EXPECT_TRUE(accessible->state().focusable);
    EXPECT_TRUE(accessible->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
}

TEST_F(MessageTextTest, ALinkStandsWhereItsWordsAre)
{
    openAnswer("See [the first](https://example.org/one) of many.");
    const QQuickItem* spot = QmlFixture::items(list, "TextLinkSpot").value(0);
    ASSERT_NE(spot, nullptr);
    const QRectF place = spot->mapRectToScene(spot->boundingRect());
    EXPECT_TRUE(place.contains(at(0, 6))) << place.x() << ' ' << place.y() << ' ' << place.width() << ' ' << place.height() << " and "
                                          << at(0, 6).x() << ' ' << at(0, 6).y();
    EXPECT_FALSE(spot->mapRectToScene(spot->boundingRect()).contains(at(0, 15)));
}

TEST_F(MessageTextTest, ATextOfVeryManyLinksHasAFewStops)
{
    std::string many;
    for (int i = 0; i < 150; ++i) {
        many += "[a](http://x.org/" + std::to_string(i) + ") ";
    }
    openAnswer(many.c_str());
    EXPECT_EQ(QmlFixture::items(list, "TextLinkSpot").size(), 100);
}

TEST_F(MessageTextTest, ParagraphsStandAtTheSideWhereTheyBegin)
{
    open(
        { { ChatEntryKind::assistant, "hello\n\nשלום עולם\n\n- مرحبا\n\n> שלום" }, { ChatEntryKind::user, "שלום\nhello, a longer line" } });
    const auto isAtTheRight = [this](int text) {
        QRectF first;
        QMetaObject::invokeMethod(texts()[text], "positionToRectangle", Q_RETURN_ARG(QRectF, first), Q_ARG(int, 0));
        return first.x() > texts()[text]->width() - 4;
    };
    EXPECT_FALSE(isAtTheRight(0));
    EXPECT_TRUE(isAtTheRight(1));
    EXPECT_TRUE(isAtTheRight(2));
    EXPECT_TRUE(isAtTheRight(3));
    EXPECT_TRUE(isAtTheRight(4));
    const QQuickItem* mark = nullptr;
    for (const QQuickItem* each : QmlFixture::items(list, "ListMark")) {
        mark = each->isVisible() ? each : mark;
    }
    ASSERT_NE(mark, nullptr);
    QRectF second;
    QMetaObject::invokeMethod(texts()[4], "positionToRectangle", Q_RETURN_ARG(QRectF, second), Q_ARG(int, 5));
    EXPECT_LT(second.x(), 4) << "each paragraph of one text stands at its own side";
    EXPECT_GT(mark->mapToScene({}).x(), texts()[2]->mapToScene(QPointF(texts()[2]->width(), 0)).x()) << "its mark stands before it";
}

TEST_F(MessageTextTest, CodeIsNeverReadFromRightToLeft)
{
    openAnswer("```py\n# שלום\nx = 1\n```");
    QRectF first;
    QMetaObject::invokeMethod(texts()[0], "positionToRectangle", Q_RETURN_ARG(QRectF, first), Q_ARG(int, 0));
    EXPECT_LT(first.x(), 4);
}

TEST_F(MessageTextTest, ATaskItemHasADrawnMarkThatIsRead)
{
    openAnswer("- [x] done\n- [ ] open\n- plain");
    QStringList names;
    for (QQuickItem* mark : QmlFixture::items(list, "ListMark")) {
        if (QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(mark); accessible != nullptr) {
            names.append(accessible->text(QAccessible::Name));
        }
    }
    EXPECT_TRUE(names.contains("Done"));
    EXPECT_TRUE(names.contains("To do"));
}

TEST_F(MessageTextTest, OnlyTheLastBlockIsLaidOutAgainWhileAnAnswerGrows)
{
    openAnswer("One paragraph.\n\n- an item\n\n```\ncode\n```\n\nThe last");
    std::vector<std::unique_ptr<QSignalSpy>> laidOut;
    for (const QQuickItem* text : texts()) {
        auto* document = text->property("textDocument").value<QQuickTextDocument*>()->textDocument();
        laidOut.push_back(std::make_unique<QSignalSpy>(document, &QTextDocument::contentsChange));
    }
    ASSERT_EQ(laidOut.size(), 4);
    for (int i = 0; i < 10; ++i) {
        entries.back().text += " word";
        model.noteTextAppended(0);
        model.flush();
    }
    EXPECT_EQ(laidOut[0]->count() + laidOut[1]->count() + laidOut[2]->count(), 0);
    EXPECT_EQ(laidOut[3]->count(), 10) << "once for each piece";
    EXPECT_EQ((*laidOut[3])[9][2].toInt(), 5) << "and only what was added";
}

TEST_F(MessageTextTest, ABubbleIsAsHighAsItsText)
{
    open({ { ChatEntryKind::user, "go" } });
    for (const char* text : { "a word", "and a prompt of some more words, which still stands on one line" }) {
        entries.push_back(ChatEntry::make(ChatEntryKind::user, text));
        model.noteAppended();
        model.flush();
        ASSERT_TRUE(QmlFixture::becomes([&] { return texts().size() == static_cast<qsizetype>(entries.size()); }));
    }
    for (const QQuickItem* pages : QmlFixture::items(list, "tessarin::TextSelection")) {
        EXPECT_EQ(pages->height(), 22);
    }
    EXPECT_EQ(QmlFixture::items(list, "UserRow").size(), 3);
    for (const QQuickItem* row : QmlFixture::items(list, "UserRow")) {
        EXPECT_LE(row->height(), 24 + 22 + 20);
    }
}

TEST_F(MessageTextTest, RowsOfVeryDifferentHeightsComeToRest)
{
    const std::string word = std::string(5000, 'w');
    open({ { ChatEntryKind::user, word.c_str() }, { ChatEntryKind::assistant, word.c_str() }, { ChatEntryKind::system, word.c_str() },
        { ChatEntryKind::thought, "short" }, { ChatEntryKind::user, word.c_str() }, { ChatEntryKind::user, "go" } });
    list->setProperty("contentY", -24);
    QCoreApplication::processEvents();
    entries.push_back(ChatEntry::make(ChatEntryKind::system, "broken"));
    model.noteAppended();
    model.flush();
    for (const QSize& size : { QSize(700, 148), QSize(2000, 1200), QSize(700, 220) }) {
        qml.view().resize(size);
        EXPECT_TRUE(QmlFixture::becomes([this] { return list->property("settling").toInt() == 0; }));
        EXPECT_FALSE(qml.view().grabWindow().isNull());
    }
    EXPECT_TRUE(list->property("atRest").toBool());
}

} // namespace

} // namespace tessarin
