#include "Models/WorkspaceCoder.h"
#include "SampleTree.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessarin
{
namespace
{

// A stored tree of one long task, whose bytes are left in its file.
class TreeOnDiskTest : public testing::Test
{
protected:
    TreeOnDiskTest() : tree(fullTree())
    {
        tree[0].threads[0].entries.clear();
        for (int index = 0; index < 300; ++index) {
            ChatEntry entry = fullEntry();
            entry.text = std::string(1000, 'x') + std::to_string(index);
            tree[0].threads[0].entries.push_back(entry);
        }
        stored = encodeWorkspaces(tree).value();
        writeWholeFile(path, stored);
    }
    void SetUp() override { ASSERT_EQ(encoder.decode(stored), tree); }

    void changeLastEntry()
    {
        tree[0].threads[0].entries.back().text = "changed";
        changes.noteEntries(tree[0].threads[0].id, tree[0].threads[0].entries.size() - 1);
    }
    // How many bytes of the rope are not kept in a text in memory.
    [[nodiscard]] static std::size_t bytesOnDisk(const ByteRope& rope)
    {
        std::size_t bytes = 0;
        for (const auto& piece : rope.pieces()) {
            bytes += piece.owner->empty() ? piece.bytes.size() : 0;
        }
        return bytes;
    }

    const TemporaryFolder folder;
    const std::string path = folder / "tree";
    std::vector<Workspace> tree;
    std::string stored;
    WorkspaceEncoder encoder;
    TreeChanges changes;
};

TEST_F(TreeOnDiskTest, WhatHasNotChangedIsReadFromTheFileWhenItIsWrittenAgain)
{
    encoder.leaveOnDisk(path);
    changeLastEntry();
    const auto rope = encoder.encode(tree, changes);
    ASSERT_TRUE(rope);
    EXPECT_EQ(rope->joined(), encodeWorkspaces(tree));
    EXPECT_GT(bytesOnDisk(*rope), stored.size() / 2);
}

TEST_F(TreeOnDiskTest, TheBytesStayWhenTheFileIsReplacedOrRemoved)
{
    encoder.leaveOnDisk(path);
    changeLastEntry();
    ASSERT_TRUE(writeFileAtomically(path, *encoder.encode(tree, changes)));
    EXPECT_EQ(wholeFile(path), encodeWorkspaces(tree));
    std::filesystem::remove(path);
    changeLastEntry();
    const auto rope = encoder.encode(tree, changes);
    EXPECT_EQ(rope->joined(), encodeWorkspaces(tree));
    EXPECT_GT(bytesOnDisk(*rope), 0U);
}

TEST_F(TreeOnDiskTest, AFileThatSomebodyWritesIntoIsNotBelieved)
{
    encoder.leaveOnDisk(path);
    std::string other = stored;
    other[other.find("xxx")] = 'y';
    writeWholeFile(path, other); // as long as before, and the same file
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(1));
    const auto rope = encoder.encode(tree, changes);
    EXPECT_EQ(rope->joined(), stored);
    EXPECT_EQ(bytesOnDisk(*rope), 0U);
}

TEST_F(TreeOnDiskTest, AFileThatIsCutOffBetweenEncodingAndWritingFailsTheWrite)
{
    encoder.leaveOnDisk(path);
    const auto rope = encoder.encode(tree, changes);
    writeWholeFile(path, "");
    writeWholeFile(folder / "copy", "before");
    EXPECT_FALSE(writeFileAtomically(folder / "copy", *rope));
    EXPECT_EQ(wholeFile(folder / "copy"), "before");
    ASSERT_TRUE(writeFileAtomically(folder / "copy", *encoder.encode(tree, changes)));
    EXPECT_EQ(wholeFile(folder / "copy"), stored);
}

TEST_F(TreeOnDiskTest, AFileThatHoldsSomethingElseIsLeftAlone)
{
    std::string other = stored;
    other[other.find("xxx")] = 'y';
    writeWholeFile(path, other);
    encoder.leaveOnDisk(path);
    const auto rope = encoder.encode(tree, changes);
    EXPECT_EQ(rope->joined(), stored);
    EXPECT_EQ(bytesOnDisk(*rope), 0U);
}

TEST_F(TreeOnDiskTest, ThereNeedBeNoFile)
{
    for (const std::string& missing : { folder / "none", folder.path(), std::string() }) {
        encoder.leaveOnDisk(missing);
    }
    EXPECT_EQ(encoder.encode(tree, changes)->joined(), stored);
}

} // namespace
} // namespace tessarin
