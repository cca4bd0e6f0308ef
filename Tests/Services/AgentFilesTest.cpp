#include "Services/AgentFiles.h"

#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tessarin;

namespace
{

class AgentFilesTest : public testing::Test
{
protected:
    AgentFilesTest()
    {
        std::filesystem::create_directories(m_project);
        std::filesystem::create_directories(m_outside);
    }
    ~AgentFilesTest() override
    {
        std::filesystem::permissions(m_folder, std::filesystem::perms::owner_all);
        std::filesystem::remove_all(m_folder);
    }

    std::string inProject(const std::string& name) const { return (m_project / name).string(); }
    static void put(const std::filesystem::path& path, std::string_view text) { std::ofstream(path, std::ios::binary) << text; }
    static std::string get(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    std::string readError(const JsonObject& params) const
    {
        const auto result = AgentFiles::readTextFile(params);
        return result ? "no failure" : result.error().description();
    }
    std::string content(const JsonObject& params) const
    {
        const auto result = AgentFiles::readTextFile(params);
        EXPECT_TRUE(result) << (result ? "" : result.error().description());
        return result ? std::string(result.value().at("content").as_string()) : std::string();
    }
    std::string writeError(const JsonObject& params) const
    {
        const auto result = AgentFiles::writeTextFile(params, m_project.string());
        return result ? "no failure" : result.error().description();
    }
    void write(const std::string& path, std::string_view text) const
    {
        const auto result = AgentFiles::writeTextFile({ { "path", path }, { "content", text } }, m_project.string());
        ASSERT_TRUE(result) << result.error().description();
        EXPECT_EQ(result.value(), JsonObject());
    }
    std::size_t filesIn(const std::filesystem::path& folder) const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
    }

    const std::filesystem::path m_folder = std::filesystem::temp_directory_path() / ("tessarin-files-" + std::to_string(::getpid()));
    const std::filesystem::path m_project = m_folder / "project";
    const std::filesystem::path m_outside = m_folder / "project-sibling";
};

constexpr const char* refused = "tessarin only allows file writes inside the selected project.";

} // namespace

TEST_F(AgentFilesTest, ReadsAWholeFile)
{
    put(m_project / "a", "one\ntwo\n");
    EXPECT_EQ(content({ { "path", inProject("a") } }), "one\ntwo\n");
}

TEST_F(AgentFilesTest, ReadsAlsoOutsideTheProject)
{
    put(m_outside / "a", "free");
    EXPECT_EQ(content({ { "path", (m_outside / "a").string() } }), "free");
}

TEST_F(AgentFilesTest, ReadsARelativePathAgainstOurOwnFolder)
{
    const std::string name = std::filesystem::relative(m_project / "a").string();
    put(m_project / "a", "near");
    EXPECT_EQ(content({ { "path", name } }), "near");
}

TEST_F(AgentFilesTest, LinesAreCountedFromOneAndLimited)
{
    put(m_project / "a", "1\n2\n3\n4\n5");
    const std::string path = inProject("a");
    EXPECT_EQ(content({ { "path", path }, { "line", 2 }, { "limit", 2 } }), "2\n3");
    EXPECT_EQ(content({ { "path", path }, { "line", 4 } }), "4\n5");
    EXPECT_EQ(content({ { "path", path }, { "line", 0 }, { "limit", 1 } }), "1");
    EXPECT_EQ(content({ { "path", path }, { "line", -7 }, { "limit", 1 } }), "1");
    EXPECT_EQ(content({ { "path", path }, { "line", 5 }, { "limit", 100 } }), "5");
    EXPECT_EQ(content({ { "path", path }, { "line", 6 } }), "");
    EXPECT_EQ(content({ { "path", path }, { "line", INT64_MAX }, { "limit", INT64_MAX } }), "");
    EXPECT_EQ(content({ { "path", path }, { "limit", 0 } }), "");
    EXPECT_EQ(content({ { "path", path }, { "limit", -1 } }), "");
}

TEST_F(AgentFilesTest, ALineOrLimitThatIsNoWholeNumberIsIgnored)
{
    put(m_project / "a", "1\n2\n3");
    const std::string path = inProject("a");
    EXPECT_EQ(content({ { "path", path }, { "line", "2" }, { "limit", "1" } }), "1\n2\n3");
    EXPECT_EQ(content({ { "path", path }, { "line", 2.5 } }), "1\n2\n3");
    EXPECT_EQ(content({ { "path", path }, { "line", nullptr }, { "limit", true } }), "1\n2\n3");
    EXPECT_EQ(content({ { "path", path }, { "line", std::uint64_t{ 1 } << 63 }, { "limit", 1e300 } }), "1\n2\n3");
}

TEST_F(AgentFilesTest, AWholeNumberWrittenAsAFractionIsOne)
{
    put(m_project / "a", "1\n2\n3");
    EXPECT_EQ(content({ { "path", inProject("a") }, { "line", 2.0 }, { "limit", 1e0 } }), "2");
}

TEST_F(AgentFilesTest, EverySingleNewlineCharacterEndsALine)
{
    EXPECT_EQ(AgentFiles::lines("a\r\nb\rc\vd\fe\xC2\x85g\xE2\x80\xA8h\xE2\x80\xA9i", 1, std::nullopt), "a\n\nb\nc\nd\ne\ng\nh\ni");
    EXPECT_EQ(AgentFiles::lines("a\n", 2, 1), "");
    EXPECT_EQ(AgentFiles::lines("", 1, std::nullopt), "");
    EXPECT_EQ(AgentFiles::lines("\n", 1, std::nullopt), "\n");
    // Neighbours of the newline characters are text.
    EXPECT_EQ(AgentFiles::lines("a\xC2\x86\xE2\x80\xA7z", 1, std::nullopt), "a\xC2\x86\xE2\x80\xA7z");
}

TEST_F(AgentFilesTest, ARequestWithoutAPathSaysSo)
{
    EXPECT_EQ(readError({}), "fs/read_text_file is missing path");
    EXPECT_EQ(readError({ { "path", 5 } }), "fs/read_text_file is missing path");
    EXPECT_EQ(writeError({ { "path", inProject("a") } }), "fs/write_text_file is missing path or content");
    EXPECT_EQ(writeError({ { "content", "x" } }), "fs/write_text_file is missing path or content");
    EXPECT_EQ(writeError({ { "path", inProject("a") }, { "content", 5 } }), "fs/write_text_file is missing path or content");
}

TEST_F(AgentFilesTest, AFileThatCannotBeReadSaysWhyInThePlatformsWords)
{
    const std::string missing = inProject("missing");
    EXPECT_EQ(readError({ { "path", missing } }), missing + ": No such file or directory");
    EXPECT_EQ(readError({ { "path", m_project.string() } }), m_project.string() + ": Is a directory");
    put(m_project / "binary", "a\xFF");
    EXPECT_EQ(readError({ { "path", inProject("binary") } }), inProject("binary") + ": Invalid or incomplete multibyte or wide character");
}

TEST_F(AgentFilesTest, PipesAndDevicesAreRefusedAtOnce)
{
    ASSERT_EQ(::mkfifo(inProject("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readError({ { "path", inProject("pipe") } }), inProject("pipe") + ": Operation not supported");
    EXPECT_EQ(readError({ { "path", "/dev/zero" } }), "/dev/zero: Operation not supported");
    EXPECT_EQ(writeError({ { "path", inProject("pipe") }, { "content", "x" } }), inProject("pipe") + ": Operation not supported");
    EXPECT_TRUE(std::filesystem::is_fifo(m_project / "pipe"));
}

TEST_F(AgentFilesTest, ATwoGigabyteFileIsRefusedUnread)
{
    put(m_project / "huge", "");
    std::filesystem::resize_file(m_project / "huge", std::uintmax_t{ 2 } << 30);
    EXPECT_EQ(readError({ { "path", inProject("huge") } }), inProject("huge") + ": File too large");
}

TEST_F(AgentFilesTest, AFileThatClaimsToBeEmptyAndNeverEndsIsRefused)
{
#if defined(__linux__)
    EXPECT_EQ(readError({ { "path", "/proc/self/pagemap" } }), "/proc/self/pagemap: File too large");
#endif
}

TEST_F(AgentFilesTest, WritesANewFileWithTheFoldersThatAreMissing)
{
    write(inProject("a/b/c.txt"), "text");
    EXPECT_EQ(get(m_project / "a/b/c.txt"), "text");
    EXPECT_EQ(filesIn(m_project / "a/b"), 1U);
}

TEST_F(AgentFilesTest, ReplacingAFileKeepsItsAccessRights)
{
    put(m_project / "tool", "old");
    ::chmod(inProject("tool").c_str(), 0754);
    write(inProject("tool"), "new");
    EXPECT_EQ(get(m_project / "tool"), "new");
    struct stat status;
    ASSERT_EQ(::stat(inProject("tool").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0754U);
}

TEST_F(AgentFilesTest, ANewFileHasTheUsualAccessRights)
{
    write(inProject("new"), "");
    const mode_t mask = ::umask(0);
    ::umask(mask);
    struct stat status;
    ASSERT_EQ(::stat(inProject("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666U & ~mask);
}

TEST_F(AgentFilesTest, ALinkInsideTheProjectMayLeadOutOfIt)
{
    std::filesystem::create_symlink(m_outside, m_project / "door");
    write(inProject("door/a"), "through");
    EXPECT_EQ(get(m_outside / "a"), "through");
    put(m_outside / "target", "old");
    std::filesystem::create_symlink(m_outside / "target", m_project / "link");
    write(inProject("link"), "new");
    EXPECT_EQ(get(m_outside / "target"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(m_project / "link"));
}

TEST_F(AgentFilesTest, DotsThatStayInsideAreLetThrough)
{
    std::filesystem::create_directories(m_project / "a");
    write(inProject("a/../b"), "inside");
    EXPECT_EQ(get(m_project / "b"), "inside");
    write(inProject("./c/.//d"), "inside");
    EXPECT_EQ(get(m_project / "c/d"), "inside");
}

TEST_F(AgentFilesTest, WhatLiesOutsideTheProjectIsRefused)
{
    for (const std::string& path : { (m_outside / "a").string(), inProject("../a"), inProject("a/../../a"),
             inProject("../project-sibling/a"), std::string("/etc/tessarin-never"), std::string("relative.txt") }) {
        EXPECT_EQ(writeError({ { "path", path }, { "content", "x" } }), refused) << path;
    }
    EXPECT_EQ(filesIn(m_outside), 0U);
}

TEST_F(AgentFilesTest, TheComparisonIsCaseSensitive)
{
    EXPECT_FALSE(AgentFiles::isInsideProject("/home/Me/project/a", "/home/me/project"));
    EXPECT_TRUE(AgentFiles::isInsideProject("/home/me/project/a", "/home/me/project/"));
    EXPECT_TRUE(AgentFiles::isInsideProject("/home/me/project", "/home/me/project"));
}

TEST_F(AgentFilesTest, APathWithAZeroByteReachesNoFile)
{
    using namespace std::string_literals;
    put(m_outside / "a", "original");
    // Inside the project as a whole, outside of it up to the byte at which the system would cut.
    const std::string path = inProject("../project-sibling/a\0/../../project/a"s);
    ASSERT_TRUE(AgentFiles::isInsideProject(path, m_project.string()));
    EXPECT_EQ(writeError({ { "path", path }, { "content", "x" } }), path + ": Invalid argument");
    EXPECT_EQ(readError({ { "path", path } }), path + ": Invalid argument");
    EXPECT_EQ(get(m_outside / "a"), "original");
    EXPECT_EQ(filesIn(m_project), 0U);
}

TEST_F(AgentFilesTest, WithTheRootAsProjectOnlyTheRootItselfPasses)
{
    EXPECT_FALSE(AgentFiles::isInsideProject("/etc/passwd", "/"));
    EXPECT_TRUE(AgentFiles::isInsideProject("/", "/"));
}

TEST_F(AgentFilesTest, TheProjectFolderItselfPassesTheCheckAndFailsInTheWrite)
{
    EXPECT_EQ(writeError({ { "path", m_project.string() }, { "content", "x" } }), m_project.string() + ": Is a directory");
}

TEST_F(AgentFilesTest, ARelativePathPassesWhenOurOwnFolderLiesInsideTheProject)
{
    const auto result = AgentFiles::isInsideProject("a", std::filesystem::current_path().string());
    EXPECT_TRUE(result);
}

TEST_F(AgentFilesTest, AFolderThatIsAFileSaysWhy)
{
    put(m_project / "file", "x");
    EXPECT_EQ(writeError({ { "path", inProject("file/a") }, { "content", "x" } }).rfind(inProject("file") + ": ", 0), 0U);
}

TEST_F(AgentFilesTest, AFullDiskLeavesTheOriginalWholeAndNothingBeside)
{
    const std::string findings = onADiskOf(1'000'000, m_project.string(), [this] {
        std::string found;
        put(m_project / "a", "original");
        const std::string text = writeError({ { "path", inProject("a") }, { "content", std::string(2'000'000, 'x') } });
        // The second is what the stand-in for a full disk says.
        if (text != inProject("a") + ": No space left on device" && text != inProject("a") + ": File too large") {
            found += "The failure says: " + text + "\n";
        }
        if (get(m_project / "a") != "original") {
            found += "The original is not whole.\n";
        }
        if (filesIn(m_project) != 1) {
            found += "Something stands beside it.\n";
        }
        return found;
    });
    EXPECT_EQ(findings, "");
}

TEST_F(AgentFilesTest, AFolderWithoutRightsSaysWhyAndKeepsTheFile)
{
    put(m_project / "a", "original");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // Rights mean nothing to root.
        ::chmod(m_folder.c_str(), 0755);
        ::chmod(m_project.c_str(), 0555);
        if (::geteuid() == 0 && ::setuid(65534) != 0) {
            ::_exit(2);
        }
        const auto result = AgentFiles::writeTextFile({ { "path", inProject("a") }, { "content", "x" } }, m_project.string());
        ::_exit(!result && result.error().description() == inProject("a") + ": Permission denied" ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    ::chmod(m_project.c_str(), 0755);
    EXPECT_EQ(get(m_project / "a"), "original");
}
