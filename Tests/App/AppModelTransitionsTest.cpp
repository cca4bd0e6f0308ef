#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using enum ConnectionState::Kind;

// The way of the connection through its states, as an observer sees it.
class AppModelTransitionsTest : public AppModelTest
{
protected:
    void open(std::initializer_list<std::string_view> programs = { "grok" })
    {
        openProject(programs);
        m_subscription = model->observe([this](const ModelChange& change) {
            if (change.kind == ModelChange::Kind::connectionState) {
                m_states.push_back(model->connectionState().kind());
            }
        });
    }
    // The states since the last call.
    [[nodiscard]] std::vector<ConnectionState::Kind> states() { return std::exchange(m_states, {}); }

    std::vector<ConnectionState::Kind> m_states;
    AppModel::Subscription m_subscription;
};

TEST_F(AppModelTransitionsTest, ATurnGoesThroughConnectingReadyWorkingToReady)
{
    Scenario scenario = oneTurn("One");
    runtime.script("grok", turn(scenario, "Two"));
    open();
    runTurn("Hi");
    EXPECT_THAT(states(), ElementsAre(connecting, ready, working, ready));
    runTurn("More");
    EXPECT_THAT(states(), ElementsAre(working, ready));
}

TEST_F(AppModelTransitionsTest, NoProviderGoesToFailed)
{
    open({});
    model->send("Hi");
    EXPECT_THAT(states(), ElementsAre(failed));
}

TEST_F(AppModelTransitionsTest, ARuntimeThatCannotBeMadeGoesToFailed)
{
    open({ "kimi" });
    int lookups = 0;
    onSettingAsked = [&](const std::string& key) {
        if (key == "kimiExecutablePath" && ++lookups == 2) {
            uninstall("kimi");
        }
    };
    model->send("Hi");
    EXPECT_THAT(states(), ElementsAre(failed));
}

TEST_F(AppModelTransitionsTest, AFailedStartGoesFromConnectingToFailed)
{
    runtime.script("grok", Scenario().expect("initialize").replyError("No"));
    open();
    model->send("Hi");
    waitFor(failed);
    EXPECT_THAT(states(), ElementsAre(connecting, failed));
}

TEST_F(AppModelTransitionsTest, AFailedPromptGoesFromWorkingToFailedAndTheNextSendThroughConnecting)
{
    runtime.script("grok", 1, failingTurn("No"));
    runtime.script("grok", 2, oneTurn("Hello"));
    open();
    model->send("Hi");
    waitFor(failed);
    EXPECT_THAT(states(), ElementsAre(connecting, ready, working, failed));
    runTurn("Again");
    EXPECT_THAT(states(), ElementsAre(connecting, ready, working, ready));
}

TEST_F(AppModelTransitionsTest, StoppingGoesFromWorkingToReady)
{
    runtime.script("grok", hangingTurn());
    open();
    model->send("Hi");
    waitFor(working);
    (void)states();
    model->stopWorking();
    EXPECT_THAT(states(), ElementsAre(ready));
}

TEST_F(AppModelTransitionsTest, StoppingEndsAFailure)
{
    open({});
    model->send("Hi");
    (void)states();
    model->stopWorking();
    EXPECT_THAT(states(), ElementsAre(ready));
}

TEST_F(AppModelTransitionsTest, AHandoffGoesFromWorkingThroughIdleToConnecting)
{
    runtime.script("grok", failingTurn(usageLimit));
    runtime.script("kimi", oneTurn("Hello"));
    open({ "grok", "kimi" });
    runTurn("Hi");
    EXPECT_THAT(states(), ElementsAre(connecting, ready, working, idle, connecting, ready, working, ready));
}

TEST_F(AppModelTransitionsTest, AnUnexpectedEndFailsAReadyConnection)
{
    runtime.script("grok", oneTurn("Hello").waitForFile("end").exit(1));
    open();
    runTurn("Hi");
    (void)states();
    runtime.touch("end");
    waitFor(failed);
    EXPECT_THAT(states(), ElementsAre(failed));
}

TEST_F(AppModelTransitionsTest, AnUnexpectedEndFailsAConnectingAndAWorkingConnection)
{
    runtime.script("grok", 1, Scenario().expect("initialize").exit(1));
    runtime.script("grok", 2, hangingTurn().exit(1));
    open();
    for (int i = 0; i < 2; ++i) {
        model->send("Hi");
        waitUntil([&] { return model->connectionState() == ConnectionState::failed("Grok exited with status 1."); });
        const auto seen = states();
        // First what was outstanding fails, then the end itself is told.
        ASSERT_GE(seen.size(), 2u);
        EXPECT_EQ(seen[seen.size() - 2], failed);
        EXPECT_EQ(seen.back(), failed);
    }
}

TEST_F(AppModelTransitionsTest, ASendWhileWorkingGoesThroughConnecting)
{
    runtime.script("grok", 1, hangingTurn());
    runtime.script("grok", 2, oneTurn("Hello"));
    open();
    model->send("Hi");
    waitFor(working);
    (void)states();
    model->send("More");
    waitUntil([&] { return texts().back() == "Hello" && model->connectionState().kind() == ready; });
    EXPECT_THAT(states(), ElementsAre(connecting, ready, working, ready));
}

TEST_F(AppModelTransitionsTest, AChangeOfTaskGoesFromAnyStateToIdle)
{
    runtime.script("grok", hangingTurn());
    open();
    model->send("Hi");
    (void)states();
    model->newThread();
    EXPECT_THAT(states(), ElementsAre(idle)); // from connecting
    model->send("Hi");
    waitFor(working);
    (void)states();
    model->newThread();
    EXPECT_THAT(states(), ElementsAre(idle)); // from working
    uninstall("grok");
    model->send("Hi");
    (void)states();
    model->newThread();
    EXPECT_THAT(states(), ElementsAre(idle)); // from failed
    model->newThread();
    EXPECT_THAT(states(), IsEmpty());
}

} // namespace
} // namespace tessarin::testing
