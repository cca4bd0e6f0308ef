#include "ChildFixture.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <signal.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessarin
{

namespace
{

class ChildProcessTest : public ChildFixture
{
protected:
    void onQueue(const std::function<void()>& work) { queue->sync(work); }
};

bool isAlphabet(std::string_view text)
{
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] != static_cast<char>('a' + place % 26))
            return false;
    }
    return true;
}

} // namespace

TEST_F(ChildProcessTest, BothStreamsArriveEachAtItsOwnCallback)
{
    const ChildRecord::Told told = run(probe({ "say", "out", "err", "3" }));
    EXPECT_EQ(told.output, "out");
    EXPECT_EQ(told.errorOutput, "err");
    EXPECT_EQ(told.end->status, 3);
    EXPECT_FALSE(told.end->wasSignalled);
}

TEST_F(ChildProcessTest, MergedStreamsArriveInTheOrderInWhichTheyWereWritten)
{
    ChildLaunch launch = shell("echo 1; echo 2 >&2; echo 3; echo 4 >&2");
    launch.mergesErrorOutput = true;
    const ChildRecord::Told told = run(launch);
    EXPECT_EQ(told.output, "1\n2\n3\n4\n");
    EXPECT_EQ(told.errorOutput, "");
}

TEST_F(ChildProcessTest, CallbacksRunOnTheQueue)
{
    std::atomic<int> calls = 0;
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [&](std::string_view) { queue->assertCurrent(), ++calls; };
    callbacks.onErrorOutput = [&](std::string_view) { queue->assertCurrent(), ++calls; };
    const auto ended = std::make_shared<ChildRecord>();
    callbacks.onEnd = [&, end = ChildRecord::callbacks(ended).onEnd](ChildEnd how) { queue->assertCurrent(), ++calls, end(how); };
    const auto child = ChildProcess::launch(probe({ "say", "out", "err", "0" }), queue, std::move(callbacks));
    ASSERT_TRUE(child);
    EXPECT_TRUE(ended->waitForEnd());
    EXPECT_EQ(calls, 3);
}

TEST_F(ChildProcessTest, UnsetCallbacksDiscard)
{
    const auto child = ChildProcess::launch(probe({ "fill", "1000000" }), queue, {});
    ASSERT_TRUE(child);
    bool isRunning = true;
    for (const auto late = std::chrono::steady_clock::now() + childTestBound; isRunning && std::chrono::steady_clock::now() < late;)
        onQueue([&] { isRunning = child.value()->isRunning(); });
    EXPECT_FALSE(isRunning);
}

TEST_F(ChildProcessTest, AHundredMegabytesOfOutputGoThrough)
{
    constexpr std::size_t total = 100'000'000;
    std::size_t received = 0, largest = 0;
    bool isWhole = true;
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [&](std::string_view chunk) {
        isWhole = isWhole && chunk.front() == static_cast<char>('a' + received % 26)
            && chunk.back() == static_cast<char>('a' + (received + chunk.size() - 1) % 26);
        received += chunk.size();
        largest = std::max(largest, chunk.size());
    };
    callbacks.onEnd = ChildRecord::callbacks(record).onEnd;
    const auto child = ChildProcess::launch(probe({ "fill", std::to_string(total) }), queue, std::move(callbacks));
    ASSERT_TRUE(child);
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(received, total);
    EXPECT_TRUE(isWhole);
    EXPECT_LE(largest, 256U * 1024U);
}

TEST_F(ChildProcessTest, AllThatIsWrittenArrivesInOrder)
{
    const auto child = start({ .executable = "/bin/cat" });
    std::string expected;
    onQueue([&] {
        for (int piece = 0; piece < 2000; ++piece) {
            const std::string text(static_cast<std::size_t>(piece), static_cast<char>('a' + piece % 26));
            child->write(text);
            expected += text;
        }
        child->closeInput();
        child->write("after the close");
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(record->told().output == expected);
}

TEST_F(ChildProcessTest, TenMegabytesForAChildThatDoesNotReadDoNotHoldUpTheQueue)
{
    const auto child = start(probe({ "never-read" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "ready"; }));
    onQueue([&] {
        child->write(std::string(10'000'000, 'x'));
        child->closeInput();
    });
    // The queue goes on: this returns, and the child can be ended.
    onQueue([&] { child->terminate(); });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().end->status, SIGTERM);
}

TEST_F(ChildProcessTest, TheInputClosesOnlyOnceEverythingIsWritten)
{
    const auto child = start(probe({ "count-input" }));
    onQueue([&] {
        child->write(std::string(10'000'000, 'x'));
        child->write(std::string(1, 'y'));
        child->closeInput();
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, "10000001");
}

TEST_F(ChildProcessTest, AChildThatNoLongerReadsCostsNothingButWhatItWasSent)
{
    const auto child = start(probe({ "close-input" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "closed"; }));
    onQueue([&] {
        child->write("lost");
        child->write(std::string(1'000'000, 'x'));
    });
    onQueue([&] {
        EXPECT_TRUE(child->isRunning());
        child->terminate();
    });
    EXPECT_TRUE(record->waitForEnd());
}

TEST_F(ChildProcessTest, AWriteThatNobodyReadsIsToldOnceInTheWordsOfTheSystem)
{
    const auto child = start(shell("exec <&-; echo closed; exec sleep 60"));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "closed\n"; }));
    onQueue([&] {
        child->write("anybody?");
        child->write("nobody");
    });
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return !told.inputFailures.empty(); }));
    onQueue([&] {
        EXPECT_TRUE(child->isRunning());
        child->terminate();
    });
    EXPECT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().inputFailures, std::vector<std::string>{ "Broken pipe" });
}

TEST_F(ChildProcessTest, AClosedInputIsNoFailedWrite)
{
    const auto child = start(shell("read line; exit 3"));
    onQueue([&] {
        child->write("read\n");
        child->closeInput();
        child->write("dropped");
    });
    EXPECT_TRUE(record->waitForEnd());
    onQueue([&] { child->write("nobody"); });
    EXPECT_EQ(record->told().inputFailures.size(), 0U);
}

TEST_F(ChildProcessTest, AChildThatEndsWhileItIsWrittenToIsReported)
{
    const auto child = start(probe({ "never-read" }));
    onQueue([&] { child->write(std::string(10'000'000, 'x')); });
    EXPECT_EQ(kill(child->processID(), SIGKILL), 0);
    EXPECT_TRUE(record->waitForEnd());
    onQueue([&] { child->write("nobody"); });
}

TEST_F(ChildProcessTest, WhatAChildWroteBeforeItEndedIsNeverLost)
{
    for (int round = 0; round < 1000; ++round) {
        const std::string output = "answer " + std::to_string(round) + std::string(static_cast<std::size_t>(round) * 30, '.');
        const ChildRecord::Told told = run(probe({ "say", output, "reason", "1" }));
        ASSERT_EQ(told.output, output);
        ASSERT_EQ(told.errorOutput, "reason");
        ASSERT_EQ(told.ends, 1);
        ASSERT_FALSE(told.wasToldAfterEnd);
        ASSERT_EQ(told.end->status, 1);
    }
}

TEST_F(ChildProcessTest, AGrandchildThatKeepsThePipesDoesNotDelayTheEnd)
{
    const ChildRecord::Told told = run(probe({ "leave-grandchild" }));
    EXPECT_EQ(told.output, "from the child");
    EXPECT_EQ(told.end->status, 4);
}

TEST_F(ChildProcessTest, AGrandchildThatNeverStopsWritingDoesNotDelayTheEnd)
{
    const ChildRecord::Told told = run(probe({ "leave-talker" }));
    EXPECT_EQ(told.end->status, 4);
    EXPECT_FALSE(told.wasToldAfterEnd);
}

TEST_F(ChildProcessTest, AChildThatClosesItsOutputLivesOn)
{
    const auto child = start(probe({ "close-output" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.errorOutput == "closed"; }));
    onQueue([&] {
        EXPECT_TRUE(child->isRunning());
        child->closeInput();
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, "last words");
    EXPECT_EQ(record->told().end->status, 5);
}

TEST_F(ChildProcessTest, TerminateSendsOneSigtermAndNothingStronger)
{
    const auto child = start(probe({ "ignore-term" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "ready "; }));
    onQueue([&] { child->terminate(); });
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "ready t"; }));
    onQueue([&] {
        EXPECT_TRUE(child->isRunning());
        child->closeInput();
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, "ready t");
    EXPECT_EQ(record->told().end->status, 7);
}

TEST_F(ChildProcessTest, AChildEndedBySigtermReportsTheSignal)
{
    const auto child = start(probe({ "never-read" }));
    onQueue([&] { child->terminate(); });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(record->told().end->wasSignalled);
    EXPECT_EQ(record->told().end->status, SIGTERM);
}

TEST_F(ChildProcessTest, AKilledChildIsReportedAsSignalled)
{
    const auto child = start(probe({ "never-read" }));
    EXPECT_EQ(kill(child->processID(), SIGKILL), 0);
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(record->told().end->wasSignalled);
    EXPECT_EQ(record->told().end->status, SIGKILL);
}

TEST_F(ChildProcessTest, EverythingAfterTheEndDoesNothing)
{
    const auto child = start(probe({ "say", "", "", "0" }));
    ASSERT_TRUE(record->waitForEnd());
    onQueue([&] {
        EXPECT_FALSE(child->isRunning());
        child->terminate();
        child->write("late");
        child->pauseOutput();
        child->resumeOutput();
        child->closeInput();
        child->closeStreams();
        child->closeStreams();
    });
    EXPECT_EQ(record->told().ends, 1);
}

TEST_F(ChildProcessTest, ClosedStreamsStillEndInAReport)
{
    const auto child = start(probe({ "ignore-term" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return !told.output.empty(); }));
    onQueue([&] { child->closeStreams(); });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().end->status, 7);
}

TEST_F(ChildProcessTest, StreamsMayBeClosedFromACallback)
{
    ChildProcess::Callbacks callbacks = ChildRecord::callbacks(record);
    std::shared_ptr<ChildProcess> child;
    callbacks.onOutput = [&, told = callbacks.onOutput](std::string_view chunk) {
        told(chunk.substr(0, 1));
        child->closeStreams();
    };
    onQueue([&] {
        auto launched = ChildProcess::launch(probe({ "fill", "1000000" }), queue, std::move(callbacks));
        ASSERT_TRUE(launched);
        child = std::move(launched).value();
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, "a") << "nothing is read after the close";
}

TEST_F(ChildProcessTest, PausedOutputIsNotReadAndHoldsTheChildUp)
{
    const auto child = start(probe({ "fill-pipe" }));
    // Reading is already waited for by then.
    onQueue([&] {
        child->pauseOutput();
        child->write("!");
    });
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return !told.errorOutput.empty(); })) << "the error stream is never paused";
    onQueue([] {});
    EXPECT_EQ(record->told().output, "");
    const std::size_t written = std::stoul(record->told().errorOutput);
    onQueue([&] { child->resumeOutput(); });
    EXPECT_TRUE(record->waitUntil([&](const auto& told) { return told.output.size() == written; }));
    onQueue([&] { child->closeInput(); });
    EXPECT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output.size(), written);
}

TEST_F(ChildProcessTest, AChildThatTakesNoAnswersIsNotReadUntilItDoes)
{
    const auto child = start(probe({ "fill-pipe", "stop" }));
    onQueue([&] {
        for (std::size_t piece = 0; piece <= ChildProcess::unwrittenLimit / 1'000'000 + 1; ++piece)
            child->write(std::string(1'000'000, '!'));
    });
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return !told.errorOutput.empty(); })) << "the error stream is read all the same";
    siginfo_t stopped{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child->processID()), &stopped, WSTOPPED | WNOWAIT), 0);
    onQueue([] {});
    EXPECT_EQ(record->told().output, "");
    const std::size_t written = std::stoul(record->told().errorOutput);
    kill(child->processID(), SIGCONT);
    EXPECT_TRUE(record->waitUntil([&](const auto& told) { return told.output.size() == written; }));
    onQueue([&] { child->closeInput(); });
    EXPECT_TRUE(record->waitForEnd());
}

TEST_F(ChildProcessTest, OneLongMessageThatAChildDoesNotTakeDoesNotStopTheReading)
{
    const auto child = start(probe({ "fill-pipe", "stop" }));
    onQueue([&] {
        child->write(std::string(3 * ChildProcess::unwrittenLimit, '!'));
        child->write("and one more");
    });
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return !told.errorOutput.empty() && !told.output.empty(); }));
    siginfo_t stopped{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child->processID()), &stopped, WSTOPPED | WNOWAIT), 0);
    kill(child->processID(), SIGCONT);
    onQueue([&] { child->closeInput(); });
    EXPECT_TRUE(record->waitForEnd());
}

TEST_F(ChildProcessTest, OutputPausedAndResumedAtEachChunkIsWhole)
{
    ChildProcess::Callbacks callbacks = ChildRecord::callbacks(record);
    std::shared_ptr<ChildProcess> child;
    callbacks.onOutput = [&, told = callbacks.onOutput](std::string_view chunk) {
        told(chunk);
        child->pauseOutput();
        queue->post([&] { child->resumeOutput(); });
    };
    onQueue([&] {
        auto launched = ChildProcess::launch(probe({ "fill", "3000000" }), queue, std::move(callbacks));
        ASSERT_TRUE(launched);
        child = std::move(launched).value();
    });
    ASSERT_TRUE(record->waitForEnd());
    onQueue([] {});
    EXPECT_EQ(record->told().output.size(), 3'000'000U);
    EXPECT_TRUE(isAlphabet(record->told().output));
}

TEST_F(ChildProcessTest, TheEndComesWhileOutputIsPausedAndAfterWhatWasWritten)
{
    std::shared_ptr<ChildProcess> child;
    const std::string output(40'000, 'z');
    onQueue([&] {
        child = start(probe({ "say", output, "", "2" }));
        child->pauseOutput();
    });
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, output);
    EXPECT_FALSE(record->told().wasToldAfterEnd);
}

} // namespace tessarin
