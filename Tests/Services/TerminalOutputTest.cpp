#include "Services/TerminalOutput.h"

#include "Platform/Text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace tessarin;

namespace
{

// The rule itself, a byte at a time: cut what exceeds the limit, then drop bytes until the whole of the rest is valid.
class PlainOutput
{
public:
    explicit PlainOutput(std::size_t limit) : m_limit(limit) { }
    void append(const std::string& chunk)
    {
        if (chunk.empty()) {
            return;
        }
        bytes += chunk;
        wasTruncated = wasTruncated || bytes.size() > m_limit;
        if (!wasTruncated) {
            return;
        }
        bytes.erase(0, bytes.size() > m_limit ? bytes.size() - m_limit : 0);
        while (!bytes.empty() && !isValidUtf8(bytes)) {
            bytes.erase(0, 1);
        }
    }
    std::string bytes;
    bool wasTruncated = false;

private:
    const std::size_t m_limit;
};

} // namespace

TEST(TerminalOutputTest, KeepsEverythingUpToTheLimit)
{
    TerminalOutput output(4);
    output.append("ab");
    output.append("cd");
    EXPECT_EQ(output.bytes(), "abcd");
    EXPECT_FALSE(output.wasTruncated());
}

TEST(TerminalOutputTest, DropsTheFirstByteWithTheFirstOneBeyondTheLimit)
{
    TerminalOutput output(4);
    output.append("abcd");
    output.append("e");
    EXPECT_EQ(output.bytes(), "bcde");
    EXPECT_TRUE(output.wasTruncated());
}

TEST(TerminalOutputTest, ALimitOfZeroKeepsNothingAndIsTruncatedWithTheFirstByte)
{
    TerminalOutput output(0);
    output.append("");
    EXPECT_FALSE(output.wasTruncated());
    output.append("a");
    EXPECT_EQ(output.bytes(), "");
    EXPECT_TRUE(output.wasTruncated());
}

TEST(TerminalOutputTest, ACharacterCutAtTheFrontGoesWhole)
{
    TerminalOutput output(2);
    output.append("\xE2\x82\xAC");
    EXPECT_EQ(output.bytes(), "");
    EXPECT_TRUE(output.wasTruncated());
}

TEST(TerminalOutputTest, AnInvalidByteDrainsTheBufferUpToItWhenTruncated)
{
    TerminalOutput output(8);
    output.append("abc\xFF");
    EXPECT_EQ(output.bytes(), "abc\xFF");
    output.append("defgh");
    EXPECT_EQ(output.bytes(), "defgh");
    TerminalOutput binary(4);
    binary.append("abcd\xFF");
    EXPECT_EQ(binary.bytes(), "");
}

TEST(TerminalOutputTest, NothingIsRepairedBeforeTheLimitIsExceeded)
{
    TerminalOutput output(10);
    output.append("\x80\x80 ok \xE2");
    EXPECT_EQ(output.bytes(), "\x80\x80 ok \xE2");
}

TEST(TerminalOutputTest, TextReplacesWhatIsNotValid)
{
    TerminalOutput output(100);
    output.append("half \xE2\x82");
    EXPECT_EQ(output.text(), "half \xEF\xBF\xBD");
    output.append("\xAC");
    EXPECT_EQ(output.text(), "half \xE2\x82\xAC");
}

TEST(TerminalOutputTest, ABrokenCharacterIsReplacedOnceAndAnyOtherInvalidByteByItself)
{
    const std::string mark = "\xEF\xBF\xBD";
    const std::pair<const char*, std::string> rows[] = {
        { "\xF0\x9F\x98", mark },
        { "\xF0\x9F\x98x", mark + "x" },
        { "\xF0\x9F", mark },
        { "\xC3x", mark + "x" },
        { "\xE2\x82\xE2\x82\xAC", mark + "\xE2\x82\xAC" },
        { "\x80\xBF", mark + mark },
        { "\xC0\xAF", mark + mark },
        { "\xE0\x80\xAF", mark + mark + mark },
        { "\xED\xA0\x80", mark + mark + mark },
        { "\xF4\x90\x80\x80", mark + mark + mark + mark },
        { "\xFF"
          "a\xFE",
            mark + "a" + mark },
    };
    for (const auto& [bytes, text] : rows) {
        TerminalOutput output(100);
        output.append(bytes);
        EXPECT_EQ(output.text(), text) << bytes;
    }
}

TEST(TerminalOutputTest, KeepsByteForByteWhatTheRuleKeeps)
{
    std::mt19937 random(7);
    const std::string pieces[]
        = { "a", "plain words ", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\x80", "\xFF", "\xE2", "\xF0\x9F", "\n" };
    for (int round = 0; round < 3000; ++round) {
        const std::size_t limit = random() % 40;
        TerminalOutput output(limit);
        PlainOutput plain(limit);
        // Mostly whole characters: hostile bytes drain the buffer and would hide the rest.
        const std::size_t kinds = round % 3 == 0 ? std::size(pieces) : 5;
        for (int step = 0; step < 30; ++step) {
            std::string chunk;
            for (auto count = random() % 12; count > 0; --count) {
                chunk += pieces[random() % kinds];
            }
            output.append(chunk);
            plain.append(chunk);
            ASSERT_EQ(output.bytes(), plain.bytes) << "limit " << limit << ", round " << round;
            ASSERT_EQ(output.wasTruncated(), plain.wasTruncated);
        }
    }
}

TEST(TerminalOutputTest, ALongStreamKeepsItsEnd)
{
    TerminalOutput output(1'000'000);
    std::string all;
    for (int line = 0; line < 200'000; ++line) {
        const std::string text = "line " + std::to_string(line) + " \xE2\x82\xAC\n";
        output.append(text);
        all += text;
    }
    ASSERT_LE(output.bytes().size(), 1'000'000U);
    EXPECT_GT(output.bytes().size(), 999'990U);
    EXPECT_TRUE(all.ends_with(output.bytes()));
}
