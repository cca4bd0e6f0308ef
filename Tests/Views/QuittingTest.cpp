#include "PresenterFixture.h"
#include "QmlFixture.h"
#include "RestingUpdater.h"
#include "Views/SystemUpdater.h"
#include "Views/UpdateController.h"
#include "Views/UpdateFlow.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

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
    EXPECT_TRUE(quitting.hasToAsk());
    quitting.yieldToSession();
    EXPECT_TRUE(quitting.mayClose());
    EXPECT_EQ(asking.count(), 0);
}

TEST_F(QuittingTest, WhereNothingIsAtWorkTheEndOfTheSessionHasNothingToAskAndYieldsNothing)
{
    runtime.script("grok", testing::hangingTurn());
    openWindow();
    EXPECT_FALSE(quitting.hasToAsk());
    quitting.yieldToSession();
    model->send("go");
    waitFor(ConnectionState::Kind::working);
    EXPECT_FALSE(quitting.mayClose()) << "what has begun since then is asked about";
}

TEST_F(QuittingTest, AnEndOfTheSessionWhileTheQuestionStandsSaysYes)
{
    openWorking();
    quitting.request();
    EXPECT_FALSE(quitting.hasToAsk());
    quitting.yieldToSession();
    EXPECT_TRUE(isAsked()) << "until the windows close, which may not come about";
    EXPECT_TRUE(quitting.mayClose());
}

TEST_F(QuittingTest, ASecondEndOfTheSessionSaysYesToTheQuestionOfTheFirst)
{
    openWorking();
    quitting.holdSession();
    EXPECT_FALSE(quitting.hasToAsk());
    quitting.giveUp();
    EXPECT_TRUE(quitting.hasToAsk()) << "who has said no is asked again";
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

TEST_F(QuittingTest, WhoUsesAnyWindowAfterASessionThatDidNotEndIsAskedWhenTheyClose)
{
    openWorking();
    QWindow beside;
    QEvent activated(QEvent::WindowActivate);
    QEvent focused(QEvent::FocusIn);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
    QMouseEvent press(QEvent::MouseButtonPress, {}, {}, {}, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    for (QEvent* use : { static_cast<QEvent*>(&key), static_cast<QEvent*>(&press) }) {
        quitting.yieldToSession();
        QCoreApplication::sendEvent(&beside, use);
        EXPECT_FALSE(quitting.mayClose());
        quitting.giveUp();
    }
    quitting.yieldToSession();
    QCoreApplication::sendEvent(&beside, &activated);
    QCoreApplication::sendEvent(&beside, &focused);
    EXPECT_TRUE(quitting.mayClose()) << "it is on its way to its end";
}

// Where the question stands while the window about updates is there, which looks at a server that lets it wait.
class QuittingPlaceTest : public QuittingTest
{
protected:
    ~QuittingPlaceTest() override { qml.view().setSource({}); }

    void openWorkingBesideUpdates()
    {
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
        runtime.script("grok", testing::hangingTurn());
        openProject({ "grok" });
        window.setUpdates(updates, flow);
        window.attach(model);
        root = qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(1180, 760));
        model->send("go");
        waitFor(ConnectionState::Kind::working);
        flow.lookForPerson(QUrl(QStringLiteral("https://127.0.0.1:%1/appcast.xml").arg(server.serverPort())));
        ASSERT_TRUE(QmlFixture::becomes([this] { return updateWindow() != nullptr && updateWindow()->isVisible(); }));
    }
    static QQuickWindow* updateWindow()
    {
        for (QWindow* each : QGuiApplication::topLevelWindows()) {
            if (each->title() == "Software Update") {
                return qobject_cast<QQuickWindow*>(each);
            }
        }
        return nullptr;
    }
    // Absent: it does not stand there.
    static QObject* questionBeside()
    {
        return updateWindow() == nullptr ? nullptr : updateWindow()->property("quitAlert").value<QObject*>();
    }
    static bool questionBesideBecomes(const char* property)
    {
        return QmlFixture::becomes([=] { return questionBeside() != nullptr && questionBeside()->property(property).toBool(); });
    }
    bool standsInTheMainWindow() const { return root->property("asksHere").toBool(); }

    QTcpServer server;
    UpdateFlow flow{ systemUpdateSurroundings(preferences, mainThread, desktop) };
    UpdateController updates{ preferences, [](SoftwareUpdaterDelegate&) { return std::make_unique<RestingUpdater>(); } };
    QmlFixture qml;
    QQuickItem* root = nullptr;
};

TEST_F(QuittingPlaceTest, OverTheUpdateWindowTheQuestionStandsInItWithAllThatItSays)
{
    openWorkingBesideUpdates();
    const int height = updateWindow()->height();
    quitting.request();
    EXPECT_FALSE(standsInTheMainWindow());
    ASSERT_TRUE(questionBesideBecomes("opened"));
    EXPECT_GT(updateWindow()->height(), questionBeside()->property("height").toReal());
    quitting.giveUp();
    EXPECT_TRUE(QmlFixture::becomes([&] { return questionBeside() == nullptr && updateWindow()->height() == height; }));
}

TEST_F(QuittingPlaceTest, WhatChangesInTheWindowBehindTheQuestionTakesNoKeysFromIt)
{
    openWorkingBesideUpdates();
    quitting.request();
    ASSERT_TRUE(questionBesideBecomes("activeFocus"));
    server.close();
    while (QTcpSocket* connection = server.nextPendingConnection()) {
        connection->abort();
    }
    ASSERT_TRUE(QmlFixture::becomes([this] { return flow.stage() == UpdateFlow::Failed; }));
    QCoreApplication::processEvents(); // the window gives the keys to its button
    EXPECT_TRUE(questionBeside()->property("activeFocus").toBool());
    QTest::keyClick(updateWindow(), Qt::Key_Escape);
    EXPECT_FALSE(isAsked());
    EXPECT_TRUE(flow.isShown()) << "the key was meant for the question";
}

TEST_F(QuittingPlaceTest, AQuestionWhoseWindowIsClosedStandsInTheMainWindow)
{
    openWorkingBesideUpdates();
    quitting.request();
    EXPECT_FALSE(standsInTheMainWindow());
    updateWindow()->close();
    EXPECT_TRUE(QmlFixture::becomes([this] { return standsInTheMainWindow(); }));
    EXPECT_TRUE(isAsked());
}

TEST_F(QuittingPlaceTest, AWindowThatIsNotShownIsNotAskedIn)
{
    openWorkingBesideUpdates();
    updateWindow()->setVisible(false);
    quitting.request();
    EXPECT_TRUE(standsInTheMainWindow());
    EXPECT_EQ(questionBeside(), nullptr);
}

} // namespace

} // namespace tessarin
