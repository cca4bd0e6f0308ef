#include "AppModelRemoteFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The modes and the generations that a device asks for.
class AppModelRemoteModesTest : public AppModelRemoteTest
{
};

TEST_F(AppModelRemoteModesTest, SetPermissionModeChangesItAndDropsTheConnection)
{
    runtime.script("grok", oneTurn("Hello"));
    openRemote();
    runTurn("Hi");
    command(permissionMode("auto"));
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::auto_);
    EXPECT_EQ(storedMode(), "auto");
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    waitForStop("grok");
    EXPECT_THAT(device->errors(), IsEmpty());
}

TEST_F(AppModelRemoteModesTest, SetPermissionModeWaitsForTheAgent)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    command(permissionMode("auto"));
    EXPECT_THAT(device->errors(), ElementsAre("Wait for the agent to finish before changing permission mode."));
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(model->connectionState().kind(), State::working);
}

TEST_F(AppModelRemoteModesTest, SetPermissionModeWaitsForImagineToo)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->generateImagine("a cat", ImagineKind::image);
    waitForImagine(State::working);
    command(permissionMode("auto"));
    command(providerMode("codex"));
    EXPECT_THAT(device->errors(),
        ElementsAre(
            "Wait for the agent to finish before changing permission mode.", "Wait for the agent to finish before changing providers."));
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
}

TEST_F(AppModelRemoteModesTest, AnUnknownModeGetsNoAnswer)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    command(permissionMode("everything"));
    command(providerMode("everything"));
    command(message(RemoteMessageType::setPermissionMode));
    command(message(RemoteMessageType::setProviderMode));
    EXPECT_THAT(device->errors(), IsEmpty());
}

TEST_F(AppModelRemoteModesTest, SetProviderModeChangesItAndDropsTheConnection)
{
    runtime.script("grok", oneTurn("Hello"));
    openRemote();
    runTurn("Hi");
    command(providerMode("codex"));
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::codex);
    EXPECT_EQ(preferences.text(AppModel::routingModeKey), "codex");
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    waitForStop("grok");
}

TEST_F(AppModelRemoteModesTest, SetProviderModeWaitsForTheAgent)
{
    runtime.script("grok", hangingTurn());
    openRemote();
    model->send("Hi");
    waitFor(State::working);
    command(providerMode("codex"));
    EXPECT_THAT(device->errors(), ElementsAre("Wait for the agent to finish before changing providers."));
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
}

TEST_F(AppModelRemoteModesTest, ARefusalGoesToAllDevices)
{
    openRemote({});
    const auto other = connected();
    command(permissionMode("full_access"));
    waitUntil(
        [&] {
            other->listen();
            return !other->errors().empty();
        },
        "the refusal at the other device");
    EXPECT_EQ(other->errors(), device->errors());
}

TEST_F(AppModelRemoteModesTest, ImagineGenerateShowsTheGalleryAndGenerates)
{
    runtime.script("grok", oneTurn("Done"));
    openRemote();
    device->send(generate(" a red cube ", "image"));
    waitForImagine(State::ready);
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine a red cube"));
}

TEST_F(AppModelRemoteModesTest, ImagineGenerateMakesVideosToo)
{
    runtime.script("grok", oneTurn("Done"));
    openRemote();
    device->send(generate("a red cube", "video"));
    waitForImagine(State::ready);
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine-video a red cube"));
}

TEST_F(AppModelRemoteModesTest, ImagineGenerateWithoutTextOrAKnownKindDoesNothing)
{
    openRemote();
    RemoteEnvelope withoutText = generate("", "image");
    withoutText.text.reset();
    command(withoutText);
    RemoteEnvelope withoutKind = generate("a cat", "image");
    withoutKind.mediaKind.reset();
    command(withoutKind);
    for (const char* kind : { "imagine", "Image", "" }) {
        command(generate("a cat", kind));
    }
    EXPECT_EQ(model->selectedSection(), AppSection::build);
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelRemoteModesTest, ImagineGenerateWithoutGrokTellsByTheState)
{
    openRemote({});
    command(generate("a cat", "image"));
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_EQ(model->errorMessage(), "Install and log in to Grok Build before using Imagine.");
    EXPECT_THAT(device->errors(), IsEmpty());
}

} // namespace
} // namespace tessarin::testing
