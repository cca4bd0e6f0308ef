#include "Models/WorkspaceStore.h"
#include "NumberedTree.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace tessarin
{
namespace
{

// A program that saves tree after tree.
class Writer
{
public:
    explicit Writer(const TemporaryFolder& folder)
    {
        int ends[2];
        if (pipe(ends) != 0 || fcntl(ends[0], F_SETFD, FD_CLOEXEC) != 0 || fcntl(ends[1], F_SETFD, FD_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        std::string program = STORE_WRITER;
        std::string configuration = folder / "config";
        std::string data = folder / "data";
        char* arguments[] = { program.data(), configuration.data(), data.data(), nullptr };
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        const int failure = posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        m_output = ends[0];
        if (failure != 0) {
            throw std::runtime_error("the writer does not start");
        }
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { close(m_output); }

    // Returns when the first tree is stored. The writer's own death ends the wait.
    void waitForAStoredTree() { m_isAlive = readNumber(); }
    [[nodiscard]] bool isAlive() const { return m_isAlive; }
    // Of the last tree that it knew to be stored.
    [[nodiscard]] std::uint64_t kill()
    {
        ::kill(m_process, SIGKILL);
        int status = 0;
        waitpid(m_process, &status, 0);
        while (readNumber()) { }
        return m_lastStored;
    }

private:
    bool readNumber()
    {
        std::uint64_t number = 0;
        if (read(m_output, &number, sizeof number) != sizeof number) {
            return false;
        }
        m_lastStored = number;
        return true;
    }

    pid_t m_process = 0;
    int m_output = -1;
    bool m_isAlive = true;
    std::uint64_t m_lastStored = 0;
};

TEST(KilledWriterTest, TheStoredTreeIsAlwaysOneThatWasSaved)
{
    constexpr int kills = 200;
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "data"); // the first writer may be killed before it has made it
    std::mt19937 random(std::random_device{}());
    std::uint64_t before = 0;
    for (int round = 0; round < kills; ++round) {
        Writer writer(folder);
        // Every fourth is killed at any moment of its start, the others while they write.
        if (round % 4 != 0) {
            writer.waitForAStoredTree();
            ASSERT_TRUE(writer.isAlive());
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000)); // the random moment itself
        const std::uint64_t known = writer.kill();

        Preferences preferences({ folder / "config", folder / "data" });
        const auto tree = WorkspaceStore(preferences).load();
        const std::uint64_t number = numberOf(tree);
        ASSERT_GE(number, std::max(known, before)) << "round " << round << ": a stored tree was lost";
        if (number > 0) {
            ASSERT_EQ(tree, numberedTree(number)) << "round " << round;
        }
        before = number;
        for (const std::string& name : namesIn(folder / "data")) {
            ASSERT_TRUE(name == "savedWorkspaces.v1" || name == "savedWorkspaces.v1.new") << "round " << round << " left " << name;
        }
    }
    EXPECT_GE(before, static_cast<std::uint64_t>(kills));
}

} // namespace
} // namespace tessarin
