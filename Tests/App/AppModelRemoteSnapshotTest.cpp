#include "AppModelRemoteFixture.h"

namespace tessarin::testing
{
namespace
{

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// What a device is told, and when.
class AppModelRemoteSnapshotTest : public AppModelRemoteTest
{
protected:
    // Counts what is heard from now on; the model is at rest and the clock has passed all that was due.
    void settle()
    {
        pass(1000ms);
        (void)snapshotAfter();
        pass(1000ms);
        (void)snapshotAfter();
        device->heard.clear();
    }
    // The snapshots that came before the answer to a refresh, which is not among them.
    [[nodiscard]] std::vector<RemoteSnapshot> cameOfItself()
    {
        (void)snapshotAfter();
        std::vector<RemoteSnapshot> all = device->snapshots();
        all.pop_back();
        device->heard.clear();
        return all;
    }
    [[nodiscard]] static std::string textOf(const RemoteSnapshot& snapshot)
    {
        const auto bytes = RemoteEncoder().encode(RemoteEnvelope::makeSnapshot(snapshot), SIZE_MAX);
        return bytes ? bytes->joined() : std::string();
    }
};

TEST_F(AppModelRemoteSnapshotTest, AChangeIsToldWhenNothingHasChangedForEightyMilliseconds)
{
    openRemote({});
    settle();
    model->newThread();
    pass(79ms);
    EXPECT_THAT(cameOfItself(), IsEmpty());
    pass(1ms);
    const auto told = cameOfItself();
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].workspaces[0].threads.size(), 2U);
}

TEST_F(AppModelRemoteSnapshotTest, EachFurtherChangeStartsTheQuietTimeAnew)
{
    openRemote({});
    settle();
    for (int change = 0; change < 10; ++change) {
        model->newThread();
        pass(79ms);
    }
    EXPECT_THAT(cameOfItself(), IsEmpty()) << "an uninterrupted stream of changes";
    pass(1ms);
    const auto told = cameOfItself();
    ASSERT_THAT(told, SizeIs(1)) << "one for all of them";
    EXPECT_EQ(told[0].workspaces[0].threads.size(), 11U);
}

TEST_F(AppModelRemoteSnapshotTest, NothingIsToldWhenNothingChanges)
{
    openRemote({});
    settle();
    pass(10min);
    EXPECT_THAT(cameOfItself(), IsEmpty());
    EXPECT_EQ(mainThread.nextDue(), std::nullopt) << "no timer runs";
}

TEST_F(AppModelRemoteSnapshotTest, AnyPublishedChangeOfAnyFieldIsTold)
{
    openRemote({});
    const std::vector<std::function<void()>> changes{
        [&] { model->setSelectedSection(AppSection::imagine); },
        [&] { model->setPermissionMode(GrokPermissionMode::auto_); },
        [&] { model->setRoutingMode(ProviderRoutingMode::claude); },
        [&] { model->updateRemoteAdvertisedHost("other.example"); },
        [&] { model->addWorkspace(makeFolder("other")); },
        [&] { model->selectWorkspace(model->workspaces()[0].id); },
        [&] { model->send("Hi"); }, // which fails and sets the banner
        [&] { model->clearError(); },
        [&] { model->cancelImagine(); },
        [&] { model->copyInstallCommandAndOpenTerminal(), desktop.terminals.back()(false); },
    };
    for (std::size_t index = 0; index < changes.size(); ++index) {
        settle();
        changes[index]();
        pass(80ms);
        EXPECT_THAT(cameOfItself(), SizeIs(1)) << index;
    }
}

TEST_F(AppModelRemoteSnapshotTest, AFieldThatIsSetToWhatItIsTellsNothing)
{
    openRemote({});
    settle();
    model->setSelectedSection(AppSection::build);
    model->setPermissionMode(GrokPermissionMode::ask);
    model->updateRemoteAdvertisedHost(model->remoteAdvertisedHost());
    model->clearError();
    pass(80ms);
    EXPECT_THAT(cameOfItself(), IsEmpty());
}

TEST_F(AppModelRemoteSnapshotTest, ThatDevicesComeAndGoIsAChangeToo)
{
    openRemote({});
    settle();
    auto other = connected();
    pass(80ms);
    EXPECT_THAT(cameOfItself(), SizeIs(1));
    other.reset();
    waitUntil([&] { return model->remoteClientCount() == 1; }, "the count");
    pass(80ms);
    EXPECT_THAT(cameOfItself(), SizeIs(1));
}

TEST_F(AppModelRemoteSnapshotTest, TheSnapshotHasWhatIsTrueWhenItIsMade)
{
    openRemote({});
    settle();
    model->setSelectedSection(AppSection::imagine);
    pass(40ms);
    clock.secondsSince2001 += 100;
    pass(40ms);
    const double then = clock.secondsSince1970();
    const auto told = cameOfItself();
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].generatedAt, then);
}

TEST_F(AppModelRemoteSnapshotTest, AHostThatIsOffMakesNoSnapshotsAndKeepsNoTimer)
{
    openProject({});
    model->newThread();
    EXPECT_EQ(mainThread.nextDue(), std::nullopt);
    turnOn();
    connect();
    model->newThread();
    model->setRemoteEnabled(false);
    EXPECT_EQ(mainThread.nextDue(), std::nullopt);
}

TEST_F(AppModelRemoteSnapshotTest, ADeviceGetsTheStateWhenItConnects)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    runTurn("Hi");
    turnOn();
    connect();
    hear([&] { return !device->heard.empty(); });
    EXPECT_EQ(device->heard[0].type, RemoteMessageType::snapshot);
    ASSERT_EQ(device->snapshots()[0].workspaces.size(), 1U);
    EXPECT_EQ((*device->snapshots()[0].workspaces[0].threads[0]->entries[0])[1].text, "Hello");
}

TEST_F(AppModelRemoteSnapshotTest, ATaskIsShownWhole)
{
    runtime.script("grok", oneTurn("Hello"));
    openRemote();
    runTurn("Hi");
    const RemoteSnapshot snapshot = snapshotAfter();
    ASSERT_EQ(snapshot.workspaces.size(), 1U);
    const Workspace& workspace = model->workspaces()[0];
    EXPECT_EQ(snapshot.workspaces[0].id, workspace.id.text());
    EXPECT_EQ(snapshot.workspaces[0].name, workspace.name);
    EXPECT_EQ(snapshot.workspaces[0].path, workspace.path);
    ASSERT_EQ(snapshot.workspaces[0].threads.size(), 1U);
    const RemoteThread& thread = *snapshot.workspaces[0].threads[0];
    EXPECT_EQ(thread.id, task().id.text());
    EXPECT_EQ(thread.title, "Hi");
    EXPECT_EQ(thread.sessionID, "session-1");
    EXPECT_EQ(thread.createdAt, task().createdAt.secondsSince1970());
    EXPECT_EQ(thread.updatedAt, task().updatedAt.secondsSince1970());
    ASSERT_EQ(thread.entries.size(), 1U);
    const double when = task().entries[1].createdAt.secondsSince1970();
    EXPECT_THAT(*thread.entries[0],
        ElementsAre(RemoteChatEntry{ task().entries[0].id, "user", "Hi", {}, {}, {}, task().entries[0].createdAt.secondsSince1970() },
            RemoteChatEntry{ task().entries[1].id, "assistant", "Hello", {}, {}, "grok", when }));
}

TEST_F(AppModelRemoteSnapshotTest, SessionsOfOtherRuntimesAndTheLastProviderStayHere)
{
    runtime.script("grok", oneTurn("Hello", "secret-of-the-table"));
    openRemote();
    runTurn("Hi");
    const std::string text = textOf(snapshotAfter());
    EXPECT_EQ(text.find("providerSessionIDs"), std::string::npos);
    EXPECT_EQ(text.find("lastProvider"), std::string::npos);
}

TEST_F(AppModelRemoteSnapshotTest, AToolIsShownWithItsTitleAndStatus)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    scenario.update(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"Read a","status":"pending","rawInput":{"path":"a"}})");
    runtime.script("grok", scenario.reply(endTurn));
    openRemote();
    runTurn("Hi");
    const RemoteChatEntry& entry = (*snapshotAfter().workspaces[0].threads[0]->entries[0])[1];
    EXPECT_EQ(entry, (RemoteChatEntry{ "t", "tool", "{\n  \"path\" : \"a\"\n}", "Read a", "pending", "grok", entry.createdAt }));
}

TEST_F(AppModelRemoteSnapshotTest, WithoutASelectionTheIdsAreMissing)
{
    openModel();
    turnOn();
    connect();
    const RemoteSnapshot snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.selectedWorkspaceID, std::nullopt);
    EXPECT_EQ(snapshot.selectedThreadID, std::nullopt);
    const std::string text = textOf(snapshot);
    for (const char* key : { "selectedWorkspaceID", "selectedThreadID", "\"permission\":", "\"activeProvider\":", "null" }) {
        EXPECT_EQ(text.find(key), std::string::npos) << key;
    }
    EXPECT_THAT(snapshot.workspaces, IsEmpty());
}

TEST_F(AppModelRemoteSnapshotTest, TheHostHasTheNameOfTheComputer)
{
    computerName = "Ada's machine";
    openRemote({});
    EXPECT_EQ(snapshotAfter().hostName, "Ada's machine");
}

TEST_F(AppModelRemoteSnapshotTest, TheKeyStaysHere)
{
    openRemote({});
    const std::string text = textOf(snapshotAfter());
    ASSERT_EQ(key().size(), RemoteCrypto::keyByteCount);
    EXPECT_EQ(text.find(key()), std::string::npos);
    EXPECT_EQ(text.find(RemoteCrypto::base64URL(key())), std::string::npos);
    EXPECT_EQ(text.find("tessarin://"), std::string::npos);
}

TEST_F(AppModelRemoteSnapshotTest, TheConnectionIsShownByItsWordAndItsLabel)
{
    Scenario scenario = hangingTurn();
    runtime.script("grok", scenario.waitForFile("go").replyError("It broke"));
    openRemote();
    RemoteSnapshot snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.connectionStatus, "idle");
    EXPECT_EQ(snapshot.connectionLabel, "Not connected");
    EXPECT_EQ(snapshot.activeProvider, std::nullopt);
    EXPECT_EQ(snapshot.activeProviderLabel, model->activeProviderLabel());
    EXPECT_FALSE(snapshot.activeProviderLabel.empty());
    model->send("Hi");
    snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.activeProvider, "grok");
    waitFor(State::working);
    snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.connectionStatus, "working");
    EXPECT_EQ(snapshot.connectionLabel, "Grok is working");
    EXPECT_EQ(snapshot.activeProviderLabel, "Grok");
    runtime.touch("go");
    waitFor(State::failed);
    snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.connectionStatus, "failed");
    EXPECT_EQ(snapshot.connectionLabel, "Needs attention");
}

TEST_F(AppModelRemoteSnapshotTest, ModesAreShownByRawTextAndLabel)
{
    openRemote({});
    RemoteSnapshot snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.permissionMode, "ask");
    EXPECT_EQ(snapshot.permissionModeLabel, "Ask");
    EXPECT_EQ(snapshot.providerMode, "automatic");
    EXPECT_EQ(snapshot.providerModeLabel, label(ProviderRoutingMode::automatic));
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    model->setRoutingMode(ProviderRoutingMode::glm);
    snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.permissionMode, "full_access");
    EXPECT_EQ(snapshot.permissionModeLabel, "Full access");
    EXPECT_EQ(snapshot.providerMode, "glm");
    EXPECT_EQ(snapshot.providerModeLabel, label(ProviderRoutingMode::glm));
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_EQ(snapshotAfter().permissionModeLabel, "Auto");
}

TEST_F(AppModelRemoteSnapshotTest, ImagineIsShownByItsProgressOrElseByItsState)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    RemoteSnapshot snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.imagineStatus, "idle");
    EXPECT_EQ(snapshot.imagineLabel, "Not connected");
    model->generateImagine("a cat", ImagineKind::image);
    waitForImagine(State::working);
    snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.imagineStatus, "working");
    EXPECT_EQ(snapshot.imagineLabel, "Grok is generating an image…");
}

TEST_F(AppModelRemoteSnapshotTest, UsagesStandInTheOrderOfTheirTexts)
{
    runtime.script("grok", failingTurn(usageLimit));
    Scenario codex;
    codex.always("account/rateLimits/read", R"({"rateLimits":{"primary":{"usedPercent":12.5},"planType":"plus"}})");
    codex.expect("initialize").reply().expect("thread/start").reply(R"({"thread":{"id":"thread-x"}})");
    codex.expect("turn/start").reply(R"({"turn":{"id":"turn-1"}})").send(R"({"method":"error","params":{"turnId":"turn-1",
        "willRetry":false,"error":{"message":"Come back on Monday.","codexErrorInfo":"usageLimitExceeded"}}})");
    runtime.script("codex", codex.send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"failed"}}})"));
    Scenario claude;
    claude.expect("control_request/initialize").reply().expect("user");
    claude.send(R"({"type":"rate_limit_event","rate_limit_info":{"status":"rejected","utilization":1,"resets_at":978312200}})");
    claude.send(R"({"type":"result","subtype":"success","is_error":true,"api_error_status":429,"result":"Wait until five."})");
    runtime.script("claude", claude);
    openRemote({ "grok", "codex", "claude" });
    model->send("Hi");
    waitFor(State::failed);
    const RemoteSnapshot snapshot = snapshotAfter();
    std::vector<std::string> providers;
    for (const RemoteProviderUsage& usage : snapshot.providerUsages) {
        providers.push_back(usage.provider);
        EXPECT_EQ(usage.label, label(*agentProviderFromRawText(usage.provider)));
        const ProviderUsage& known = model->providerUsage().at(*agentProviderFromRawText(usage.provider));
        EXPECT_EQ(usage.primaryUsedPercent, known.primaryUsedPercent);
        EXPECT_EQ(usage.secondaryUsedPercent, known.secondaryUsedPercent);
        EXPECT_EQ(usage.exhausted, known.exhausted);
    }
    ASSERT_THAT(providers, ElementsAre("claude", "codex", "grok")) << "not in the order of the runtimes";
    EXPECT_EQ(snapshot.providerUsages[0].resetsAt, 978312200);
    EXPECT_EQ(snapshot.providerUsages[1].primaryUsedPercent, 12.5);
    EXPECT_EQ(snapshot.providerUsages[2].resetsAt, std::nullopt);
    EXPECT_EQ(textOf(snapshot).find("planType"), std::string::npos);
    EXPECT_EQ(textOf(snapshot).find("\"plus\""), std::string::npos) << "the plan of the person";
}

} // namespace
} // namespace tessarin::testing
