#include "ChildFixture.h"

#include <cerrno>
#include <cstdlib>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessarin
{

namespace
{

class ChildLifetimeTest : public ChildFixture
{
protected:
    // Waits until nobody is left to be collected.
    static bool waitForNoChildren()
    {
        const auto late = std::chrono::steady_clock::now() + childTestBound;
        while (hasChildren()) {
            if (std::chrono::steady_clock::now() > late)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    std::shared_ptr<int> sentinel = std::make_shared<int>();
};

// From here on the system refuses descriptors of processes to this process, as some containers do.
bool refuseProcessDescriptors()
{
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{ 4, steps };
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0
        && syscall(SYS_pidfd_open, getpid(), 0) == -1 && errno == EPERM;
}

} // namespace

TEST_F(ChildLifetimeTest, CallbacksAreReleasedAfterTheEnd)
{
    ChildProcess::Callbacks callbacks = ChildRecord::callbacks(record);
    const auto holder = std::make_shared<std::shared_ptr<ChildProcess>>();
    callbacks.onOutput = [sentinel = sentinel, holder](std::string_view) {};
    callbacks.onErrorOutput = [sentinel = sentinel](std::string_view) {};
    callbacks.onEnd = [sentinel = sentinel, end = std::move(callbacks.onEnd)](ChildEnd how) { end(how); };
    std::weak_ptr<ChildProcess> child;
    {
        auto launched = ChildProcess::launch(probe({ "count-input" }), queue, std::move(callbacks));
        ASSERT_TRUE(launched);
        *holder = std::move(launched).value();
        child = *holder;
    }
    EXPECT_GT(sentinel.use_count(), 1);
    queue->sync([&] { (*holder)->closeInput(); });
    ASSERT_TRUE(record->waitForEnd());
    queue->sync([] {});
    EXPECT_EQ(sentinel.use_count(), 1);
    EXPECT_EQ(holder.use_count(), 1) << "a callback that holds its child is no circle";
    *holder = nullptr;
    EXPECT_TRUE(child.expired());
}

TEST_F(ChildLifetimeTest, ADroppedChildRunsOnAndIsCollectedAtItsEnd)
{
    auto child = start(probe({ "never-read" }));
    ASSERT_TRUE(record->waitUntil([](const auto& told) { return told.output == "ready"; }));
    const pid_t process = child->processID();
    child = nullptr;
    queue->sync([] {});
    EXPECT_EQ(record.use_count(), 1) << "the callbacks are released";
    EXPECT_EQ(kill(process, 0), 0) << "the child lives";
    EXPECT_TRUE(hasChildren());
    EXPECT_EQ(kill(process, SIGKILL), 0);
    EXPECT_TRUE(waitForNoChildren());
    EXPECT_EQ(record->told().ends, 0);
}

TEST_F(ChildLifetimeTest, ADroppedChildSeesTheEndOfItsInput)
{
    auto child = start(probe({ "count-input" }));
    child = nullptr;
    EXPECT_TRUE(waitForNoChildren());
}

TEST_F(ChildLifetimeTest, NoCallbackBeginsAfterADropOnTheQueue)
{
    ChildProcess::Callbacks callbacks = ChildRecord::callbacks(record);
    std::shared_ptr<ChildProcess> child;
    callbacks.onOutput = [&, told = callbacks.onOutput](std::string_view chunk) {
        told(chunk.substr(0, 1));
        child = nullptr;
    };
    queue->sync([&] {
        auto launched = ChildProcess::launch(probe({ "fill", "1000000" }), queue, std::move(callbacks));
        ASSERT_TRUE(launched);
        child = std::move(launched).value();
    });
    EXPECT_TRUE(waitForNoChildren());
    queue->sync([] {});
    EXPECT_EQ(record->told().output, "a");
    EXPECT_EQ(record->told().ends, 0);
}

TEST_F(ChildLifetimeTest, WhatIsAlreadyOnItsWayWhenTheChildIsDroppedIsNotToldAnyMore)
{
    const auto elsewhere = std::make_shared<SerialQueue>("com.local.tessarin.elsewhere");
    for (int round = 0; round < 20; ++round) {
        auto child = start(probe({ "count-input" }));
        queue->sync([&] {
            child->closeInput();
            siginfo_t information{};
            EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child->processID()), &information, WEXITED | WNOWAIT), 0);
            // By the time in which the end of a later child is told elsewhere, that of this one waits behind this work.
            const auto later = std::make_shared<ChildRecord>();
            const auto laterChild = ChildProcess::launch(probe({ "directory" }), elsewhere, ChildRecord::callbacks(later));
            EXPECT_TRUE(laterChild && later->waitForEnd());
            child = nullptr;
        });
        ASSERT_TRUE(waitForNoChildren());
        queue->sync([] {});
        ASSERT_EQ(record->told().output, "");
        ASSERT_EQ(record->told().ends, 0);
    }
}

TEST_F(ChildLifetimeTest, AThousandStartsAndStopsLeaveNothingBehind)
{
    const int descriptors = openDescriptors();
    for (int round = 0; round < 1000; ++round) {
        const auto ended = std::make_shared<ChildRecord>();
        const auto child = start({ .executable = "/bin/cat" }, ended);
        ASSERT_TRUE(child);
        queue->sync([&] {
            child->write("half a line");
            if (round % 2 == 0)
                child->closeStreams();
            child->terminate();
        });
        ASSERT_TRUE(ended->waitForEnd());
    }
    queue->sync([] {});
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildLifetimeTest, AThousandDroppedChildrenLeaveNothingBehind)
{
    const int descriptors = openDescriptors();
    for (int round = 0; round < 1000; ++round)
        ASSERT_TRUE(start(probe({ "say", "unheard", "", "0" })));
    ASSERT_TRUE(waitForNoChildren());
    // The last descriptors close in the steps that collected the last children.
    queue->sync([] {});
    queue->sync([] {});
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(record.use_count(), 1);
}

TEST_F(ChildLifetimeTest, ManyChildrenAtOnceAreKeptApart)
{
    std::vector<std::shared_ptr<ChildRecord>> records;
    std::vector<std::shared_ptr<ChildProcess>> children;
    for (int number = 0; number < 50; ++number) {
        records.push_back(std::make_shared<ChildRecord>());
        children.push_back(
            start(probe({ "say", std::to_string(number), std::to_string(-number), std::to_string(number) }), records.back()));
    }
    for (int number = 0; number < 50; ++number) {
        const ChildRecord& each = *records[static_cast<std::size_t>(number)];
        ASSERT_TRUE(each.waitForEnd());
        EXPECT_EQ(each.told().output, std::to_string(number));
        EXPECT_EQ(each.told().errorOutput, std::to_string(-number));
        EXPECT_EQ(each.told().end->status, number);
    }
}

TEST_F(ChildLifetimeTest, AChildOutlivesTheLastOutsideReferenceToItsQueue)
{
    auto child = start(probe({ "say", "out", "", "3" }));
    queue = nullptr;
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_EQ(record->told().output, "out");
}

TEST(ChildWithoutProcessDescriptorsDeathTest, TheEndIsSeenWithoutADescriptorOfTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto runs = [] {
        if (!refuseProcessDescriptors())
            _exit(99);
        const auto outcome = runCommand({ .executable = CHILD_PROBE, .arguments = { "say", "out", "", "7" } });
        _exit(outcome && outcome.value().output == "out" ? outcome.value().status : 98);
    };
    EXPECT_EXIT(runs(), testing::ExitedWithCode(7), "");
}

TEST(ChildOfAnIgnorantParentDeathTest, TheStatusIsKnownEvenWhenWeWereStartedWithTheEndOfChildrenIgnored)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto runs = [] {
        signal(SIGCHLD, SIG_IGN);
        const auto outcome = runCommand({ .executable = CHILD_PROBE, .arguments = { "say", "", "", "7" } });
        _exit(outcome ? outcome.value().status : 98);
    };
    EXPECT_EXIT(runs(), testing::ExitedWithCode(7), "");
}

} // namespace tessarin
