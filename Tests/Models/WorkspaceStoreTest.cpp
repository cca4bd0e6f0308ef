#include "Models/WorkspaceStore.h"

#include "SampleTree.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

namespace tessarin
{
namespace
{

class WorkspaceStoreTest : public testing::Test
{
protected:
    WorkspaceStoreTest() { std::filesystem::create_directories(folder / "data"); }

    // A project whose folder exists.
    [[nodiscard]] Workspace project(const std::string& name) const
    {
        std::filesystem::create_directories(folder / name);
        Workspace workspace = Workspace::make(folder / name);
        workspace.threads.push_back(fullThread());
        workspace.threads.back().id = Uuid::random();
        return workspace;
    }
    [[nodiscard]] std::string storedPath() const { return folder / "data/savedWorkspaces.v1"; }
    void storeText(const std::string& text) const { writeWholeFile(storedPath(), text); }
    void save(const std::vector<Workspace>& tree)
    {
        TreeChanges changes;
        WorkspaceStore(preferences).save(tree, changes);
        preferences.flush();
    }
    [[nodiscard]] std::vector<Workspace> load() { return WorkspaceStore(preferences).load(); }

    TemporaryFolder folder;
    Preferences preferences{ { folder / "config", folder / "data" }, [] { return Instant::fromSecondsSince1970(1795249800); } };
};

TEST_F(WorkspaceStoreTest, AnEmptyStoreLoadsAsNoProjects)
{
    EXPECT_TRUE(load().empty());
    preferences.flush();
    EXPECT_FALSE(fileExists(storedPath()));
}

TEST_F(WorkspaceStoreTest, AnEmptyArrayLoadsAsNoProjects)
{
    storeText("[]");
    EXPECT_TRUE(load().empty());
    save({});
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "savedWorkspaces.v1" });
}

TEST_F(WorkspaceStoreTest, ATreeRoundTripsWithAllIdsTextsAndInstants)
{
    RandomTree random(1);
    std::vector<Workspace> tree{ project("b"), project("a"), random.workspace(folder.path(), 10, 100, 50) };
    save(tree);
    EXPECT_EQ(load(), tree);
    Preferences afterRestart(preferences.locations());
    EXPECT_EQ(WorkspaceStore(afterRestart).load(), tree);
}

TEST_F(WorkspaceStoreTest, TheStoredBytesAreTheJsonUnderTheKey)
{
    save(fullTree());
    EXPECT_EQ(wholeFile(storedPath()), fullTreeText);
}

TEST_F(WorkspaceStoreTest, AnUnknownKindLoadsAsNoProjects)
{
    std::string text = fullTreeText;
    storeText(text.replace(text.find("\"tool\""), 6, "\"note\""));
    EXPECT_TRUE(load().empty());
}

TEST_F(WorkspaceStoreTest, AnEntryNeedsItsInstantButNoTitleStatusOrProvider)
{
    const std::string withoutOptionals
        = R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/","threads":[{"id":"11111111-2222-4333-8444-55555555AAAA",)"
          R"("title":"t","entries":[{"id":"1","kind":"user","text":"a","createdAt":0}],"createdAt":0,"updatedAt":0}]}])";
    storeText(withoutOptionals);
    const auto tree = load();
    ASSERT_EQ(tree.size(), 1U);
    EXPECT_EQ(tree[0].threads[0].entries[0].createdAt.secondsSince1970(), 978307200.0);
    EXPECT_EQ(tree[0].threads[0].entries[0].title, std::nullopt);

    std::string withoutInstant = withoutOptionals;
    storeText(withoutInstant.erase(withoutInstant.find(R"(,"createdAt":0})"), 14));
    EXPECT_TRUE(load().empty());
}

TEST_F(WorkspaceStoreTest, KeepsTheProjectsWhosePathExistsInTheirOrder)
{
    std::vector<Workspace> tree{ project("c"), project("gone"), project("a"), project("b") };
    tree.push_back(Workspace::make(folder / "file"));
    writeWholeFile(folder / "file", "a file counts as well");
    save(tree);
    std::filesystem::remove(folder / "gone");
    tree.erase(tree.begin() + 1);
    EXPECT_EQ(load(), tree);
}

TEST_F(WorkspaceStoreTest, AProjectWhoseFolderIsGoneStaysStoredUntilTheNextSave)
{
    save({ project("only") });
    std::filesystem::remove(folder / "only");
    const std::string stored = wholeFile(storedPath());
    WorkspaceStore store(preferences);
    EXPECT_TRUE(store.load().empty());
    preferences.flush();
    EXPECT_EQ(wholeFile(storedPath()), stored);
    TreeChanges changes;
    store.save({}, changes);
    preferences.flush();
    EXPECT_EQ(wholeFile(storedPath()), "[]");
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "savedWorkspaces.v1" }) << "it was decodable";
}

TEST_F(WorkspaceStoreTest, AnUndecodableValueStaysUntilASaveAndIsKeptAsideThen)
{
    const std::string bad = fullTreeText.substr(0, 300);
    storeText(bad);
    WorkspaceStore store(preferences);
    EXPECT_TRUE(store.load().empty());
    preferences.flush();
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "savedWorkspaces.v1" });
    EXPECT_EQ(wholeFile(storedPath()), bad);

    TreeChanges changes;
    const std::vector<Workspace> tree{ project("a") };
    store.save(tree, changes);
    preferences.flush();
    EXPECT_EQ(wholeFile(storedPath()), encodeWorkspaces(tree));
    EXPECT_EQ(wholeFile(storedPath() + ".undecodable-20261121T083000Z"), bad);
}

TEST_F(WorkspaceStoreTest, AValueThatCannotBeReadIsKeptAsideToo)
{
    std::filesystem::create_directories(storedPath() + "/folder");
    WorkspaceStore store(preferences);
    EXPECT_TRUE(store.load().empty());
    TreeChanges changes;
    store.save({}, changes);
    preferences.flush();
    EXPECT_EQ(wholeFile(storedPath()), "[]");
    EXPECT_TRUE(isDirectory(storedPath() + ".undecodable-20261121T083000Z/folder"));
}

TEST_F(WorkspaceStoreTest, ATreeThatCannotBeEncodedLeavesTheStoredOne)
{
    std::vector<Workspace> tree{ project("a") };
    save(tree);
    const std::string stored = wholeFile(storedPath());
    tree[0].threads[0].updatedAt = { std::numeric_limits<double>::quiet_NaN() };
    save(tree);
    EXPECT_EQ(wholeFile(storedPath()), stored);
}

TEST_F(WorkspaceStoreTest, LoadingBegunEarlierGivesTheSameTree)
{
    RandomTree random(5);
    const std::vector<Workspace> tree{ random.workspace(folder.path(), 40, 100, 200), project("gone") };
    save(tree);
    std::filesystem::remove(folder / "gone");
    WorkspaceStore store(preferences);
    store.beginLoading();
    EXPECT_EQ(store.load(), std::vector<Workspace>{ tree[0] });
    EXPECT_EQ(store.load(), std::vector<Workspace>{ tree[0] }) << "and again without";
}

TEST_F(WorkspaceStoreTest, LoadingBegunEarlierKeepsAnUndecodableValueAside)
{
    storeText("{");
    WorkspaceStore store(preferences);
    store.beginLoading();
    EXPECT_TRUE(store.load().empty());
    TreeChanges changes;
    store.save({}, changes);
    preferences.flush();
    EXPECT_EQ(wholeFile(storedPath() + ".undecodable-20261121T083000Z"), "{");
}

TEST_F(WorkspaceStoreTest, LoadingBegunEarlierSeesWhatIsNotWrittenYet)
{
    const std::vector<Workspace> tree{ project("a") };
    TreeChanges changes;
    WorkspaceStore store(preferences);
    store.save(tree, changes);
    store.beginLoading();
    EXPECT_EQ(store.load(), tree);
}

TEST_F(WorkspaceStoreTest, LoadingThatNobodyWaitsForEndsWithTheStore)
{
    RandomTree random(5);
    save({ random.workspace(folder.path(), 40, 100, 200) });
    WorkspaceStore(preferences).beginLoading();
}

TEST_F(WorkspaceStoreTest, SavesAfterALoadHoldTheWholeTree)
{
    RandomTree random(6);
    std::vector<Workspace> tree{ random.workspace(folder.path(), 20, 400, 100) };
    tree[0].threads.push_back(random.thread(400, 100));
    save(tree);
    WorkspaceStore store(preferences);
    tree = store.load();
    TreeChanges changes;
    for (int round = 0; round < 20; ++round) {
        ChatThread& thread = tree[0].threads[random.below(tree[0].threads.size())];
        thread.entries.push_back(random.entry(300));
        changes.noteEntries(thread.id, thread.entries.size() - 1);
        store.save(tree, changes);
        preferences.flush();
        ASSERT_EQ(wholeFile(storedPath()), encodeWorkspaces(tree));
    }
}

TEST_F(WorkspaceStoreTest, AFullDiskKeepsTheTreeThatIsStored)
{
    const auto findings = onADiskOf(1024 * 1024, folder / "data", [&]() -> std::string {
        RandomTree random(8);
        std::vector<Workspace> tree{ random.workspace("/", 1, 0, 0) };
        tree[0].threads.push_back(random.thread(0, 0));
        tree[0].threads[0].entries.push_back(fullEntry());
        tree[0].threads[0].entries[0].text = std::string(600'000, 'x');
        save(tree);
        const std::vector<Workspace> stored = tree;
        tree[0].threads[0].entries[0].text += std::string(200'000, 'y');
        save(tree);
        Preferences afterRestart(preferences.locations());
        if (WorkspaceStore(afterRestart).load() != stored) {
            return "The stored tree is not the one that was stored.";
        }
        return namesIn(folder / "data") == std::vector<std::string>{ "savedWorkspaces.v1" } ? "" : "A temporary file is left.";
    });
    EXPECT_EQ(findings, "");
}

} // namespace
} // namespace tessarin
