#include "App/RemoteSnapshotBuilder.h"

#include "App/RemoteThreadRecord.h"
#include "AppModelFixture.h"

#include <random>
#include <set>

namespace tessarin::testing
{
namespace
{

using ::testing::SizeIs;

// What is kept from one snapshot to the next, on a real model: it must never show.
class RemoteSnapshotBuilderTest : public AppModelTest
{
protected:
    void openStored(const std::vector<Workspace>& tree)
    {
        TreeChanges changes;
        store.save(tree, changes);
        openModel();
        watch();
    }
    void watch()
    {
        m_subscription = model->observe([this](const ModelChange& change) { builder.note(change, *model); });
    }
    [[nodiscard]] RemoteSnapshot build() { return builder.build(*model, "host", clock); }
    [[nodiscard]] RemoteSnapshot builtAnew() const { return RemoteSnapshotBuilder().build(*model, "host", clock); }

    [[nodiscard]] static ChatEntry entry(std::size_t number, std::size_t length = 20)
    {
        return ChatEntry::make(ChatEntryKind::assistant, std::to_string(number) + std::string(length, 'x'));
    }
    [[nodiscard]] Workspace project(std::size_t taskCount, std::size_t entryCount) const
    {
        Workspace result = Workspace::make(runtime.workspace());
        result.threads.clear();
        for (std::size_t number = 0; number < taskCount; ++number) {
            ChatThread& thread = result.threads.emplace_back(ChatThread::make("Task " + std::to_string(number)));
            for (std::size_t row = 0; row < entryCount; ++row) {
                thread.entries.push_back(entry(row));
            }
        }
        return result;
    }
    using Identities = std::set<std::shared_ptr<const std::vector<RemoteChatEntry>>>;
    [[nodiscard]] static Identities runsOf(const RemoteThread& thread)
    {
        Identities result;
        for (const RemoteThread::Run& run : thread.entries) {
            result.insert(run.identity());
        }
        return result;
    }

    RemoteSnapshotBuilder builder;

private:
    AppModel::Subscription m_subscription;
};

TEST_F(RemoteSnapshotBuilderTest, ATaskThatDidNotChangeIsTheSameOneAgain)
{
    openStored({ project(3, 10) });
    const RemoteSnapshot before = build();
    model->stopWorking(); // which adds a line to the first task
    const RemoteSnapshot after = build();
    const auto& threadsBefore = before.workspaces[0].threads;
    const auto& threadsAfter = after.workspaces[0].threads;
    EXPECT_NE(threadsBefore[0].identity(), threadsAfter[0].identity());
    EXPECT_EQ(threadsBefore[1].identity(), threadsAfter[1].identity());
    EXPECT_EQ(threadsBefore[2].identity(), threadsAfter[2].identity());
    EXPECT_EQ(before.imagineItems.identity(), after.imagineItems.identity());
}

TEST_F(RemoteSnapshotBuilderTest, OfAChangedTaskOnlyTheChangedRunIsMadeAnew)
{
    openStored({ project(1, 1000) });
    const RemoteThread before = *build().workspaces[0].threads[0];
    model->stopWorking();
    const RemoteThread after = *build().workspaces[0].threads[0];
    const Identities known = runsOf(before);
    std::size_t anew = 0;
    for (const auto& run : runsOf(after)) {
        anew += known.contains(run) ? 0U : 1U;
    }
    EXPECT_EQ(anew, 1U);
    EXPECT_GT(after.entries.size(), 10U);
}

TEST_F(RemoteSnapshotBuilderTest, ASelectionOrAStateMakesNoTaskAnew)
{
    openStored({ project(2, 10) });
    const RemoteSnapshot before = build();
    model->selectThread(model->workspaces()[0].threads[1].id, model->workspaces()[0].id);
    model->setPermissionMode(GrokPermissionMode::auto_);
    const RemoteSnapshot after = build();
    EXPECT_EQ(before.workspaces[0].threads[0].identity(), after.workspaces[0].threads[0].identity());
    EXPECT_EQ(before.workspaces[0].threads[1].identity(), after.workspaces[0].threads[1].identity());
    EXPECT_NE(before, after);
}

TEST_F(RemoteSnapshotBuilderTest, ALongEntryIsARunOfItsOwn)
{
    Workspace workspace = project(1, 3);
    workspace.threads[0].entries.push_back(entry(3, 10 * RemoteThreadRecord::runByteCount));
    workspace.threads[0].entries.push_back(entry(4));
    openStored({ workspace });
    const auto runs = build().workspaces[0].threads[0]->entries;
    ASSERT_THAT(runs, SizeIs(3));
    EXPECT_THAT(*runs[0], SizeIs(3));
    EXPECT_THAT(*runs[1], SizeIs(1));
    EXPECT_THAT(*runs[2], SizeIs(1));
}

TEST_F(RemoteSnapshotBuilderTest, NothingIsLeftOutOrShortened)
{
    Workspace workspace = project(2, 5000);
    workspace.threads[1].entries.push_back(entry(0, 3'000'000));
    openStored({ workspace });
    const RemoteSnapshot snapshot = build();
    for (std::size_t number = 0; number < 2; ++number) {
        const ChatThread& thread = model->workspaces()[0].threads[number];
        std::size_t row = 0;
        for (const RemoteThread::Run& run : snapshot.workspaces[0].threads[number]->entries) {
            EXPECT_LE(run->size(), RemoteThreadRecord::runEntryCount);
            for (const RemoteChatEntry& each : *run) {
                ASSERT_EQ(each.id, thread.entries[row].id);
                ASSERT_EQ(each.text, thread.entries[row].text);
                ++row;
            }
        }
        EXPECT_EQ(row, thread.entries.size());
    }
}

TEST_F(RemoteSnapshotBuilderTest, TasksThatShareAnIdAreShownEachAsItIs)
{
    Workspace workspace = project(2, 3);
    workspace.threads[1].id = workspace.threads[0].id;
    Workspace other = project(1, 5);
    other.threads[0].id = workspace.threads[0].id;
    openStored({ workspace, other });
    EXPECT_EQ(build(), builtAnew());
    for (int round = 0; round < 3; ++round) {
        model->stopWorking();
        EXPECT_EQ(build(), builtAnew());
        EXPECT_EQ(build(), builtAnew());
    }
    EXPECT_EQ(build().workspaces[0].threads[1]->title, "Task 1");
    model->selectThread(other.threads[0].id, model->workspaces()[1].id);
    model->stopWorking();
    EXPECT_EQ(build(), builtAnew());
    model->deleteThread(other.threads[0].id, model->workspaces()[0].id);
    model->stopWorking();
    EXPECT_EQ(build(), builtAnew());
}

TEST_F(RemoteSnapshotBuilderTest, EntriesThatComeBackWhenAReplayFailsAreMadeAnew)
{
    constexpr std::size_t storedCount = 3 * RemoteThreadRecord::runEntryCount;
    constexpr std::size_t replayedCount = 2 * RemoteThreadRecord::runEntryCount;
    Scenario resumed;
    resumed.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load");
    for (std::size_t row = 0; row < replayedCount; ++row) {
        resumed.update(R"({"sessionUpdate":"tool_call","toolCallId":"tool-)" + std::to_string(row) + "\"}");
    }
    resumed.waitForFile("go").replyError("gone").expect("session/new").reply(R"({"sessionId":"s"})").expect("session/prompt");
    runtime.script("grok", resumed);
    install({ "grok" });
    Workspace workspace = project(1, storedCount);
    workspace.threads[0].setSessionID("session-7", AgentProvider::grok);
    openStored({ workspace });
    EXPECT_EQ(build(), builtAnew());
    model->send("More");
    waitUntil([&] { return model->entries().size() == replayedCount && model->entries()[0].kind == ChatEntryKind::tool; }, "the replay");
    EXPECT_EQ(build(), builtAnew());
    runtime.touch("go");
    waitUntil([&] { return model->entries().size() == storedCount + 1; }, "what was there before");
    EXPECT_EQ(build(), builtAnew());
}

// Operations of all kinds on a model whose runtime streams, adds and changes entries, and replays stored tasks.
class RandomOperations : public RemoteSnapshotBuilderTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    [[nodiscard]] std::size_t below(std::size_t limit) { return m_random() % limit; }

    void openRuntime()
    {
        Scenario scenario;
        scenario.always("initialize", R"({"agentCapabilities":{"loadSession":true}})")
            .always("session/new", R"({"sessionId":"s"})")
            .always("session/load")
            .always("session/cancel");
        scenario.always("session/set_config_option");
        for (int turn = 0; turn < 40; ++turn) {
            scenario.expect("session/prompt");
            for (std::size_t count = below(12); count > 0; --count) {
                scenario.update(randomUpdate());
            }
            scenario.reply(endTurn);
        }
        runtime.script("grok", scenario);
        openProject({ "grok" });
        watch();
    }
    [[nodiscard]] std::string randomUpdate()
    {
        const std::string id = std::to_string(below(6));
        const std::string text(below(10) == 0 ? 70000 : below(50) + 1, static_cast<char>('a' + below(26)));
        switch (below(4)) {
        case 0:
            return R"({"sessionUpdate":"tool_call","toolCallId":"tool-)" + id + R"(","title":")" + text.substr(0, 40)
                + R"(","rawInput":{"a":")" + text + "\"}}";
        case 1:
            return R"({"sessionUpdate":"tool_call_update","toolCallId":"tool-)" + id + R"(","status":"done"})";
        case 2:
            return R"({"sessionUpdate":"agent_thought_chunk","messageId":"thought-)" + id + R"(","content":{"text":")" + text + "\"}}";
        default:
            return R"({"sessionUpdate":"agent_message_chunk","messageId":"message-)" + id + R"(","content":{"text":")" + text + "\"}}";
        }
    }
    void actAtRandom()
    {
        clock.secondsSince2001 += 1;
        const std::size_t choice = below(20);
        const Workspace* workspace = model->workspaces().empty() ? nullptr : &model->workspaces()[below(model->workspaces().size())];
        if (!workspace || choice == 0) {
            model->addWorkspace(makeFolder("project " + std::to_string(below(4))));
        } else if (choice == 1) {
            model->removeWorkspace(workspace->id);
        } else if (choice < 4) {
            model->newThread(workspace->id);
        } else if (choice == 4) {
            model->deleteThread(workspace->threads[below(workspace->threads.size())].id, workspace->id);
        } else if (choice < 9) {
            model->selectThread(workspace->threads[below(workspace->threads.size())].id, workspace->id);
        } else if (choice == 9) {
            model->stopWorking();
        } else if (choice < 16) {
            model->send("Prompt " + std::to_string(m_random()));
        } else {
            waitUntil([&] { return !model->connectionState().isBusy(); }, "the end of a turn");
        }
    }

private:
    std::mt19937 m_random{ GetParam() };
};

TEST_P(RandomOperations, ASnapshotIsWhatABuilderWouldMakeThatSeesTheModelForTheFirstTime)
{
    openRuntime();
    for (int step = 0; step < 150; ++step) {
        actAtRandom();
        if (below(3) > 0) {
            mainThread.waitAndDrain(std::chrono::milliseconds(below(4)));
        }
        if (below(4) > 0) { // several changes between two snapshots, too
            ASSERT_EQ(build(), builtAnew()) << "step " << step;
        }
    }
    waitUntil([&] { return !model->connectionState().isBusy(); }, "the end of the last turn");
    EXPECT_EQ(build(), builtAnew());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, ::testing::Range(1U, 9U));

} // namespace
} // namespace tessarin::testing
