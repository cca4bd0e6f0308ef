#include "CodexClientFixture.h"

#include <filesystem>
#include <iterator>
#include <sys/wait.h>

namespace tessarin::testing
{

namespace
{

class CodexClientStressTest : public CodexClientTest
{
protected:
    [[nodiscard]] static std::ptrdiff_t openDescriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    // A turn of as many deltas as that.
    static Scenario flood(std::int64_t deltas)
    {
        Scenario one;
        one.raw(
            R"({"method":"item/agentMessage/delta","params":{"threadId":"thread-1","turnId":"turn-1","itemId":"m","delta":"{n} the quick "}})"
            "\n");
        return codexTurn().repeat(deltas, one).send(codexTurnEnd());
    }
    // Counts updates and sees to their order.
    void countUpdates()
    {
        client->onSessionUpdate = [this](const SessionUpdate& update) {
            const std::string_view text = *textAt(*objectAt(update, "content"), "text");
            if (text.substr(0, text.find(' ')) == std::to_string(inOrder))
                ++inOrder;
        };
    }

    std::int64_t inOrder = 0;
};

TEST_F(CodexClientStressTest, AFloodArrivesWholeAndInOrderWhileTheMainThreadIsSlow)
{
    constexpr std::int64_t length = isCodexTestSanitized ? 50000 : 300000; // several times what may wait for the main thread
    openThread(flood(length));
    countUpdates();
    prompt();
    ASSERT_TRUE(waitForReceived("turn/start"));
    ASSERT_TRUE(waitForEvent("turn")) << inOrder;
    EXPECT_EQ(inOrder, length);
}

TEST_F(CodexClientStressTest, APersonCanStopInTheMiddleOfAFlood)
{
    openThread(flood(1000000));
    countUpdates();
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return inOrder > 0; }));
    client->stop();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_LT(inOrder, 1000000);
    EXPECT_TRUE(waitForEndOf(runtime.processID("codex")));
}

TEST_F(CodexClientStressTest, QuestionsAreAnsweredInTheMiddleOfAFlood)
{
    Scenario round;
    round.send(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"{n} x"}})")
        .send(R"({"id":"q","method":"item/fileChange/requestApproval","params":{}})")
        .step(R"({"expect":{"id":"q"}})");
    runtime.script("codex", codexTurn().repeat(500, round).send(codexTurnEnd()));
    make(configuration());
    countUpdates();
    client->onPermissionRequest = [this](const PermissionRequest& request) { client->respondToPermission(request.id, "codex-allow-once"); };
    start();
    ASSERT_TRUE(waitForEvent("started"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(inOrder, 500);
}

TEST_F(CodexClientStressTest, AThousandTurnsOfOneThreadEndEachOnce)
{
    Scenario turn;
    turn.expect("turn/start")
        .step(R"({"reply":{"turn":{"id":"turn-{n}"}}})")
        .step(R"({"send":{"method":"turn/completed","params":{"turn":{"id":"turn-{n}","status":"completed"}}}})");
    openThread(codexThread().repeat(1000, turn));
    for (int index = 0; index < 1000; ++index)
        prompt();
    ASSERT_TRUE(waitForEvent("turn", 1000)) << count("turn");
    EXPECT_EQ(count("turnFailed"), 0);
    EXPECT_EQ(events.back(), R"(turn {"id":"turn-999","status":"completed"})");
}

TEST_F(CodexClientStressTest, AThousandStartsAndStopsLeaveNothingBehind)
{
    constexpr int rounds = isCodexTestSanitized ? 200 : 1000;
    runtime.script(
        "codex", codexTurn().send(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"x"}})").expect("turn/interrupt"));
    // What the process opens once for all clients is open before the first look.
    make(configuration());
    start();
    ASSERT_TRUE(waitForEvent("started"));
    client->stop();
    const auto hasNoChild = [] { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; };
    ASSERT_TRUE(waitUntil(mainThread, hasNoChild));
    const std::ptrdiff_t descriptors = openDescriptors();
    for (int round = 0; round < rounds; ++round) {
        events.clear();
        make(configuration());
        start();
        if (round % 4 > 0) {
            ASSERT_TRUE(waitForEvent("started")) << report();
        }
        if (round % 4 > 1)
            prompt();
        if (round % 4 > 2) {
            ASSERT_TRUE(waitForEvent("update")) << report();
        }
        client->stop();
        if (round % 4 == 0) {
            ASSERT_TRUE(waitForEvent("startFailed")) << report();
        }
        if (round % 4 > 1) {
            ASSERT_TRUE(waitForEvent("turnFailed")) << report();
        }
        ASSERT_EQ(count("terminated"), 0) << report();
        ASSERT_EQ(count("started") + count("startFailed"), 1) << report();
    }
    client.reset();
    EXPECT_TRUE(waitUntil(mainThread, hasNoChild));
    EXPECT_TRUE(waitUntil(mainThread, [&] { return openDescriptors() == descriptors; })) << openDescriptors() << " " << descriptors;
}

} // namespace

} // namespace tessarin::testing
