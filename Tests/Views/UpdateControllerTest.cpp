#include "Views/UpdateController.h"

#include "Platform/Preferences.h"
#include "Printing.h"
#include "Views/UpdateRules.h"

#include <QTemporaryDir>
#include <QVariant>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

namespace
{

const QString usable = "Sparkle will read the HTTPS appcast and verify the EdDSA-signed update archive before installing.";
const QString unusable = "Add an HTTPS appcast URL to enable updates.";
const QString cannotCheck = "Enter a valid HTTPS appcast URL first.";

// What was called, in order.
using Calls = std::vector<std::string>;

class RecordingUpdater : public SoftwareUpdater
{
public:
    RecordingUpdater(SoftwareUpdaterDelegate& delegate, Calls& calls) : m_delegate(delegate), m_calls(calls) { }

    void startUpdater() override { m_calls.emplace_back("start"); }
    void checkForUpdates() override { m_calls.emplace_back("check"); }
    void resetUpdateCycleAfterShortDelay() override { m_calls.emplace_back("reset"); }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return m_checks; }
    void setAutomaticallyChecksForUpdates(bool checks) override { m_checks = checks; }

    [[nodiscard]] std::string address() const { return m_delegate.feedURLString(*this).value_or("none"); }

private:
    SoftwareUpdaterDelegate& m_delegate;
    Calls& m_calls;
    bool m_checks = false;
};

class UpdateControllerTest : public testing::Test
{
protected:
    // As at a launch with this text stored.
    UpdateController& launch(const std::optional<std::string>& stored = std::nullopt)
    {
        if (stored) {
            preferences.setText(UpdateController::feedURLKey, *stored);
        }
        controller = std::make_unique<UpdateController>(preferences, [this](SoftwareUpdaterDelegate& delegate) {
            auto made = std::make_unique<RecordingUpdater>(delegate, calls);
            updater = made.get();
            return made;
        });
        return *controller;
    }
    [[nodiscard]] std::optional<std::string> storedText() const { return preferences.text("updateFeedURL.v1"); }

    QTemporaryDir folder;
    Preferences preferences{ { folder.filePath("configuration").toStdString(), folder.filePath("data").toStdString() } };
    Calls calls;
    RecordingUpdater* updater = nullptr;
    std::unique_ptr<UpdateController> controller;
};

bool isUsable(const char* address)
{
    return UpdateRules::validatedFeedURL(address).has_value();
}

TEST(UpdateRulesTest, OnlyHttpsWithAHostIsUsable)
{
    EXPECT_TRUE(isUsable("https://example.com/appcast.xml"));
    EXPECT_TRUE(isUsable("HTTPS://example.com/appcast.xml"));
    EXPECT_TRUE(isUsable("hTTps://example.com"));
    EXPECT_TRUE(isUsable("https://127.0.0.1:8443/appcast.xml?a=b#c"));
    EXPECT_TRUE(isUsable("https://[::1]/appcast.xml"));
    for (const char* address : { "", "http://example.com/appcast.xml", "example.com/appcast.xml", "https:", "https://",
             "https:///appcast.xml", "https:example.com", "ftp://example.com/", "file:///appcast.xml", "httpss://example.com/",
             "https://exa mple.com/", "https://example.com:port/", "https://:443/appcast.xml", "//example.com/", "https://[::1/" }) {
        EXPECT_FALSE(isUsable(address)) << address;
    }
}

TEST_F(UpdateControllerTest, WithNothingStoredTheDefaultAddressIsShownAndNotWritten)
{
    launch();
    EXPECT_EQ(controller->feedURL(), UpdateController::defaultFeedURL);
    EXPECT_EQ(storedText(), std::nullopt);
    EXPECT_TRUE(controller->isConfigured());
    EXPECT_TRUE(controller->feedURL().startsWith("https://") && controller->feedURL().endsWith("/appcast.xml"));
}

TEST_F(UpdateControllerTest, AStoredTextOfOnlyBlanksGivesTheDefaultAddress)
{
    launch(" \n\t\u00a0 ");
    EXPECT_EQ(controller->feedURL(), UpdateController::defaultFeedURL);
    EXPECT_EQ(storedText(), " \n\t\u00a0 ") << "it is not written back";
}

TEST_F(UpdateControllerTest, AStoredAddressIsShownWithoutItsBlanks)
{
    launch("  https://example.com/appcast.xml\n");
    EXPECT_EQ(controller->feedURL(), "https://example.com/appcast.xml");
    EXPECT_EQ(controller->statusMessage(), usable);
}

TEST_F(UpdateControllerTest, AUsableFeedStartsTheUpdaterAtLaunchOnce)
{
    launch("https://example.com/appcast.xml");
    EXPECT_EQ(calls, Calls{ "start" });
    controller->checkForUpdates();
    controller->checkForUpdates();
    EXPECT_EQ(calls, (Calls{ "start", "check", "check" }));
}

TEST_F(UpdateControllerTest, AnUnusableFeedStartsNothingAtLaunch)
{
    launch("http://example.com/appcast.xml");
    EXPECT_TRUE(calls.empty());
    EXPECT_FALSE(controller->isConfigured());
    EXPECT_EQ(controller->statusMessage(), unusable);
}

TEST_F(UpdateControllerTest, CheckingWithAnUnusableFeedChangesOnlyTheStatus)
{
    launch("http://example.com/appcast.xml");
    controller->checkForUpdates();
    EXPECT_EQ(controller->statusMessage(), cannotCheck);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(controller->feedURL(), "http://example.com/appcast.xml");
    EXPECT_EQ(storedText(), "http://example.com/appcast.xml");
}

TEST_F(UpdateControllerTest, BlanksAroundAnAddressAreRemovedBeforeItIsStored)
{
    launch("http://example.com");
    controller->updateFeedURL(" \n https://example.com/appcast.xml\t ");
    EXPECT_EQ(controller->feedURL(), "https://example.com/appcast.xml");
    EXPECT_EQ(storedText(), "https://example.com/appcast.xml");
}

TEST_F(UpdateControllerTest, AnAddressThatBecomesUsableStartsTheUpdaterAndBeginsItsCycle)
{
    launch("http://example.com");
    controller->updateFeedURL("https");
    EXPECT_TRUE(calls.empty());
    controller->updateFeedURL("https://example.com/a");
    EXPECT_EQ(calls, (Calls{ "start", "reset" }));
    EXPECT_EQ(controller->statusMessage(), usable);
    controller->updateFeedURL("https://example.com/ab");
    EXPECT_EQ(calls, (Calls{ "start", "reset", "reset" }));
}

TEST_F(UpdateControllerTest, AnAddressThatTurnsUnusableLeavesTheUpdaterOnWithoutAnAddress)
{
    launch("https://example.com/appcast.xml");
    EXPECT_EQ(updater->address(), "https://example.com/appcast.xml");
    controller->updateFeedURL("http://example.com/appcast.xml");
    EXPECT_EQ(calls, (Calls{ "start", "reset" }));
    EXPECT_EQ(updater->address(), "none");
    EXPECT_EQ(controller->statusMessage(), unusable);
    controller->checkForUpdates();
    EXPECT_EQ(calls, (Calls{ "start", "reset" }));
    EXPECT_EQ(controller->statusMessage(), cannotCheck);
    controller->updateFeedURL("https://example.com/appcast.xml");
    EXPECT_EQ(calls, (Calls{ "start", "reset", "reset" })) << "it is started once only";
    EXPECT_EQ(controller->statusMessage(), usable);
}

TEST_F(UpdateControllerTest, AnEmptyAddressStaysEmptyUntilTheNextLaunch)
{
    launch("https://example.com/appcast.xml");
    controller->updateFeedURL("   ");
    EXPECT_EQ(controller->feedURL(), "");
    EXPECT_EQ(storedText(), "");
    EXPECT_FALSE(controller->isConfigured());
    EXPECT_EQ(controller->statusMessage(), unusable);
    launch();
    EXPECT_EQ(controller->feedURL(), UpdateController::defaultFeedURL);
}

TEST_F(UpdateControllerTest, TheUpdaterIsToldTheAddressInFullAndPlainCharacters)
{
    launch("HTTPS://ex\u00e4mple.com/\u00fc.xml");
    EXPECT_EQ(updater->address(), "https://xn--exmple-cua.com/%C3%BC.xml");
    EXPECT_EQ(controller->feedURL(), "HTTPS://ex\u00e4mple.com/\u00fc.xml");
}

TEST_F(UpdateControllerTest, AutomaticChecksAreKeptByTheUpdater)
{
    launch();
    int changes = 0;
    QObject::connect(controller.get(), &UpdateController::automaticallyChecksForUpdatesChanged, [&] { ++changes; });
    EXPECT_FALSE(controller->automaticallyChecksForUpdates());
    controller->setProperty("automaticallyChecksForUpdates", true);
    EXPECT_TRUE(updater->automaticallyChecksForUpdates());
    EXPECT_TRUE(controller->automaticallyChecksForUpdates());
    EXPECT_EQ(changes, 1);
    updater->setAutomaticallyChecksForUpdates(false);
    EXPECT_FALSE(controller->property("automaticallyChecksForUpdates").toBool());
}

TEST_F(UpdateControllerTest, ViewsAreToldWhatHasChanged)
{
    launch("http://example.com");
    Calls told;
    QObject::connect(controller.get(), &UpdateController::feedURLChanged, [&] { told.emplace_back("address"); });
    QObject::connect(controller.get(), &UpdateController::statusMessageChanged, [&] { told.emplace_back("status"); });
    controller->updateFeedURL("http://example.com/");
    EXPECT_EQ(told, Calls{ "address" });
    controller->updateFeedURL("https://example.com/");
    EXPECT_EQ(told, (Calls{ "address", "status", "address" }));
    controller->updateFeedURL("https://example.com/ ");
    EXPECT_EQ(told.size(), 3U) << "nothing is other than before";
}

} // namespace

} // namespace tessarin
