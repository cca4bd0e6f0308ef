#include "AppModelRemoteFixture.h"
#include "Remote/RemoteCrypto.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Host = RemoteHostState::Kind;

// The link that pairs a device, and the address in it.
class AppModelRemotePairingTest : public AppModelRemoteTest
{
};

TEST_F(AppModelRemotePairingTest, TheLinkHoldsAddressPortKeyAndName)
{
    computerName = "Ada's machine & more";
    openModel();
    waitForKey();
    EXPECT_EQ(model->remotePairingURL(),
        "tessarin://pair?host=192.168.1.20&port=" + std::to_string(remotePort) + "&key=" + RemoteCrypto::base64URL(key())
            + "&name=Ada's%20machine%20%26%20more");
    computerName.reset();
    openModel();
    waitForKey();
    EXPECT_THAT(*model->remotePairingURL(), ::testing::EndsWith("&name=My%20Mac"));
}

TEST_F(AppModelRemotePairingTest, CopyingTheLinkMarksItAsASecret)
{
    openModel();
    model->copyPairingLink();
    EXPECT_THAT(desktop.pasteboard, IsEmpty());
    waitForKey();
    model->copyPairingLink();
    EXPECT_THAT(desktop.pasteboard, ElementsAre(*model->remotePairingURL()));
    EXPECT_EQ(desktop.secretsOnPasteboard, desktop.pasteboard);
}

TEST_F(AppModelRemotePairingTest, TheAddressIsTheStoredOneOrTheSuggestedOne)
{
    openModel();
    EXPECT_EQ(model->remoteAdvertisedHost(), "192.168.1.20");
    EXPECT_EQ(preferences.text(RemoteHostConfiguration::advertisedHostKey), std::nullopt) << "a suggestion is not written back";
    model->updateRemoteAdvertisedHost(" \n home.example \t");
    EXPECT_EQ(model->remoteAdvertisedHost(), "home.example");
    EXPECT_EQ(preferences.text(RemoteHostConfiguration::advertisedHostKey), "home.example");
    openModel();
    EXPECT_EQ(model->remoteAdvertisedHost(), "home.example");
}

TEST_F(AppModelRemotePairingTest, ABlankAddressStandsForTheSuggestionOfThatMoment)
{
    openModel();
    model->updateRemoteAdvertisedHost("home.example");
    suggestedAddress = "100.64.0.7";
    model->updateRemoteAdvertisedHost(" \n\t");
    EXPECT_EQ(model->remoteAdvertisedHost(), "100.64.0.7");
    EXPECT_EQ(preferences.text(RemoteHostConfiguration::advertisedHostKey), "100.64.0.7");
    suggestedAddress = "10.0.0.1";
    openModel();
    EXPECT_EQ(model->remoteAdvertisedHost(), "100.64.0.7") << "from then on it is as good as typed";
}

TEST_F(AppModelRemotePairingTest, AnotherAddressLeavesTheHostAndItsDevicesAlone)
{
    openRemote({});
    model->updateRemoteAdvertisedHost("home.example");
    (void)snapshotAfter();
    EXPECT_FALSE(device->hasEnded);
    EXPECT_EQ(model->remoteHostState().kind(), Host::listening);
    EXPECT_THAT(*model->remotePairingURL(), HasSubstr("host=home.example&"));
}

TEST_F(AppModelRemotePairingTest, EachRemoteFieldTellsOfAnotherValueAndNotOfTheSame)
{
    openModel();
    waitForKey();
    int told = 0;
    const auto watching = model->observe([&](const ModelChange& change) { told += change.kind == ModelChange::Kind::remote ? 1 : 0; });
    model->updateRemoteAdvertisedHost("home.example");
    EXPECT_EQ(told, 1);
    model->updateRemoteAdvertisedHost("home.example");
    EXPECT_EQ(told, 1);
    model->setRemoteEnabled(false);
    EXPECT_EQ(told, 1);
    model->setRemoteEnabled(true);
    EXPECT_EQ(told, 2);
    waitForHost(Host::listening);
    EXPECT_EQ(told, 4) << "starting, and listening; the count of devices is what it was";
}

} // namespace
} // namespace tessarin::testing
