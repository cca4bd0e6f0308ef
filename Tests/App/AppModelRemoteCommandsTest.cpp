#include "AppModelRemoteFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What a device asks for, and what comes of it.
class AppModelRemoteCommandsTest : public AppModelRemoteTest
{
};

TEST_F(AppModelRemoteCommandsTest, HelloIsAnsweredAtOnceBesidesWhatConnectingBrings)
{
    openRemote({});
    hear([&] { return !device->snapshots().empty(); }, "what every device gets when it connects");
    clock.secondsSince2001 += 5;
    device->send(message(RemoteMessageType::hello));
    hear([&] { return device->snapshots().back().generatedAt == clock.secondsSince1970(); }, "the answer, with the clock standing still");
    clock.secondsSince2001 += 5;
    device->send(message(RemoteMessageType::refresh));
    hear([&] { return device->snapshots().back().generatedAt == clock.secondsSince1970(); }, "the answer to refresh");
}

TEST_F(AppModelRemoteCommandsTest, AnyCommandMayComeFirstWithoutAHello)
{
    openRemote({});
    device->send(message(RemoteMessageType::newThread));
    waitUntil([&] { return model->workspaces()[0].threads.size() == 2; }, "the task");
}

TEST_F(AppModelRemoteCommandsTest, SelectThreadSelects)
{
    openRemote({});
    RemoteEnvelope select = taskMessage(RemoteMessageType::selectThread);
    model->newThread();
    ASSERT_NE(model->selectedThreadID()->text(), select.threadID);
    command(select);
    EXPECT_EQ(model->selectedThreadID()->text(), select.threadID);
}

TEST_F(AppModelRemoteCommandsTest, SelectThreadReadsIdsInAnyCase)
{
    openRemote({});
    RemoteEnvelope select = taskMessage(RemoteMessageType::selectThread);
    const Uuid wanted = *model->selectedThreadID();
    select.threadID = lowerCased(*select.threadID);
    select.workspaceID = lowerCased(*select.workspaceID);
    model->newThread();
    command(select);
    EXPECT_EQ(model->selectedThreadID(), wanted);
}

TEST_F(AppModelRemoteCommandsTest, SelectThreadWithoutBothIdsDoesNothing)
{
    openRemote({});
    RemoteEnvelope select = taskMessage(RemoteMessageType::selectThread);
    model->newThread();
    const auto before = model->selectedThreadID();
    for (const auto field : { &RemoteEnvelope::workspaceID, &RemoteEnvelope::threadID }) {
        for (const std::optional<std::string>& value : { std::optional<std::string>(), std::optional<std::string>(""),
                 std::optional<std::string>(*select.threadID + " "), std::optional<std::string>("no id") }) {
            RemoteEnvelope broken = select;
            broken.id = Uuid::random().text();
            broken.*field = value;
            command(broken);
            EXPECT_EQ(model->selectedThreadID(), before);
        }
    }
    EXPECT_THAT(device->errors(), IsEmpty());
}

TEST_F(AppModelRemoteCommandsTest, NewThreadMakesATaskInTheProjectThatIsNamed)
{
    openRemote({});
    const Uuid first = *model->selectedWorkspaceID();
    model->addWorkspace(makeFolder("second"));
    RemoteEnvelope create = message(RemoteMessageType::newThread);
    create.workspaceID = lowerCased(first.text());
    command(create);
    EXPECT_EQ(model->selectedWorkspaceID(), first);
    EXPECT_EQ(model->workspaces()[0].threads.size(), 2U);
    EXPECT_EQ(model->workspaces()[1].threads.size(), 1U);
}

TEST_F(AppModelRemoteCommandsTest, NewThreadWithoutAnIdMeansTheCurrentProject)
{
    openRemote({});
    model->addWorkspace(makeFolder("second"));
    RemoteEnvelope create = message(RemoteMessageType::newThread);
    command(create);
    create.id = Uuid::random().text();
    create.workspaceID = "no id";
    command(create);
    EXPECT_EQ(model->workspaces()[0].threads.size(), 1U);
    EXPECT_EQ(model->workspaces()[1].threads.size(), 3U);
}

TEST_F(AppModelRemoteCommandsTest, NewThreadInAnUnknownProjectAsksForAFolderAndTheHostGoesOnAnswering)
{
    openRemote({});
    RemoteEnvelope create = message(RemoteMessageType::newThread);
    create.workspaceID = Uuid::random().text();
    command(create);
    EXPECT_EQ(desktop.questions.size(), 1U);
    EXPECT_EQ(model->workspaces()[0].threads.size(), 1U);
    command(message(RemoteMessageType::newThread));
    EXPECT_EQ(model->workspaces()[0].threads.size(), 2U) << "while the question is still open";
}

TEST_F(AppModelRemoteCommandsTest, APromptIsSentInItsTaskAndTheWindowFollows)
{
    runtime.script("grok", oneTurn("Hello"));
    openRemote();
    RemoteEnvelope ask = prompt("  Hi \n");
    model->newThread();
    device->send(ask);
    waitFor(State::ready);
    EXPECT_EQ(model->selectedThreadID()->text(), ask.threadID);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
    EXPECT_THAT(prompts("grok"), ElementsAre("Hi"));
    const RemoteSnapshot snapshot = snapshotAfter();
    EXPECT_EQ(snapshot.selectedThreadID, ask.threadID);
    EXPECT_EQ(snapshot.connectionStatus, "ready");
}

TEST_F(AppModelRemoteCommandsTest, APromptGoesToTheClientThatIsReady)
{
    Scenario scenario = oneTurn("One");
    runtime.script("grok", turn(scenario, "Two"));
    openRemote();
    device->send(prompt("First"));
    waitUntil([&] { return texts().size() == 2 && model->connectionState().kind() == State::ready; }, "the first turn");
    device->send(prompt("Second"));
    waitUntil([&] { return texts().size() == 4 && model->connectionState().kind() == State::ready; }, "the second turn");
    EXPECT_THAT(prompts("grok"), ElementsAre("First", "Second"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelRemoteCommandsTest, APromptReadsIdsInAnyCase)
{
    runtime.script("grok", oneTurn("Hello"));
    openRemote();
    RemoteEnvelope ask = prompt("Hi");
    const Uuid wanted = *model->selectedThreadID();
    ask.threadID = lowerCased(*ask.threadID);
    model->newThread();
    device->send(ask);
    waitFor(State::ready);
    EXPECT_EQ(model->selectedThreadID(), wanted);
}

TEST_F(AppModelRemoteCommandsTest, APromptWithoutTextOrIdsChangesNotEvenTheSelection)
{
    openRemote();
    const RemoteEnvelope ask = prompt("Hi");
    model->newThread();
    const auto before = model->selectedThreadID();
    for (const auto field : { &RemoteEnvelope::text, &RemoteEnvelope::workspaceID, &RemoteEnvelope::threadID }) {
        RemoteEnvelope broken = ask;
        broken.id = Uuid::random().text();
        (broken.*field).reset();
        command(broken);
        EXPECT_EQ(model->selectedThreadID(), before);
        EXPECT_THAT(texts(), IsEmpty());
    }
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelRemoteCommandsTest, ABlankPromptSelectsAndSendsNothing)
{
    openRemote();
    const RemoteEnvelope ask = prompt(" \n");
    model->newThread();
    command(ask);
    EXPECT_EQ(model->selectedThreadID()->text(), ask.threadID);
    EXPECT_THAT(texts(), IsEmpty());
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelRemoteCommandsTest, APromptDuringATurnAbandonsThatTurn)
{
    runtime.script("grok", 1, hangingTurn());
    runtime.script("grok", 2, oneTurn("Second"));
    openRemote();
    device->send(prompt("One"));
    waitForFile("prompted");
    device->send(prompt("Two"));
    waitUntil([&] { return texts().size() == 3 && model->connectionState().kind() == State::ready; }, "the second turn");
    EXPECT_THAT(texts(), ElementsAre("One", "Two", "Second"));
    waitForStop("grok", 1);
}

TEST_F(AppModelRemoteCommandsTest, CancelStopsTheAgentOfTheSelectedTask)
{
    Scenario scenario = hangingTurn();
    runtime.script("grok", scenario.expect("session/cancel").touch("cancelled"));
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    command(taskMessage(RemoteMessageType::cancel));
    EXPECT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you."));
    waitForFile("cancelled");
}

TEST_F(AppModelRemoteCommandsTest, CancelThatNamesNothingStopsTheAgent)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    command(message(RemoteMessageType::cancel));
    EXPECT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you."));
}

TEST_F(AppModelRemoteCommandsTest, CancelOfAnotherTaskOrInLowerCaseDoesNothing)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    RemoteEnvelope cancel = message(RemoteMessageType::cancel);
    cancel.threadID = lowerCased(model->selectedThreadID()->text());
    command(cancel);
    cancel.id = Uuid::random().text();
    cancel.threadID = Uuid::random().text();
    command(cancel);
    EXPECT_EQ(model->connectionState().kind(), State::working);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
}

TEST_F(AppModelRemoteCommandsTest, CancelWithImageStopsTheGenerationOfAVideoToo)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->generateImagine("a cat", ImagineKind::video);
    waitForImagine(State::working);
    RemoteEnvelope cancel = message(RemoteMessageType::cancel);
    cancel.mediaKind = "image";
    command(cancel);
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_THAT(texts(), IsEmpty()) << "the agent is not stopped besides";
}

TEST_F(AppModelRemoteCommandsTest, CancelWithImagineStopsTheGenerationWhateverTaskIsNamed)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->generateImagine("a cat", ImagineKind::image);
    waitForImagine(State::working);
    RemoteEnvelope cancel = taskMessage(RemoteMessageType::cancel);
    cancel.mediaKind = "imagine";
    command(cancel);
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(AppModelRemoteCommandsTest, CancelWithVideoIsAboutTheAgent)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->generateImagine("a cat", ImagineKind::video);
    waitForImagine(State::working);
    RemoteEnvelope cancel = message(RemoteMessageType::cancel);
    cancel.mediaKind = "video";
    command(cancel);
    EXPECT_EQ(model->imagineState().kind(), State::working);
    EXPECT_THAT(texts(), ElementsAre("Stopped by you."));
}

TEST_F(AppModelRemoteCommandsTest, ABlankGenerationOnlyShowsTheGallery)
{
    openRemote({});
    ASSERT_EQ(model->selectedSection(), AppSection::build);
    RemoteEnvelope generate = message(RemoteMessageType::imagineGenerate);
    generate.text = " \n";
    generate.mediaKind = "image";
    command(generate);
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_EQ(model->imagineState(), ConnectionState(ConnectionState::Kind::idle));
}

TEST_F(AppModelRemoteCommandsTest, AMessageThatIsNoCommandIsIgnored)
{
    openRemote({});
    const auto before = model->workspaces();
    for (const std::string_view type : { std::string_view("snapshot"), std::string_view("media_chunk"), std::string_view("error"),
             std::string_view(""), std::string_view("Hello"), std::string_view("new_thread "), std::string_view("anything") }) {
        RemoteEnvelope strange = taskMessage(type);
        strange.text = "text";
        strange.permissionMode = "auto";
        strange.providerMode = "codex";
        strange.snapshot.emplace();
        command(strange);
    }
    EXPECT_EQ(model->workspaces(), before);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_THAT(device->errors(), IsEmpty());
}

TEST_F(AppModelRemoteCommandsTest, ARepeatedMessageIsDoneOnce)
{
    openRemote({});
    const RemoteEnvelope create = message(RemoteMessageType::newThread);
    command(create);
    command(create);
    EXPECT_EQ(model->workspaces()[0].threads.size(), 2U);
}

TEST_F(AppModelRemoteCommandsTest, WhatIsOnItsWayWhenTheHostIsTurnedOffDoesNothing)
{
    openRemote({});
    const auto before = model->workspaces();
    sendUnheard(message(RemoteMessageType::newThread));
    model->setRemoteEnabled(false);
    waitForHost(RemoteHostState::Kind::disabled);
    drain();
    EXPECT_EQ(model->workspaces(), before);
}

} // namespace
} // namespace tessarin::testing
