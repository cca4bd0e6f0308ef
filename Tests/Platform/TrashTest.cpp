#include "Platform/Trash.h"

#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class TrashTest : public testing::Test
{
protected:
    // The working directory is one of the test's own, because a trash that is broken may take it: what is in a TemporaryFolder is removed.
    TrashTest()
    {
        ::setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
        fs::create_directories(m_folder / "current");
        fs::current_path(m_folder / "current");
    }
    ~TrashTest() override
    {
        fs::current_path("/");
        ::unsetenv("XDG_DATA_HOME");
    }

    std::string files(const std::string& name = "") const { return m_folder / "data/Trash/files/" + name; }
    std::string info(const std::string& name = "") const { return m_folder / "data/Trash/info/" + name; }
    // The value of the key in a record.
    static std::string recorded(const std::string& path, const std::string& key)
    {
        const std::string record = wholeFile(path);
        EXPECT_EQ(record.rfind("[Trash Info]\n", 0), 0U) << record;
        const std::size_t start = record.find("\n" + key + "=");
        return start == std::string::npos ? "none"
                                          : record.substr(start + key.size() + 2, record.find('\n', start + 1) - start - key.size() - 2);
    }
    static double secondsOf(const std::string& date)
    {
        std::tm parts{};
        EXPECT_NE(::strptime(date.c_str(), "%Y-%m-%dT%H:%M:%S", &parts), nullptr) << date;
        parts.tm_isdst = -1;
        return static_cast<double>(std::mktime(&parts));
    }
    std::string put(const std::string& name, const std::string& bytes) const
    {
        writeWholeFile(m_folder / name, bytes);
        return m_folder / name;
    }

    const TemporaryFolder m_folder;
};

TEST_F(TrashTest, AFileGoesToTheTrashOfTheAccount)
{
    const std::string path = put("a.png", "pixels");
    ASSERT_TRUE(moveToTrash(path));
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(wholeFile(files("a.png")), "pixels");
    EXPECT_EQ(namesIn(info()), Names{ "a.png.trashinfo" });
}

TEST_F(TrashTest, TheRecordSaysWhereItWasAndWhenItWent)
{
    const double before = static_cast<double>(std::time(nullptr));
    ASSERT_TRUE(moveToTrash(put("a.png", "")));
    const double after = static_cast<double>(std::time(nullptr));
    EXPECT_EQ(recorded(info("a.png.trashinfo"), "Path"), m_folder / "a.png");
    const double gone = secondsOf(recorded(info("a.png.trashinfo"), "DeletionDate"));
    EXPECT_GE(gone, before);
    EXPECT_LE(gone, after);
}

TEST_F(TrashTest, ThePathIsRecordedAsInAUrl)
{
    ASSERT_TRUE(moveToTrash(put("a b%\nü.png", "")));
    EXPECT_EQ(recorded(info("a b%\nü.png.trashinfo"), "Path"), m_folder / "a%20b%25%0A%C3%BC.png");
}

TEST_F(TrashTest, TheTrashIsForItsOwnerAlone)
{
    ASSERT_TRUE(moveToTrash(put("a.png", "")));
    EXPECT_EQ(modeOf(m_folder / "data/Trash"), 0700U);
    EXPECT_EQ(modeOf(files()), 0700U);
    EXPECT_EQ(modeOf(info()), 0700U);
    EXPECT_EQ(modeOf(info("a.png.trashinfo")), 0600U);
}

TEST_F(TrashTest, FilesOfOneNameLieBesideEachOther)
{
    for (const char* bytes : { "first", "second", "third" }) {
        ASSERT_TRUE(moveToTrash(put("a.png", bytes)));
    }
    EXPECT_EQ(namesIn(files()), (Names{ "a.png", "a.png.2", "a.png.3" }));
    EXPECT_EQ(namesIn(info()), (Names{ "a.png.2.trashinfo", "a.png.3.trashinfo", "a.png.trashinfo" }));
    EXPECT_EQ(wholeFile(files("a.png")), "first");
    EXPECT_EQ(wholeFile(files("a.png.3")), "third");
    EXPECT_EQ(recorded(info("a.png.3.trashinfo"), "Path"), m_folder / "a.png");
}

TEST_F(TrashTest, ARecordWithoutAFileKeepsItsName)
{
    fs::create_directories(info());
    writeWholeFile(info("a.png.trashinfo"), "of another program that is at it");
    ASSERT_TRUE(moveToTrash(put("a.png", "pixels")));
    EXPECT_EQ(wholeFile(info("a.png.trashinfo")), "of another program that is at it");
    EXPECT_EQ(namesIn(files()), Names{ "a.png.2" });
}

TEST_F(TrashTest, AFileWithoutARecordIsNotReplaced)
{
    fs::create_directories(files());
    writeWholeFile(files("a.png"), "left behind");
    ASSERT_TRUE(moveToTrash(put("a.png", "pixels")));
    EXPECT_EQ(wholeFile(files("a.png")), "left behind");
    EXPECT_EQ(wholeFile(files("a.png.2")), "pixels");
    EXPECT_EQ(namesIn(info()), Names{ "a.png.2.trashinfo" });
}

TEST_F(TrashTest, AFolderGoesWithAllThatIsInIt)
{
    fs::create_directories(m_folder / "media/inner");
    writeWholeFile(m_folder / "media/inner/a.png", "pixels");
    ASSERT_TRUE(moveToTrash(m_folder / "media/"));
    EXPECT_EQ(wholeFile(files("media/inner/a.png")), "pixels");
    EXPECT_FALSE(fs::exists(m_folder / "media"));
}

TEST_F(TrashTest, ALinkGoesAndNotWhatItLeadsTo)
{
    const std::string target = put("a.png", "pixels");
    fs::create_symlink(target, m_folder / "link.png");
    ASSERT_TRUE(moveToTrash(m_folder / "link.png"));
    EXPECT_TRUE(fs::is_symlink(files("link.png")));
    EXPECT_EQ(wholeFile(target), "pixels");
}

TEST_F(TrashTest, ANameOfGreatestLengthIsShortenedBetweenCharacters)
{
    std::string name(1, 'x');
    while (name.size() < 255) {
        name += "ü";
    }
    ASSERT_TRUE(moveToTrash(put(name, "pixels")));
    const Names names = namesIn(files());
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names.front(), name.substr(0, 223));
    EXPECT_EQ(wholeFile(files(names.front())), "pixels");
    EXPECT_EQ(recorded(info(names.front() + ".trashinfo"), "Path").size(), m_folder.path().size() + 2 + 127 * 6);
}

TEST_F(TrashTest, WhatIsGoneFailsAndLeavesNoRecord)
{
    const auto moved = moveToTrash(m_folder / "missing.png");
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, ENOENT);
    EXPECT_FALSE(fs::exists(info("missing.png.trashinfo")));
}

TEST_F(TrashTest, APathThatNamesNothingMovesNothing)
{
    const std::string precious = put("precious", "work");
    for (const char* relative : { "", ".", "../precious" }) {
        EXPECT_FALSE(moveToTrash(relative)) << relative;
    }
    EXPECT_TRUE(fs::is_directory(m_folder / "current")) << "the working directory";
    EXPECT_FALSE(moveToTrash(precious + std::string("\0.png", 5)));
    EXPECT_EQ(wholeFile(precious), "work");
}

TEST_F(TrashTest, AFileThatMayNotBeTakenAwayStaysAndLeavesNoRecord)
{
    fs::create_directories(m_folder / "locked");
    const std::string path = put("locked/a.png", "pixels");
    ::chmod(m_folder.path().c_str(), 0777);
    ::chmod((m_folder / "locked").c_str(), 0555);
    const auto findings = asABoundAccount([&]() -> std::string {
        if (moveToTrash(path)) {
            return "It was moved.";
        }
        return namesIn(files()).empty() && namesIn(info()).empty() ? "" : "Something is left in the trash.";
    });
    ::chmod((m_folder / "locked").c_str(), 0755);
    EXPECT_EQ(findings, "");
    EXPECT_EQ(wholeFile(path), "pixels");
}

// Of a file system of its own, where a test may mount one.
class TrashOfAnotherDiskTest : public TrashTest
{
protected:
    std::string onTheDisk(const std::function<std::string()>& steps) const
    {
        fs::create_directories(m_folder / "disk");
        return onADiskOf(1024 * 1024, m_folder / "disk", [&]() -> std::string {
            struct stat disk {
            };
            struct stat home {
            };
            ::stat((m_folder / "disk").c_str(), &disk);
            ::stat(m_folder.path().c_str(), &home);
            if (disk.st_dev == home.st_dev) {
                return ""; // none may be mounted here
            }
            fs::create_directories(m_folder / "disk/media");
            put("disk/media/a b.png", "pixels");
            return steps();
        });
    }
    std::string path() const { return m_folder / "disk/media/a b.png"; }
    std::string ownTrash() const { return m_folder / "disk/.Trash-" + std::to_string(::getuid()); }
};

TEST_F(TrashOfAnotherDiskTest, AFileGoesToTheTrashOfItsDisk)
{
    EXPECT_EQ(onTheDisk([&]() -> std::string {
        if (!moveToTrash(path()) || fs::exists(path())) {
            return "It is not moved.";
        }
        if (wholeFile(ownTrash() + "/files/a b.png") != "pixels" || modeOf(ownTrash()) != 0700) {
            return "It is not in the trash of its disk.";
        }
        const std::string recordedPath = recorded(ownTrash() + "/info/a b.png.trashinfo", "Path");
        return recordedPath == "media/a%20b.png" ? "" : "It is recorded as " + recordedPath;
    }),
        "");
}

TEST_F(TrashOfAnotherDiskTest, ASharedTrashOfTheDiskIsPreferred)
{
    EXPECT_EQ(onTheDisk([&]() -> std::string {
        fs::create_directories(m_folder / "disk/.Trash");
        ::chmod((m_folder / "disk/.Trash").c_str(), 01777);
        const std::string trash = m_folder / "disk/.Trash/" + std::to_string(::getuid());
        return moveToTrash(path()) && wholeFile(trash + "/files/a b.png") == "pixels" ? "" : "It is not in the shared trash.";
    }),
        "");
}

TEST_F(TrashOfAnotherDiskTest, ASharedTrashWithoutTheStickyBitOrBehindALinkIsNotUsed)
{
    EXPECT_EQ(onTheDisk([&]() -> std::string {
        fs::create_directories(m_folder / "disk/.Trash");
        ::chmod((m_folder / "disk/.Trash").c_str(), 0777);
        if (!moveToTrash(path()) || wholeFile(ownTrash() + "/files/a b.png") != "pixels") {
            return "It is not in our own trash.";
        }
        fs::create_directories(m_folder / "disk/elsewhere");
        ::chmod((m_folder / "disk/elsewhere").c_str(), 01777);
        fs::remove(m_folder / "disk/.Trash");
        fs::create_symlink("elsewhere", m_folder / "disk/.Trash");
        put("disk/media/a b.png", "more");
        if (!moveToTrash(path()) || wholeFile(ownTrash() + "/files/a b.png.2") != "more") {
            return "The link is followed.";
        }
        return namesIn(m_folder / "disk/elsewhere").empty() ? "" : "Something is behind the link.";
    }),
        "");
}

TEST_F(TrashOfAnotherDiskTest, WithoutATrashOnItsDiskItIsCopiedToTheAccountsOne)
{
    EXPECT_EQ(onTheDisk([&]() -> std::string {
        fs::create_directories(m_folder / "disk/elsewhere");
        fs::create_symlink("elsewhere", ownTrash());
        if (!moveToTrash(path()) || fs::exists(path())) {
            return "It is not moved.";
        }
        if (recorded(info("a b.png.trashinfo"), "Path") != m_folder / "disk/media/a%20b.png") {
            return "It is not recorded.";
        }
        return wholeFile(files("a b.png")) == "pixels" && namesIn(m_folder / "disk/elsewhere").empty() ? "" : "It is elsewhere.";
    }),
        "");
}

} // namespace
} // namespace tessarin
