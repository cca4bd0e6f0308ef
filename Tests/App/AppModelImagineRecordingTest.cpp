#include "AppModelImagineFixture.h"
#include "Recording.h"

namespace tessarin::testing
{
namespace
{

using ::testing::AnyOf;
using ::testing::ElementsAre;
namespace fs = std::filesystem;

// What Grok 1.0.41 said when it made a picture is said again, and what is written has to be what was written then.
class AppModelImagineRecordingTest : public AppModelImagineTest
{
protected:
    // The folder of the session in which the recorded Grok made its file: it is named after the project, which is the library here.
    [[nodiscard]] fs::path sessionFolder() const
    {
        std::string encoded;
        for (const char character : library()) {
            encoded += character == '/' ? std::string("%2F") : std::string(1, character);
        }
        return fs::path(runtime.home()) / ".grok/sessions" / encoded / "01a1fa3a-7343-71a3-a61c-19459e80acff";
    }
};

TEST_F(AppModelImagineRecordingTest, AnImageThatGrokMadeIsStillThereAfterARestart)
{
    fs::create_directories(sessionFolder() / "images");
    std::ofstream(sessionFolder() / "images/1.jpg") << "a red cube, as a JPEG";
    const Recording recording("grok-a-generated-image", runtime, library());
    openImagine(recording.scenario());
    model->generateImagine("a red cube", ImagineKind::image);
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    EXPECT_EQ(model->imagineProgress(), "imagine: a red cube");
    EXPECT_EQ(model->permissionRequest()->title, "imagine: a red cube");
    EXPECT_THAT(model->permissionRequest()->options,
        ElementsAre(PermissionOption{ "allow-once", "Yes, send once", "allow_once" },
            PermissionOption{ "reject-once", "No, and tell Grok what to do differently", "reject_once" }));
    model->respondToPermission("allow-once");
    waitForItems(1);
    waitForImagine(State::ready);
    EXPECT_THAT(model->imagineProgress(), AnyOf("is over.", "Image ready")) << "whichever came last";
    EXPECT_EQ(recording.writtenNow(runtime, "grok"), recording.written());

    ASSERT_EQ(model->imagineItems().size(), 1U) << "the path stands in two places and is imported once";
    const ImagineItem item = model->imagineItems()[0];
    EXPECT_EQ(item.prompt, "a red cube");
    EXPECT_EQ(item.kind, ImagineKind::image);
    EXPECT_TRUE(item.fileName.ends_with(".jpg"));
    EXPECT_EQ(bytesOf(item.localPath), "a red cube, as a JPEG");
    stopImagine();
    openModel();
    EXPECT_THAT(model->imagineItems(), ElementsAre(item));
    EXPECT_EQ(bytesOf(item.localPath), "a red cube, as a JPEG");
}

} // namespace
} // namespace tessarin::testing
