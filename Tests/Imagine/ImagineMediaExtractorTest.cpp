#include "Imagine/ImagineMediaExtractor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace tessarin
{
namespace
{

using ImagineMediaExtractor::paths;
using Paths = std::vector<std::string>;

Paths inText(const std::string& text)
{
    return paths(Json(text));
}

// The text as a JSON array that holds it, so often, escaped in a way that needs no more backslashes at each level.
std::string nestedInTexts(std::string text, int levels)
{
    for (int level = 0; level < levels; ++level) {
        std::string escaped;
        for (const char character : text) {
            escaped += character == '"' ? "\\u0022" : character == '\\' ? "\\u005c" : std::string(1, character);
        }
        text = "[\"" + escaped + "\"]";
    }
    return text;
}

TEST(ImagineMediaExtractorTest, FindsAPathInASentence)
{
    EXPECT_EQ(inText("Saved to /tmp/out/a.png."), Paths{ "/tmp/out/a.png" });
}

TEST(ImagineMediaExtractorTest, EveryKnownExtensionEndsAPath)
{
    for (const char* extension : { "jpg", "jpeg", "png", "webp", "gif", "mp4", "mov", "m4v", "webm" }) {
        EXPECT_EQ(inText(std::string("/a.") + extension), Paths{ std::string("/a.") + extension });
    }
    for (const char* extension : { "jpe", "txt", "svg", "avi", "mp3", "bmp", "we", "", "html" }) {
        EXPECT_EQ(inText(std::string("/a.") + extension), Paths{}) << extension;
    }
}

TEST(ImagineMediaExtractorTest, APathEndsWithTheFirstExtensionEvenWhereTheNameGoesOn)
{
    EXPECT_EQ(inText("/tmp/a.png.bak"), Paths{ "/tmp/a.png" });
    EXPECT_EQ(inText("/tmp/a.jpegs"), Paths{ "/tmp/a.jpeg" });
    EXPECT_EQ(inText("/tmp/a.png.jpg"), Paths{ "/tmp/a.png" });
}

TEST(ImagineMediaExtractorTest, APathBeginsWithTheFirstSlash)
{
    EXPECT_EQ(inText("file:///tmp/a.png"), Paths{ "///tmp/a.png" });
    EXPECT_EQ(inText("and/or /tmp/a.png"), Paths{ "/or /tmp/a.png" });
}

TEST(ImagineMediaExtractorTest, QuotesEndAPathAndBlanksDoNot)
{
    EXPECT_EQ(inText("'/tmp/a b.png'"), Paths{ "/tmp/a b.png" });
    EXPECT_EQ(inText("\"/tmp/a\tb.png\""), Paths{ "/tmp/a\tb.png" });
    EXPECT_EQ(inText("/tmp/it's.png"), Paths{});
    EXPECT_EQ(inText("/tmp/\"a\".png"), Paths{});
    EXPECT_EQ(inText("/tmp/it's /b.png"), Paths{ "/b.png" });
}

TEST(ImagineMediaExtractorTest, NoPathGoesOverTheEndOfALine)
{
    EXPECT_EQ(inText("/tmp\n/a.png"), Paths{ "/a.png" });
    EXPECT_EQ(inText("/tmp/a\r.png"), Paths{});
    // Only these two end a line here; other separators are part of a name.
    EXPECT_EQ(inText("/a\u2028b.png"), Paths{ "/a\u2028b.png" });
}

TEST(ImagineMediaExtractorTest, CaseDoesNotMatterAndIsKept)
{
    EXPECT_EQ(inText("/TMP/A.PNG"), Paths{ "/TMP/A.PNG" });
    EXPECT_EQ(inText("/a.JpEg"), Paths{ "/a.JpEg" });
}

TEST(ImagineMediaExtractorTest, NoOtherLetterIsAVariantOfOneInAnExtension)
{
    EXPECT_EQ(inText("/a.g\u0130f /b.g\u0131f"), Paths{});
}

TEST(ImagineMediaExtractorTest, ANameHasOneCharacterBeforeItsExtension)
{
    EXPECT_EQ(inText("/.png"), Paths{});
    EXPECT_EQ(inText("/..png"), Paths{ "/..png" });
    EXPECT_EQ(inText("//.png"), Paths{ "//.png" });
    EXPECT_EQ(inText("/.png.gif"), Paths{ "/.png.gif" });
}

TEST(ImagineMediaExtractorTest, SeveralPathsStandInOneLine)
{
    EXPECT_EQ(inText("/b.png/a.gif and /c.mp4"), (Paths{ "/a.gif", "/b.png", "/c.mp4" }));
}

TEST(ImagineMediaExtractorTest, TheSamePathInTwoLinesIsOneEntry)
{
    EXPECT_EQ(inText("/tmp/a.png\n/tmp/a.png"), Paths{ "/tmp/a.png" });
}

TEST(ImagineMediaExtractorTest, PathsAreSortedWhereverTheyStand)
{
    const Json update{ { "z", "/c.png" }, { "a", { "/b.png", { { "deep", "/a.png" } } } }, { "title", "/B.png" } };
    EXPECT_EQ(paths(update), (Paths{ "/B.png", "/a.png", "/b.png", "/c.png" }));
    EXPECT_EQ(paths(update.as_object()), paths(update));
}

TEST(ImagineMediaExtractorTest, KeysAreNotLookedAt)
{
    EXPECT_EQ(paths(JsonObject{ { "/tmp/a.png", "no path" } }), Paths{});
    EXPECT_EQ(inText(R"({"x":{"\/tmp\/a.png":1}})"), (Paths{ "/tmp\\/a.png" })); // from the text, and not from the key
}

TEST(ImagineMediaExtractorTest, NumbersBooleansAndNullGiveNothing)
{
    for (const Json& value : { Json(1), Json(1.5), Json(UINT64_MAX), Json(true), Json(nullptr), Json(JsonArray()), Json(JsonObject()) }) {
        EXPECT_EQ(paths(value), Paths{});
    }
    EXPECT_EQ(inText(""), Paths{});
}

TEST(ImagineMediaExtractorTest, JsonInATextIsLookedAtAsATextAndAsItsValue)
{
    EXPECT_EQ(inText(R"({"path":"\/tmp\/b.mp4"})"), (Paths{ "/tmp/b.mp4", "/tmp\\/b.mp4" }));
    EXPECT_EQ(inText(" \n[\"\\u002ftmp\\u002fb.mp4\"]\t"), Paths{ "/tmp/b.mp4" });
}

TEST(ImagineMediaExtractorTest, JsonInATextOfJsonInATextIsFound)
{
    EXPECT_EQ(inText(nestedInTexts(R"(["\u002fa.png"])", 3)), Paths{ "/a.png" });
}

TEST(ImagineMediaExtractorTest, TextsThatStandInOneAnotherAreReadToALimit)
{
    const int limit = ImagineMediaExtractor::textDepthLimit;
    EXPECT_EQ(inText(nestedInTexts("\\u002fa.png", 1)), Paths{});
    EXPECT_EQ(inText(nestedInTexts(R"(["\u002fa.png"])", limit - 1)), Paths{ "/a.png" });
    EXPECT_EQ(inText(nestedInTexts(R"(["\u002fa.png"])", limit)), Paths{});
}

TEST(ImagineMediaExtractorTest, ATextThatIsNoWholeDocumentIsOnlyAText)
{
    EXPECT_EQ(inText(R"({"path":"\u002fa.png"} and more)"), Paths{});
    EXPECT_EQ(inText(R"(["\u002fa.png",])"), Paths{});
    // A lone text is no document.
    EXPECT_EQ(inText(R"("\u002fa.png")"), Paths{});
}

TEST(ImagineMediaExtractorTest, AnUpdateOfAToolGivesItsFiles)
{
    const Json update{ { "sessionUpdate", "tool_call_update" }, { "toolCallId", "c1" }, { "status", "completed" }, { "title", "image_gen" },
        { "content",
            { { { "type", "content" }, { "content", { { "type", "text" }, { "text", R"({"path":"/home/u/1.jpg","n":1})" } } } } } },
        { "rawOutput", { { "filename", "/home/u/1.jpg" } } } };
    EXPECT_EQ(paths(update), Paths{ "/home/u/1.jpg" });
}

TEST(ImagineMediaExtractorTest, DeepValuesNeedNoStack)
{
    Json value("/a.png");
    for (int level = 0; level < 10'000; ++level) {
        JsonArray around;
        around.push_back(std::move(value));
        value = std::move(around);
    }
    EXPECT_EQ(paths(value), Paths{ "/a.png" });
    // Taken apart from the outside, because a value of this depth that is freed at once does need it.
    while (value.is_array()) {
        Json inner = std::move(value.as_array().front());
        value = std::move(inner);
    }
    EXPECT_EQ(inText(std::string(400, '[') + R"("\u002fb.png")" + std::string(400, ']')), Paths{ "/b.png" });
}

double secondsFor(const std::string& text)
{
    const Json value(text);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(paths(value), Paths{});
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string repeated(const std::string& piece, std::size_t size)
{
    std::string text;
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

// Sixteen times the text takes about sixteen times as long; an engine that goes back needs 256 times. The least of several runs, because
// other programs take their share of the machine.
TEST(ImagineMediaExtractorTest, TimeGrowsWithTheLengthOfTheText)
{
    for (const char* piece : { "/", "/.", "/a.pn", ".", "/x.jpe", "[", "{\"a\":" }) {
        const std::string small = repeated(piece, 250'000);
        const std::string large = repeated(piece, 4'000'000);
        double ratio = 1e9;
        for (int run = 0; run < 10 && ratio > 60; ++run) {
            ratio = std::min(ratio, secondsFor(large) / secondsFor(small));
        }
        EXPECT_LT(ratio, 60) << piece;
    }
}

} // namespace
} // namespace tessarin
