#include "App/EntryIndex.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

ChatEntry entry(std::string id, ChatEntryKind kind = ChatEntryKind::assistant)
{
    ChatEntry result;
    result.id = std::move(id);
    result.kind = kind;
    return result;
}

TEST(EntryIndex, FindsNothingInAnEmptyList)
{
    EntryIndex index;
    EXPECT_EQ(index.find({}, "a"), std::nullopt);
}

TEST(EntryIndex, FindsTheFirstEntryWithAnIdWhateverItsKind)
{
    EntryIndex index;
    const std::vector<ChatEntry> entries{ entry("a"), entry("m", ChatEntryKind::thought), entry("m"), entry("b") };
    EXPECT_EQ(index.find(entries, "m"), 1u);
    EXPECT_EQ(index.find(entries, "b"), 3u);
    EXPECT_EQ(index.find(entries, "m"), 1u);
}

TEST(EntryIndex, FollowsAListThatGrowsAtItsEnd)
{
    EntryIndex index;
    std::vector<ChatEntry> entries{ entry("a") };
    EXPECT_EQ(index.find(entries, "b"), std::nullopt);
    entries.push_back(entry("b"));
    EXPECT_EQ(index.find(entries, "b"), 1u);
    entries.push_back(entry("b"));
    entries.push_back(entry("c"));
    EXPECT_EQ(index.find(entries, "b"), 1u);
    EXPECT_EQ(index.find(entries, "c"), 3u);
}

TEST(EntryIndex, FindsAnEmptyId)
{
    EntryIndex index;
    const std::vector<ChatEntry> entries{ entry("a"), entry("") };
    EXPECT_EQ(index.find(entries, ""), 1u);
}

TEST(EntryIndex, ReadsAnotherListAnewAfterForget)
{
    EntryIndex index;
    EXPECT_EQ(index.find({ entry("a"), entry("b") }, "b"), 1u);
    index.forget();
    const std::vector<ChatEntry> other{ entry("b"), entry("x") };
    EXPECT_EQ(index.find(other, "b"), 0u);
    EXPECT_EQ(index.find(other, "a"), std::nullopt);
}

} // namespace
} // namespace tessarin
