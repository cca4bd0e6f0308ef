#include "PresenterFixture.h"
#include "QmlFixture.h"

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

    QmlFixture qml;
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
