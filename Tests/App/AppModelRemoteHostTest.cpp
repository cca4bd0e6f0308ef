#include "AppModelRemoteFixture.h"
#include "Platform/BackgroundWork.h"
#include "Remote/RemoteCrypto.h"

#include <future>

namespace tessarin::testing
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Host = RemoteHostState::Kind;

// A secret store that holds up whoever calls it until it is let go.
class Gate
{
public:
    void wait() const { m_opened.wait(); }
    void open() { m_open.set_value(); }

private:
    std::promise<void> m_open;
    std::shared_future<void> m_opened = m_open.get_future().share();
};

// The key, the host's being on and off, and the link that pairs a device.
class AppModelRemoteHostTest : public AppModelRemoteTest
{
protected:
    // The states from now on.
    void watchStates()
    {
        m_watching = model->observe([this](const ModelChange& change) {
            if (change.kind == ModelChange::Kind::remote && (states.empty() || states.back() != model->remoteHostState().kind())) {
                states.push_back(model->remoteHostState().kind());
            }
        });
    }
    // Whether a device with this key is understood. What the host says to it counts for nothing: it may not open here.
    [[nodiscard]] bool opens(const std::string& deviceKey)
    {
        const auto before = model->workspaces().size() + model->workspaces()[0].threads.size();
        const RemoteDevice visitor(remotePort, deviceKey);
        EXPECT_TRUE(visitor.send(message(RemoteMessageType::newThread)));
        bool hasEnded = false;
        waitUntil(
            [&] {
                while (!hasEnded && !visitor.client.isSilent()) {
                    hasEnded = !visitor.receiveFrame();
                }
                return hasEnded || model->workspaces().size() + model->workspaces()[0].threads.size() > before;
            },
            "an end or a deed");
        return !hasEnded;
    }
    // For a model that only shares the machine.
    [[nodiscard]] static RuntimeContext noRuntimes()
    {
        RuntimeContext context;
        context.preference = [](const std::string&) { return std::optional<std::string>(); };
        return context;
    }
    void storeSecret(const std::string& secret)
    {
        secrets.save(RemoteHostConfiguration::secretService, RemoteHostConfiguration::secretAccount, secret);
    }

    std::vector<Host> states;

private:
    AppModel::Subscription m_watching;
};

TEST_F(AppModelRemoteHostTest, AFirstLaunchMakesAKeyThatTheNextLaunchLoads)
{
    openModel();
    EXPECT_EQ(model->remotePairingURL(), std::nullopt) << "before the key is known";
    waitForKey();
    EXPECT_EQ(key().size(), 32U) << "also while the host is off";
    EXPECT_FALSE(model->remoteEnabled());
    EXPECT_EQ(model->remoteHostState().kind(), Host::disabled);
    const std::string first = key();
    const auto link = model->remotePairingURL();
    openModel();
    waitForKey();
    EXPECT_EQ(key(), first);
    EXPECT_EQ(model->remotePairingURL(), link);
}

TEST_F(AppModelRemoteHostTest, AKeyOfThePreferencesMovesToTheStore)
{
    const std::string old(32, 'o');
    preferences.setBytes(RemoteHostConfiguration::secretKey, ByteRope(old));
    openProject({});
    waitForKey();
    EXPECT_EQ(key(), old);
    EXPECT_EQ(preferences.bytes(RemoteHostConfiguration::secretKey), std::nullopt);
    turnOn();
    EXPECT_TRUE(opens(old));
}

TEST_F(AppModelRemoteHostTest, AKeyOfAWrongLengthIsReplacedAndThatOfThePreferencesIsLeft)
{
    storeSecret("short");
    preferences.setBytes(RemoteHostConfiguration::secretKey, ByteRope(std::string(31, 'o')));
    openModel();
    waitForKey();
    EXPECT_EQ(key().size(), 32U);
    EXPECT_EQ(preferences.bytes(RemoteHostConfiguration::secretKey), std::string(31, 'o'));
}

TEST_F(AppModelRemoteHostTest, NothingWaitsForASlowStore)
{
    Gate gate;
    secrets.onLoad = [&] { gate.wait(); };
    openProject({});
    model->setRemoteEnabled(true);
    EXPECT_EQ(model->remoteHostState().kind(), Host::starting) << "until the key is known";
    drain();
    EXPECT_EQ(model->remotePairingURL(), std::nullopt);
    model->copyPairingLink();
    EXPECT_THAT(desktop.pasteboard, IsEmpty());
    gate.open();
    waitForHost(Host::listening);
    EXPECT_EQ(model->remoteHostState(), RemoteHostState::listening(remotePort));
    EXPECT_TRUE(opens(key()));
}

TEST_F(AppModelRemoteHostTest, AHostThatIsTurnedOffBeforeTheKeyIsKnownStaysOff)
{
    Gate gate;
    secrets.onLoad = [&] { gate.wait(); };
    openProject({});
    model->setRemoteEnabled(true);
    model->setRemoteEnabled(false);
    waitForHost(Host::disabled);
    watchStates();
    gate.open();
    waitForKey();
    finishBackgroundWork();
    drain();
    EXPECT_THAT(states, ElementsAre(Host::disabled));
    EXPECT_FALSE(PairedDevice(remotePort, key()).isConnected());
}

TEST_F(AppModelRemoteHostTest, WhetherItIsOnIsKeptForTheNextLaunch)
{
    openModel();
    waitForKey();
    EXPECT_EQ(preferences.boolean(RemoteHostConfiguration::enabledKey), std::nullopt);
    turnOn();
    EXPECT_EQ(preferences.boolean(RemoteHostConfiguration::enabledKey), true);
    openModel();
    EXPECT_TRUE(model->remoteEnabled());
    EXPECT_EQ(model->remoteHostState().kind(), Host::starting);
    waitForHost(Host::listening);
    model->setRemoteEnabled(false);
    EXPECT_EQ(preferences.boolean(RemoteHostConfiguration::enabledKey), false);
    waitForHost(Host::disabled);
    openModel();
    EXPECT_FALSE(model->remoteEnabled());
    EXPECT_EQ(model->remoteHostState().kind(), Host::disabled);
}

TEST_F(AppModelRemoteHostTest, TurningItOffDropsEveryDevice)
{
    openRemote({});
    EXPECT_EQ(model->remoteClientCount(), 1U);
    model->setRemoteEnabled(false);
    waitForHost(Host::disabled);
    hear([&] { return device->hasEnded; }, "the end");
    waitUntil([&] { return model->remoteClientCount() == 0; }, "the count");
    EXPECT_FALSE(PairedDevice(remotePort, key()).isConnected());
}

TEST_F(AppModelRemoteHostTest, APortThatIsTakenIsToldAndTurningItOffAndOnTriesAgain)
{
    openRemote({});
    const std::uint16_t taken = remotePort;
    auto first = std::exchange(model, nullptr);
    Preferences otherPreferences({ runtime.directory() + "/config2", runtime.directory() + "/data2" });
    WorkspaceStore otherStore(otherPreferences);
    const auto other = AppModel::make({ otherPreferences, otherStore, mainThread, desktop, noRuntimes(), { secrets, taken } });
    other->setRemoteEnabled(true);
    waitUntil([&] { return other->remoteHostState().kind() == Host::failed; }, "the failure");
    EXPECT_THAT(other->remoteHostState().failureText(), HasSubstr(std::to_string(taken)));
    other->setRemoteEnabled(false);
    first->setRemoteEnabled(false);
    waitUntil([&] { return other->remoteHostState().kind() == Host::disabled && first->remoteHostState().kind() == Host::disabled; });
    other->setRemoteEnabled(true);
    waitUntil([&] { return other->remoteHostState().kind() == Host::listening; }, "the second try");
    model = std::move(first);
}

TEST_F(AppModelRemoteHostTest, RotatingDropsEveryDeviceAndOnlyTheNewKeyOpens)
{
    openRemote({});
    const std::string old = key();
    const auto oldLink = model->remotePairingURL();
    watchStates();
    model->rotateRemoteAccessKey();
    EXPECT_EQ(model->remoteHostState().kind(), Host::starting) << "at once";
    hear([&] { return device->hasEnded; }, "the end");
    waitUntil([&] { return states.size() > 1 && states.back() == Host::listening; }, "the host to listen again");
    EXPECT_THAT(states, Contains(Host::starting));
    EXPECT_NE(key(), old);
    EXPECT_NE(model->remotePairingURL(), oldLink);
    EXPECT_FALSE(opens(old));
    EXPECT_TRUE(opens(key()));
}

TEST_F(AppModelRemoteHostTest, RotatingRemovesTheKeyOfThePreferences)
{
    openModel();
    waitForKey();
    preferences.setBytes(RemoteHostConfiguration::secretKey, ByteRope(std::string(32, 'o')));
    const std::string old = key();
    model->rotateRemoteAccessKey();
    waitUntil([&] { return key() != old && !preferences.bytes(RemoteHostConfiguration::secretKey); }, "the new key");
}

TEST_F(AppModelRemoteHostTest, RotatingWhileItIsOffChangesTheKeyAndLeavesItOff)
{
    openProject({});
    waitForKey();
    const std::string old = key();
    const auto oldLink = model->remotePairingURL();
    watchStates();
    model->rotateRemoteAccessKey();
    waitUntil([&] { return model->remotePairingURL() != oldLink; }, "the new link");
    EXPECT_NE(key(), old);
    EXPECT_THAT(states, ElementsAre(Host::disabled));
}

TEST_F(AppModelRemoteHostTest, ARotationThatOvertakesTheLoadWins)
{
    storeSecret(std::string(32, 'o'));
    Gate gate;
    secrets.onLoad = [&] { gate.wait(); };
    openProject({});
    model->setRemoteEnabled(true);
    model->rotateRemoteAccessKey();
    gate.open();
    waitForHost(Host::listening);
    finishBackgroundWork();
    drain();
    EXPECT_NE(key(), std::string(32, 'o'));
    EXPECT_THAT(*model->remotePairingURL(), HasSubstr(RemoteCrypto::base64URL(key()))) << "the same here and in the store";
    EXPECT_FALSE(opens(std::string(32, 'o')));
    EXPECT_TRUE(opens(key()));
}

TEST_F(AppModelRemoteHostTest, OfTwoRotationsTheLastOneWins)
{
    openProject({});
    waitForKey();
    Gate gate;
    std::atomic<int> saves = 0;
    secrets.onSave = [&] {
        if (saves++ == 0) {
            gate.wait();
        }
    };
    model->rotateRemoteAccessKey();
    model->rotateRemoteAccessKey();
    model->rotateRemoteAccessKey();
    gate.open();
    waitUntil([&] { return saves == 2; }, "the second key");
    waitUntil(
        [&] { return model->remotePairingURL()->find(RemoteCrypto::base64URL(key())) != std::string::npos; }, "that it is the link's");
    finishBackgroundWork();
    drain();
    EXPECT_EQ(saves, 2) << "what is asked for twice while it waits is done once";
    EXPECT_THAT(*model->remotePairingURL(), HasSubstr(RemoteCrypto::base64URL(key())));
}

TEST_F(AppModelRemoteHostTest, NobodyGetsInByTheOldKeyWhileItIsBeingReplaced)
{
    openRemote({});
    const std::string old = key();
    Gate gate;
    secrets.onSave = [&] { gate.wait(); };
    model->rotateRemoteAccessKey();
    model->setRemoteEnabled(false);
    model->setRemoteEnabled(true);
    waitForHost(Host::disabled); // which the server says of both ends; nothing starts it
    EXPECT_FALSE(PairedDevice(remotePort, old).isConnected());
    gate.open();
    waitForHost(Host::listening);
    EXPECT_TRUE(opens(key()));
    EXPECT_FALSE(opens(old));
}

TEST_F(AppModelRemoteHostTest, WhatIsOnItsWayWhenTheKeyIsGivenUpDoesNothing)
{
    openRemote({});
    Gate gate;
    secrets.onSave = [&] { gate.wait(); };
    const auto before = model->workspaces();
    sendUnheard(message(RemoteMessageType::newThread));
    model->rotateRemoteAccessKey();
    waitForHost(Host::disabled); // so nothing comes any more
    EXPECT_EQ(model->workspaces(), before);
    gate.open();
    waitForHost(Host::listening);
    EXPECT_EQ(model->workspaces(), before);
}

TEST_F(AppModelRemoteHostTest, AHostThatIsTurnedOffDuringARotationStaysOff)
{
    openRemote({});
    const std::string old = key();
    Gate gate;
    secrets.onSave = [&] { gate.wait(); };
    model->rotateRemoteAccessKey();
    model->setRemoteEnabled(false);
    gate.open();
    waitUntil([&] { return key() != old; }, "the new key");
    finishBackgroundWork();
    drain();
    waitForHost(Host::disabled);
    EXPECT_FALSE(PairedDevice(remotePort, key()).isConnected());
}

TEST_F(AppModelRemoteHostTest, AModelThatIsGoneHearsNothingOfItsKey)
{
    Gate gate;
    secrets.onLoad = [&] { gate.wait(); };
    openModel();
    model.reset();
    gate.open();
    finishBackgroundWork();
    drain();
    EXPECT_EQ(key().size(), 32U);
}

} // namespace
} // namespace tessarin::testing
