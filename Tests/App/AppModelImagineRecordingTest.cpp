#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::AnyOf;
using ::testing::ElementsAre;
namespace fs = std::filesystem;

// A conversation that was recorded with Grok 1.0.41: what it said is said again, and what is written has to be what was written then.
// A line is {"out": what the client wrote} or {"in": what the program wrote}; {WS} stands for the library, {WS%2F} for its path with
// "%2F" for each slash, as Grok names a folder after it, {HOME} for the home.
class AppModelImagineRecordingTest : public AppModelImagineTest
{
protected:
    // The file that Grok made.
    [[nodiscard]] std::string picture() const
    {
        return replaced("{HOME}/.grok/sessions/{WS%2F}/01a1fa3a-7343-71a3-a61c-19459e80acff/images/1.jpg");
    }

    [[nodiscard]] Scenario recorded(const std::string& name)
    {
        Scenario scenario;
        std::ifstream file(std::string(APP_RECORDINGS) + "/" + name + ".jsonl");
        for (std::string text; std::getline(file, text);) {
            const JsonObject line = boost::json::parse(replaced(text)).as_object();
            if (const Json* message = line.if_contains("in")) {
                scenario.send(compactJson(*message));
                continue;
            }
            const Json& message = line.at("out");
            written.push_back(message);
            if (const auto method = textAt(message.as_object(), "method")) {
                scenario.expect(*method);
            } else {
                scenario.expectResponse(message.at("id").as_int64());
            }
        }
        EXPECT_FALSE(written.empty());
        return scenario;
    }

    std::vector<Json> written;

private:
    [[nodiscard]] std::string replaced(std::string text) const
    {
        std::string encoded;
        for (const char character : library()) {
            encoded += character == '/' ? std::string("%2F") : std::string(1, character);
        }
        const std::pair<std::string, std::string> places[]
            = { { "{WS}", library() }, { "{WS%2F}", encoded }, { "{HOME}", runtime.home() } };
        for (const auto& [place, value] : places) {
            for (auto found = text.find(place); found != std::string::npos; found = text.find(place)) {
                text.replace(found, place.size(), value);
            }
        }
        return text;
    }
};

TEST_F(AppModelImagineRecordingTest, AnImageThatGrokMadeIsStillThereAfterARestart)
{
    fs::create_directories(fs::path(picture()).parent_path());
    std::ofstream(picture()) << "a red cube, as a JPEG";
    openImagine(recorded("grok-a-generated-image"));
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
    EXPECT_EQ(runtime.received("grok"), written);

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
