#include "Printing.h"
#include "QmlFixture.h"
#include "UpdateFlowFixture.h"
#include "Views/UpdateController.h"

#include <QSignalSpy>

namespace tessarin
{

namespace
{

class SilentUpdater : public SoftwareUpdater
{
public:
    void startUpdater() override { }
    void checkForUpdates() override { ++checks; }
    void resetUpdateCycleAfterShortDelay() override { }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return false; }
    void setAutomaticallyChecksForUpdates(bool) override { }

    int checks = 0;
};

// What the window about updates offers at each stage.
class UpdateViewTest : public UpdateFlowTest
{
protected:
    ~UpdateViewTest() override { qml.view().setSource({}); }

    void show()
    {
        preferences.setText(UpdateController::feedURLKey, "https://example.com/appcast.xml");
        updates = std::make_unique<UpdateController>(preferences, [this](SoftwareUpdaterDelegate&) {
            auto made = std::make_unique<SilentUpdater>();
            updater = made.get();
            return made;
        });
        root = qml.show("UpdateView", { { "flow", QVariant::fromValue(flow.get()) }, { "updates", QVariant::fromValue(updates.get()) } },
            QSize(480, 400));
    }
    // The texts of the buttons that a person sees, from left to right.
    [[nodiscard]] QStringList buttons() const
    {
        QStringList texts;
        for (const QQuickItem* button : QmlFixture::items(root, "PushButton")) {
            if (button->isVisible()) {
                texts.append(button->property("text").toString());
            }
        }
        return texts;
    }
    void press(const QString& text)
    {
        for (QQuickItem* button : QmlFixture::items(root, "PushButton")) {
            if (button->isVisible() && button->property("text").toString() == text) {
                QMetaObject::invokeMethod(button, "clicked");
                return;
            }
        }
        ADD_FAILURE() << "no such button: " << text.toStdString();
    }

    SilentUpdater* updater = nullptr;
    std::unique_ptr<UpdateController> updates;
    QmlFixture qml;
    QQuickItem* root = nullptr;
};

TEST_F(UpdateViewTest, ABuildWithoutAKeyOffersToInstallNothing)
{
    const QUrl feed = server->publishFeed("2.0");
    for (const bool isAppImage : { true, false }) {
        key.reset();
        qml.view().setSource({});
        launch(isAppImage ? installation() : std::nullopt);
        show();
        EXPECT_EQ(look(feed), Stage::Found);
        EXPECT_EQ(buttons(), (QStringList{ "Skip This Version", "Not Now" }));
        key = server->key.updateKey();
        flow->close();
        EXPECT_EQ(look(feed), Stage::Found);
        EXPECT_EQ(buttons(), (QStringList{ "Skip This Version", "Not Now", isAppImage ? "Install" : "Download" }));
    }
}

TEST_F(UpdateViewTest, EachStageHasItsButtons)
{
    show();
    flow->lookForPerson(server->https.url("/slow"));
    EXPECT_EQ(buttons(), QStringList{ "Cancel" });
    EXPECT_EQ(look(server->https.url("/files/nothing")), Stage::Failed);
    EXPECT_EQ(buttons(), (QStringList{ "Close", "Try Again" }));
    press("Try Again");
    EXPECT_EQ(updater->checks, 1);
    EXPECT_EQ(look(server->publishFeed("1.0")), Stage::UpToDate);
    EXPECT_EQ(buttons(), QStringList{ "Close" });
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    press("Install");
    EXPECT_EQ(flow->stage(), Stage::Fetching);
    EXPECT_EQ(buttons(), QStringList{ "Cancel" });
    ASSERT_TRUE(comesTo(Stage::Installed));
    EXPECT_EQ(buttons(), QStringList{ "Close" });
    QSignalSpy done(root, SIGNAL(done()));
    press("Close");
    EXPECT_EQ(done.count(), 1);
}

TEST_F(UpdateViewTest, AnArchiveThatWasKeptCanBeShownAgain)
{
    launch(std::nullopt);
    show();
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    press("Download");
    ASSERT_TRUE(comesTo(Stage::Kept));
    EXPECT_EQ(buttons(), (QStringList{ "Close", "Show Again" }));
    press("Show Again");
    EXPECT_EQ(desktop.revealed.size(), 2U);
}

TEST_F(UpdateViewTest, ASkippedVersionEndsIt)
{
    show();
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    press("Skip This Version");
    EXPECT_EQ(flow->stage(), Stage::Idle);
    EXPECT_EQ(preferences.text(UpdateFlow::skippedVersionKey), "2.0");
}

} // namespace

} // namespace tessarin
