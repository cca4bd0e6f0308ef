#pragma once

#include "Platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tessarin::testing
{

// A folder in a folder of its own, which becomes a real Git repository on demand; removed at the end. What the account has
// configured for Git plays no part, in the commands of the code under test either.
class GitRepository
{
public:
    GitRepository()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tessarin-git-XXXXXX").string();
        m_root = std::filesystem::canonical(mkdtemp(pattern.data())).string();
        std::filesystem::create_directory(path());
        setenv("GIT_CONFIG_GLOBAL", "/dev/null", 1);
        setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
        setenv("LC_ALL", "C", 1);
        // A repository that the temporary folder may stand in is not looked for.
        setenv("GIT_CEILING_DIRECTORIES", m_root.c_str(), 1);
    }
    ~GitRepository() { std::filesystem::remove_all(m_root); }
    GitRepository(const GitRepository&) = delete;
    GitRepository& operator=(const GitRepository&) = delete;

    [[nodiscard]] std::string path() const { return m_root + "/project"; }
    void initialize() const { run({ "init", "-q", "-b", "main" }); }
    void write(const std::string& name, const std::string& text) const { std::ofstream(path() + "/" + name) << text; }
    void run(std::vector<std::string> arguments) const
    {
        ChildLaunch launch;
        launch.executable = "/usr/bin/git";
        launch.arguments = { "-C", path(), "-c", "user.name=A", "-c", "user.email=a@example.invalid" };
        launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
        launch.environment = processEnvironment();
        const auto outcome = runCommand(launch);
        ASSERT_TRUE(outcome) << outcome.error();
        ASSERT_EQ(outcome.value().status, 0) << outcome.value().output;
    }

private:
    std::string m_root;
};

} // namespace tessarin::testing
