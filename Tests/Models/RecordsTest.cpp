#include "Models/Workspace.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace tessarin
{
namespace
{

using Sessions = std::map<std::string, std::string>;

TEST(ChatEntryKindTest, HasItsStoredTexts)
{
    const std::vector<std::pair<ChatEntryKind, const char*>> rows{ { ChatEntryKind::user, "user" },
        { ChatEntryKind::assistant, "assistant" }, { ChatEntryKind::thought, "thought" }, { ChatEntryKind::tool, "tool" },
        { ChatEntryKind::system, "system" } };
    ASSERT_EQ(rows.size(), allChatEntryKinds.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        EXPECT_EQ(allChatEntryKinds[index], rows[index].first);
        EXPECT_EQ(rawText(rows[index].first), rows[index].second);
        EXPECT_EQ(chatEntryKindFromRawText(rows[index].second), rows[index].first);
    }
    for (const char* text : { "", "User", "note", "tool " }) {
        EXPECT_EQ(chatEntryKindFromRawText(text), std::nullopt) << text;
    }
}

TEST(ChatEntryTest, IsMadeWithAFreshIdAndTheClock)
{
    const Instant before = Instant::now();
    const ChatEntry entry = ChatEntry::make(ChatEntryKind::user, "hello");
    EXPECT_EQ(entry.kind, ChatEntryKind::user);
    EXPECT_EQ(entry.text, "hello");
    EXPECT_EQ(entry.title, std::nullopt);
    EXPECT_EQ(entry.status, std::nullopt);
    EXPECT_EQ(entry.provider, std::nullopt);
    EXPECT_GE(entry.createdAt, before);
    EXPECT_LE(entry.createdAt, Instant::now());
    ASSERT_TRUE(Uuid::parse(entry.id));
    EXPECT_EQ(Uuid::parse(entry.id)->text(), entry.id) << "upper-case";
    EXPECT_NE(ChatEntry::make(ChatEntryKind::user, "hello").id, entry.id);
}

TEST(ChatThreadTest, IsMadeEmptyWithTheDefaultTitle)
{
    const Instant before = Instant::now();
    const ChatThread thread = ChatThread::make();
    EXPECT_EQ(thread.title, "New task");
    EXPECT_EQ(thread.sessionId, std::nullopt);
    EXPECT_EQ(thread.providerSessionIDs, std::nullopt);
    EXPECT_EQ(thread.lastProvider, std::nullopt);
    EXPECT_TRUE(thread.entries.empty());
    EXPECT_GE(thread.createdAt, before);
    EXPECT_GE(thread.updatedAt, thread.createdAt);
    EXPECT_NE(thread.id, ChatThread::make().id);
    EXPECT_EQ(ChatThread::make("Title").title, "Title");
}

TEST(WorkspaceTest, IsMadeWithOneTaskAndTheNameOfItsFolder)
{
    const Workspace workspace = Workspace::make("/home/a/project");
    EXPECT_EQ(workspace.path, "/home/a/project");
    EXPECT_EQ(workspace.name, "project");
    ASSERT_EQ(workspace.threads.size(), 1U);
    EXPECT_EQ(workspace.threads[0].title, "New task");
    EXPECT_NE(workspace.id, Workspace::make("/home/a/project").id);
    EXPECT_EQ(Workspace::make("/").name, "/");
}

TEST(WorkspaceTest, CopyingCopiesTasksAndEntries)
{
    Workspace workspace = Workspace::make("/a");
    workspace.threads[0].entries.push_back(ChatEntry::make(ChatEntryKind::user, "one"));
    Workspace copy = workspace;
    EXPECT_EQ(copy, workspace);
    copy.threads[0].entries[0].text = "two";
    EXPECT_EQ(workspace.threads[0].entries[0].text, "one");
    EXPECT_NE(copy, workspace);
}

TEST(SessionIdTest, GrokFallsBackToTheOlderField)
{
    ChatThread thread;
    thread.sessionId = "old";
    EXPECT_EQ(thread.sessionID(AgentProvider::grok), "old");
    EXPECT_EQ(thread.sessionID(AgentProvider::codex), std::nullopt);
    thread.providerSessionIDs = Sessions{ { "codex", "c" } };
    EXPECT_EQ(thread.sessionID(AgentProvider::grok), "old");
    EXPECT_EQ(thread.sessionID(AgentProvider::codex), "c");
    EXPECT_EQ(thread.sessionID(AgentProvider::kimi), std::nullopt);
}

TEST(SessionIdTest, TheMapWinsOverADifferingSessionId)
{
    ChatThread thread;
    thread.sessionId = "old";
    thread.providerSessionIDs = Sessions{ { "grok", "new" } };
    EXPECT_EQ(thread.sessionID(AgentProvider::grok), "new");
}

TEST(SessionIdTest, IsAbsentWhereNothingIsStored)
{
    ChatThread thread;
    for (const AgentProvider provider : allAgentProviders) {
        EXPECT_EQ(thread.sessionID(provider), std::nullopt);
    }
    thread.providerSessionIDs.emplace();
    EXPECT_EQ(thread.sessionID(AgentProvider::grok), std::nullopt);
}

TEST(SessionIdTest, SettingThatOfCodexLeavesTheOlderFieldAndMakesCodexTheLastProvider)
{
    ChatThread thread;
    thread.sessionId = "old";
    thread.setSessionID("c", AgentProvider::codex);
    EXPECT_EQ(thread.sessionId, "old");
    EXPECT_EQ(thread.lastProvider, AgentProvider::codex);
    EXPECT_EQ(thread.providerSessionIDs, (std::map<std::string, std::string>{ { "codex", "c" } }));
}

TEST(SessionIdTest, SettingThatOfGrokKeepsBothFieldsInStep)
{
    ChatThread thread;
    thread.setSessionID("a", AgentProvider::kimi);
    EXPECT_EQ(thread.sessionId, std::nullopt);
    thread.setSessionID("g", AgentProvider::grok);
    EXPECT_EQ(thread.sessionId, "g");
    thread.setSessionID("g2", AgentProvider::grok);
    EXPECT_EQ(thread.sessionId, "g2");
    EXPECT_EQ(thread.providerSessionIDs, (std::map<std::string, std::string>{ { "grok", "g2" }, { "kimi", "a" } }));
    EXPECT_EQ(thread.lastProvider, AgentProvider::grok);
}

} // namespace
} // namespace tessarin
