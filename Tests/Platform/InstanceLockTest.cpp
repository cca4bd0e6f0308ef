#include "Platform/InstanceLock.h"

#include "ChildFixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <signal.h>
#include <sys/stat.h>

namespace tessarin
{

namespace
{

namespace fs = std::filesystem;

class InstanceLockTest : public ChildFixture
{
protected:
    InstanceLockTest()
    {
        std::string name = (fs::temp_directory_path() / "instance-XXXXXX").string();
        folder = mkdtemp(name.data());
        use(folder + "/tessarin");
    }
    ~InstanceLockTest() override { fs::remove_all(folder); }

    void use(const std::string& data) { locations = { .configuration = data, .data = data }; }
    std::unique_ptr<InstanceLock> acquire()
    {
        return InstanceLock::acquire(locations, mainThread, [this] { ++raises; });
    }
    // A start by another process, up to the word that tells how it went.
    std::shared_ptr<ChildProcess> startOther(const std::string& word)
    {
        const auto other = start({ .executable = INSTANCE_PROBE, .arguments = { locations.data } });
        EXPECT_TRUE(record->waitUntil([&](const auto& told) { return told.output == word; })) << record->told().output;
        return other;
    }
    void end(const std::shared_ptr<ChildProcess>& other)
    {
        queue->sync([&] { other->closeInput(); });
        EXPECT_TRUE(record->waitForEnd());
    }
    static mode_t modeOf(const std::string& path)
    {
        struct stat information {
        };
        EXPECT_EQ(stat(path.c_str(), &information), 0);
        return information.st_mode & 07777;
    }

    MainThread mainThread;
    int raises = 0;
    std::string folder;
    StoreLocations locations;
};

} // namespace

TEST_F(InstanceLockTest, TheFirstStartHoldsTheStores)
{
    const auto lock = acquire();
    EXPECT_TRUE(lock);
    EXPECT_TRUE(fs::exists(locations.data + "/instance.lock"));
    EXPECT_FALSE(mainThread.waitAndDrain(std::chrono::milliseconds(0)));
    EXPECT_EQ(raises, 0);
}

TEST_F(InstanceLockTest, ASecondStartEndsAndRaisesTheFirst)
{
    const auto lock = acquire();
    const auto other = startOther("absent ");
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
    EXPECT_EQ(raises, 1);
}

TEST_F(InstanceLockTest, AFirstStartInAnotherProcessIsRaisedByThisOne)
{
    const auto other = startOther("held ");
    EXPECT_FALSE(acquire());
    EXPECT_TRUE(record->waitUntil([](const auto& told) { return told.output == "held raised "; }));
    end(other);
}

TEST_F(InstanceLockTest, EachLaterStartRaisesTheFirstAgain)
{
    const auto lock = acquire();
    for (int round = 1; round <= 3; ++round) {
        EXPECT_FALSE(acquire());
        EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
        EXPECT_EQ(raises, round);
    }
}

TEST_F(InstanceLockTest, QuestionsThatComeFasterThanTheWindowRisesAreOne)
{
    const auto lock = acquire();
    for (int round = 0; round < 2000; ++round)
        EXPECT_FALSE(acquire());
    EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
    const int first = raises;
    EXPECT_GE(first, 1);
    EXPECT_LT(first, 200);
}

TEST_F(InstanceLockTest, TheStoresAreFreeWhenTheFirstEnds)
{
    const auto other = startOther("held ");
    end(other);
    EXPECT_FALSE(fs::exists(locations.data + "/instance.socket"));
    EXPECT_TRUE(acquire());
    EXPECT_TRUE(acquire()) << "a dropped lock is free at once";
}

TEST_F(InstanceLockTest, AFirstStartThatWasKilledLeavesNothingInTheWay)
{
    const auto other = startOther("held ");
    EXPECT_EQ(kill(other->processID(), SIGKILL), 0);
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(fs::exists(locations.data + "/instance.socket")) << "a socket without anybody behind it";
    const auto lock = acquire();
    ASSERT_TRUE(lock);
    EXPECT_FALSE(acquire());
    EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
    EXPECT_EQ(raises, 1);
}

TEST_F(InstanceLockTest, AChildThatOutlivesTheFirstDoesNotKeepTheStores)
{
    auto lock = acquire();
    const auto child = start({ .executable = "/bin/cat" });
    lock = nullptr;
    EXPECT_TRUE(acquire());
    queue->sync([&] {
        EXPECT_TRUE(child->isRunning());
        child->closeInput();
    });
    EXPECT_TRUE(record->waitForEnd());
}

TEST_F(InstanceLockTest, NothingIsRaisedAfterTheLockIsDropped)
{
    auto lock = acquire();
    EXPECT_FALSE(acquire());
    lock = nullptr;
    mainThread.drain();
    EXPECT_EQ(raises, 0);
}

TEST_F(InstanceLockTest, OnlyTheOwnAccountMayAsk)
{
    const auto lock = acquire();
    EXPECT_EQ(modeOf(locations.data), 0700U);
    EXPECT_EQ(modeOf(locations.data + "/instance.lock"), 0600U);
    EXPECT_EQ(modeOf(locations.data + "/instance.socket"), 0600U);
}

TEST_F(InstanceLockTest, AFolderWithALongPathWorksAlike)
{
    use(folder + "/" + std::string(120, 'a') + "/" + std::string(200, 'b') + "/tessarin");
    const auto lock = acquire();
    ASSERT_TRUE(lock);
    const auto other = startOther("absent ");
    ASSERT_TRUE(record->waitForEnd());
    EXPECT_TRUE(mainThread.waitAndDrain(childTestBound));
    EXPECT_EQ(raises, 1);
}

TEST_F(InstanceLockTest, StoresElsewhereAreNotHeld)
{
    const auto lock = acquire();
    use(folder + "/other");
    EXPECT_TRUE(acquire());
}

TEST_F(InstanceLockTest, AFolderThatCannotHoldTheLockDoesNotKeepTheProgramFromStarting)
{
    std::ofstream(folder + "/file") << "in the way";
    use(folder + "/file/tessarin");
    EXPECT_TRUE(acquire());
}

TEST_F(InstanceLockTest, LocksLeaveNoDescriptorBehind)
{
    const int before = openDescriptors();
    for (int round = 0; round < 100; ++round) {
        const auto lock = acquire();
        ASSERT_TRUE(lock);
        EXPECT_FALSE(acquire());
    }
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace tessarin
