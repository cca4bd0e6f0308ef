#include "Views/RuntimeLogRules.h"

#include "Printing.h"

#include <QString>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using RuntimeLogRules::Finding;
using RuntimeLogRules::finding;

std::string shown(std::string_view part, const char* home = "")
{
    return RuntimeLogRules::shown(part, QString::fromUtf8(home)).toStdString();
}

std::string found(Finding what, const std::optional<std::string>& version = std::nullopt, std::optional<bool> signedIn = std::nullopt)
{
    return finding(AgentProvider::claude, what, version, signedIn, QStringLiteral("/home/ada")).toStdString();
}

struct ShownRow {
    std::string name;
    std::string_view part;
    std::string_view is;
};

class RuntimeLogShown : public testing::TestWithParam<ShownRow>
{
};

TEST_P(RuntimeLogShown, IsHarmless)
{
    EXPECT_EQ(shown(GetParam().part), GetParam().is);
}

using namespace std::string_view_literals;

INSTANTIATE_TEST_SUITE_P(Rows, RuntimeLogShown,
    testing::Values(ShownRow{ "PlainWords", "one\n\ttwo ü 日本 👩‍👩‍👧 \n", "one\n\ttwo ü 日本 👩‍👩‍👧 \n" },
        ShownRow{ "Colours", "\x1b[2m12:00\x1b[0m \x1b[1;31mERROR\x1b[m \x1b[38:5:1mx", "12:00 ERROR x" },
        ShownRow{ "OtherSequences", "\x1b[2J\x1b]0;title\a\x1b[6n", "‹ESC›[2J‹ESC›]0;title‹BEL›‹ESC›[6n" },
        ShownRow{ "AnUnfinishedColour", "\x1b[3", "‹ESC›[3" },
        ShownRow{ "Controls", "a\0b\bc\x7f\xc2\x9b"sv, "a‹NUL›b‹BS›c‹U+007F›‹U+009B›" },
        ShownRow{ "LineEndsOfOtherSystems", "a\r\nb\r50%\r", "a\nb‹CR›50%‹CR›" },
        ShownRow{ "Directions", "\u202Eevil\u202C \u2066x\u2069\u200F\u061C", "‹U+202E›evil‹U+202C› ‹U+2066›x‹U+2069›‹U+200F›‹U+061C›" },
        ShownRow{ "WhatNobodySees", "a\u200Bb\u00ADc\uFEFF\u2060", "a‹U+200B›b‹U+00AD›c‹U+FEFF›‹U+2060›" },
        ShownRow{ "SeparatorsOfATextView", "a\u2028b\u2029c\uFDD0", "a‹U+2028›b‹U+2029›c‹U+FDD0›" },
        ShownRow{ "TagsThatSpellWords", "a\U000E0041\U000E007F", "a‹U+E0041›‹U+E007F›" },
        ShownRow{ "TagsOfAllKinds", "\U000DFFFF\U000E0000\U000E0080\U000E0100\U000E01EF\U000E0FFF\U000E1000",
            "\U000DFFFF‹U+E0000›‹U+E0080›‹U+E0100›‹U+E01EF›‹U+E0FFF›\U000E1000" },
        ShownRow{ "Variations", "\uFE00\uFE0E❤\uFE0F", "‹U+FE00›‹U+FE0E›❤\uFE0F" },
        ShownRow{ "Fillers", "\u034F\u115F\u1160\u2800\u3164\uFFA0", "‹U+034F›‹U+115F›‹U+1160›‹U+2800›‹U+3164›‹U+FFA0›" },
        ShownRow{ "VowelsWithoutAPicture", "\u17B3\u17B4\u17B5\u17B6", "\u17B3‹U+17B4›‹U+17B5›\u17B6" },
        ShownRow{ "MongolianMarks", "\u180A\u180B\u180C\u180D\u180E\u180F\u1810", "\u180A‹U+180B›‹U+180C›‹U+180D›‹U+180E›‹U+180F›\u1810" },
        ShownRow{ "MarksOfMusic", "\U0001D172\U0001D173\U0001D17A\U0001D17B", "\U0001D172‹U+1D173›‹U+1D17A›\U0001D17B" },
        ShownRow{ "MarksOfShorthand", "\U0001BC9F\U0001BCA0\U0001BCA3\U0001BCA4", "\U0001BC9F‹U+1BCA0›‹U+1BCA3›\U0001BCA4" },
        ShownRow{ "NoUtf8", "a\xff\xc3", "a\xef\xbf\xbd\xef\xbf\xbd" },
        ShownRow{ "Markup", "<b>x</b> **y** [z](http://a)", "<b>x</b> **y** [z](http://a)" }),
    [](const auto& row) { return row.param.name; });

TEST(RuntimeLogRules, TheHomeFolderIsATilde)
{
    EXPECT_EQ(shown("/home/ada/x and /home/ada\n\"/home/ada/.grok\"", "/home/ada"), "~/x and ~\n\"~/.grok\"");
    EXPECT_EQ(shown("/mnt/home/ada/x //home/ada/x", "/home/ada"), "/mnt/home/ada/x //home/ada/x") << "it only ends so";
}

TEST(RuntimeLogRules, TheHomeFolderIsATildeInAnAddressOfAFileToo)
{
    EXPECT_EQ(shown("file:///home/ada/x", "/home/ada"), "file://~/x");
    EXPECT_EQ(shown("at (file:///home/ada/a.mjs:5:1)\nfile:///home/ada", "/home/ada"), "at (file://~/a.mjs:5:1)\nfile://~");
    EXPECT_EQ(shown("file:///home/adam/x file:///mnt/home/ada/x", "/home/ada"), "file:///home/adam/x file:///mnt/home/ada/x");
}

TEST(RuntimeLogRules, AFolderThatOnlyBeginsLikeTheHomeFolderStays)
{
    EXPECT_EQ(
        shown("/home/adam/x /home/ada-2 /home/ada.old /home/ada_b", "/home/ada"), "/home/adam/x /home/ada-2 /home/ada.old /home/ada_b");
    EXPECT_EQ(shown("/a/b", "/"), "/a/b");
    EXPECT_EQ(shown("/a/b", ""), "/a/b");
}

TEST(RuntimeLogRules, TheHomeFolderIsATildeAtTheEndOfASentence)
{
    EXPECT_EQ(
        shown("cannot read /home/ada. Try again in /home/ada... or /home/ada.", "/home/ada"), "cannot read ~. Try again in ~... or ~.");
    EXPECT_EQ(shown("/home/ada.old /home/ada..old /home/ada./x", "/home/ada"), "/home/ada.old /home/ada..old ~./x");
}

TEST(RuntimeLogRules, TheHomeFolderIsATildeInTheNamesThatProgramsMakeOfAPath)
{
    EXPECT_EQ(shown("~/.grok/sessions/%2Fhome%2Fada%2Fa%20b/x %2Fhome%2Fada", "/home/ada"), "~/.grok/sessions/~%2Fa%20b/x ~");
    EXPECT_EQ(shown("/home/ada/.claude/projects/-home-ada-work/x -home-ada", "/home/ada"), "~/.claude/projects/~-work/x ~");
    EXPECT_EQ(shown("/-home-ada-b-c-x /%2Fhome%2Fada.b_c%2Fx", "/home/ada.b_c"), "/~-x /~%2Fx") << "whatever is no letter is a dash";
    EXPECT_EQ(shown("/%2Fhome%2Fad%C3%A4%2Fx /-home-ad--x", "/home/adä"), "/~%2Fx /~-x");
}

TEST(RuntimeLogRules, ANameThatOnlyLooksLikeTheHomeFolderStays)
{
    const char* others = "%2Fhome%2Fadam %2Fmnt%2Fhome%2Fada -home-adam --home-ada mnt-home-ada -home-ada.old";
    EXPECT_EQ(shown(others, "/home/ada"), others);
    EXPECT_EQ(shown("Xorg -root %2Froot /root/x", "/root"), "Xorg -root %2Froot ~/x") << "it names nobody, and may be an option";
}

TEST(RuntimeLogRules, AProgramThatIsThereTellsItsVersionAndSignIn)
{
    EXPECT_EQ(found(Finding::installed, "1.2.3"), "1.2.3");
    EXPECT_EQ(found(Finding::installed, "2.1.329 (Claude Code)", true), "2.1.329 (Claude Code), signed in");
    EXPECT_EQ(found(Finding::installed, std::nullopt, false), "version not known, not signed in");
    EXPECT_EQ(found(Finding::missing), "not found");
    EXPECT_EQ(found(Finding::checking), "being looked for");
}

TEST(RuntimeLogRules, CodexIsNotSaidToBeSignedIn)
{
    const auto told = [](std::optional<bool> signedIn) {
        return finding(AgentProvider::codex, Finding::installed, "codex-cli 0.169.0", signedIn, {}).toStdString();
    };
    EXPECT_EQ(told(true), "codex-cli 0.169.0") << "it counts as signed in also when it says that nobody is";
    EXPECT_EQ(told(false), "codex-cli 0.169.0, not signed in");
    EXPECT_EQ(told(std::nullopt), "codex-cli 0.169.0");
}

TEST(RuntimeLogRules, WhateverAProgramSaysOfItsVersionIsOneLine)
{
    EXPECT_EQ(found(Finding::installed, "SyntaxError:\n  \x1b[31mno\x1b[0m\n\n  way"), "SyntaxError: no way");
    const std::string longVersion = found(Finding::installed, std::string(5000, 'x'));
    EXPECT_EQ(longVersion, std::string(100, 'x') + "…");
    EXPECT_EQ(found(Finding::installed, std::string(99, 'x') + "👩👩"), std::string(99, 'x') + "…") << "no character is cut in two";
}

TEST(RuntimeLogRules, AVersionNamesNoHomeEither)
{
    EXPECT_EQ(
        found(Finding::installed, "file:///home/ada/.npm-global/main.mjs:20\nSyntaxError"), "file://~/.npm-global/main.mjs:20 SyntaxError");
    EXPECT_EQ(found(Finding::installed, std::string(93, 'x') + " /home/ada/y"), std::string(93, 'x') + " ~/y")
        << "it is shortened before it is cut";
}

} // namespace

} // namespace tessarin
