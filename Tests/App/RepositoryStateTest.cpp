#include "App/HandoffCapsule.h"
#include "GitRepository.h"
#include "Platform/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace tessarin
{
namespace
{

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class RepositoryStateTest : public ::testing::Test
{
protected:
    void commitOneFile()
    {
        repository.initialize();
        repository.write("a.txt", "one\n");
        repository.run({ "add", "a.txt" });
        repository.run({ "commit", "-q", "-m", "First" });
    }

    // A program that stands in for Git and prints what a real one hardly does.
    std::string program(const std::string& script)
    {
        repository.write("../git.sh", "#!/bin/sh\n" + script);
        const std::string path = repository.path() + "/../git.sh";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    testing::GitRepository repository;
};

TEST_F(RepositoryStateTest, AFolderWithoutRepositoryGivesAnEmptyText)
{
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path()), "");
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path() + "/missing"), "");
}

TEST_F(RepositoryStateTest, ACleanTreeGivesTheStatusAlone)
{
    commitOneFile();
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path()), "$ git status --short --branch\n## main");
}

TEST_F(RepositoryStateTest, GivesStatusThenChangesThenStagedChanges)
{
    commitOneFile();
    repository.write("staged.txt", "new\n");
    repository.run({ "add", "staged.txt" });
    repository.write("a.txt", "one\ntwo\n");
    repository.write("new.txt", "");
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path()),
        "$ git status --short --branch\n## main\n M a.txt\nA  staged.txt\n?? new.txt\n\n"
        "$ git diff --stat\na.txt | 1 +\n 1 file changed, 1 insertion(+)\n\n"
        "$ git diff --cached --stat\nstaged.txt | 1 +\n 1 file changed, 1 insertion(+)");
}

TEST_F(RepositoryStateTest, ABuiltCapsuleTakesTheSnapshotWhenNoneIsGiven)
{
    commitOneFile();
    const std::vector<ChatEntry> entries;
    const std::vector<PlanEntry> plan;
    const std::string capsule
        = HandoffCapsule::build({ AgentProvider::grok, AgentProvider::kimi, "p", entries, plan, repository.path(), std::nullopt });
    EXPECT_THAT(capsule, EndsWith("REPOSITORY SNAPSHOT\n$ git status --short --branch\n## main"));
}

TEST_F(RepositoryStateTest, AGitThatCannotBeStartedContributesNothing)
{
    commitOneFile();
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path(), "/nonexistent/git"), "");
}

TEST_F(RepositoryStateTest, ACommandThatFailsIsLeftOutAndTheOthersStay)
{
    const std::string git = program("case \"$3\" in status) echo broken; exit 3;; *) echo \"$@\";; esac");
    const std::string path = repository.path();
    EXPECT_EQ(HandoffCapsule::repositoryState(path, git),
        "$ git diff --stat\n-C " + path + " diff --stat\n\n$ git diff --cached --stat\n-C " + path + " diff --cached --stat");
}

TEST_F(RepositoryStateTest, BothStreamsOfACommandAreTaken)
{
    const std::string git = program("[ \"$3\" = status ] && { echo out; echo err >&2; }; exit 0");
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path(), git), "$ git status --short --branch\nout\nerr");
}

TEST_F(RepositoryStateTest, OutputThatIsNotUtf8CountsAsEmpty)
{
    const std::string git = program("[ \"$3\" = status ] && printf 'caf\\351\\n' || echo fine");
    EXPECT_THAT(HandoffCapsule::repositoryState(repository.path(), git), StartsWith("$ git diff --stat\nfine"));
}

TEST_F(RepositoryStateTest, OutputOfWhiteSpaceContributesNothing)
{
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path(), program("printf ' \\n\\t\\n'")), "");
}

TEST_F(RepositoryStateTest, OutputIsTrimmedAtBothEnds)
{
    const std::string git = program("[ \"$3\" = status ] && printf '\\n  a\\n b \\n\\n'; exit 0");
    EXPECT_EQ(HandoffCapsule::repositoryState(repository.path(), git), "$ git status --short --branch\na\n b");
}

TEST_F(RepositoryStateTest, MoreOutputThanAPipeHoldsIsReadToItsEnd)
{
    const std::string git = program("[ \"$3\" = status ] && seq 1 100000; exit 0");
    EXPECT_THAT(HandoffCapsule::repositoryState(repository.path(), git), EndsWith("\n99999\n100000"));
}

} // namespace
} // namespace tessarin
