#include "PresenterFixture.h"
#include "QmlFixture.h"
#include "Views/RuntimeLogPages.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>

namespace tessarin
{

namespace
{

using testing::hangingTurn;
using testing::Scenario;

std::string lines(int count, int from = 0)
{
    std::string text;
    for (int number = from; number < from + count; ++number) {
        text += "line " + std::to_string(number) + "\n";
    }
    return text;
}

class RuntimeLogTest : public PresenterTest
{
protected:
    ~RuntimeLogTest() override { qml.view().setSource({}); }

    // A runtime that writes the first text, and each of the others when the test has touched "1", "2" and so on.
    void start(const std::vector<std::string>& written)
    {
        Scenario scenario = hangingTurn();
        for (std::size_t part = 0; part < written.size(); ++part) {
            if (part > 0) {
                scenario.waitForFile(std::to_string(part));
            }
            scenario.standardError(written[part]);
        }
        runtime.script("grok", 1, scenario);
        runtime.script("grok", 2, hangingTurn());
        openWindow();
        model->send("Hi");
        awaitLog(written.front());
    }
    void awaitLog(const std::string& log)
    {
        waitUntil([&] { return model->cliLog() == log; }, "the log");
    }
    void listen()
    {
        pages = std::make_unique<RuntimeLogPages>();
        pages->setProperty("windowModel", QVariant::fromValue(&window));
        pages->componentComplete();
        tester = std::make_unique<QAbstractItemModelTester>(pages.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    }
    void show(QSize size = { 760, 620 })
    {
        root = qml.show("RuntimeLogView", { { "windowModel", QVariant::fromValue(&window) } }, size);
        root->forceActiveFocus();
    }
    QQuickItem* item(const char* name) const { return QmlFixture::items(root, name).value(0); }
    QQuickItem* view() const { return QmlFixture::items(item("RuntimeLogText"), "QQuickFlickable").value(0); }
    double end() const { return view()->property("end").toDouble(); }
    double place() const { return view()->property("contentY").toDouble(); }
    // What the existing pages say, from top to bottom.
    std::string seen() const
    {
        QString text;
        for (const QQuickItem* page : QmlFixture::items(root, "RuntimeLogPage")) {
            text += page->property("text").toString() + "\n";
        }
        return text.toStdString();
    }
    bool isSeen(const std::string& text) const { return seen().find(text) != std::string::npos; }

    QmlFixture qml;
    QQuickItem* root = nullptr;
    std::unique_ptr<RuntimeLogPages> pages;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

TEST_F(RuntimeLogTest, TheLogAsItIsComesFirstAndGrowsByWhatIsWritten)
{
    start({ lines(3000), lines(3000, 3000) });
    listen();
    EXPECT_EQ(pages->wholeText().toStdString(), lines(3000));
    const int before = pages->count();
    EXPECT_GT(before, 2);
    QSignalSpy changes(pages.get(), &QAbstractItemModel::dataChanged);
    runtime.touch("1");
    awaitLog(lines(6000));
    ASSERT_TRUE(QmlFixture::becomes([&] { return pages->wholeText().toStdString() == lines(6000) && pages->count() > before; }));
    ASSERT_FALSE(changes.isEmpty());
    EXPECT_EQ(changes[0][0].toModelIndex().row(), before - 1) << "what stands before is not read again";
}

TEST_F(RuntimeLogTest, ABurstIsToldOnceAFrame)
{
    start({ "one\n", "two\n", "three\n" });
    listen();
    QSignalSpy changes(pages.get(), &QAbstractItemModel::dataChanged);
    runtime.touch("1");
    awaitLog("one\ntwo\n");
    runtime.touch("2");
    awaitLog("one\ntwo\nthree\n");
    EXPECT_TRUE(changes.isEmpty()) << "no frame has passed";
    EXPECT_TRUE(changes.wait());
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(pages->content(0).plainText(), "one\ntwo\nthree");
}

TEST_F(RuntimeLogTest, TheNextStartBeginsALogAnewAlsoWhenItIsSoonLongerThanTheOneBefore)
{
    Scenario first = hangingTurn();
    first.standardError(lines(3000)).waitForFile("end").exit(0);
    Scenario second;
    second.standardError(lines(6000, 10000)).expect("initialize");
    runtime.script("grok", 1, first);
    runtime.script("grok", 2, second);
    openWindow();
    listen();
    model->send("Hi");
    awaitLog(lines(3000));
    ASSERT_TRUE(QmlFixture::becomes([&] { return pages->count() > 2; }));
    const int before = pages->count();
    QSignalSpy changes(pages.get(), &QAbstractItemModel::dataChanged);
    runtime.touch("end");
    waitFor(ConnectionState::Kind::failed);
    model->send("Again");
    EXPECT_EQ(model->cliLog(), "");
    awaitLog(lines(6000, 10000)); // within one frame, as far as the pages know
    ASSERT_TRUE(QmlFixture::becomes([&] { return pages->count() > before; }));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 0) << "all pages are others";
    EXPECT_EQ(changes[0][1].toModelIndex().row(), before - 1);
    EXPECT_EQ(pages->wholeText().toStdString(), lines(6000, 10000));
}

TEST_F(RuntimeLogTest, ItTellsTheVersionsOfTheProgramsAsTheyBecomeKnown)
{
    runtime.script("grok", Scenario().command("--version", "1.0.41 at " + QDir::homePath().toStdString() + "/x\n"));
    openWindow({ "grok" });
    listen();
    const QSignalSpy told(pages.get(), &RuntimeLogPages::versionsChanged);
    waitUntil([&] { return pages->versions().plainText().contains("1.0.41"); }, "the version");
    EXPECT_FALSE(told.isEmpty());
    const QStringList rows = pages->versions().plainText().split('\n');
    ASSERT_EQ(rows.size(), 7);
    EXPECT_TRUE(rows[0].startsWith("tessarin "));
    EXPECT_TRUE(rows[1].startsWith("System "));
    EXPECT_EQ(rows[2], "Grok             1.0.41 at ~/x");
    EXPECT_EQ(rows[3], "ChatGPT / Codex  not found");
    EXPECT_EQ(rows[6], "Claude           not found");
}

TEST_F(RuntimeLogTest, WhatIsCopiedIsWhatIsShown)
{
    start({ "\x1b[31mat " + QDir::homePath().toStdString() + "/x\x1b[0m \u202E\n" });
    show();
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, item("PushButton")->mapToScene({ 20, 10 }).toPoint());
    EXPECT_TRUE(QmlFixture::becomes([&] { return root->property("copied").toBool(); }));
    const QString copied = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(copied.startsWith("tessarin ")) << copied.toStdString();
    EXPECT_TRUE(copied.endsWith("\n\nat ~/x ‹U+202E›\n")) << copied.toStdString();
    EXPECT_TRUE(isSeen("at ~/x ‹U+202E›"));
    EXPECT_TRUE(QmlFixture::becomes([&] { return !root->property("copied").toBool(); }));
}

TEST_F(RuntimeLogTest, AnEmptyLogSaysSo)
{
    openWindow();
    show();
    const auto says = [this] {
        QStringList texts;
        for (const QQuickItem* prose : QmlFixture::items(root, "Prose")) {
            if (prose->isVisible()) {
                texts.append(prose->property("text").toString());
            }
        }
        return texts.filter("Nothing has been written yet.").size() == 1;
    };
    EXPECT_TRUE(says());
    Scenario scenario = hangingTurn();
    scenario.standardError("trouble\n");
    runtime.script("grok", scenario);
    model->send("Hi");
    awaitLog("trouble\n");
    EXPECT_TRUE(QmlFixture::becomes([&] { return !says() && isSeen("trouble"); }));
}

TEST_F(RuntimeLogTest, WhoIsAtTheEndStaysThere)
{
    start({ lines(4000), lines(4000, 4000), "the last\n" });
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > 1000 && place() == end() && isSeen("line 3999"); }));
    const double before = end();
    runtime.touch("1");
    awaitLog(lines(8000));
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > before && place() == end() && isSeen("line 7999"); }));
    runtime.touch("2");
    awaitLog(lines(8000) + "the last\n");
    EXPECT_TRUE(QmlFixture::becomes([&] { return isSeen("the last") && place() == end(); }));
    EXPECT_LT(QmlFixture::items(root, "RuntimeLogPage").size(), 8) << "only what is near the sight exists";
}

TEST_F(RuntimeLogTest, WhoReadsElsewhereIsLeftThere)
{
    start({ lines(4000), lines(4000, 4000) });
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > 1000 && place() == end(); }));
    QTest::keyClick(&qml.view(), Qt::Key_PageUp);
    const double left = place();
    EXPECT_LT(left, end());
    const double before = end();
    runtime.touch("1");
    awaitLog(lines(8000));
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > before; }));
    EXPECT_EQ(place(), left);
    QTest::keyClick(&qml.view(), Qt::Key_End);
    EXPECT_TRUE(QmlFixture::becomes([&] { return isSeen("line 7999") && place() == end(); }));
}

TEST_F(RuntimeLogTest, ALongLineIsWrappedIntoTheWindow)
{
    start({ std::string(100'000, 'x') + "\nafter\n" });
    show({ 520, 400 });
    ASSERT_TRUE(QmlFixture::becomes([&] { return isSeen("after") && place() == end(); }));
    for (const QQuickItem* page : QmlFixture::items(root, "RuntimeLogPage")) {
        EXPECT_LE(page->property("contentWidth").toDouble(), view()->width());
    }
}

TEST_F(RuntimeLogTest, SelectingAllOfItCopiesAllOfIt)
{
    start({ lines(5000) });
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return isSeen("line 4999") && place() == end(); }));
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, view()->mapToScene({ 20, 20 }).toPoint());
    QTest::keyClick(&qml.view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&qml.view(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), lines(5000));
}

TEST_F(RuntimeLogTest, WhoHasNotClickedIntoItSelectsAndCopiesAllOfItByKeys)
{
    start({ lines(5000) });
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return isSeen("line 4999") && place() == end() && view()->hasActiveFocus(); }));
    QGuiApplication::clipboard()->setText("before");
    QTest::keyClick(&qml.view(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "before") << "nothing is selected";
    QTest::keyClick(&qml.view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&qml.view(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), lines(5000));
}

TEST_F(RuntimeLogTest, OfAnEndlessLineOnlyWhatIsNearIsLaidOutAndAllIsCopied)
{
    const std::string line(150'000, 'x');
    start({ line });
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > 1000 && place() == end(); }));
    qsizetype characters = 0;
    for (const QQuickItem* page : QmlFixture::items(root, "RuntimeLogPage")) {
        characters += page->property("length").toInt();
    }
    EXPECT_GT(characters, 2000);
    EXPECT_LT(characters, 30'000);
    QTest::keyClick(&qml.view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&qml.view(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), line);
}

// The pages of the first log go on within a line, those of the next one do not. Who has read elsewhere is at the end of the next one.
TEST_F(RuntimeLogTest, TheNextLogHasItsOwnLinesAndIsShownAtItsEnd)
{
    Scenario first = hangingTurn();
    first.standardError(std::string(100'000, 'x')).waitForFile("end").exit(0);
    Scenario second;
    second.waitForFile("go").standardError(lines(6000)).expect("initialize");
    runtime.script("grok", 1, first);
    runtime.script("grok", 2, second);
    openWindow();
    model->send("Hi");
    awaitLog(std::string(100'000, 'x'));
    show();
    ASSERT_TRUE(QmlFixture::becomes([&] { return end() > 1000 && place() == end(); }));
    QTest::keyClick(&qml.view(), Qt::Key_Home);
    EXPECT_TRUE(QmlFixture::becomes([&] { return place() == 0; }));
    runtime.touch("end");
    waitFor(ConnectionState::Kind::failed);
    model->send("Again");
    ASSERT_TRUE(QmlFixture::becomes([&] { return !view()->isVisible(); }));
    runtime.touch("go");
    awaitLog(lines(6000));
    EXPECT_TRUE(QmlFixture::becomes([&] { return isSeen("line 5999") && end() > 1000 && place() == end(); }));
    for (const QQuickItem* page : QmlFixture::items(root, "RuntimeLogPage")) {
        EXPECT_EQ(page->property("separator").toString(), "\n");
    }
}

TEST_F(RuntimeLogTest, InALowWindowTheVersionsScrollAndSomeLinesOfTheLogAreSeen)
{
    start({ lines(100) });
    show({ 520, 320 });
    ASSERT_TRUE(QmlFixture::becomes([&] { return isSeen("line 99") && place() == end(); }));
    const QList<QQuickItem*> views = QmlFixture::items(root, "QQuickFlickable");
    ASSERT_EQ(views.size(), 2);
    const QQuickItem* versions = views[0];
    const QQuickItem* log = item("RuntimeLogText");
    EXPECT_GE(log->height(), 4 * 18 + 24);
    EXPECT_GE(versions->height(), 3 * 18);
    EXPECT_LT(versions->height(), versions->property("contentHeight").toDouble());
    EXPECT_TRUE(versions->property("activeFocusOnTab").toBool());
    const QRectF button = item("PushButton")->mapRectToScene({ {}, item("PushButton")->size() });
    EXPECT_LE(button.bottom(), 320);
    EXPECT_LE(log->mapRectToScene({ {}, log->size() }).bottom(), button.top());
    EXPECT_GE(log->mapRectToScene({}).top(), versions->mapRectToScene({ {}, versions->size() }).bottom());
    qml.view().resize(760, 620);
    EXPECT_TRUE(QmlFixture::becomes([&] { return versions->height() == versions->property("contentHeight").toDouble(); }));
    EXPECT_FALSE(versions->property("activeFocusOnTab").toBool()) << "all of them are seen";
}

} // namespace

} // namespace tessarin
