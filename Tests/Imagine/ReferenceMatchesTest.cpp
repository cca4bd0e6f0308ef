// What the extractor finds, beside what a regular-expression engine finds with the pattern.

#include "Imagine/ImagineMediaExtractor.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <sstream>

namespace tessarin
{
namespace
{

using Paths = std::vector<std::string>;

// Pieces that make paths, near misses of paths, ends of paths, and letters that some engines take for variants of those of an extension.
const std::vector<std::string> pieces{ "/", "/", "/", ".", ".", "..", "jpg", "jpeg", "JPG", "JpEg", "jpe", "jp", "g", "e", "png", "PNG",
    "pn", "webp", "webm", "WEBM", "web", "gif", "Gif", "gi", "f", "mp4", "MP4", "mp", "4", "mov", "MoV", "m4v", "M4V", "m4", ".png",
    ".jpeg", ".jpegs", "/a.png", "/tmp/a b.webm", "\n", "\r", "\r\n", "\"", "'", " ", "\t", "\\", "\\/", "a", "bak", "ü", "\u0130",
    "\u0131", "\u017F", "\u212A", "\uFB01", "\uFF30", "\u2028", "\u0085", "\u00A0", "\U0001F3A8", std::string(1, '\0'), "\u0301", "{", "}",
    "[", "]", ",", ":" };

std::string randomText(std::mt19937& random)
{
    // It begins with no bracket, so that it is looked at as a text alone.
    std::string text = random() % 2 == 0 ? "/" : "x";
    const std::size_t count = random() % 100 == 0 ? random() % 400 : random() % 24;
    for (std::size_t index = 0; index < count; ++index) {
        text += pieces[random() % pieces.size()];
    }
    return text;
}

// One piece or two, over and over: what makes an engine that goes back take its time.
std::string repeatingText(std::mt19937& random)
{
    const std::string& first = pieces[random() % pieces.size()];
    const std::string& second = pieces[random() % pieces.size()];
    std::string text = "x";
    for (std::size_t index = random() % 60; index > 0; --index) {
        text += first + second;
    }
    return text + pieces[random() % pieces.size()];
}

std::vector<std::string> texts()
{
    constexpr std::size_t count = 100'000;
    std::mt19937 random(20261121); // the same texts each time
    std::vector<std::string> result;
    result.reserve(count);
    while (result.size() < count) {
        result.push_back(result.size() % 5 == 0 ? repeatingText(random) : randomText(random));
    }
    return result;
}

std::vector<Paths> referenceMatches(const std::vector<std::string>& texts, const TemporaryFolder& folder)
{
    std::string input;
    for (const std::string& text : texts) {
        input += compactJson(Json(text)) + "\n";
    }
    writeWholeFile(folder / "texts", input);
    const std::string command = "/usr/bin/python3 -B '" REFERENCE_MATCHES "' '" + (folder / "texts") + "' '" + (folder / "matches") + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::vector<Paths> matches;
    std::istringstream lines(wholeFile(folder / "matches"));
    for (std::string line; std::getline(lines, line);) {
        Paths& paths = matches.emplace_back();
        const auto array = parseJson(line);
        for (const Json& path : array->as_array()) {
            paths.emplace_back(path.as_string());
        }
    }
    return matches;
}

TEST(ReferenceMatchesTest, FindsWhatTheEngineFindsInAHundredThousandTexts)
{
    const TemporaryFolder folder;
    const auto all = texts();
    const auto expected = referenceMatches(all, folder);
    ASSERT_EQ(expected.size(), all.size());
    std::size_t withPaths = 0;
    for (std::size_t index = 0; index < all.size(); ++index) {
        ASSERT_EQ(ImagineMediaExtractor::paths(Json(all[index])), expected[index]) << compactJson(Json(all[index]));
        withPaths += expected[index].empty() ? 0 : 1;
    }
    // The texts are such that both answers are common.
    EXPECT_GT(withPaths, all.size() / 4);
    EXPECT_LT(withPaths, all.size() * 3 / 4);
}

} // namespace
} // namespace tessarin
