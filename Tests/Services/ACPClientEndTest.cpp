#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

class ACPClientEndTest : public ACPClientTest
{
};

const std::string startDisconnected = std::string("startFailed ") + disconnectedText;
const std::string turnDisconnected = std::string("turnFailed ") + disconnectedText;
constexpr const char* canLoad = R"({"agentCapabilities":{"loadSession":true}})";

// A child that ends on its own at each step.
struct DeathRow {
    const char* name;
    AgentProvider provider;
    Scenario scenario;
    std::vector<std::string> events;
    bool isStored = false;
};

void PrintTo(const DeathRow& row, std::ostream* out)
{
    *out << row.name;
}

class ACPClientDeathTest : public ACPClientEndTest, public ::testing::WithParamInterface<DeathRow>
{
};

TEST_P(ACPClientDeathTest, FailsWhatWaitsAndIsReportedAfterwards)
{
    runtime.script(programOf(GetParam().provider), GetParam().scenario);
    ACPClient::Configuration settings = configuration(GetParam().provider);
    settings.permissionMode = GrokPermissionMode::auto_;
    settings.model = "m";
    make(std::move(settings));
    client->start(GetParam().isStored ? std::optional<std::string>("stored") : std::nullopt, [&](const auto& result) {
        events.push_back(result ? "started" : "startFailed " + result.error().description());
        if (result && GetParam().events.size() > 2)
            prompt();
    });
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAreArray(GetParam().events));
    EXPECT_TRUE(waitForEndOf(runtime.processID(program)));
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.size(), GetParam().events.size()) << report();
}

const std::string grokEnded = "terminated Grok exited with status 3.";
const std::string kimiEnded = "terminated Kimi exited with status 3.";
const std::string glmEnded = "terminated GLM exited with status 3.";

Scenario opened()
{
    return Scenario().handshake();
}
Scenario loading()
{
    return Scenario().expect("initialize").reply(canLoad).expect("session/load");
}
Scenario configuring()
{
    return Scenario().handshake().expect("session/set_config_option");
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientDeathTest,
    ::testing::Values(DeathRow{ "BeforeInitialize", AgentProvider::grok, Scenario().exit(3), { startDisconnected, grokEnded } },
        DeathRow{ "DuringInitialize", AgentProvider::grok, Scenario().expect("initialize").exit(3), { startDisconnected, grokEnded } },
        DeathRow{
            "AfterInitialize", AgentProvider::grok, Scenario().expect("initialize").reply().exit(3), { startDisconnected, grokEnded } },
        DeathRow{ "DuringANewSession", AgentProvider::grok, Scenario().expect("initialize").reply().expect("session/new").exit(3),
            { startDisconnected, grokEnded } },
        DeathRow{ "AfterANewSession", AgentProvider::grok, opened().exit(3), { "started", grokEnded } },
        DeathRow{ "AfterANewSessionBeforeTheMode", AgentProvider::kimi, opened().exit(3), { startDisconnected, kimiEnded } },
        DeathRow{ "DuringALoad", AgentProvider::grok, loading().exit(3), { "replayStarted", "replayFailed", startDisconnected, grokEnded },
            true },
        DeathRow{ "AfterALoad", AgentProvider::glm, loading().reply().exit(3), { "replayStarted", startDisconnected, glmEnded }, true },
        DeathRow{ "DuringTheMode", AgentProvider::kimi, configuring().exit(3), { startDisconnected, kimiEnded } },
        DeathRow{ "AfterTheMode", AgentProvider::kimi, configuring().reply().exit(3), { startDisconnected, kimiEnded } },
        DeathRow{ "DuringTheModelOfKimi", AgentProvider::kimi, configuring().reply().expect("session/set_config_option").exit(3),
            { startDisconnected, kimiEnded } },
        DeathRow{ "DuringTheModelOfGLM", AgentProvider::glm, configuring().exit(3), { startDisconnected, glmEnded } },
        DeathRow{ "AfterTheModel", AgentProvider::glm, configuring().reply().exit(3), { "started", glmEnded } },
        DeathRow{ "DuringAPrompt", AgentProvider::grok,
            opened().expect("session/prompt").send(R"({"method":"session/update","params":{"update":{}}})").exit(3),
            { "started", "update {}", turnDisconnected, grokEnded } },
        DeathRow{ "AfterAPrompt", AgentProvider::grok,
            opened().expect("session/prompt").send(R"({"method":"session/update","params":{"update":{}}})").reply().exit(3),
            { "started", "update {}", "turn {}", grokEnded } }),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ACPClientEndTest, AChildThatDiesAtItsModeFailsTheStartEvenWhenNoModelFollows)
{
    runtime.script("kimi", configuring().exit(3));
    make(configuration(AgentProvider::kimi));
    start();
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre(startDisconnected, kimiEnded));
}

TEST_F(ACPClientEndTest, APromptAfterTheEndFailsAtOnceAsDisconnected)
{
    openSession(opened().exit(0));
    ASSERT_TRUE(waitForEvent("terminated"));
    prompt();
    client->cancel();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", "terminated Grok exited with status 0.", turnDisconnected));
}

TEST_F(ACPClientEndTest, AllThatWasWrittenBeforeTheEndIsHandled)
{
    Scenario chunks;
    chunks.chunk("{n}");
    openSession(opened().expect("session/prompt").repeat(2000, chunks).reply().exit(0));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_EQ(count("update"), 2000);
    EXPECT_EQ(events.at(events.size() - 2), "turn {}");
}

TEST_F(ACPClientEndTest, ALineWithoutItsNewlineIsNotHandled)
{
    openSession(opened().expect("session/prompt").raw(R"({"id":3,"result":{}})").exit(0));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected, "terminated Grok exited with status 0."));
}

TEST_F(ACPClientEndTest, ASignalsNumberIsTheStatus)
{
    openSession(opened().step(R"({"signal":9})"));
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_EQ(events.back(), "terminated Grok exited with status 9.");
}

TEST_F(ACPClientEndTest, AGrandchildThatKeepsThePipesDoesNotHideTheEnd)
{
    openSession(opened().step(R"({"grandchild":"done"})").expect("session/prompt").reply(R"({"last":1})").exit(3));
    prompt();
    EXPECT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre("started session-1", R"(turn {"last":1})", grokEnded));
    runtime.touch("done");
}

TEST_F(ACPClientEndTest, AChildThatClosesItsOutputButLivesKeepsThePromptWaiting)
{
    openSession(opened().expect("session/prompt").step(R"({"closeStdout":true})").touch("closed"));
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("closed"); }));
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel"));
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected));
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok")));
}

TEST_F(ACPClientEndTest, WritesToAChildThatClosedItsInputAreDropped)
{
    openSession(opened().step(R"({"closeStdin":true})").touch("closed").waitForFile("go").exit(3));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("closed"); }));
    prompt(std::string(1000000, 'x'));
    client->cancel();
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected, grokEnded));
}

} // namespace

} // namespace tessarin::testing
