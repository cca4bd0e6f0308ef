#include "ACPClientFixture.h"

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

class ACPClientStressTest : public ACPClientTest
{
protected:
    // How many bytes the child has written in its life, to whatever it writes.
    [[nodiscard]] std::uint64_t bytesWrittenByChild() const
    {
        std::ifstream file("/proc/" + std::to_string(runtime.processID(program)) + "/io");
        std::string name;
        std::uint64_t value = 0;
        while (file >> name >> value) {
            if (name == "wchar:")
                return value;
        }
        return 0;
    }
    // Waits, without pumping the main thread, until the child has written more than that and then no more for a while.
    [[nodiscard]] std::uint64_t waitUntilChildIsHeldUp(std::uint64_t least) const
    {
        std::uint64_t before = 0;
        for (const auto end = std::chrono::steady_clock::now() + waitBound; std::chrono::steady_clock::now() < end;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            const std::uint64_t now = bytesWrittenByChild();
            if (now > least && now == before)
                return now;
            before = now;
        }
        ADD_FAILURE() << "the child was not held up; it has written " << before;
        return before;
    }
    // The memory of this process that is in use.
    [[nodiscard]] static std::uint64_t residentBytes()
    {
        std::ifstream file("/proc/self/statm");
        std::uint64_t pages = 0;
        file >> pages >> pages;
        return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    }
    [[nodiscard]] static std::ptrdiff_t openDescriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    // A stream of as many updates as that, each 225 bytes on the wire, between the opening of a session and the end of a turn.
    static Scenario flood(std::int64_t updates)
    {
        Scenario chunk;
        chunk.raw(
            R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"session-1","update":{"sessionUpdate":"agent_message_chunk",)"
            R"("messageId":"message-1","content":{"type":"text","text":"{n} the quick brown fox jumps over the lazy d"}}}})"
            "\n");
        return Scenario().handshake().expect("session/prompt").repeat(updates, chunk).reply();
    }
    // Counts updates and sees to their order.
    void countUpdates()
    {
        client->onSessionUpdate = [this](const SessionUpdate& update) {
            const std::string_view text = *textAt(*objectAt(update, "content"), "text");
            if (text.substr(0, text.find(' ')) == std::to_string(updates))
                ++updates;
        };
    }

    // As often as that the whole output of one command, each time 150,000 bytes of it, behind its number.
    static Scenario storm(std::int64_t times)
    {
        Scenario update;
        update.raw(R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"session-1","update":)"
                   R"({"sessionUpdate":"tool_call_update","toolCallId":"tool-1","status":"in_progress","content":[)"
                   R"({"type":"content","content":{"type":"text","text":"{n} )");
        update.step(R"({"fill":150000})").raw("\"}}]}}}\n");
        return Scenario().handshake().expect("session/prompt").repeat(times, update).reply();
    }

    std::int64_t updates = 0;
};

constexpr std::int64_t floodLength = isSanitized ? 100000 : 1000000;
constexpr std::uint64_t memoryFactor = isSanitized ? 8 : 1; // sanitizers keep what was freed
constexpr std::uint64_t mebibyte = 1024 * 1024;

TEST_F(ACPClientStressTest, AFloodWaitsInTheChildWhileTheMainThreadIsBusyAndNothingIsLost)
{
    openSession(flood(floodLength));
    countUpdates();
    const std::uint64_t memory = residentBytes();
    prompt();
    const std::uint64_t written = waitUntilChildIsHeldUp(EventGate::byteLimit);
    EXPECT_LT(written, EventGate::byteLimit + 2 * mebibyte);
    EXPECT_LT(residentBytes(), memory + 64 * mebibyte * memoryFactor);
    ASSERT_TRUE(waitForEvent("turn")) << updates;
    EXPECT_EQ(updates, floodLength);
    EXPECT_LT(residentBytes(), memory + 128 * mebibyte * memoryFactor);
}

TEST_F(ACPClientStressTest, AStormOfWholeOutputsTakesTheMemoryOfAFewOfThem)
{
    constexpr std::int64_t times = 1000;
    openSession(storm(times));
    std::string last;
    std::uint64_t peak = 0;
    client->onSessionUpdate = [&](const SessionUpdate& update) {
        last = *textAt(*objectAt(arrayAt(update, "content")->at(0).get_object(), "content"), "text");
        updates += last.substr(0, last.find(' ')) == std::to_string(updates) ? 1 : 0;
        peak = std::max(peak, residentBytes());
    };
    const std::uint64_t memory = residentBytes();
    prompt();
    const std::uint64_t written = waitUntilChildIsHeldUp(EventGate::byteLimit);
    EXPECT_LT(written, EventGate::byteLimit + 2 * mebibyte) << "the rest waits where it is made";
    EXPECT_LT(residentBytes(), memory + 32 * mebibyte * memoryFactor);
    ASSERT_TRUE(waitForEvent("turn")) << updates;
    EXPECT_EQ(updates, times);
    EXPECT_EQ(last, "999 " + std::string(150000, 'x'));
    EXPECT_LT(peak, memory + 32 * mebibyte * memoryFactor);
}

TEST_F(ACPClientStressTest, AClientMayBeStoppedWhileItsChildIsHeldUp)
{
    openSession(flood(floodLength));
    countUpdates();
    prompt();
    static_cast<void>(waitUntilChildIsHeldUp(EventGate::byteLimit));
    client->stop();
    mainThread.drain();
    EXPECT_GT(updates, static_cast<std::int64_t>(EventGate::byteLimit / 300)) << "what had been posted belongs to the task";
    EXPECT_LT(updates, floodLength);
    EXPECT_THAT(events, ElementsAre("started session-1", std::string("turnFailed ") + disconnectedText));
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok")));
}

TEST_F(ACPClientStressTest, AChildThatDiesWhileItIsHeldUpIsReportedAfterWhatItWrote)
{
    openSession(flood(floodLength));
    countUpdates();
    prompt();
    static_cast<void>(waitUntilChildIsHeldUp(EventGate::byteLimit));
    ASSERT_EQ(kill(runtime.processID("grok"), SIGKILL), 0);
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(
        events, ElementsAre("started session-1", std::string("turnFailed ") + disconnectedText, "terminated Grok exited with status 9."));
    EXPECT_GT(updates, static_cast<std::int64_t>(EventGate::byteLimit / 300));
}

TEST_F(ACPClientStressTest, APersonCanCancelInTheMiddleOfAFlood)
{
    openSession(flood(floodLength));
    countUpdates();
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return updates > 0; }));
    client->cancel();
    EXPECT_TRUE(waitForReceived("session/cancel"));
    EXPECT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(updates, floodLength);
}

TEST_F(ACPClientStressTest, RequestsAreAnsweredInTheMiddleOfAFlood)
{
    Scenario round;
    round.chunk("{n}").send(R"({"id":100,"method":"x"})").expectResponse(100);
    openSession(Scenario().handshake().expect("session/prompt").repeat(1000, round).replyTo("session/prompt"));
    runTurn();
    EXPECT_EQ(count("update"), 1000);
}

TEST_F(ACPClientStressTest, ABigPromptReachesAChildThatReadsSlowly)
{
    openSession(Scenario().handshake().waitForFile("go").expect("session/prompt").reply());
    const std::string text(8000000, 'x');
    prompt(text);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(runtime.received("grok", "session/prompt")[0].at("params").at("prompt").at(0).at("text").as_string(), text);
}

TEST_F(ACPClientStressTest, ManyClientsTalkAtTheSameTime)
{
    constexpr int clientCount = 16;
    Scenario chunk;
    chunk.chunk("{n}");
    runtime.script("grok", Scenario().handshake().expect("session/prompt").repeat(200, chunk).reply());
    std::vector<std::shared_ptr<ACPClient>> clients;
    int received = 0;
    int ended = 0;
    const auto turnEnded = [&](const Result<JsonObject, AgentError>& result) { ended += result ? 1 : 1000; };
    const auto startTurn = [&](ACPClient& started) { started.sendPrompt("x", turnEnded); };
    for (int index = 0; index < clientCount; ++index) {
        clients.push_back(ACPClient::make(configuration(), mainThread));
        clients.back()->onSessionUpdate = [&](const SessionUpdate&) { ++received; };
        clients.back()->start(std::nullopt, [&startTurn, one = clients.back().get()](const auto&) { startTurn(*one); });
    }
    EXPECT_TRUE(waitUntil(mainThread, [&] { return ended >= clientCount; }));
    EXPECT_EQ(ended, clientCount);
    EXPECT_EQ(received, 200 * clientCount);
    for (const auto& one : clients)
        one->stop();
}

TEST_F(ACPClientStressTest, AThousandStartsAndStopsLeaveNothingBehind)
{
    constexpr int rounds = isSanitized ? 200 : 1000;
    runtime.script("grok", Scenario().handshake().expect("session/prompt").chunk("x").expect("session/cancel"));
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
