#include "ChildFixture.h"
#include "Platform/CommandGroup.h"
#include "Platform/MainThread.h"
#include "Platform/Text.h"

#include <signal.h>
#include <thread>

namespace tessarin
{

namespace
{

using CommandResult = Result<CommandOutcome, std::string>;

class ChildCommandTest : public ChildFixture
{
protected:
    using Kept = CommandGroup::Kept;

    // Runs the command in a group and pumps the main thread until it is done.
    std::optional<CommandResult> runInGroup(const ChildLaunch& launch, Kept kept = Kept::beginning)
    {
        CommandGroup group;
        std::optional<CommandResult> result;
        std::thread::id thread;
        group.run(launch, kept, mainThread, [&](CommandResult done) {
            EXPECT_FALSE(result) << "done once";
            thread = std::this_thread::get_id();
            result = std::move(done);
        });
        EXPECT_FALSE(result) << "not before the call returns";
        while (!result && mainThread.waitAndDrain(childTestBound)) { }
        EXPECT_EQ(thread, std::this_thread::get_id());
        return result;
    }

    // Writes 100 MB to each of its streams, far more than a pipe takes, between its first words and its last.
    static ChildLaunch flood()
    {
        return shell("printf 'first words'; head -c 100000000 /dev/zero | tr '\\0' o & head -c 100000000 /dev/zero | tr '\\0' e >&2; "
                     "wait; printf 'last words'; exit 3");
    }
    // What is kept, and not what was written, is what it costs: the text was never longer than its buffer.
    static void expectBounded(const CommandOutcome& outcome)
    {
        EXPECT_EQ(outcome.output.size(), CommandGroup::outputLimit);
        EXPECT_LE(outcome.output.capacity(), 2 * CommandGroup::outputLimit);
        EXPECT_EQ(outcome.status, 3);
    }

    MainThread mainThread;
};

} // namespace

TEST_F(ChildCommandTest, ACommandGivesItsMergedOutputAndStatus)
{
    const auto outcome = runCommand(shell("echo 1; echo 2 >&2; echo 3; exit 9"));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome.value().output, "1\n2\n3\n");
    EXPECT_EQ(outcome.value().status, 9);
}

TEST_F(ChildCommandTest, ACommandWithMoreOutputThanAPipeHoldsEnds)
{
    const auto outcome = runCommand(probe({ "fill", "1000000" }));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome.value().output.size(), 1'000'000U);
    EXPECT_EQ(outcome.value().output.substr(999'999), std::string(1, static_cast<char>('a' + 999'999 % 26'000 % 26)));
}

TEST_F(ChildCommandTest, ACommandHasAnEmptyStandardInput)
{
    ChildLaunch launch = probe({ "count-input" });
    launch.input = ChildInput::inherited;
    EXPECT_EQ(runCommand(launch).value().output, "0");
}

TEST_F(ChildCommandTest, ACommandIsOverWhenItEndedThoughAGrandchildHoldsThePipe)
{
    const auto outcome = runCommand(probe({ "leave-talker" }));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome.value().status, 4);
}

TEST_F(ChildCommandTest, ACommandEndedByASignalReportsItsNumber)
{
    EXPECT_EQ(runCommand(shell("kill -KILL $$")).value().status, SIGKILL);
}

TEST_F(ChildCommandTest, ACommandThatCannotStartFailsWithThePlatformsText)
{
    const auto outcome = runCommand({ .executable = "/nowhere/git" });
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error(), "/nowhere/git: No such file or directory");
}

TEST_F(ChildCommandTest, ACommandInAGroupIsDoneOnTheMainThread)
{
    const auto result = runInGroup(shell("echo out; echo err >&2; exit 2"));
    ASSERT_TRUE(result && *result);
    EXPECT_EQ(result->value().output, "out\nerr\n");
    EXPECT_EQ(result->value().status, 2);
}

TEST_F(ChildCommandTest, ACommandInAGroupThatCannotStartIsDoneOnTheMainThreadToo)
{
    const auto result = runInGroup({ .executable = "/nowhere/kimi" });
    ASSERT_TRUE(result && !*result);
    EXPECT_EQ(result->error(), "/nowhere/kimi: No such file or directory");
}

TEST_F(ChildCommandTest, CommandsThatHangDoNotHoldUpOthers)
{
    // More of them than there are threads for queues. They end with this test's own hand.
    const ChildLaunch hanging = shell("echo $$; exec 1>&- 2>&-; kill -STOP $$");
    int done = 0;
    std::vector<std::shared_ptr<ChildRecord>> records;
    std::vector<std::shared_ptr<ChildProcess>> children;
    for (int number = 0; number < 10; ++number) {
        records.push_back(std::make_shared<ChildRecord>());
        children.push_back(start(hanging, records.back()));
        ASSERT_TRUE(records.back()->waitUntil([](const auto& told) { return !told.output.empty(); }));
    }
    CommandGroup().run(shell("true"), Kept::end, mainThread, [&](const CommandResult&) { ++done; });
    EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
    EXPECT_EQ(done, 1);
    for (std::size_t number = 0; number < children.size(); ++number) {
        EXPECT_EQ(kill(children[number]->processID(), SIGKILL), 0);
        EXPECT_TRUE(records[number]->waitForEnd());
    }
}

TEST_F(ChildCommandTest, OfACommandInAGroupABoundedOutputIsKeptAndItComesToItsEnd)
{
    const auto result = runInGroup(flood());
    ASSERT_TRUE(result && *result);
    expectBounded(result->value());
    EXPECT_TRUE(result->value().output.starts_with("first words"));
    EXPECT_FALSE(result->value().output.ends_with("last words"));
}

TEST_F(ChildCommandTest, OfACommandThatTellsAPersonTheEndOfTheOutputIsKept)
{
    const auto result = runInGroup(flood(), Kept::end);
    ASSERT_TRUE(result && *result);
    expectBounded(result->value());
    EXPECT_TRUE(result->value().output.ends_with("last words"));
    EXPECT_FALSE(result->value().output.starts_with("first words"));
}

TEST_F(ChildCommandTest, AnOutputOfExactlyTheLimitIsKeptWhole)
{
    const std::string size = std::to_string(CommandGroup::outputLimit - 2);
    const ChildLaunch launch = shell("printf é; head -c " + size + " /dev/zero | tr '\\0' o");
    for (const auto& result : { runInGroup(launch), runInGroup(launch, Kept::end) }) {
        ASSERT_TRUE(result && *result);
        EXPECT_EQ(result->value().output, "é" + std::string(CommandGroup::outputLimit - 2, 'o'));
    }
}

TEST_F(ChildCommandTest, TheKeptEndOfManySmallPiecesIsWhatCameLast)
{
    const auto result = runInGroup(shell("i=0; while [ $i -lt 20000 ]; do echo $i; i=$((i+1)); done"), Kept::end);
    ASSERT_TRUE(result && *result);
    std::string all;
    for (int number = 0; number < 20000; ++number)
        all += std::to_string(number) + "\n";
    ASSERT_GT(all.size(), CommandGroup::outputLimit);
    EXPECT_EQ(result->value().output, all.substr(all.size() - CommandGroup::outputLimit));
}

TEST_F(ChildCommandTest, TheKeptEndBeginsAtAWholeCharacter)
{
    const auto result = runInGroup(shell("yes 🎈 | tr -d '\\n' | head -c 3000000; printf a"), Kept::end);
    ASSERT_TRUE(result && *result);
    EXPECT_EQ(result->value().output.size(), CommandGroup::outputLimit - 3);
    EXPECT_TRUE(isValidUtf8(result->value().output));
}

TEST_F(ChildCommandTest, TheKeptBeginningEndsAtAWholeCharacter)
{
    const auto result = runInGroup(shell("printf a; yes é | tr -d '\\n' | head -c 3000000"));
    ASSERT_TRUE(result && *result);
    EXPECT_EQ(result->value().output.size(), CommandGroup::outputLimit - 1);
    EXPECT_TRUE(isValidUtf8(result->value().output));
}

TEST_F(ChildCommandTest, AGroupThatIsStoppedEndsItsCommandsAndTellsNothingOfThem)
{
    CommandGroup group;
    int done = 0;
    group.run(shell("exec yes"), Kept::end, mainThread, [&](const CommandResult&) { ++done; });
    group.run(shell("exec sleep 1000"), Kept::beginning, mainThread, [&](const CommandResult&) { ++done; });
    group.run({ .executable = "/nowhere/kimi" }, Kept::beginning, mainThread, [&](const CommandResult&) { ++done; });
    group.stop();
    while (hasChildren())
        ASSERT_TRUE(mainThread.waitAndDrain(childTestBound));
    mainThread.drain();
    EXPECT_EQ(done, 0);
}

TEST_F(ChildCommandTest, AGroupThatIsDroppedLeavesItsCommandsToTheirEnd)
{
    std::string output;
    CommandGroup().run(shell("echo out"), Kept::beginning, mainThread, [&](const CommandResult& done) { output = done.value().output; });
    while (output.empty() && mainThread.waitAndDrain(childTestBound)) { }
    EXPECT_EQ(output, "out\n");
}

TEST_F(ChildCommandTest, CommandsLeaveNothingBehind)
{
    const int descriptors = openDescriptors();
    int done = 0;
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(runCommand(shell("echo x")));
        CommandGroup().run(shell("echo y"), Kept::beginning, mainThread, [&](const CommandResult&) { ++done; });
    }
    while (done < 100 && mainThread.waitAndDrain(childTestBound)) { }
    EXPECT_EQ(done, 100);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace tessarin
