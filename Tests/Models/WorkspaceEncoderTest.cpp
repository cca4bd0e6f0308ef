#include "Models/WorkspaceCoder.h"
#include "SampleTree.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace tessarin
{
namespace
{

std::string encoded(WorkspaceEncoder& encoder, const std::vector<Workspace>& tree, TreeChanges& changes)
{
    const auto rope = encoder.encode(tree, changes);
    return rope ? rope->joined() : "nothing";
}

ChatEntry entryOf(std::size_t size, char character = 'x')
{
    ChatEntry entry = fullEntry();
    entry.text = std::string(size, character);
    return entry;
}

// A tree of one task that is many pieces long.
std::vector<Workspace> largeTree()
{
    auto tree = fullTree();
    tree[0].threads[0].entries.clear();
    for (int index = 0; index < 3000; ++index) {
        tree[0].threads[0].entries.push_back(entryOf(1000));
    }
    return tree;
}

std::set<const void*> addressesOf(const ByteRope& rope)
{
    std::set<const void*> addresses;
    for (const auto& piece : rope.pieces()) {
        addresses.insert(piece.bytes.data());
    }
    return addresses;
}

// How many bytes of the second stand elsewhere than in the first.
std::size_t bytesMadeAnew(const ByteRope& before, const ByteRope& after)
{
    const auto known = addressesOf(before);
    std::size_t bytes = 0;
    for (const auto& piece : after.pieces()) {
        bytes += known.count(piece.bytes.data()) ? 0 : piece.bytes.size();
    }
    return bytes;
}

TEST(WorkspaceEncoderTest, WritesTheBytesOfTheWholeEncoding)
{
    WorkspaceEncoder encoder;
    TreeChanges changes;
    EXPECT_EQ(encoded(encoder, {}, changes), "[]");
    EXPECT_EQ(encoded(encoder, fullTree(), changes), fullTreeText);
    EXPECT_EQ(encoded(encoder, largeTree(), changes), encodeWorkspaces(largeTree()));
    EXPECT_EQ(encoded(encoder, {}, changes), "[]");
}

TEST(WorkspaceEncoderTest, HandsOnWhatDidNotChange)
{
    auto tree = largeTree();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    const auto before = encoder.encode(tree, changes);
    auto& task = tree[0].threads[0];
    task.entries[2990].text = "changed";
    task.title = "Renamed";
    changes.noteEntries(task.id, 2990);
    const auto after = encoder.encode(tree, changes);
    EXPECT_EQ(after->joined(), encodeWorkspaces(tree));
    EXPECT_LT(bytesMadeAnew(*before, *after), 200'000U);
    EXPECT_GT(after->size(), 3'000'000U);
}

TEST(WorkspaceEncoderTest, AnAppendedEntryCostsOnePiece)
{
    auto tree = largeTree();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    auto before = encoder.encode(tree, changes);
    for (int round = 0; round < 200; ++round) {
        tree[0].threads[0].entries.push_back(entryOf(700));
        changes.noteEntries(tree[0].threads[0].id, tree[0].threads[0].entries.size() - 1);
        const auto after = encoder.encode(tree, changes);
        ASSERT_LT(bytesMadeAnew(*before, *after), 70'000U);
        before = after;
    }
    EXPECT_EQ(before->joined(), encodeWorkspaces(tree));
    EXPECT_LT(before->pieces().size(), 80U) << "pieces don't become small";
}

TEST(WorkspaceEncoderTest, AChangedFieldOfATaskLeavesItsEntriesAlone)
{
    auto tree = largeTree();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    const auto before = encoder.encode(tree, changes);
    tree[0].threads[0].updatedAt = { 5 };
    tree[0].threads[0].setSessionID("k", AgentProvider::kimi);
    changes.noteFields(tree[0].threads[0].id);
    const auto after = encoder.encode(tree, changes);
    EXPECT_EQ(after->joined(), encodeWorkspaces(tree));
    EXPECT_LT(bytesMadeAnew(*before, *after), 1000U);
}

TEST(WorkspaceEncoderTest, TheEarliestOfSeveralNotesCounts)
{
    auto tree = largeTree();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    (void)encoder.encode(tree, changes);
    auto& task = tree[0].threads[0];
    task.entries[5].text = "early";
    changes.noteEntries(task.id, 5);
    task.entries[2999].text = "late";
    changes.noteEntries(task.id, 2999);
    changes.noteFields(task.id);
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
    task.entries[0].text = "first";
    changes.noteTask(task.id);
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
}

TEST(WorkspaceEncoderTest, NewRemovedAndReorderedTasksNeedNoNote)
{
    RandomTree random(3);
    std::vector<Workspace> tree{ random.workspace("/a", 6, 30, 20), random.workspace("/b", 6, 30, 20) };
    tree[0].threads.push_back(random.thread(10, 10));
    tree[1].threads.push_back(random.thread(10, 10));
    WorkspaceEncoder encoder;
    TreeChanges changes;
    (void)encoder.encode(tree, changes);
    tree[0].threads.insert(tree[0].threads.begin(), random.thread(10, 10));
    std::swap(tree[0].threads.front(), tree[1].threads.back());
    std::swap(tree[0], tree[1]);
    tree[0].name = "renamed";
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
    tree[1].threads.pop_back();
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
    tree.pop_back();
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
}

TEST(WorkspaceEncoderTest, TasksThatShareAnIdAreNeverTakenForEachOther)
{
    auto tree = fullTree();
    tree[0].threads.push_back(tree[0].threads[0]);
    tree[0].threads[1].title = "The other";
    tree[0].threads[1].entries.pop_back();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
    tree[0].threads.erase(tree[0].threads.begin());
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));

    tree.push_back(tree[0]);
    tree[1].threads[0].title = "In another project";
    const std::string text = encodeWorkspaces(tree).value();
    EXPECT_EQ(encoder.decode(text), tree);
    tree.erase(tree.begin());
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
}

TEST(WorkspaceEncoderTest, ATreeThatCannotBeWrittenKeepsItsChangesNoted)
{
    auto tree = largeTree();
    tree[0].threads.push_back(ChatThread::make());
    WorkspaceEncoder encoder;
    TreeChanges changes;
    (void)encoder.encode(tree, changes);
    tree[0].threads[0].entries[10].text = "changed";
    changes.noteEntries(tree[0].threads[0].id, 10);
    tree[0].threads[1].updatedAt = { std::numeric_limits<double>::infinity() };
    changes.noteFields(tree[0].threads[1].id);
    EXPECT_EQ(encoder.encode(tree, changes), std::nullopt);
    tree[0].threads[1].updatedAt = { 1 };
    EXPECT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree));
}

// What the owner of a tree does to it over a day, in any order.
void changeSomething(RandomTree& random, std::vector<Workspace>& tree, TreeChanges& changes)
{
    if (tree.empty() || random.below(20) == 0) {
        tree.push_back(random.workspace("/new", 3, 60, 60));
        return;
    }
    Workspace& workspace = tree[random.below(tree.size())];
    if (workspace.threads.empty() || random.below(8) == 0) {
        workspace.threads.insert(workspace.threads.begin(), random.thread(60, 60));
        return;
    }
    const std::size_t index = random.below(workspace.threads.size());
    ChatThread& thread = workspace.threads[index];
    const std::size_t count = thread.entries.size();
    switch (random.below(7)) {
    case 0:
        thread.title = random.text(5);
        thread.updatedAt = random.instant();
        changes.noteFields(thread.id);
        break;
    case 1:
        workspace.threads.erase(workspace.threads.begin() + static_cast<std::ptrdiff_t>(index));
        break;
    case 2:
        thread.entries.resize(random.below(count + 1));
        changes.noteEntries(thread.id, thread.entries.size());
        break;
    case 3:
        if (count > 0) {
            const std::size_t changed = random.below(count);
            thread.entries[changed].text += random.text(2000);
            changes.noteEntries(thread.id, changed);
        }
        break;
    case 4:
        thread.entries.clear();
        for (std::size_t added = random.below(50); added > 0; --added) {
            thread.entries.push_back(random.entry(500));
        }
        changes.noteTask(thread.id);
        break;
    default:
        for (std::size_t added = random.below(20); added > 0; --added) {
            thread.entries.push_back(random.entry(2000));
            changes.noteEntries(thread.id, thread.entries.size() - 1);
        }
    }
}

TEST(WorkspaceEncoderTest, FollowsAnySequenceOfNotedChanges)
{
    for (std::uint64_t seed = 0; seed < 6; ++seed) {
        RandomTree random(seed);
        std::vector<Workspace> tree{ random.workspace("/a", 4, 80, 200) };
        WorkspaceEncoder encoder;
        if (seed % 2 == 0) {
            ASSERT_EQ(encoder.decode(encodeWorkspaces(tree).value()), tree);
        }
        TreeChanges changes;
        for (int round = 0; round < 25; ++round) {
            for (std::size_t count = random.below(4); count > 0; --count) {
                changeSomething(random, tree, changes);
            }
            ASSERT_EQ(encoded(encoder, tree, changes), encodeWorkspaces(tree)) << "seed " << seed << ", round " << round;
        }
    }
}

TEST(DecodedTreeTest, IsWrittenAgainFromTheBytesThatWereRead)
{
    auto tree = largeTree();
    WorkspaceEncoder encoder;
    TreeChanges changes;
    ASSERT_EQ(encoder.decode(encodeWorkspaces(tree).value()), tree);
    tree[0].threads[0].entries.back().text = "changed";
    changes.noteEntries(tree[0].threads[0].id, tree[0].threads[0].entries.size() - 1);
    const auto rope = encoder.encode(tree, changes);
    EXPECT_EQ(rope->joined(), encodeWorkspaces(tree));
    std::size_t shared = 0;
    std::set<const void*> owners;
    for (const auto& piece : rope->pieces()) {
        owners.insert(piece.owner.get());
        shared += piece.owner->size() > 3'000'000 ? piece.bytes.size() : 0;
    }
    EXPECT_GT(shared, 2'900'000U) << "of one text";
    EXPECT_LT(owners.size(), 10U);
}

TEST(DecodedTreeTest, InAnotherLayoutIsWrittenSoThatItReadsTheSame)
{
    const std::vector<std::string> layouts{
        fullTreeText,
        // Blanks between entries, around keys, and inside.
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[{"id":"11111111-2222-4333-8444-55555555AAAA","title":"t",)"
        R"("entries":[ {"id":"1","kind":"user","text":"a","createdAt":1} , { "id":"2","kind":"user","text":"b","createdAt":2}, {"id":"3","kind":"user","text":"c","createdAt":3 } ] ,)"
        R"("createdAt":0,"updatedAt":0}]}])",
        // The entries last, unknown keys, another order of keys.
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[{"createdAt":0,"updatedAt":0,"id":"11111111-2222-4333-8444-55555555AAAA",)"
        R"("title":"t","entries":[{"x":[{"id":"9"},{"id":"8"}],"kind":"user","text":"a","createdAt":1,"id":"1"},{"kind":"user","id":"2","text":"b","createdAt":2}]}],"z":0}])",
        // First keys with escapes.
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[{"createdAt":0,"updatedAt":0,"id":"11111111-2222-4333-8444-55555555AAAA",)"
        R"("title":"t","entries":[{"\u0069d":"1","kind":"user","text":"a","createdAt":1},{"id":"2","kind":"user","text":"b","createdAt":2}],"\u0078":1}]}])",
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[{"createdAt":0,"updatedAt":0,"id":"11111111-2222-4333-8444-55555555AAAA",)"
        R"("title":"t","entries":[{"id":"1","kind":"user","text":"a","createdAt":1},{"\u0069d":"2","kind":"user","text":"b","createdAt":2},{"id":"3","kind":"user","text":"b","createdAt":2}],"x":1}]}])",
        // Lists that a later one of the same key replaces.
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[{"createdAt":0,"updatedAt":0,"id":"11111111-2222-4333-8444-55555555AAAA",)"
        R"("title":"t","entries":[{"id":"1","kind":"user","text":"a","createdAt":1}],"x":0,"entries":[],"title":"u","entries":[{"id":"2","kind":"user","text":"b","createdAt":2},)"
        R"({"id":"3","kind":"user","text":"c","createdAt":2}],"entries":[{"id":"4","kind":"user","text":"d","createdAt":2}]}],"threads":[{"createdAt":0,"updatedAt":0,)"
        R"("id":"11111111-2222-4333-8444-55555555AAAA","title":"v","entries":[{"id":"5","kind":"user","text":"e","createdAt":1}],"x":1,"entries":[]}]}])",
    };
    for (const std::string& layout : layouts) {
        WorkspaceEncoder encoder;
        TreeChanges changes;
        auto tree = encoder.decode(layout);
        ASSERT_TRUE(tree) << layout;
        EXPECT_EQ(decodeWorkspaces(encoded(encoder, *tree, changes)), *tree) << layout;
        // And after each possible change.
        for (std::size_t index = 0; index < tree->at(0).threads[0].entries.size(); ++index) {
            (void)encoder.decode(layout);
            auto changed = *tree;
            changed[0].threads[0].entries[index].text += "changed";
            changes.noteEntries(changed[0].threads[0].id, index);
            EXPECT_EQ(decodeWorkspaces(encoded(encoder, changed, changes)), changed) << layout;
            changed[0].threads[0].entries.push_back(fullEntry());
            EXPECT_EQ(decodeWorkspaces(encoded(encoder, changed, changes)), changed) << layout;
        }
    }
}

// Texts with blanks anywhere between the tokens, large enough for several pieces.
TEST(DecodedTreeTest, WithBlanksAnywhereIsWrittenSoThatItReadsTheSame)
{
    for (std::uint64_t seed = 0; seed < 8; ++seed) {
        RandomTree random(seed);
        std::vector<Workspace> tree{ random.workspace("/a", 3, 200, 300), random.workspace("/b", 3, 200, 300) };
        const std::string compact = encodeWorkspaces(tree).value();
        std::string text;
        bool isInText = false;
        for (std::size_t position = 0; position < compact.size(); ++position) {
            const char character = compact[position];
            isInText = character == '"' ? !isInText : isInText;
            text += character;
            if (isInText && character == '\\') {
                text += compact[++position];
            } else if (!isInText && std::string_view("[]{},:").find(character) != std::string_view::npos && random.below(2000) == 0) {
                text += " \n";
            }
        }
        WorkspaceEncoder encoder;
        TreeChanges changes;
        ASSERT_EQ(encoder.decode(text), tree);
        for (int round = 0; round < 10; ++round) {
            ASSERT_EQ(decodeWorkspaces(encoded(encoder, tree, changes)), tree) << "seed " << seed << ", round " << round;
            changeSomething(random, tree, changes);
        }
    }
}

TEST(DecodedTreeTest, ThatFailsLeavesNothingBehind)
{
    WorkspaceEncoder encoder;
    TreeChanges changes;
    EXPECT_EQ(encoder.decode("[{}]"), std::nullopt);
    EXPECT_EQ(encoded(encoder, fullTree(), changes), fullTreeText);
}

} // namespace
} // namespace tessarin
