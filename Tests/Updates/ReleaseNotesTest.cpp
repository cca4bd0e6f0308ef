#include "Updates/ReleaseNotes.h"

#include "Platform/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace tessarin::ReleaseNotes
{
namespace
{

struct Row {
    const char* description;
    const char* text;
};

class PlainTextTest : public testing::TestWithParam<Row>
{
};

TEST_P(PlainTextTest, IsWhatAPersonReads)
{
    EXPECT_EQ(plainText(GetParam().description), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(OfPlainText, PlainTextTest,
    testing::Values(Row{ "", "" }, Row{ "  \n One\n  Two  \n", "One\n  Two" }, Row{ "a < b && c > d", "a < b && c > d" },
        Row{ "1 <2", "1 <2" }, Row{ "Faster\r\nSmaller", "Faster\nSmaller" }, Row{ "bell\a and escape\033[1m", "bell and escape[1m" },
        Row{ "Ünïcode 日本", "Ünïcode 日本" },
        Row{ "a\x7f"
             "b",
            "ab" }));

// Right-to-left override and isolates, marks, and the control characters above ASCII; other characters of the same first bytes stay.
INSTANTIATE_TEST_SUITE_P(OfWhatTurnsALineAround, PlainTextTest,
    testing::Values(Row{ "from \u202Egpj.exe\u202C here", "from gpj.exe here" }, Row{ "\u2066a\u2069\u200E\u200F\u061Cb", "ab" },
        Row{ "<p>a&#x202E;b&#8295;c</p>", "abc" },
        Row{ "a\xC2\x85\xC2\x9B"
             "b&#x80;&#159;c",
            "abc" },
        Row{ "\u00A9 \u00E9 \u2013 \u2020 \u2026 \u200D \u2070 \u061B", "\u00A9 \u00E9 \u2013 \u2020 \u2026 \u200D \u2070 \u061B" },
        Row{ "\xE2\xE2\x80\xAE\x80\xAE.", "." }, Row{ "\xE2&#x202E;\x80\xAE.", "." }));

INSTANTIATE_TEST_SUITE_P(OfMarkup, PlainTextTest,
    testing::Values(Row{ "<h2>New</h2><p>Faster.</p><p>Smaller.</p>", "New\n\nFaster.\n\nSmaller." },
        Row{ "<ul>\n  <li>One\n thing</li>\n  <li>Another</li></ul>", "• One thing\n• Another" },
        Row{ "<P CLASS='a'>Capitals<BR/>too</P>", "Capitals\ntoo" },
        Row{ "<b>bold</b> and <a href=\"https://x\">a link</a>", "bold and a link" },
        Row{ "<p>one</p><br><br><br><p>two</p>", "one\n\ntwo" }, Row{ "<table><tr><td>a</td></tr><tr><td>b</td></tr></table>", "a\nb" }));

INSTANTIATE_TEST_SUITE_P(OfWhatIsNotShown, PlainTextTest,
    testing::Values(Row{ "a<script>alert('x')</script>b", "ab" }, Row{ "<style>p { color: red }</style><p>red</p>", "red" },
        Row{ "<html><head><title>T</title></head><body><p>text</p></body></html>", "text" }, Row{ "a<!-- <p>hidden</p> -->b", "ab" },
        Row{ "<script>never ends <p>here", "" }, Row{ "<!-- never ends", "" }, Row{ "text <a href='never ends", "text" },
        Row{ "<SCRIPT>1</scripty>2</Script>3", "3" }, Row{ "<img src=\"https://example.com/pixel.png\" onerror=\"x\">seen", "seen" }));

INSTANTIATE_TEST_SUITE_P(OfEntities, PlainTextTest,
    testing::Values(Row{ "&lt;b&gt; &amp;amp; &quot;&apos;", "<b> &amp; \"'" }, Row{ "&#8211;&#x2013;&#xe9;&#128512;", "––é😀" },
        Row{ "&unknown; &; & &#; &#x; &#xD800; &#1114112; &#0; &#99999999999;",
            "&unknown; &; & &#; &#x; &#xD800; &#1114112; &#0; &#99999999999;" },
        Row{ "a&nbsp;b", "a b" }, Row{ "&#7;bell", "bell" }, Row{ "&lt;script&gt;x&lt;/script&gt;", "<script>x</script>" }));

TEST(ReleaseNotesTest, WhatIsVeryLongIsCutOff)
{
    std::string notes(characterLimit, 'x');
    EXPECT_EQ(plainText(notes), notes);
    EXPECT_EQ(plainText(notes + 'y'), notes + "…");
}

// Each would take minutes if what was read were looked at again.
TEST(ReleaseNotesTest, TakesTimeLinearInTheText)
{
    for (const char* part :
        { "<", "<!", "<!--", "<p", "<br>", "<br><p>", "</", "<script", "<script></", "&", "&#", "\n", "<li>", " <p> " }) {
        std::string text = "<p>";
        while (text.size() < 1'000'000) {
            text += part;
        }
        EXPECT_LE(plainText(text).size(), 5 * characterLimit) << part;
    }
    EXPECT_EQ(plainText(std::string(1'000'000, '\n') + "<br>" + std::string(1'000'000, '\n') + "<p>end"), "end");
}

} // namespace
} // namespace tessarin::ReleaseNotes
