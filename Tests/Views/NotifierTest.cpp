#include "PresenterFixture.h"
#include "Views/NotificationRules.h"

#include <QCoreApplication>

#include <algorithm>

namespace tessarin
{

namespace
{

using Kind = Notification::Kind;

constexpr const char* request
    = R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"toolCall":{"title":"Run make"},)"
      R"("options":[{"optionId":"a","name":"Allow once","kind":"allow_once"}]}})";

// Remembers what it is told, and stands for the person who clicks.
class RecordingBoard : public NotificationBoard
{
public:
    void show(const Notification& notification) override { shown.push_back(notification); }
    void withdraw(const Notification::Place& place) override { withdrawn.push_back(place); }
    void clear() override { }

    std::vector<Notification> shown;
    std::vector<Notification::Place> withdrawn;
};

class NotifierTest : public PresenterTest
{
protected:
    // A task in which a turn waits for "go"; nobody looks at the window.
    void openWorking(const testing::Scenario& scenario)
    {
        runtime.script("grok", scenario);
        openNotifier();
        model->send("go");
        waitFor(ConnectionState::Kind::working);
    }
    void openNotifier()
    {
        notifier.open(preferences, board, [this] { return hasFocus; });
        QObject::connect(&notifier, &Notifier::called, &board, [this](const QString& token) { calls.append(token); });
        openWindow();
    }
    // What has been shown since the last time.
    std::vector<Notification> shown()
    {
        QCoreApplication::processEvents();
        return std::exchange(board.shown, {});
    }
    std::size_t withdrawn()
    {
        QCoreApplication::processEvents();
        return std::exchange(board.withdrawn, {}).size();
    }
    Notification finish()
    {
        runtime.touch("go");
        waitFor(ConnectionState::Kind::ready);
        const std::vector<Notification> told = shown();
        EXPECT_EQ(told.size(), 1U);
        return told.empty() ? Notification{} : told.front();
    }
    // What is told of the first task, while the agent works in the second.
    Notification finishAndWorkInAnotherTask()
    {
        openWorking(turnOnGo());
        const Notification told = finish();
        model->newThread();
        runtime.script("grok", testing::hangingTurn());
        model->send("work");
        waitFor(ConnectionState::Kind::working);
        return told;
    }
    // The loop goes on meanwhile, so that what comes one after another is told so.
    void waitForAnswer(std::string_view answer)
    {
        waitUntil([&] {
            QCoreApplication::processEvents();
            return texts().back() == answer && model->connectionState().kind() == ConnectionState::Kind::ready;
        });
    }
    static testing::Scenario asking()
    {
        testing::Scenario scenario = testing::hangingTurn();
        return scenario.send(request).expectResponse(7).waitForFile("never");
    }
    static testing::Scenario turnOnGo() { return testing::hangingTurn().waitForFile("go").replyTo("session/prompt", testing::endTurn); }
    void focus()
    {
        hasFocus = true;
        notifier.noteFocus();
    }
    void leave()
    {
        hasFocus = false;
        notifier.noteFocus();
    }

    RecordingBoard board;
    Notifier& notifier = *window.notifier();
    QStringList calls;
    bool hasFocus = false;
};

TEST_F(NotifierTest, ATurnIsToldOfItsTask)
{
    openWorking(turnOnGo());
    EXPECT_TRUE(shown().empty());
    const Notification told = finish();
    EXPECT_EQ(told.kind, Kind::ended);
    EXPECT_EQ(told.title, "go");
    EXPECT_EQ(told.place, (Notification::Place{ AppSection::build, *model->selectedWorkspaceID(), *model->selectedThreadID() }));
}

TEST_F(NotifierTest, NothingIsShownWithTheFocusOrSwitchedOff)
{
    openWorking(turnOnGo().expect("session/prompt").replyError("no"));
    hasFocus = true;
    runtime.touch("go");
    waitFor(ConnectionState::Kind::ready);
    EXPECT_TRUE(shown().empty());
    hasFocus = false;
    notifier.setEnabled(false);
    model->send("again");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, TheSwitchIsOnAtFirstAndIsKept)
{
    openNotifier();
    EXPECT_TRUE(notifier.isEnabled());
    notifier.setEnabled(false);
    EXPECT_EQ(preferences.boolean(Notifier::key), false);
    Notifier next;
    next.open(preferences, board, [] { return false; });
    EXPECT_FALSE(next.isEnabled());
}

TEST_F(NotifierTest, SwitchingOffPutsAwayWhatStands)
{
    openWorking(turnOnGo());
    (void)finish();
    notifier.setEnabled(false);
    EXPECT_EQ(withdrawn(), 1U);
}

TEST_F(NotifierTest, AFailureAfterAStopIsNoNews)
{
    openWorking(testing::failingTurnOnGo("cancelled"));
    model->stopWorking();
    EXPECT_TRUE(shown().empty());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, ASignInThatFailsIsNoNews)
{
    runtime.script("grok", testing::Scenario().command("--version", "1").command("login", "no", 1));
    openNotifier();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, WhatATurnCameToIsToldThoughTheConnectionEndsWithIt)
{
    openWorking(turnOnGo());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::ready);
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    ASSERT_EQ(model->connectionState().kind(), ConnectionState::Kind::idle);
    const std::vector<Notification> told = shown();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().kind, Kind::ended);
}

TEST_F(NotifierTest, AFailureOfATurnIsToldThoughTheConnectionEndsWithIt)
{
    openWorking(testing::failingTurnOnGo("no"));
    runtime.touch("go");
    waitFor(ConnectionState::Kind::failed);
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    ASSERT_EQ(model->connectionState().kind(), ConnectionState::Kind::idle);
    const std::vector<Notification> told = shown();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().kind, Kind::failed);
}

TEST_F(NotifierTest, WhereTheNextTurnHasBegunTheEndOfTheLastIsNoNews)
{
    openWorking(turnOnGo());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::ready);
    model->send("more");
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, AHandoffIsToldAndASwitchByThePersonIsNot)
{
    runtime.script("grok", testing::failingTurn(testing::usageLimit));
    runtime.script("kimi", testing::oneTurn("One.", "session-k"));
    notifier.open(preferences, board, [] { return false; });
    openWindow({ "grok", "kimi" });
    model->send("mend it");
    waitForAnswer("One.");
    const std::vector<Notification> told = shown();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back().kind, Kind::ended);
    EXPECT_EQ(std::count_if(told.begin(), told.end(), [](const Notification& each) { return each.kind == Kind::moved; }), 1);
    runtime.script("grok", testing::oneTurn("Back."));
    model->setRoutingMode(ProviderRoutingMode::grok);
    model->send("back to grok");
    waitForAnswer("Back.");
    for (const Notification& each : shown()) {
        EXPECT_EQ(each.kind, Kind::ended);
    }
}

TEST_F(NotifierTest, AnAnswerPutsTheRequestAway)
{
    openWorking(asking());
    waitUntil([this] { return model->permissionRequest().has_value(); });
    const std::vector<Notification> told = shown();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().kind, Kind::asks);
    model->respondToPermission("a");
    EXPECT_EQ(withdrawn(), 1U);
}

TEST_F(NotifierTest, ARequestThatIsLeftUnansweredIsToldWhenTheFocusGoes)
{
    hasFocus = true;
    openWorking(asking());
    waitUntil([this] { return model->permissionRequest().has_value(); });
    EXPECT_TRUE(shown().empty());
    leave();
    const std::vector<Notification> told = shown();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().kind, Kind::asks);
    EXPECT_EQ(told.front().body, "Grok needs permission: Run make");
    leave();
    EXPECT_TRUE(shown().empty()) << "it stands already";
    focus();
    EXPECT_EQ(withdrawn(), 1U);
    model->respondToPermission("a");
    leave();
    EXPECT_TRUE(shown().empty()) << "it has been answered";
}

TEST_F(NotifierTest, ARequestThatNobodyHearsAnyMoreIsNotToldWhenTheFocusGoes)
{
    hasFocus = true;
    testing::Scenario scenario = testing::hangingTurn();
    openWorking(scenario.send(request).waitForFile("die").exit(3));
    waitUntil([this] { return model->permissionRequest().has_value(); });
    runtime.touch("die");
    waitFor(ConnectionState::Kind::failed);
    ASSERT_TRUE(model->permissionRequest());
    ASSERT_FALSE(model->isPermissionHeard());
    EXPECT_TRUE(shown().empty());
    leave();
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, TheFocusGoesAlsoBeforeThereIsAnythingToTellOf)
{
    notifier.noteFocus();
    notifier.open(preferences, board, [this] { return hasFocus; });
    notifier.noteFocus();
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, WhatIsOnlyPassedOnTheWayToAnotherTaskIsNotSeen)
{
    openWorking(turnOnGo());
    (void)finish();
    model->setSelectedSection(AppSection::imagine);
    focus();
    window.newTask();
    EXPECT_EQ(withdrawn(), 0U);
}

TEST_F(NotifierTest, WhatIsSeenIsPutAwayAndWhatIsNotSeenStays)
{
    openWorking(turnOnGo());
    (void)finish();
    model->setSelectedSection(AppSection::imagine);
    focus();
    EXPECT_EQ(withdrawn(), 0U) << "the task is not on the screen";
    model->setSelectedSection(AppSection::build);
    EXPECT_EQ(withdrawn(), 1U);
}

TEST_F(NotifierTest, ATaskThatIsGoneTakesItsNotificationAlong)
{
    openWorking(turnOnGo());
    (void)finish();
    model->deleteThread(*model->selectedThreadID(), *model->selectedWorkspaceID());
    EXPECT_EQ(withdrawn(), 1U);
}

TEST_F(NotifierTest, AnotherPromptMakesOldNewsGo)
{
    openWorking(turnOnGo());
    (void)finish();
    model->send("more");
    EXPECT_EQ(withdrawn(), 1U);
}

TEST_F(NotifierTest, AClickLeadsToTheTaskInItsSection)
{
    openWorking(turnOnGo());
    const Notification told = finish();
    model->newThread();
    model->setSelectedSection(AppSection::imagine);
    emit board.chosen(told.place, "token");
    EXPECT_EQ(model->selectedSection(), AppSection::build);
    EXPECT_EQ(model->selectedThreadID(), told.place.threadID);
    EXPECT_EQ(calls, QStringList{ "token" });
}

TEST_F(NotifierTest, AClickStopsNoAgentInAnotherTask)
{
    const Notification told = finishAndWorkInAnotherTask();
    const auto busy = model->selectedThreadID();
    emit board.chosen(told.place, QString());
    EXPECT_EQ(model->selectedThreadID(), busy);
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::working);
    EXPECT_EQ(calls.size(), 1);
}

TEST_F(NotifierTest, WhatCouldNotBeFollowedIsShownAgainWithTheReasonUntilItCan)
{
    const Notification told = finishAndWorkInAnotherTask();
    hasFocus = true; // the click has brought the window
    for (int click = 0; click < 2; ++click) {
        emit board.chosen(told.place, QString());
        EXPECT_TRUE(board.shown.empty()) << "the desktop has not put the old one away yet";
        const std::vector<Notification> again = shown();
        ASSERT_EQ(again.size(), 1U);
        EXPECT_EQ(again.front(), NotificationRules::held(told, AgentProvider::grok));
    }
    focus();
    EXPECT_EQ(withdrawn(), 0U);
    model->stopWorking();
    waitUntil([this] { return !model->isTurnUnderWay(); });
    emit board.chosen(told.place, QString());
    EXPECT_EQ(model->selectedThreadID(), told.place.threadID);
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, SwitchedOffMeanwhileNothingIsShownAgain)
{
    const Notification told = finishAndWorkInAnotherTask();
    emit board.chosen(told.place, QString());
    notifier.setEnabled(false);
    EXPECT_TRUE(shown().empty());
}

TEST_F(NotifierTest, AClickOnATaskThatIsGoneOnlyBringsTheWindow)
{
    openNotifier();
    const auto selected = model->selectedThreadID();
    emit board.chosen({ AppSection::build, Uuid::random(), Uuid::random() }, QString());
    EXPECT_EQ(model->selectedThreadID(), selected);
    EXPECT_EQ(calls.size(), 1);
}

TEST_F(NotifierTest, AFloodOfTasksLeavesABoundedNumber)
{
    openNotifier();
    News news;
    news.isTurnOver = true;
    for (std::size_t i = 0; i < Notifier::limit + 5; ++i) {
        news.threadID = Uuid::random();
        notifier.tell(news);
    }
    EXPECT_EQ(withdrawn(), 5U);
}

} // namespace

} // namespace tessarin
