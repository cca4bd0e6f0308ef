#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class ACPClientErrorOutputTest : public ACPClientTest
{
protected:
    void play(const Scenario& scenario)
    {
        openSession(scenario);
        client->cancel();
    }
};

// Nothing is written to the error stream before the start has been told: the two streams have no common order.
Scenario opened()
{
    return Scenario().handshake().expect("session/cancel");
}

TEST_F(ACPClientErrorOutputTest, ErrorOutputIsLoggedAndBecomesTheTextOfTheEnd)
{
    play(opened().standardError("broken\n").exit(1));
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre("started session-1", "log broken\n", "terminated broken"));
}

TEST_F(ACPClientErrorOutputTest, ErrorOutputIsLoggedChunkByChunkAndAccumulatesWhole)
{
    Scenario scenario = opened();
    scenario.standardError("\n one ").expect("session/cancel").standardError("two\n\nthree \xe2\x82\xac\n\t\n").waitForFile("go").exit(1);
    play(scenario);
    ASSERT_TRUE(waitForEvent("log"));
    client->cancel();
    ASSERT_TRUE(waitForEvent("log", 2));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events,
        ElementsAre("started session-1", "log \n one ", "log two\n\nthree \xe2\x82\xac\n\t\n", "terminated one two\n\nthree \xe2\x82\xac"));
}

TEST_F(ACPClientErrorOutputTest, AChunkThatIsNoTextIsLostWholeAndTheOthersStay)
{
    Scenario scenario = opened();
    scenario.standardError("one").expect("session/cancel").step(R"({"stderrBase64":"bG9zdOKC"})"); // "lost" and two thirds of a character
    scenario.touch("half").expect("session/cancel").step(R"({"stderrBase64":"rGxvc3Q="})"); // the last third and "lost"
    scenario.touch("whole").expect("session/cancel").standardError("two").waitForFile("go").exit(1);
    play(scenario);
    ASSERT_TRUE(waitForEvent("log"));
    client->cancel();
    // Each part is read before the next one is written.
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("half"); }));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return unreadErrorOutput() == 0; }));
    client->cancel();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("whole"); }));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return unreadErrorOutput() == 0; }));
    client->cancel();
    ASSERT_TRUE(waitForEvent("log", 2));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_THAT(events, ElementsAre("started session-1", "log one", "log two", "terminated onetwo"));
}

TEST_F(ACPClientErrorOutputTest, ErrorOutputOfWhiteSpaceAloneSaysNothing)
{
    play(opened().standardError(" \n\t\xc2\xa0\r\n").exit(4));
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_EQ(events.back(), "terminated Grok exited with status 4.");
}

TEST_F(ACPClientErrorOutputTest, AFloodOfErrorOutputIsKeptWhole)
{
    const std::string text = "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789";
    play(opened().repeat(30000, Scenario().standardError(text)).exit(1));
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_EQ(log.size(), 30000 * text.size());
    EXPECT_EQ(events.back().size(), std::string("terminated ").size() + 30000 * text.size());
}

} // namespace

} // namespace tessarin::testing
