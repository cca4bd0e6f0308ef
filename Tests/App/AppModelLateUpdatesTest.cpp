#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What a client had posted before it was stopped.
class AppModelLateUpdatesTest : public AppModelTest
{
};

TEST_F(AppModelLateUpdatesTest, AnUpdateThatAStoppedClientHadSentLandsInTheTaskThatIsSelectedWhenItArrives)
{
    Scenario scenario = hangingTurn();
    scenario.waitForFile("go").chunk("Late");
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    drain();
    runtime.touch("go");
    waitForHandled();
    model->newThread();
    EXPECT_THAT(texts(), IsEmpty());
    drain();
    ASSERT_THAT(texts(), ElementsAre("Late"));
    EXPECT_EQ(model->entries()[0].provider, std::nullopt);
}

TEST_F(AppModelLateUpdatesTest, WithoutASelectedTaskOnlyThePlanIsTaken)
{
    Scenario scenario = oneTurn("Hello");
    scenario.waitForFile("go").chunk("Late").update(R"({"sessionUpdate":"plan","entries":[{"content":"Late"}]})");
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    runTurn("Hi");
    drain();
    runtime.touch("go");
    waitForHandled();
    const Uuid project = *model->selectedWorkspaceID();
    const std::vector<Workspace> before = model->workspaces();
    model->selectThread(Uuid::random(), project);
    drain();
    EXPECT_EQ(model->plan(), (std::vector<PlanEntry>{ { "plan-0", "Late", "pending", "medium" } }));
    EXPECT_EQ(model->workspaces(), before);
}

} // namespace
} // namespace tessarin::testing
