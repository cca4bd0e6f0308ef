#include "PresenterFixture.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSignalSpy>

namespace tessarin
{

namespace
{

class QuittingTest : public PresenterTest
{
protected:
    void openWorking(const testing::Scenario& scenario = testing::hangingTurn())
    {
        runtime.script("grok", scenario);
        openWindow();
        model->send("go");
        waitFor(ConnectionState::Kind::working);
    }
    bool isAsked()
    {
        QCoreApplication::processEvents();
        return quitting.property("isAsked").toBool();
    }
    QString question() const { return quitting.property("question").toString(); }

    Quitting& quitting = *window.quitting();
    QSignalSpy decided{ &quitting, &Quitting::decided };
    QSignalSpy asking{ &quitting, &Quitting::asking };
};

TEST_F(QuittingTest, WhereNothingIsAtWorkNothingIsAsked)
{
    openWindow();
    EXPECT_TRUE(quitting.mayClose());
    quitting.request();
    EXPECT_EQ(decided.count(), 1);
    EXPECT_FALSE(isAsked());
}

TEST_F(QuittingTest, BeforeTheTasksAreReadNothingIsAsked)
{
    EXPECT_TRUE(quitting.mayClose());
}

TEST_F(QuittingTest, AQuitDuringATurnAsksAndTheSecondOneSaysYes)
{
    openWorking();
    quitting.request();
    EXPECT_TRUE(isAsked());
    EXPECT_EQ(asking.count(), 1);
    EXPECT_EQ(decided.count(), 0);
    EXPECT_EQ(question(), "Grok is still working in “go”. Quitting stops it; what it has written stays.");
    quitting.request();
    EXPECT_EQ(decided.count(), 1);
}

TEST_F(QuittingTest, ClosingTheWindowAsksAndClosingItAgainSaysYes)
{
    openWorking();
    EXPECT_FALSE(quitting.mayClose());
    EXPECT_TRUE(isAsked());
    EXPECT_TRUE(quitting.mayClose());
    EXPECT_TRUE(quitting.mayClose()) << "also while the program closes it";
}

TEST_F(QuittingTest, WhoGivesUpIsAskedTheNextTime)
{
    openWorking();
    quitting.request();
    quitting.giveUp();
    EXPECT_FALSE(isAsked());
    quitting.request();
    EXPECT_TRUE(isAsked());
    EXPECT_EQ(decided.count(), 0);
}

TEST_F(QuittingTest, AYesEndsTheProgram)
{
    openWorking();
    quitting.request();
    quitting.confirm();
    EXPECT_EQ(decided.count(), 1);
    EXPECT_TRUE(quitting.mayClose());
}

TEST_F(QuittingTest, ASignalNeverAsks)
{
    openWorking();
    quitting.end();
    EXPECT_EQ(decided.count(), 1);
    EXPECT_EQ(asking.count(), 0);
    EXPECT_TRUE(quitting.mayClose());
}

TEST_F(QuittingTest, TheQuestionGoesWithItsReasonAndTheProgramStays)
{
    openWorking(testing::hangingTurn().waitForFile("end").replyTo("session/prompt", testing::endTurn));
    quitting.request();
    EXPECT_TRUE(isAsked());
    runtime.touch("end");
    waitFor(ConnectionState::Kind::ready);
    EXPECT_FALSE(isAsked());
    EXPECT_EQ(decided.count(), 0);
}

TEST_F(QuittingTest, AHandoffKeepsTheQuestionAndNamesTheNextRuntime)
{
    runtime.script("grok", testing::failingTurnOnGo(testing::usageLimit));
    runtime.script("kimi", testing::hangingTurn("session-k"));
    openWindow({ "grok", "kimi" });
    model->send("go on");
    waitFor(ConnectionState::Kind::working);
    quitting.request();
    runtime.touch("go");
    waitUntil([this] { return model->activeProvider() == AgentProvider::kimi; });
    EXPECT_TRUE(isAsked());
    EXPECT_TRUE(question().startsWith("Kimi is still working")) << question().toStdString();
}

TEST_F(QuittingTest, TheStartOfARuntimeIsWork)
{
    runtime.script("grok", testing::Scenario().expect("initialize").waitForFile("never"));
    openWindow();
    model->send("go");
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    EXPECT_FALSE(quitting.mayClose());
    dropConnection();
}

TEST_F(QuittingTest, AGenerationIsWork)
{
    runtime.script("grok", testing::hangingTurn());
    openWindow();
    model->generateImagine("a harbor", ImagineKind::image);
    EXPECT_FALSE(quitting.mayClose());
    EXPECT_TRUE(question().startsWith("Grok is still generating in Imagine."));
    model->cancelImagine();
    EXPECT_FALSE(isAsked());
}

TEST_F(QuittingTest, ASignInIsNoWork)
{
    runtime.script("grok", testing::Scenario().command("--version", "1").command("login", "Welcome"));
    openWindow();
    model->logIn();
    EXPECT_TRUE(quitting.mayClose());
    waitFor(ConnectionState::Kind::idle);
}

TEST_F(QuittingTest, TheEndOfTheSessionAsksOnlyWhereItMay)
{
    openWorking();
    EXPECT_TRUE(quitting.isAnythingAtWork());
    quitting.yieldToSession();
    EXPECT_TRUE(quitting.mayClose());
    EXPECT_EQ(asking.count(), 0);
}

TEST_F(QuittingTest, ASessionThatIsHeldShowsTheQuestion)
{
    openWorking();
    quitting.holdSession();
    EXPECT_TRUE(isAsked());
    EXPECT_EQ(asking.count(), 1);
}

TEST_F(QuittingTest, APersonWhoQuitsAfterASessionThatDidNotEndIsAsked)
{
    openWorking();
    quitting.yieldToSession();
    quitting.request();
    EXPECT_TRUE(isAsked());
    EXPECT_EQ(decided.count(), 0);
}

TEST_F(QuittingTest, WhoUsesTheWindowAfterASessionThatDidNotEndIsAskedWhenTheyCloseIt)
{
    openWorking();
    QObject frame;
    frame.installEventFilter(&window);
    QEvent activated(QEvent::WindowActivate);
    QEvent focused(QEvent::FocusIn);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
    QMouseEvent press(QEvent::MouseButtonPress, {}, {}, {}, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    for (QEvent* use : { static_cast<QEvent*>(&key), static_cast<QEvent*>(&press) }) {
        quitting.yieldToSession();
        QCoreApplication::sendEvent(&frame, use);
        EXPECT_FALSE(quitting.mayClose());
        quitting.giveUp();
    }
    quitting.yieldToSession();
    QCoreApplication::sendEvent(&frame, &activated);
    QCoreApplication::sendEvent(&frame, &focused);
    EXPECT_TRUE(quitting.mayClose()) << "it is on its way to its end";
}

} // namespace

} // namespace tessarin
