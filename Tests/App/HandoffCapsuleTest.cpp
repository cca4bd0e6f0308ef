#include "App/HandoffCapsule.h"

#include "Platform/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class HandoffCapsuleTest : public ::testing::Test
{
protected:
    ChatEntry& add(ChatEntryKind kind, std::string text)
    {
        ChatEntry entry;
        entry.id = std::to_string(entries.size());
        entry.kind = kind;
        entry.text = std::move(text);
        entries.push_back(std::move(entry));
        return entries.back();
    }

    std::string build() const
    {
        return HandoffCapsule::build({ AgentProvider::grok, AgentProvider::kimi, prompt, entries, plan, "/home/dev/shop", snapshot });
    }

    // Between the headings of the conversation and of the workspace.
    std::string conversation() const
    {
        const std::string capsule = build();
        const std::string begin = "RECENT VISIBLE CONVERSATION\n";
        const auto from = capsule.find(begin) + begin.size();
        return capsule.substr(from, capsule.find("\n\nWORKSPACE\n") - from);
    }

    std::vector<ChatEntry> entries;
    std::vector<PlanEntry> plan;
    std::string prompt = "Fix the basket";
    std::optional<std::string> snapshot = "";
};

TEST_F(HandoffCapsuleTest, HasItsEighteenRowsToTheLetter)
{
    add(ChatEntryKind::user, "Fix the basket");
    ChatEntry& tool = add(ChatEntryKind::tool, "{\n  \"path\" : \"basket.c\"\n}");
    tool.provider = AgentProvider::grok;
    tool.title = "Read";
    tool.status = "completed";
    add(ChatEntryKind::assistant, "Found it.").provider = AgentProvider::grok;
    plan = { { "1", "Write tests", "done", "high" }, { "2", "Mend the sum", "in_progress", "medium" } };
    snapshot = "$ git status --short --branch\n## main";
    EXPECT_EQ(build(),
        "Continue this coding task after an automatic provider handoff from Grok to Kimi.\n"
        "\n"
        "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve "
        "the user's approval mode and ask for approval when your runtime requires it.\n"
        "\n"
        "ORIGINAL USER REQUEST\n"
        "Fix the basket\n"
        "\n"
        "ACTIVE PLAN\n"
        "- [done] Write tests\n"
        "- [in_progress] Mend the sum\n"
        "\n"
        "RECENT VISIBLE CONVERSATION\n"
        "USER: Fix the basket\n"
        "\n"
        "TOOL [Grok] Read: {\n  \"path\" : \"basket.c\"\n}\n"
        "\n"
        "ASSISTANT [Grok]: Found it.\n"
        "\n"
        "WORKSPACE\n"
        "/home/dev/shop\n"
        "\n"
        "REPOSITORY SNAPSHOT\n"
        "$ git status --short --branch\n## main");
}

TEST_F(HandoffCapsuleTest, SaysWhatIsMissing)
{
    EXPECT_EQ(build(),
        "Continue this coding task after an automatic provider handoff from Grok to Kimi.\n"
        "\n"
        "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve "
        "the user's approval mode and ask for approval when your runtime requires it.\n"
        "\n"
        "ORIGINAL USER REQUEST\n"
        "Fix the basket\n"
        "\n"
        "ACTIVE PLAN\n"
        "No active plan was reported.\n"
        "\n"
        "RECENT VISIBLE CONVERSATION\n"
        "No visible conversation was available.\n"
        "\n"
        "WORKSPACE\n"
        "/home/dev/shop\n"
        "\n"
        "REPOSITORY SNAPSHOT\n"
        "No Git snapshot is available; inspect the workspace directly.");
}

TEST_F(HandoffCapsuleTest, RendersEachKindWithItsRoleItsProviderAndItsTitle)
{
    add(ChatEntryKind::user, "u");
    add(ChatEntryKind::system, "s");
    add(ChatEntryKind::assistant, "a").provider = AgentProvider::codex;
    ChatEntry& tool = add(ChatEntryKind::tool, "x");
    tool.provider = AgentProvider::grok;
    tool.title = "Read";
    add(ChatEntryKind::tool, "").title = "Write";
    EXPECT_EQ(conversation(), "USER: u\n\nSYSTEM: s\n\nASSISTANT [Codex]: a\n\nTOOL [Grok] Read: x\n\nTOOL Write: ");
}

TEST_F(HandoffCapsuleTest, ThoughtsNeverCross)
{
    add(ChatEntryKind::thought, "secret");
    EXPECT_EQ(conversation(), "No visible conversation was available.");
    add(ChatEntryKind::user, "u");
    add(ChatEntryKind::thought, "secret");
    EXPECT_EQ(conversation(), "USER: u");
}

TEST_F(HandoffCapsuleTest, HoldsTheLastFortyVisibleEntries)
{
    for (int i = 1; i <= 50; ++i) {
        add(ChatEntryKind::user, "entry " + std::to_string(i));
        add(ChatEntryKind::thought, "thought");
    }
    std::vector<std::string> expected;
    for (int i = 11; i <= 50; ++i) {
        expected.push_back("USER: entry " + std::to_string(i));
    }
    EXPECT_EQ(conversation(), joined(expected, "\n\n"));
}

TEST_F(HandoffCapsuleTest, KeepsTheLast24000CharactersCutAtTheFrontWithoutAMark)
{
    add(ChatEntryKind::user, std::string(10, 'a'));
    add(ChatEntryKind::user, std::string(24000 - 8, 'b'));
    EXPECT_EQ(conversation(), "\n\nUSER: " + std::string(24000 - 8, 'b'));
    entries.back().text += "c";
    EXPECT_EQ(conversation(), "\nUSER: " + std::string(24000 - 8, 'b') + "c");
}

TEST_F(HandoffCapsuleTest, ConversationCharactersAreUserPerceived)
{
    const std::string flag = "\U0001F1E9\U0001F1EA"; // one character, eight bytes
    std::string text;
    for (int i = 0; i < 25000; ++i) {
        text += flag;
    }
    add(ChatEntryKind::user, text);
    EXPECT_EQ(conversation(), text.substr(1000 * flag.size()));
}

TEST_F(HandoffCapsuleTest, ThePromptThePlanAndTheSnapshotAreNotCut)
{
    prompt = std::string(30000, 'p');
    plan = { { "1", std::string(30000, 'q'), "done", "high" } };
    snapshot = std::string(30000, 'r');
    const std::string capsule = build();
    EXPECT_THAT(capsule, HasSubstr("\n" + prompt + "\n"));
    EXPECT_THAT(capsule, HasSubstr("- [done] " + plan[0].content + "\n"));
    EXPECT_THAT(capsule, EndsWith("\n" + *snapshot));
}

TEST_F(HandoffCapsuleTest, AGivenSnapshotIsTakenEvenWhenEmpty)
{
    snapshot = "";
    EXPECT_THAT(build(), EndsWith("No Git snapshot is available; inspect the workspace directly."));
    snapshot = "given";
    EXPECT_THAT(build(), EndsWith("REPOSITORY SNAPSHOT\ngiven"));
}

} // namespace
} // namespace tessarin
