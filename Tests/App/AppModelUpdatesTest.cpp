#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using State = ConnectionState::Kind;

// What the reducer does with each update is tested beside it; here is what the model adds.
class AppModelUpdatesTest : public AppModelTest
{
protected:
    // A runtime that opens a session and sends one chunk once the file "go" is there, outside any turn.
    void openTalkingLater()
    {
        runtime.script("grok", oneTurn("Hello").waitForFile("go").step(laterChunk).waitForFile("never"));
        openProject();
        runTurn("Hi");
    }

    static constexpr const char* laterChunk
        = R"({"update":{"sessionUpdate":"agent_message_chunk","messageId":"later","content":{"text":"Later"}}})";
};

TEST_F(AppModelUpdatesTest, UpdatesLandOnTheSelectedTaskWithTheActiveProviderAtThatTime)
{
    openTalkingLater();
    clock = { 3000 };
    runtime.touch("go");
    waitForEntries(3);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", "Later"));
    EXPECT_EQ(model->entries()[2].provider, AgentProvider::grok);
    EXPECT_EQ(model->entries()[2].createdAt, clock);
    EXPECT_EQ(task().updatedAt, clock);
}

TEST_F(AppModelUpdatesTest, AChunkMakesTheTaskNewerAndATitleDoesNot)
{
    openProject({});
    const Instant before = task().updatedAt;
    clock = { before.secondsSince2001 + 50 };
    model->send("Fix the basket");
    EXPECT_EQ(task().updatedAt, clock); // by the entry of the prompt
    const Instant sent = clock;
    clock = { sent.secondsSince2001 + 50 };
    runtime.script("grok", Scenario().expect("initialize").replyError("No"));
    install({ "grok" });
    model->newThread();
    const Instant fresh = task().updatedAt;
    model->send("Another");
    EXPECT_NE(task().updatedAt, fresh);
}

TEST_F(AppModelUpdatesTest, AReplayDoesNotMakeTheTaskNewerByItself)
{
    runtime.script("grok", 1, oneTurn("Hello", "session-1"));
    Scenario resumed;
    resumed.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").waitForFile("never");
    runtime.script("grok", 2, resumed);
    openProject();
    runTurn("Hi");
    openModel();
    clock = { 2000 };
    model->send("More");
    clock = { 3000 };
    waitUntil([&] { return texts().empty(); }, "the replay begins");
    EXPECT_EQ(task().updatedAt, Instant{ 2000 });
}

TEST_F(AppModelUpdatesTest, AChunkGoesToTheFirstEntryWithItsIdAlsoInALongTask)
{
    std::vector<Workspace> tree{ Workspace::make(runtime.workspace()) };
    for (int i = 0; i < 2000; ++i) {
        ChatEntry entry = ChatEntry::make(ChatEntryKind::assistant, "old");
        entry.id = "m" + std::to_string(i % 1500);
        tree[0].threads[0].entries.push_back(entry);
    }
    TreeChanges changes;
    store.save(tree, changes);
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    for (const char* id : { "m7", "new", "m7", "new", "m1499", "m0" }) {
        scenario.update(std::string(R"({"sessionUpdate":"agent_message_chunk","messageId":")") + id + R"(","content":{"text":"+"}})");
    }
    runtime.script("grok", scenario.reply(endTurn));
    install({ "grok" });
    openModel();
    runTurn("Hi");
    const auto& entries = model->entries();
    ASSERT_EQ(entries.size(), 2002u);
    EXPECT_EQ(entries[7].text, "old++");
    EXPECT_EQ(entries[1507].text, "old");
    EXPECT_EQ(entries[1499].text, "old+");
    EXPECT_EQ(entries[0].text, "old+");
    EXPECT_EQ(entries[2000].text, "Hi");
    EXPECT_EQ(entries[2001].text, "++");
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelUpdatesTest, ChunksFollowTheSelectionIntoAnotherTask)
{
    Scenario scenario;
    scenario.handshake()
        .expect("session/prompt")
        .update(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"text":"a"}})");
    scenario.reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    runTurn("First");
    const Uuid first = *model->selectedThreadID();
    model->newThread();
    runTurn("Second");
    EXPECT_THAT(texts(), ElementsAre("Second", "a"));
    model->selectThread(first, *model->selectedWorkspaceID());
    EXPECT_THAT(texts(), ElementsAre("First", "a"));
    runTurn("Third"); // the same id again: merges into the first entry of that task
    EXPECT_THAT(texts(), ElementsAre("First", "aa", "Third"));
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelUpdatesTest, ManyUpdatesOfAllKindsStayInOrder)
{
    Scenario round;
    round.update(R"({"sessionUpdate":"agent_message_chunk","content":{"text":"{n}."}})");
    round.update(R"({"sessionUpdate":"tool_call","toolCallId":"t{n}","title":"Read {n}"})");
    round.update(R"({"sessionUpdate":"agent_thought_chunk","content":{"text":"{n};"}})");
    Scenario scenario;
    scenario.handshake().expect("session/prompt").repeat(1000, round).reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    runTurn("Hi");
    ASSERT_EQ(model->entries().size(), 1003u);
    std::string answer;
    std::string thought;
    for (int i = 0; i < 1000; ++i) {
        answer += std::to_string(i) + ".";
        thought += std::to_string(i) + ";";
    }
    EXPECT_EQ(model->entries()[1].text, answer);
    EXPECT_EQ(model->entries()[3].text, thought);
    EXPECT_EQ(model->entries()[2].title, "Read 0");
    EXPECT_EQ(model->entries()[1002].title, "Read 999");
}

// Some runtimes send the whole text of a running command with each of its updates.
TEST_F(AppModelUpdatesTest, AStormOfUpdatesOfOneToolIsOneEntryWithTheLastText)
{
    const std::string lines(150'000, 'x');
    Scenario round;
    round.update(
        R"({"sessionUpdate":"tool_call_update","toolCallId":"t","title":"make","rawInput":{"number":"{n}","output":")" + lines + R"("}})");
    Scenario scenario;
    scenario.handshake().expect("session/prompt").repeat(1000, round).reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    std::size_t appended = 0;
    const auto subscription
        = model->observe([&](const ModelChange& change) { appended += change.kind == ModelChange::Kind::entryAppended ? 1 : 0; });
    runTurn("Hi");
    ASSERT_EQ(model->entries().size(), 2u);
    EXPECT_EQ(appended, 2u) << "the prompt and the tool";
    const std::string& text = model->entries()[1].text;
    EXPECT_NE(text.find(R"("number" : "999")"), std::string::npos);
    EXPECT_LT(text.size(), lines.size() + 100);
    EXPECT_LE(text.capacity(), lines.size() + lines.size() / 4) << "nothing of the texts before is kept";
    EXPECT_EQ(storedTree(), model->workspaces());
    EXPECT_EQ(preferences.bytes(WorkspaceStore::key)->size() / lines.size(), 1u) << "the last text, once";
}

TEST_F(AppModelUpdatesTest, AStormOfOutputThatIsNoPartOfATaskLeavesTheEntryAsItWas)
{
    const std::string lines(150'000, 'x');
    Scenario round;
    round.update(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","title":"make","status":"in_progress",)"
                 R"("content":[{"type":"content","content":{"type":"text","text":"{n} )"
        + lines + R"("}}]})");
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    scenario.update(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"make","rawInput":{"command":"make"}})");
    runtime.script("grok", scenario.repeat(1000, round).reply(endTurn));
    openProject();
    runTurn("Hi");
    ASSERT_EQ(model->entries().size(), 2u);
    EXPECT_EQ(model->entries()[1].text, "{\n  \"command\" : \"make\"\n}");
    EXPECT_EQ(model->entries()[1].status, "in_progress");
    EXPECT_EQ(storedTree(), model->workspaces());
}

} // namespace
} // namespace tessarin::testing
