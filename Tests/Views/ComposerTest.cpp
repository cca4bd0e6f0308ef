#include "PresenterFixture.h"
#include "QmlFixture.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QInputMethodEvent>

#include <algorithm>

namespace tessarin
{

namespace
{

class ComposerTest : public PresenterTest
{
protected:
    void open()
    {
        openWindow();
        composer = qml.show("ChatComposer",
            { { "conversation", QVariant::fromValue(window.conversation()) }, { "permission", QVariant::fromValue(window.permission()) } },
            QSize(700, 200));
        QMetaObject::invokeMethod(composer, "takeFocus");
    }
    QString draft() const { return composer->property("text").toString(); }
    QQuickItem* sendButton() const { return QmlFixture::items(composer, "SendButton").value(0); }
    void type(const char* text)
    {
        for (const char* key = text; *key != 0; ++key) {
            QTest::keyClick(&qml.view(), *key);
        }
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) { QTest::keyClick(&qml.view(), key, modifiers); }

    QQuickItem* field() const { return QmlFixture::items(composer, "ComposerField").value(0); }
    QQuickItem* area() const { return qobject_cast<QQuickItem*>(qml.view().activeFocusItem()); }
    // What an input method has composed so far, and what it gives up for good.
    void compose(const QString& preedit, const QString& commit = {})
    {
        QInputMethodEvent event(preedit, {});
        event.setCommitString(commit);
        QCoreApplication::sendEvent(qml.view().activeFocusItem(), &event);
    }
    bool isPlaceholderSeen() const
    {
        const QList<QQuickItem*> lines = QmlFixture::items(field(), "Line");
        return std::any_of(lines.begin(), lines.end(), [](const QQuickItem* line) { return line->isVisible(); });
    }
    double lineAt(int position) const
    {
        QRectF place;
        QMetaObject::invokeMethod(area(), "positionToRectangle", Q_RETURN_ARG(QRectF, place), Q_ARG(int, position));
        return place.y();
    }

    mutable QmlFixture qml;
    QQuickItem* composer = nullptr;
};

TEST_F(ComposerTest, ReturnSendsTheTrimmedTextAndEmptiesTheField)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    type(" mend it ");
    press(Qt::Key_Return);
    EXPECT_EQ(texts(), (std::vector<std::string>{ "mend it" }));
    EXPECT_EQ(draft(), "");
}

TEST_F(ComposerTest, ShiftReturnAddsALine)
{
    open();
    type("one");
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("two");
    EXPECT_EQ(draft(), "one\ntwo");
    EXPECT_TRUE(texts().empty());
}

TEST_F(ComposerTest, ReturnInAnEmptyComposerIsConsumedAndSendsNothing)
{
    open();
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    press(Qt::Key_Enter);
    EXPECT_EQ(draft(), " ");
    EXPECT_TRUE(texts().empty());
}

TEST_F(ComposerTest, ReturnWhileConnectingLeavesTheDraft)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    type("one");
    press(Qt::Key_Return);
    ASSERT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    type("two");
    press(Qt::Key_Return);
    EXPECT_EQ(draft(), "two");
    EXPECT_EQ(texts(), (std::vector<std::string>{ "one" }));
}

TEST_F(ComposerTest, TabLeavesTheTextInBothDirections)
{
    open();
    type("one");
    press(Qt::Key_Tab);
    EXPECT_EQ(draft(), "one");
    EXPECT_TRUE(QmlFixture::items(composer, "RoutingMenuButton").value(0)->hasActiveFocus());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    type("two");
    EXPECT_EQ(draft(), "onetwo");
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(sendButton()->hasActiveFocus()) << "the last before the first";
}

TEST_F(ComposerTest, ThePlaceholderStandsOnlyWhileNothingIsThereOrBeingComposed)
{
    open();
    EXPECT_TRUE(isPlaceholderSeen());
    compose(QStringLiteral("ni"));
    EXPECT_FALSE(isPlaceholderSeen());
    EXPECT_EQ(area()->property("preeditText"), "ni");
    compose({});
    EXPECT_TRUE(isPlaceholderSeen());
    type("a");
    EXPECT_FALSE(isPlaceholderSeen());
}

TEST_F(ComposerTest, ReturnWhileAnInputMethodComposesSendsNothing)
{
    open();
    type("one");
    compose(QStringLiteral("ni"));
    press(Qt::Key_Return);
    EXPECT_TRUE(texts().empty());
    compose({}, QStringLiteral("你"));
    EXPECT_TRUE(draft().endsWith(QStringLiteral("你"))) << draft().toStdString();
}

TEST_F(ComposerTest, WhatIsComposedStandsAtTheCursor)
{
    open();
    type("ab");
    press(Qt::Key_Left);
    compose(QStringLiteral("ni"));
    EXPECT_EQ(draft(), "ab");
    compose({}, QStringLiteral("你"));
    EXPECT_EQ(draft(), QStringLiteral("a你b"));
}

TEST_F(ComposerTest, ItsLinesAreAsHighAsThoseOfAMessage)
{
    open();
    EXPECT_EQ(field()->height(), 22);
    type("one");
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("two");
    EXPECT_EQ(field()->height(), 44);
    EXPECT_EQ(lineAt(5) - lineAt(1), 22);
    QMetaObject::invokeMethod(field(), "clear");
    type("three");
    EXPECT_EQ(field()->height(), 22) << "also in a field that was emptied";
}

TEST_F(ComposerTest, TheLineHeightIsNoStepThatCanBeUndone)
{
    open();
    EXPECT_FALSE(area()->property("canUndo").toBool());
    type("one");
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("two");
    for (int i = 0; i < 10 && area()->property("canUndo").toBool(); ++i) {
        QTest::keySequence(&qml.view(), QKeySequence::Undo);
        EXPECT_EQ(field()->height(), draft().contains(QLatin1Char('\n')) ? 44 : 22);
    }
    EXPECT_EQ(draft(), "");
    for (int i = 0; i < 10 && area()->property("canRedo").toBool(); ++i) {
        QTest::keySequence(&qml.view(), QKeySequence::Redo);
    }
    EXPECT_EQ(draft(), "one\ntwo");
    EXPECT_EQ(field()->height(), 44);
}

TEST_F(ComposerTest, ALongPromptIsPastedAtOnceAndScrolls)
{
    open();
    QString prompt;
    while (prompt.size() < 100000) {
        prompt += QStringLiteral("Line %1 of a long prompt, as long as such lines are when they come out of a log.\n").arg(prompt.size());
    }
    QGuiApplication::clipboard()->setText(prompt);
    QElapsedTimer time;
    time.start();
    QTest::keySequence(&qml.view(), QKeySequence::Paste);
    qml.view().grabWindow();
    EXPECT_EQ(draft().size(), prompt.size());
    EXPECT_EQ(field()->height(), 176);
    EXPECT_GT(field()->property("contentHeight").toDouble(), 20000);
    EXPECT_TRUE(area()->property("canUndo").toBool());
    EXPECT_NEAR(field()->property("contentY").toDouble() + 176, field()->property("contentHeight").toDouble(), 2) << "at the cursor";
    const qint64 pasted = time.restart();
    for (int i = 0; i < 10; ++i) {
        QTest::keyClick(&qml.view(), 'a');
        qml.view().grabWindow();
    }
    // A hitch that a person feels is ten times a frame and more; unoptimised code on a busy machine is given that much.
    EXPECT_LT(time.elapsed() / 10, 160) << "for one key";
    EXPECT_LT(pasted, 3000);
}

TEST_F(ComposerTest, EachLineStandsAtTheSideWhereItBegins)
{
    open();
    const auto isAtTheRight = [this](int position) {
        QRectF place;
        QMetaObject::invokeMethod(area(), "positionToRectangle", Q_RETURN_ARG(QRectF, place), Q_ARG(int, position));
        return place.x() > area()->width() / 2;
    };
    QGuiApplication::clipboard()->setText(QStringLiteral("שלום\nhello\nמה"));
    QTest::keySequence(&qml.view(), QKeySequence::Paste);
    EXPECT_TRUE(isAtTheRight(0));
    EXPECT_FALSE(isAtTheRight(5));
    EXPECT_TRUE(isAtTheRight(11));
    QTest::keySequence(&qml.view(), QKeySequence::Undo);
    EXPECT_EQ(draft(), "") << "the sides are no step of their own";
    QTest::keySequence(&qml.view(), QKeySequence::Redo);
    EXPECT_TRUE(isAtTheRight(0));
    EXPECT_FALSE(isAtTheRight(5));
}

TEST_F(ComposerTest, ALineThatIsAddedByKeyHasItsOwnSide)
{
    open();
    QGuiApplication::clipboard()->setText(QStringLiteral("שלום"));
    QTest::keySequence(&qml.view(), QKeySequence::Paste);
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("hello");
    EXPECT_EQ(draft(), QStringLiteral("שלום\nhello"));
    EXPECT_EQ(area()->property("cursorPosition"), 10);
    QRectF place;
    QMetaObject::invokeMethod(area(), "positionToRectangle", Q_RETURN_ARG(QRectF, place), Q_ARG(int, 5));
    EXPECT_LT(place.x(), 20);
    EXPECT_EQ(field()->height(), 44);
}

TEST_F(ComposerTest, TextIsInsertedWhereItWasDroppedElseAtTheCursor)
{
    open();
    type("two");
    QMetaObject::invokeMethod(field(), "insertAt", Q_ARG(QVariant, "one "), Q_ARG(QVariant, 17), Q_ARG(QVariant, 10));
    EXPECT_EQ(draft(), "one two");
    press(Qt::Key_End);
    QMetaObject::invokeMethod(field(), "insertAt", Q_ARG(QVariant, "!"), Q_ARG(QVariant, 20), Q_ARG(QVariant, 60));
    EXPECT_EQ(draft(), "one two!");
}

TEST_F(ComposerTest, TheStopButtonStandsOnlyWhileWorking)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    EXPECT_EQ(sendButton()->property("name").toString(), "Send");
    EXPECT_FALSE(sendButton()->isEnabled());
    type("one");
    EXPECT_TRUE(sendButton()->isEnabled());
    press(Qt::Key_Return);
    ASSERT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    EXPECT_EQ(sendButton()->property("name").toString(), "Send");
    waitFor(ConnectionState::Kind::working);
    EXPECT_EQ(sendButton()->property("name").toString(), "Stop agent");
    EXPECT_TRUE(sendButton()->isEnabled());
    QMetaObject::invokeMethod(sendButton(), "clicked");
    EXPECT_EQ(texts().back(), "Stopped by you.");
    EXPECT_EQ(sendButton()->property("name").toString(), "Send");
}

TEST_F(ComposerTest, ABlankDraftCannotBeSentByTheButton)
{
    open();
    type("  ");
    EXPECT_FALSE(sendButton()->isEnabled());
}

TEST_F(ComposerTest, AChipSendsItsTextPastTheComposer)
{
    runtime.script("grok", testing::hangingTurn());
    openWindow();
    QQuickItem* view
        = qml.show("EmptyConversationView", { { "conversation", QVariant::fromValue(window.conversation()) } }, QSize(800, 500));
    QStringList chips;
    for (const QQuickItem* chip : QmlFixture::items(view, "PromptChip")) {
        chips.append(chip->property("text").toString());
    }
    EXPECT_EQ(chips, (QStringList{ "Explain this project", "Find and fix a bug", "Add a new feature" }));
    QMetaObject::invokeMethod(QmlFixture::items(view, "PromptChip")[1], "clicked");
    EXPECT_EQ(texts(), (std::vector<std::string>{ "Find and fix a bug" }));
}

} // namespace

} // namespace tessarin
