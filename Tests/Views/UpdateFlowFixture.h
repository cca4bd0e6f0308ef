#pragma once

#include "Platform/BackgroundWork.h"
#include "Platform/Preferences.h"
#include "RecordingDesktop.h"
#include "ReleaseServer.h"
#include "TemporaryFolder.h"
#include "Views/QtMainThread.h"
#include "Views/UpdateFlow.h"

#include <QTest>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// The conversation about updates of a program that runs from an AppImage, with a publisher of releases on a real server.
class UpdateFlowTest : public ::testing::Test
{
protected:
    using Names = std::vector<std::string>;
    using Stage = UpdateFlow::Stage;

    static std::string appImageOf(const std::string& rest) { return std::string("\177ELF\2\1\1\0AI\2", 11) + rest; }
    static void SetUpTestSuite() { server = std::make_unique<ReleaseServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override
    {
        ASSERT_TRUE(server->https.isRunning()) << "the server did not start";
        std::filesystem::create_directory(downloads);
        std::filesystem::create_directory(folder / "bin");
        writeWholeFile(program, appImageOf("old"));
        server->publishArchive("tessarin-2.0.AppImage", appImageOf("new"));
        launch(installation());
    }
    ~UpdateFlowTest() override { finishBackgroundWork(); }

    // The installation, as a start finds it.
    [[nodiscard]] std::optional<AppImageInstall> installation() const
    {
        return AppImageInstall::at(program, folder / "record/installed.json");
    }
    // As at a start from this AppImage, or from none.
    void launch(std::optional<AppImageInstall> appImage)
    {
        flow = std::make_unique<UpdateFlow>(UpdateFlow::Surroundings{ preferences, desktop, mainThread.mainThread(),
            [this] {
                return UpdateFetch::Surroundings{ mainThread.mainThread(), folder / "incoming", key, server->https.trust() };
            },
            "1.0", { "linux", "6.1" }, std::move(appImage), { downloads, folder / "own" }, folder / "incoming" });
        wasShown = false;
        QObject::connect(flow.get(), &UpdateFlow::changed, [this] { wasShown = wasShown || flow->isShown(); });
    }
    [[nodiscard]] bool comesTo(Stage stage) const
    {
        return QTest::qWaitFor([&] { return flow->stage() == stage; }, HttpsServer::patience);
    }
    // The stage in which the look of a person ends.
    Stage look(const QUrl& feed)
    {
        flow->lookForPerson(feed);
        EXPECT_EQ(flow->stage(), Stage::Checking);
        EXPECT_TRUE(QTest::qWaitFor([&] { return flow->stage() != Stage::Checking; }, HttpsServer::patience));
        return flow->stage();
    }
    void lookByItself(const QUrl& feed)
    {
        flow->lookByItself(feed);
        EXPECT_TRUE(QTest::qWaitFor([&] { return flow->stage() != Stage::Checking; }, HttpsServer::patience));
    }
    // The reason why the release that is on offer was refused.
    std::string refusal(const QUrl& feed)
    {
        EXPECT_EQ(look(feed), Stage::Found);
        flow->install();
        EXPECT_TRUE(comesTo(Stage::Failed));
        return flow->message().toStdString();
    }
    // What may never have been touched by what does not verify.
    [[nodiscard]] std::string faultOfWhatIsThere() const
    {
        std::string fault = wholeFile(program) == appImageOf("old") ? "" : "The program is another. ";
        fault += namesIn(folder / "bin") == Names{ "tessarin.AppImage" } ? "" : "Something stands beside the program. ";
        fault += namesIn(downloads).empty() ? "" : "Something stands in the downloads. ";
        fault += !std::filesystem::exists(folder / "own") ? "" : "Something stands in the folder of the program. ";
        fault += desktop.revealed.empty() ? "" : "Something was shown. ";
        return fault
            + (!std::filesystem::exists(folder / "incoming") || namesIn(folder / "incoming").empty() ? "" : "What came has stayed. ");
    }

    inline static std::unique_ptr<ReleaseServer> server;
    const TemporaryFolder folder;
    const std::string downloads = folder / "downloads";
    const std::string program = folder / "bin/tessarin.AppImage";
    std::optional<UpdateKey> key = server->key.updateKey();
    QtMainThread mainThread;
    Preferences preferences{ { folder / "configuration", folder / "data" } };
    testing::RecordingDesktop desktop;
    std::unique_ptr<UpdateFlow> flow;
    bool wasShown = false;
};

} // namespace tessarin
