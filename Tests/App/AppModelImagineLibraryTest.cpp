#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

// What the model does with the library besides filling it.
class AppModelImagineLibraryTest : public AppModelImagineTest
{
protected:
    // A library that an earlier run has left, newest first; each with a file of its name.
    std::vector<ImagineItem> store(const std::vector<std::string>& names, const std::string& folder) const
    {
        fs::create_directories(folder);
        std::vector<ImagineItem> items;
        for (const std::string& name : names) {
            std::ofstream(folder + "/" + name) << name;
            items.push_back(ImagineItem::make(ImagineKind::image, "prompt of " + name, folder + "/" + name, name));
        }
        std::ofstream(folder + "/history.json") << encodeImagineHistory(items).value_or("");
        return items;
    }
    std::vector<ImagineItem> store(const std::vector<std::string>& names) const { return store(names, library()); }
    [[nodiscard]] std::string legacyFolder() const { return runtime.directory() + "/Ombrelan/Imagine"; }
};

TEST_F(AppModelImagineLibraryTest, TheLibraryIsThereFromTheStart)
{
    const auto items = store({ "b.png", "a.png" });
    openModel();
    EXPECT_EQ(model->imagineItems(), items);
    EXPECT_TRUE(desktop.opened.empty());
}

TEST_F(AppModelImagineLibraryTest, AFirstStartMakesTheFolder)
{
    openModel();
    EXPECT_TRUE(fs::is_directory(library()));
    EXPECT_FALSE(fs::exists(history())) << "loading writes nothing";
}

TEST_F(AppModelImagineLibraryTest, AnItemWhoseFileIsGoneIsNotShownAndGoesFromTheHistoryWithTheNextSave)
{
    const auto items = store({ "c.png", "b.png", "a.png" });
    fs::remove(items[1].localPath);
    openModel();
    EXPECT_THAT(model->imagineItems(), ElementsAre(items[0], items[2]));
    EXPECT_EQ(decodeImagineHistory(bytesOf(history())), items);
    model->deleteImagineItem(items[0]);
    waitForStored({ items[2] });
}

TEST_F(AppModelImagineLibraryTest, AnEarlierVersionsFolderIsTakenOverAtTheStart)
{
    const auto items = store({ "a.png" }, legacyFolder());
    openModel();
    EXPECT_FALSE(fs::exists(legacyFolder()));
    EXPECT_EQ(bytesOf(library() + "/a.png"), "a.png");
    EXPECT_EQ(decodeImagineHistory(bytesOf(history())), items) << "the paths in it are not written anew";
    EXPECT_THAT(model->imagineItems(), IsEmpty()) << "so its items name files that are no longer there";
}

TEST_F(AppModelImagineLibraryTest, WithBothFoldersTheEarlierVersionsIsLeftAlone)
{
    store({ "old.png" }, legacyFolder());
    const auto items = store({ "new.png" });
    openModel();
    EXPECT_EQ(model->imagineItems(), items);
    EXPECT_TRUE(fs::exists(legacyFolder() + "/old.png"));
}

TEST_F(AppModelImagineLibraryTest, ACorruptHistoryIsAnEmptyLibraryThatTheNextImportReplaces)
{
    fs::create_directories(library());
    std::ofstream(history()) << "[{\"id\":";
    openImagine(makes({ made("a.png") }));
    EXPECT_THAT(model->imagineItems(), IsEmpty());
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineLibraryTest, OpeningHandsTheFileToTheDesktop)
{
    const auto items = store({ "a.png" });
    openModel();
    watch();
    model->openImagineItem(model->imagineItems()[0]);
    EXPECT_THAT(desktop.opened, ElementsAre(items[0].localPath));
    EXPECT_EQ(itemChanges, 0);
}

TEST_F(AppModelImagineLibraryTest, DeletingMovesTheFileToTheTrashAndForgetsTheItem)
{
    const auto items = store({ "c.png", "b.png", "a.png" });
    openModel();
    watch();
    model->deleteImagineItem(model->imagineItems()[1]);
    EXPECT_THAT(desktop.trashed, ElementsAre(items[1].localPath));
    EXPECT_THAT(model->imagineItems(), ElementsAre(items[0], items[2]));
    EXPECT_EQ(itemChanges, 1);
    EXPECT_EQ(model->imagineProgress(), "");
    waitForStored({ items[0], items[2] });
}

TEST_F(AppModelImagineLibraryTest, AnItemWhoseFileIsGoneIsForgottenAsWell)
{
    const auto items = store({ "b.png", "a.png" });
    openModel();
    fs::remove(items[0].localPath);
    model->deleteImagineItem(items[0]);
    EXPECT_THAT(model->imagineItems(), ElementsAre(items[1]));
    waitForStored({ items[1] });
}

TEST_F(AppModelImagineLibraryTest, EveryItemOfTheIdIsForgotten)
{
    auto items = store({ "c.png", "b.png", "a.png" });
    items[2].id = items[0].id;
    std::ofstream(history()) << encodeImagineHistory(items).value_or("");
    openModel();
    watch();
    model->deleteImagineItem(items[2]);
    EXPECT_THAT(model->imagineItems(), ElementsAre(items[1]));
    EXPECT_THAT(desktop.trashed, ElementsAre(items[2].localPath)) << "the one that was pointed at";
    EXPECT_EQ(itemChanges, 1);
    waitForStored({ items[1] });
}

TEST_F(AppModelImagineLibraryTest, AnItemThatIsNotInTheListChangesNoItem)
{
    const auto items = store({ "a.png" });
    openModel();
    watch();
    model->deleteImagineItem(ImagineItem::make(ImagineKind::image, "", runtime.directory() + "/other.png", "other.png"));
    EXPECT_EQ(model->imagineItems(), items);
    EXPECT_EQ(itemChanges, 0);
    waitForStored(items);
}

TEST_F(AppModelImagineLibraryTest, ADiskThatTakesNoHistoryLosesNoItemFromTheList)
{
    openImagine(makes({ made("a.png") }));
    fs::create_directory(history()); // which no file can replace
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    waitForImagine(State::ready);
    EXPECT_EQ(model->imagineProgress(), "Image ready");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    model->deleteImagineItem(model->imagineItems()[0]);
    EXPECT_THAT(model->imagineItems(), IsEmpty());
}

} // namespace
} // namespace tessarin::testing
