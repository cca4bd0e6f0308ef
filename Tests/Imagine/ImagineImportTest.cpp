#include "LibraryFixture.h"
#include "Platform/BackgroundWork.h"
#include "TroubledDisk.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <latch>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ImagineImportTest : public LibraryFixture
{
protected:
    // An import that goes on, or begins, when the program is ending.
    [[nodiscard]] Result<std::optional<ImagineItem>, FileError> importedAtTheEnd(const std::string& path) const
    {
        std::optional<Result<std::optional<ImagineItem>, FileError>> imported;
        std::latch begun(1);
        runInBackground([&] {
            begun.count_down();
            const auto last = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (!isBackgroundWorkEnding() && std::chrono::steady_clock::now() < last) {
                std::this_thread::yield();
            }
            imported = ImagineStore::importMedia(path, "prompt", locations());
        });
        begun.wait();
        endBackgroundWork();
        return std::move(*imported);
    }
    // Neither a failure nor an item, and nothing in the library.
    void expectNothing(const std::string& path) const
    {
        const auto item = ImagineStore::importMedia(path, "prompt", locations());
        ASSERT_TRUE(item) << path << ": " << item.error().description();
        EXPECT_FALSE(item.value()) << path;
        EXPECT_TRUE(!fs::exists(library()) || namesIn(library()).empty()) << path;
    }
};

TEST_F(ImagineImportTest, AFileIsCopiedUnderANewName)
{
    const std::string path = made("sunset.png", "pixels");
    const Instant before = Instant::now();
    const auto item = ImagineStore::importMedia(path, "a sunset", locations());
    ASSERT_TRUE(item && item.value());
    const ImagineItem& copy = *item.value();
    EXPECT_EQ(copy.kind, ImagineKind::image);
    EXPECT_EQ(copy.prompt, "a sunset");
    EXPECT_EQ(copy.localPath, library(copy.fileName));
    EXPECT_GE(copy.createdAt, before);
    EXPECT_EQ(wholeFile(copy.localPath), "pixels");
    EXPECT_EQ(wholeFile(path), "pixels") << "it stays where the agent left it";
    EXPECT_EQ(namesIn(library()), Names{ copy.fileName }) << "and no history is written";
}

TEST_F(ImagineImportTest, TheNewNameIsAnUpperCaseIdAndTheExtension)
{
    const std::string name = importedItem("a.png").fileName;
    ASSERT_EQ(name.size(), 40U);
    const auto id = Uuid::parse(name.substr(0, 36));
    ASSERT_TRUE(id);
    EXPECT_EQ(name, id->text() + ".png");
}

TEST_F(ImagineImportTest, EachImportHasANameOfItsOwn)
{
    const std::string path = made("a.png");
    const auto first = ImagineStore::importMedia(path, "", locations());
    const auto second = ImagineStore::importMedia(path, "", locations());
    ASSERT_TRUE(first && first.value() && second && second.value());
    EXPECT_NE(first.value()->fileName, second.value()->fileName);
    EXPECT_NE(first.value()->id, second.value()->id);
    EXPECT_EQ(namesIn(library()).size(), 2U);
}

TEST_F(ImagineImportTest, TheExtensionSaysTheKindAndIsLowerCased)
{
    const ImagineItem item = importedItem("A.PNG");
    EXPECT_EQ(item.kind, ImagineKind::image);
    EXPECT_EQ(item.fileName.substr(36), ".png");
    for (const char* extension : { "jpg", "jpeg", "png", "webp", "gif", "JPEG", "WebP" }) {
        EXPECT_EQ(importedItem(std::string("a.") + extension).kind, ImagineKind::image) << extension;
    }
    for (const char* extension : { "mp4", "mov", "m4v", "webm", "MP4", "Mov" }) {
        EXPECT_EQ(importedItem(std::string("a.") + extension).kind, ImagineKind::video) << extension;
    }
    EXPECT_EQ(importedItem("a.mp4.gif").kind, ImagineKind::image);
}

TEST_F(ImagineImportTest, OtherFilesAreNotImported)
{
    for (const char* name : { "a.txt", "a", "png", ".png", "a.", "a.png.bak", "a.pn", "a.pngs", "a.g\u0130f" }) {
        expectNothing(made(name));
    }
}

TEST_F(ImagineImportTest, AMissingFileIsNotImported)
{
    expectNothing(m_folder / "missing.png");
    expectNothing(m_folder / "missing/a.png");
    expectNothing("");
    expectNothing("/");
}

TEST_F(ImagineImportTest, FoldersPipesAndDevicesAreNotImported)
{
    fs::create_directories(m_folder / "folder.png");
    writeWholeFile(m_folder / "folder.png/inner.png", "bytes");
    ASSERT_EQ(::mkfifo((m_folder / "pipe.png").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", m_folder / "device.png");
    for (const char* name : { "folder.png", "pipe.png", "device.png" }) {
        expectNothing(m_folder / name);
    }
}

TEST_F(ImagineImportTest, OfALinkTheFileIsCopied)
{
    const std::string path = made("target.png", "pixels");
    fs::create_symlink(path, m_folder / "link.png");
    const auto item = ImagineStore::importMedia(m_folder / "link.png", "", locations());
    ASSERT_TRUE(item && item.value());
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(item.value()->localPath)));
    fs::remove(path);
    EXPECT_EQ(wholeFile(item.value()->localPath), "pixels");
}

TEST_F(ImagineImportTest, ALinkThatLeadsNowhereIsNotImported)
{
    fs::create_symlink(m_folder / "missing.png", m_folder / "link.png");
    expectNothing(m_folder / "link.png");
}

TEST_F(ImagineImportTest, APathWithAZeroByteNamesNoFile)
{
    expectNothing(made("secret") + std::string("\0.png", 5));
}

TEST_F(ImagineImportTest, ThePathIsStandardised)
{
    made("a.png", "pixels");
    const auto item = ImagineStore::importMedia(m_folder.path() + "/./missing/..//a.png", "", locations());
    ASSERT_TRUE(item && item.value());
    EXPECT_EQ(wholeFile(item.value()->localPath), "pixels");
}

TEST_F(ImagineImportTest, AFileThatMayNotBeReadIsAFailure)
{
    const std::string path = made("a.png");
    ::chmod(m_folder.path().c_str(), 0777);
    ::chmod(path.c_str(), 0);
    const auto findings = asABoundAccount([&]() -> std::string {
        const auto item = ImagineStore::importMedia(path, "", locations());
        if (item || item.error().code != EACCES) {
            return "It did not fail.";
        }
        return namesIn(library()).empty() ? "" : "Something is in the library.";
    });
    EXPECT_EQ(findings, "");
}

TEST_F(ImagineImportTest, AFileInAFolderThatMayNotBeEnteredIsNotThere)
{
    fs::create_directories(m_folder / "locked");
    const std::string path = made("locked/a.png");
    ::chmod(m_folder.path().c_str(), 0777);
    ::chmod((m_folder / "locked").c_str(), 0);
    const auto findings = asABoundAccount([&]() -> std::string {
        const auto item = ImagineStore::importMedia(path, "", locations());
        return item && !item.value() ? "" : "It is no absent one.";
    });
    ::chmod((m_folder / "locked").c_str(), 0755);
    EXPECT_EQ(findings, "");
}

TEST_F(ImagineImportTest, ALibraryThatCannotBeMadeIsAFailure)
{
    writeWholeFile(m_folder / "share", "a file where the folder should be");
    const auto item = ImagineStore::importMedia(made("a.png"), "", locations());
    ASSERT_FALSE(item);
    EXPECT_EQ(item.error().code, EEXIST);
}

TEST_F(ImagineImportTest, ACopyThatDoesNotFitIsAFailureAndNotThere)
{
    const std::string path = made("a.mp4", std::string(300'000, 'x'));
    fs::create_directories(support());
    const auto findings = onADiskOf(128 * 1024, support(), [&]() -> std::string {
        const auto item = ImagineStore::importMedia(path, "", locations());
        if (item || (item.error().code != ENOSPC && item.error().code != EFBIG)) {
            return "The disk was not full.";
        }
        return namesIn(library()).empty() ? "" : "A part of it is left.";
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(wholeFile(path).size(), 300'000U);
}

TEST_F(ImagineImportTest, AVeryLargeFileIsGivenUpWhenTheProgramEnds)
{
    const std::string path = made("endless.mp4");
    fs::resize_file(path, std::uintmax_t{ 1 } << 40); // of which the disk has nothing
    const FileSizeLimit limit(1'000'000); // should it be copied all the same
    const auto item = importedAtTheEnd(path);
    ASSERT_FALSE(item);
    EXPECT_EQ(item.error().code, ECANCELED);
    EXPECT_EQ(namesIn(library()), Names{});
}

TEST_F(ImagineImportTest, AnUsualFileIsFinishedWhenTheProgramEnds)
{
    const std::string bytes(3'000'000, 'x');
    const auto item = importedAtTheEnd(made("film.mp4", bytes));
    ASSERT_TRUE(item && item.value());
    EXPECT_EQ(wholeFile(item.value()->localPath), bytes);
    EXPECT_EQ(namesIn(library()), Names{ item.value()->fileName });
}

// As one that is killed leaves it.
TEST_F(ImagineImportTest, WhileItIsCopiedItHasAHiddenNameOfNoMedium)
{
    fs::create_directories(library());
    const std::string path = made("film.mp4", std::string(300'000, 'x'));
    const auto findings = onADiskOf(std::size_t{ 1024 } * 1024, library(), [&]() -> std::string {
        const pid_t child = ::fork();
        if (child == 0) {
            std::signal(SIGXFSZ, SIG_DFL); // which kills in the middle of the copy
            const rlimit limit{ 100'000, 100'000 };
            ::setrlimit(RLIMIT_FSIZE, &limit);
            static_cast<void>(ImagineStore::importMedia(path, "", locations()));
            ::_exit(0);
        }
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFSIGNALED(status)) {
            return "It was not killed.";
        }
        const Names names = namesIn(library());
        if (names.size() != 1) {
            return "There is not one half file.";
        }
        return names[0].starts_with(".") && names[0].ends_with(".mp4.part") ? "" : "It looks like a film: " + names[0];
    });
    EXPECT_EQ(findings, "");
}

TEST_F(ImagineImportTest, ThreadsThatImportAtOnceTakeTheLegacyFolderOverOnce)
{
    constexpr int count = 4;
    const std::string path = made("a.png");
    for (int round = 0; round < 200; ++round) {
        fs::remove_all(library());
        fs::create_directories(legacy());
        writeWholeFile(legacy("old.png"), "old");
        std::latch start(count); // all go at once, so that some round has them meet
        std::atomic<int> imported = 0;
        std::vector<std::thread> threads;
        threads.reserve(count);
        for (int index = 0; index < count; ++index) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                const auto item = ImagineStore::importMedia(path, "", locations());
                imported += item && item.value() ? 1 : 0;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(imported, count) << round;
        ASSERT_EQ(namesIn(library()).size(), 1U + count);
        ASSERT_EQ(wholeFile(library("old.png")), "old");
    }
}

} // namespace
} // namespace tessarin
