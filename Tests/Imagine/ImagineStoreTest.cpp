#include "Imagine/ImagineHistory.h"
#include "LibraryFixture.h"
#include "TroubledDisk.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using Items = std::vector<ImagineItem>;
using Names = std::vector<std::string>;

class ImagineStoreTest : public LibraryFixture
{
protected:
    void makeLegacy(const std::string& name, const std::string& bytes) const
    {
        fs::create_directories(legacy());
        writeWholeFile(legacy(name), bytes);
    }
    void makeHistory(const std::string& text) const
    {
        fs::create_directories(library());
        writeWholeFile(history(), text);
    }
    static InstantSource at(double secondsSince1970)
    {
        return [secondsSince1970] { return Instant::fromSecondsSince1970(secondsSince1970); };
    }
    // The moment at which a history is kept aside, and the name it gets.
    static constexpr double aMorning = 1795250400;
    static constexpr const char* asideName = "history.json.undecodable-20261121T084000Z";
};

TEST_F(ImagineStoreTest, AFirstRunMakesTheLibraryFolder)
{
    const auto directory = ImagineStore::directory(locations());
    ASSERT_TRUE(directory);
    EXPECT_EQ(directory.value(), library());
    EXPECT_TRUE(fs::is_directory(support("tessarin/Imagine")));
    EXPECT_EQ(modeOf(library()), 0700U);
}

TEST_F(ImagineStoreTest, AnExistingFolderIsNoFailure)
{
    ASSERT_TRUE(ImagineStore::directory(locations()));
    writeWholeFile(library("a.png"), "pixels");
    ASSERT_TRUE(ImagineStore::directory(locations()));
    EXPECT_EQ(wholeFile(library("a.png")), "pixels");
}

TEST_F(ImagineStoreTest, TheLibraryIsBelowTheDataHomeOfTheAccount)
{
    ::setenv("XDG_DATA_HOME", (m_folder / "home").c_str(), 1);
    const auto directory = ImagineStore::directory();
    ::unsetenv("XDG_DATA_HOME");
    ASSERT_TRUE(directory);
    EXPECT_EQ(directory.value(), m_folder / "home/tessarin/Imagine");
}

TEST_F(ImagineStoreTest, ALegacyFolderAloneIsMoved)
{
    makeLegacy("a.png", "pixels");
    ASSERT_TRUE(ImagineStore::directory(locations()));
    EXPECT_EQ(wholeFile(library("a.png")), "pixels");
    EXPECT_FALSE(fs::exists(support("Ombrelan/Imagine")));
}

TEST_F(ImagineStoreTest, WithBothFoldersTheLegacyOneIsLeftAlone)
{
    makeLegacy("a.png", "pixels");
    fs::create_directories(library());
    ASSERT_TRUE(ImagineStore::directory(locations()));
    EXPECT_EQ(wholeFile(legacy("a.png")), "pixels");
    EXPECT_EQ(namesIn(library()), Names{});
}

TEST_F(ImagineStoreTest, ALegacyPathThatIsNoFolderIsLeftAlone)
{
    fs::create_directories(support("Ombrelan"));
    writeWholeFile(support("Ombrelan/Imagine"), "a file");
    ASSERT_TRUE(ImagineStore::directory(locations()));
    EXPECT_EQ(wholeFile(support("Ombrelan/Imagine")), "a file");
}

TEST_F(ImagineStoreTest, TheMovedHistoryStillNamesTheOldPlacesAndItsItemsAreNotShown)
{
    makeLegacy("a.png", "pixels");
    const auto text = encodeImagineHistory({ ImagineItem::make(ImagineKind::image, "p", legacy("a.png"), "a.png") });
    makeLegacy("history.json", *text);
    EXPECT_EQ(loaded(), Items{});
    EXPECT_EQ(wholeFile(history()), *text);
    EXPECT_EQ(wholeFile(library("a.png")), "pixels");
}

TEST_F(ImagineStoreTest, LoadingTakesTheLegacyFolderOver)
{
    makeLegacy("a.png", "pixels");
    const auto item = ImagineItem::make(ImagineKind::image, "p", library("a.png"), "a.png");
    makeLegacy("history.json", *encodeImagineHistory({ item }));
    EXPECT_EQ(loaded(), Items{ item });
    EXPECT_FALSE(fs::exists(support("Ombrelan/Imagine")));
}

TEST_F(ImagineStoreTest, ALegacyFolderThatCannotBeMovedIsAFailure)
{
    makeLegacy("a.png", "pixels");
    fs::create_symlink("nowhere", support("tessarin"));
    const auto directory = ImagineStore::directory(locations());
    ASSERT_FALSE(directory);
    EXPECT_NE(directory.error().description(), "");
    EXPECT_EQ(wholeFile(legacy("a.png")), "pixels");
}

TEST_F(ImagineStoreTest, AFileWhereTheFolderShouldBeIsAFailure)
{
    fs::create_directories(support("tessarin"));
    writeWholeFile(library(), "a file");
    ASSERT_FALSE(ImagineStore::directory(locations()));
    EXPECT_EQ(wholeFile(library()), "a file");
}

TEST_F(ImagineStoreTest, AFolderThatMayNotBeMadeIsAFailureAndLoadAndSaveAreSilent)
{
    fs::create_directories(support());
    ::chmod(m_folder.path().c_str(), 0755);
    ::chmod(support().c_str(), 0555);
    const auto findings = asABoundAccount([&]() -> std::string {
        const auto directory = ImagineStore::directory(locations());
        if (directory || directory.error().code != EACCES) {
            return "The folder was made.";
        }
        ImagineStore store(locations());
        if (!store.load().empty()) {
            return "There is a library.";
        }
        store.save({});
        store.flush();
        return fs::exists(history()) ? "It was saved." : "";
    });
    ::chmod(support().c_str(), 0755);
    EXPECT_EQ(findings, "");
}

TEST_F(ImagineStoreTest, WhatIsSavedIsThereAfterARestartInItsOrder)
{
    const Items items{ importedItem("b.mp4"), importedItem("a.png"), importedItem("c.gif") };
    saveAndEnd(items);
    EXPECT_EQ(loaded(), items);
    EXPECT_EQ(wholeFile(history()), *encodeImagineHistory(items));
    EXPECT_EQ(modeOf(history()), 0600U);
}

TEST_F(ImagineStoreTest, WithoutAHistoryTheLibraryIsEmpty)
{
    EXPECT_EQ(loaded(), Items{});
    EXPECT_EQ(namesIn(library()), Names{}) << "and loading writes nothing";
}

TEST_F(ImagineStoreTest, WhatIsSavedIsSeenBeforeItIsWritten)
{
    ImagineStore store(locations());
    const Items before = store.load();
    for (int index = 0; index < 50; ++index) {
        const Items items{ importedItem("a.png", std::to_string(index)) };
        store.save(items);
        ASSERT_EQ(store.load(), items);
    }
}

TEST_F(ImagineStoreTest, AnEntryWhoseFileIsGoneIsNotShownAndVanishesWithTheNextSave)
{
    const ImagineItem kept = importedItem("a.png");
    const ImagineItem gone = importedItem("b.png");
    saveAndEnd({ gone, kept });
    fs::remove(gone.localPath);
    EXPECT_EQ(loaded(), Items{ kept });
    EXPECT_EQ(decodeImagineHistory(wholeFile(history())), (Items{ gone, kept })) << "loading does not write it back";
    saveAndEnd(loaded());
    EXPECT_EQ(decodeImagineHistory(wholeFile(history())), Items{ kept });
}

TEST_F(ImagineStoreTest, AnEntryWithAZeroByteInItsPathNamesNoFile)
{
    ImagineItem item = importedItem("a.png");
    item.localPath += std::string("\0.png", 5);
    saveAndEnd({ item });
    EXPECT_EQ(loaded(), Items{});
}

TEST_F(ImagineStoreTest, ACorruptHistoryIsAnEmptyLibraryAndTheNextSaveReplacesIt)
{
    makeHistory("[{\"id\":");
    EXPECT_EQ(loaded(), Items{});
    EXPECT_EQ(namesIn(library()), Names{ "history.json" }) << "loading changes nothing";
    const ImagineItem item = importedItem("a.png");
    saveAndEnd({ item });
    EXPECT_EQ(loaded(), Items{ item });
}

TEST_F(ImagineStoreTest, ACorruptHistoryIsKeptAsideBeforeItIsReplaced)
{
    makeHistory("not a history");
    ImagineStore store(locations(), at(aMorning));
    ASSERT_EQ(store.load(), Items{});
    store.save({});
    store.save({});
    store.flush();
    EXPECT_EQ(wholeFile(history()), "[]");
    EXPECT_EQ(namesIn(library()), (Names{ "history.json", asideName }));
    EXPECT_EQ(wholeFile(library(asideName)), "not a history");
}

// Well formed, so that only its size is against it.
TEST_F(ImagineStoreTest, AHistoryOfMoreThan256MegabytesIsKeptAside)
{
    constexpr std::size_t limit = std::size_t{ 256 } * 1024 * 1024;
    const std::string encoded = encodeImagineHistory({ importedItem("a.png") }).value();
    makeHistory(encoded + std::string(limit + 1 - encoded.size(), ' '));
    ImagineStore store(locations(), at(aMorning));
    EXPECT_EQ(store.load(), Items{});
    store.save({});
    store.flush();
    EXPECT_EQ(wholeFile(history()), "[]");
    EXPECT_EQ(fs::file_size(library(asideName)), limit + 1);
}

TEST_F(ImagineStoreTest, AHistoryOfALaterVersionIsKeptAsideToo)
{
    ImagineItem item = ImagineItem::make(ImagineKind::image, "p", "/a.png", "a.png");
    std::string text = *encodeImagineHistory({ item });
    text.replace(text.find("\"image\""), 7, "\"audio\"");
    makeHistory(text);
    ImagineStore store(locations(), at(aMorning));
    ASSERT_EQ(store.load(), Items{});
    store.save({});
    store.flush();
    EXPECT_EQ(wholeFile(library(asideName)), text);
}

TEST_F(ImagineStoreTest, NoEarlierHistoryThatWasKeptAsideIsReplaced)
{
    makeHistory("second");
    writeWholeFile(library(asideName), "first");
    ImagineStore store(locations(), at(aMorning));
    ASSERT_EQ(store.load(), Items{});
    store.save({});
    store.flush();
    EXPECT_EQ(wholeFile(library(asideName)), "first");
    EXPECT_EQ(wholeFile(library(std::string(asideName) + "-2")), "second");
}

TEST_F(ImagineStoreTest, AHistoryThatMayNotBeReadIsKeptAside)
{
    const std::string text = *encodeImagineHistory({ importedItem("a.png") });
    makeHistory(text);
    ::chmod(m_folder.path().c_str(), 0777);
    ::chmod(support().c_str(), 0777);
    ::chmod(support("tessarin").c_str(), 0777);
    ::chmod(library().c_str(), 0777);
    ::chmod(history().c_str(), 0);
    const auto findings = asABoundAccount([&]() -> std::string {
        ImagineStore store(locations(), at(aMorning));
        if (!store.load().empty()) {
            return "It was read.";
        }
        store.save({});
        store.flush();
        return wholeFile(history()) == "[]" ? "" : "It was not replaced.";
    });
    EXPECT_EQ(findings, "");
    ::chmod(library(asideName).c_str(), 0600);
    EXPECT_EQ(wholeFile(library(asideName)), text);
}

TEST_F(ImagineStoreTest, AFolderWhereTheHistoryShouldBeIsKeptAside)
{
    fs::create_directories(history());
    writeWholeFile(history() + "/inner", "bytes");
    ImagineStore store(locations(), at(aMorning));
    ASSERT_EQ(store.load(), Items{});
    store.save({});
    store.flush();
    EXPECT_EQ(wholeFile(history()), "[]");
    EXPECT_EQ(wholeFile(library(asideName) + "/inner"), "bytes");
}

TEST_F(ImagineStoreTest, AHistoryBehindAFolderThatWasAwayIsKeptAside)
{
    const ImagineItem item = importedItem("a.png");
    saveAndEnd({ item });
    fs::rename(support("tessarin"), support("away"));
    writeWholeFile(support("tessarin"), "in its place for a while");
    ImagineStore store(locations(), at(aMorning));
    ASSERT_EQ(store.load(), Items{});
    fs::remove(support("tessarin"));
    fs::rename(support("away"), support("tessarin"));
    store.save({});
    store.flush();
    EXPECT_EQ(decodeImagineHistory(wholeFile(library(asideName))), Items{ item });
}

TEST_F(ImagineStoreTest, AHistoryThatCannotBeEncodedLeavesTheEarlierOne)
{
    const ImagineItem item = importedItem("a.png");
    saveAndEnd({ item });
    ImagineItem broken = item;
    broken.createdAt = { 1e308 * 10 };
    saveAndEnd({ broken });
    EXPECT_EQ(loaded(), Items{ item });
}

TEST_F(ImagineStoreTest, OnAFullDiskTheEarlierHistoryStaysWhole)
{
    fs::create_directories(support());
    const auto findings = onADiskOf(256 * 1024, support(), [&]() -> std::string {
        ImagineStore store(locations());
        const ImagineItem item = importedItem("a.png");
        if (!store.load().empty()) {
            return "There is a library.";
        }
        store.save({ item });
        store.flush();
        ImagineItem large = item;
        large.prompt = std::string(400'000, 'x');
        store.save({ large });
        store.flush();
        if (decodeImagineHistory(wholeFile(history())) != Items{ item }) {
            return "The earlier history is gone.";
        }
        if (namesIn(library()).size() != 2) {
            return "A part of the new one is left.";
        }
        store.save({ item, item });
        store.flush();
        return loaded().size() == 2 ? "" : "What fits is not written afterwards.";
    });
    EXPECT_EQ(findings, "");
}

TEST_F(ImagineStoreTest, AReaderNeverFindsHalfOfAHistory)
{
    Items items(3, importedItem("a.png"));
    ImagineStore store(locations());
    const Items before = store.load();
    store.save(items);
    store.flush();
    for (int index = 0; index < 200; ++index) {
        items.push_back(items.front());
        store.save(items);
        ASSERT_TRUE(decodeImagineHistory(wholeFile(history()))) << index;
    }
    store.flush();
    EXPECT_EQ(loaded().size(), 203U);
}

TEST_F(ImagineStoreTest, ALibraryOfAnotherPlaceIsReachedThroughALink)
{
    fs::create_directories(m_folder / "elsewhere");
    fs::create_directories(support("tessarin"));
    fs::create_symlink(m_folder / "elsewhere", library());
    const ImagineItem item = importedItem("a.png");
    EXPECT_EQ(item.localPath, library(item.fileName));
    saveAndEnd({ item });
    EXPECT_EQ(loaded(), Items{ item });
    EXPECT_EQ(namesIn(m_folder / "elsewhere").size(), 2U);
}

} // namespace
} // namespace tessarin
