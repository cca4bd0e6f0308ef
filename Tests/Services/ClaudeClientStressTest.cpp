#include "ClaudeClientFixture.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <thread>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class ClaudeClientStressTest : public ClaudeClientTest
{
protected:
    // How many bytes the child has written in its life, to whatever it writes.
    [[nodiscard]] std::uint64_t bytesWrittenByChild() const
    {
        std::ifstream file("/proc/" + std::to_string(runtime.processID("claude")) + "/io");
        std::string name;
        std::uint64_t value = 0;
        while (file >> name >> value) {
            if (name == "wchar:")
                return value;
        }
        return 0;
    }
    // Waits, without pumping the main thread, until the child has written more than the limit and then no more for a while.
    [[nodiscard]] std::uint64_t waitUntilChildIsHeldUp() const
    {
        std::uint64_t before = 0;
        for (const auto end = std::chrono::steady_clock::now() + waitBound; std::chrono::steady_clock::now() < end;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            const std::uint64_t now = bytesWrittenByChild();
            if (now > EventGate::byteLimit && now == before)
                return now;
            before = now;
        }
        ADD_FAILURE() << "the child was not held up; it has written " << before;
        return before;
    }
    [[nodiscard]] static std::ptrdiff_t openDescriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    [[nodiscard]] static bool hasNoChild() { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }
    static Scenario flood(std::string_view line)
    {
        return prompted().repeat(floodLength, Scenario().raw(std::string(line) + "\n")).send(goodResult);
    }

    static constexpr std::int64_t floodLength = isClaudeTestSanitized ? 50000 : 200000;
};

TEST_F(ClaudeClientStressTest, AFloodWaitsInTheChildWhileTheMainThreadIsBusyAndNothingIsLost)
{
    openSession(flood(streamed("{n} the quick brown fox jumps over the lazy dog")));
    std::int64_t updates = 0;
    client->onSessionUpdate = [&](const SessionUpdate& update) {
        const std::string_view text = *textAt(*objectAt(update, "content"), "text");
        if (text.substr(0, text.find(' ')) == std::to_string(updates))
            ++updates;
    };
    prompt();
    EXPECT_LT(waitUntilChildIsHeldUp(), EventGate::byteLimit + 2 * 1024 * 1024);
    ASSERT_TRUE(waitForEvent("turn")) << updates;
    EXPECT_EQ(updates, floodLength);
}

TEST_F(ClaudeClientStressTest, AFloodOfPlainLinesWaitsTooAndNothingIsLost)
{
    openSession(flood("{n} the quick brown fox jumps over the lazy dog, and over it again, and over it again, and over it again"));
    std::int64_t lines = 0;
    client->onLog = [&](const std::string& text) {
        if (text.substr(0, text.find(' ')) == std::to_string(lines))
            ++lines;
    };
    prompt();
    EXPECT_LT(waitUntilChildIsHeldUp(), EventGate::byteLimit + 2 * 1024 * 1024);
    ASSERT_TRUE(waitForEvent("turn")) << lines;
    EXPECT_EQ(lines, floodLength);
}

TEST_F(ClaudeClientStressTest, AClientMayBeStoppedWhileItsChildIsHeldUp)
{
    openSession(flood(streamed("{n} the quick brown fox jumps over the lazy dog")));
    std::int64_t updates = 0;
    client->onSessionUpdate = [&](const SessionUpdate&) { ++updates; };
    prompt();
    static_cast<void>(waitUntilChildIsHeldUp());
    client->stop();
    mainThread.drain();
    EXPECT_GT(updates, 0) << "what had been posted belongs to the task";
    EXPECT_LT(updates, floodLength);
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code stopped."));
    EXPECT_TRUE(waitForEndOf(runtime.processID("claude")));
}

TEST_F(ClaudeClientStressTest, ABigPromptReachesTheChildWhole)
{
    openSession(opened().waitForFile("go").expect("user").send(goodResult));
    const std::string text(8000000, 'x');
    prompt(text);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(receivedAfterInitialize().at(0).at("message").at("content").as_string(), text);
}

TEST_F(ClaudeClientStressTest, QuestionsAreAnsweredInTheMiddleOfAFlood)
{
    Scenario round;
    round.send(streamed("{n}")).send(canUseTool("r{n}", "{}")).expect("control_response");
    openSession(prompted().repeat(500, round).send(goodResult));
    client->onPermissionRequest
        = [this](const PermissionRequest& request) { client->respondToPermission(request.id, "claude-allow-once"); };
    runTurn();
    EXPECT_EQ(count("text"), 500);
    EXPECT_EQ(receivedAfterInitialize().back().at("response").at("request_id").as_string(), "r499");
}

TEST_F(ClaudeClientStressTest, ManyClientsTalkAtTheSameTime)
{
    constexpr int clientCount = 16;
    runtime.script("claude", prompted().repeat(200, Scenario().send(streamed("{n}"))).send(goodResult));
    std::vector<std::shared_ptr<ClaudeCodeClient>> clients;
    int received = 0;
    int ended = 0;
    const auto turnEnded = [&](const Result<JsonObject, AgentError>& result) { ended += result ? 1 : 1000; };
    for (int index = 0; index < clientCount; ++index) {
        clients.push_back(ClaudeCodeClient::make(configuration(), mainThread));
        clients.back()->onSessionUpdate = [&](const SessionUpdate&) { ++received; };
        clients.back()->start(std::nullopt, [&turnEnded, one = clients.back().get()](const auto&) { one->sendPrompt("x", turnEnded); });
    }
    EXPECT_TRUE(waitUntil(mainThread, [&] { return ended >= clientCount; }));
    EXPECT_EQ(ended, clientCount);
    EXPECT_EQ(received, 200 * clientCount);
    for (const auto& one : clients)
        one->stop();
}

TEST_F(ClaudeClientStressTest, AThousandStartsAndStopsLeaveNothingBehind)
{
    constexpr int rounds = isClaudeTestSanitized ? 200 : 1000;
    runtime.script("claude", prompted().send(streamed("x")).expect("control_request/interrupt"));
    // What the process opens once for all clients is open before the first look.
    make(configuration());
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    client->stop();
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
            ASSERT_TRUE(waitForEvent("text")) << report();
        }
        client->stop();
        mainThread.drain();
        ASSERT_EQ(count("terminated"), 0) << report();
        ASSERT_EQ(count("started") + count("startFailed"), 1) << report();
        ASSERT_EQ(count("turnFailed"), round % 4 > 1 ? 1 : 0) << report();
    }
    client.reset();
    EXPECT_TRUE(waitUntil(mainThread, hasNoChild));
    EXPECT_TRUE(waitUntil(mainThread, [&] { return openDescriptors() == descriptors; })) << openDescriptors() << " " << descriptors;
}

} // namespace

} // namespace tessarin::testing
