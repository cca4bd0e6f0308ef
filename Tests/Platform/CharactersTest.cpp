#include "Platform/Text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

// Each is one user-perceived character.
constexpr std::array<std::string_view, 16> characters{
    "a",
    "é",
    "e\u0301",
    "日",
    "👍🏽",
    "👨‍👩‍👧‍👦",
    "🇩🇪",
    "🏳️‍🌈",
    "한",
    "\u1112\u1161\u11AB",
    "\r\n",
    "क्",
    "ก\u0E33",
    "\u0600a",
    "1\uFE0F\u20E3",
    "🏴󠁧󠁢󠁥󠁮󠁧󠁿",
};

// By a walk over the whole text from its beginning.
std::vector<std::string_view> allCharacters(std::string_view text)
{
    std::vector<std::string_view> found;
    while (!text.empty()) {
        found.push_back(firstCharacters(text, 1));
        text.remove_prefix(found.back().size());
    }
    return found;
}

class OneCharacterTest : public testing::TestWithParam<std::string_view>
{
};

TEST_P(OneCharacterTest, IsNeverCut)
{
    const std::string text = "x" + std::string(GetParam()) + "y";
    EXPECT_EQ(firstCharacters(text, 2), text.substr(0, text.size() - 1));
    EXPECT_EQ(lastCharacters(text, 2), text.substr(1));
    EXPECT_EQ(firstCharacters(GetParam(), 1), GetParam());
    EXPECT_EQ(lastCharacters(GetParam(), 1), GetParam());
    EXPECT_EQ(allCharacters(text).size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, OneCharacterTest, testing::ValuesIn(characters));

TEST(CharactersTest, CountsAndNotBytes)
{
    EXPECT_EQ(firstCharacters("日本語テキスト", 3), "日本語");
    EXPECT_EQ(lastCharacters("日本語テキスト", 4), "テキスト");
    EXPECT_EQ(firstCharacters("🇩🇪🇫🇷🇮🇹", 2), "🇩🇪🇫🇷");
    EXPECT_EQ(lastCharacters("🇩🇪🇫🇷🇮🇹", 2), "🇫🇷🇮🇹");
}

TEST(CharactersTest, AShortTextIsWhole)
{
    EXPECT_EQ(firstCharacters("abc", 3), "abc");
    EXPECT_EQ(firstCharacters("abc", 100), "abc");
    EXPECT_EQ(lastCharacters("abc", 100), "abc");
    EXPECT_EQ(firstCharacters("", 1), "");
    EXPECT_EQ(lastCharacters("", 1), "");
    EXPECT_EQ(firstCharacters("abc", 0), "");
    EXPECT_EQ(lastCharacters("abc", 0), "");
}

TEST(CharactersTest, EachInvalidByteIsOne)
{
    EXPECT_EQ(firstCharacters("\xFF\u0301x", 1), "\xFF");
    EXPECT_EQ(firstCharacters("a\x80", 1), "a");
    EXPECT_EQ(lastCharacters("a\x80\x80", 2), "\x80\x80");
    EXPECT_EQ(lastCharacters("\xF0\x9F\x98", 2), "\x9F\x98");
}

// Texts of all kinds of code points in any order, so that every rule of the segmentation meets every other.
std::string randomText(std::mt19937& random, std::size_t size)
{
    static constexpr std::array<std::string_view, 34> parts{
        "a",
        "Z",
        "7",
        " ",
        "\n",
        "\r",
        "\r\n",
        "\t",
        "é",
        "\u0301",
        "\u0308",
        "日",
        "\u200D",
        "\u200C",
        "😀",
        "👩",
        "🏽",
        "❤",
        "\uFE0F",
        "🇩",
        "🇪",
        "\u1100",
        "\u1161",
        "\u11A8",
        "가",
        "각",
        "\u0600",
        "\u0903",
        "क",
        "\u094D",
        "\uFEFF",
        "©",
        "\xFF",
        "\x80",
    };
    // A run of one kind now and then: flags and families are such runs.
    std::string text;
    while (text.size() < size) {
        const std::string_view part = parts[random() % parts.size()];
        const std::size_t times = random() % 8 == 0 ? random() % 40 : 1;
        for (std::size_t time = 0; time < times; ++time) {
            text += part;
        }
    }
    return text;
}

TEST(LastCharactersTest, AreThoseOfAWholeScanFromTheBeginning)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const std::string text = randomText(random, round % 3 == 0 ? 20'000 : random() % 400);
        const auto all = allCharacters(text);
        for (const std::size_t count : { std::size_t{ 1 }, std::size_t{ 2 }, random() % (all.size() + 2), all.size() / 2, all.size() }) {
            const std::size_t kept = std::min<std::size_t>(count, all.size());
            const std::size_t start = kept == 0 ? text.size() : static_cast<std::size_t>(all[all.size() - kept].data() - text.data());
            ASSERT_EQ(lastCharacters(text, count), std::string_view(text).substr(start)) << "round " << round << ", count " << count;
        }
    }
}

TEST(LastCharactersTest, ARunWithoutACertainBoundaryIsScannedWhole)
{
    // An odd number of regional indicators, longer than any window: the pairs count from the beginning.
    std::string flags;
    for (int letter = 0; letter < 10'001; ++letter) {
        flags += "🇦";
    }
    EXPECT_EQ(lastCharacters(flags, 1), "🇦");
    EXPECT_EQ(lastCharacters(flags, 2), "🇦🇦🇦");
    std::string marks = "e";
    for (int mark = 0; mark < 20'000; ++mark) {
        marks += "\u0301";
    }
    EXPECT_EQ(lastCharacters("ab" + marks, 1), marks);
    EXPECT_EQ(lastCharacters("ab" + marks, 2), "b" + marks);
}

// Reading what lies before the last pages ends the program.
TEST(LastCharactersTest, LooksNoFurtherBackThanNeeded)
{
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t size = 64 * page;
    const std::size_t readable = 8 * page;
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    std::memset(memory, 'x', size);
    ASSERT_EQ(mprotect(memory, size - readable, PROT_NONE), 0);
    const std::string_view text(static_cast<const char*>(memory), size);
    EXPECT_EQ(lastCharacters(text, 100), std::string(100, 'x'));
    EXPECT_EQ(lastCharacters(text, readable / 2), std::string(readable / 2, 'x'));
    ASSERT_EQ(munmap(memory, size), 0);
}

TEST(LastCharactersTest, ALongTextIsNoTrouble)
{
    std::string text;
    while (text.size() < 8'000'000) {
        text += "Ein Satz, 日本語, 👨‍👩‍👧‍👦 und e\u0301.\r\n";
    }
    EXPECT_EQ(allCharacters(lastCharacters(text, 24'000)).size(), 24'000U);
}

} // namespace
} // namespace tessarin
