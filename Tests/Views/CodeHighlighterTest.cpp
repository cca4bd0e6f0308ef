#include "Views/CodeHighlighter.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using Word = TextRun::Word;

// The words of a kind, in their order.
QStringList words(const char* code, const char* language, Word word)
{
    QStringList found;
    for (const TextRun& run : highlightedCode(QString::fromUtf8(code), language).runs) {
        if (run.word == word) {
            found.append(run.text);
        }
    }
    return found;
}

TEST(CodeHighlighter, ALanguageWithoutRulesStaysPlain)
{
    const StyledRuns content = highlightedCode("int \"x\" // 1", "klingon");
    ASSERT_EQ(content.runs.size(), 1);
    EXPECT_EQ(content.runs[0].word, Word::Plain);
}

TEST(CodeHighlighter, NothingIsLost)
{
    const char* code = "auto x = f(\"a \\\" b\", 0x1F); // \"no\" /* */\n/* open";
    EXPECT_EQ(highlightedCode(QString::fromUtf8(code), "cpp").plainText(), code);
    EXPECT_EQ(highlightedCode("", "cpp").runs.size(), 0);
}

TEST(CodeHighlighter, FindsTheWordsByTheirForm)
{
    const char* code = "const auto wait = std::min(30s, 250); // min 1\nreturn \"const\";";
    EXPECT_EQ(words(code, "cpp", Word::Keyword), (QStringList{ "const", "auto", "return" }));
    EXPECT_EQ(words(code, "C++", Word::Number), (QStringList{ "30s", "250" }));
    EXPECT_EQ(words(code, "cpp", Word::Literal), (QStringList{ "\"const\"" }));
    EXPECT_EQ(words(code, "cpp", Word::Comment), (QStringList{ "// min 1" }));
}

TEST(CodeHighlighter, CommentsFollowTheLanguage)
{
    EXPECT_EQ(words("x = 1 # note\n", "python", Word::Comment), (QStringList{ "# note" }));
    EXPECT_EQ(words("echo a#b # c", "sh", Word::Comment), (QStringList{ "# c" }));
    EXPECT_EQ(words("SELECT 1 -- note", "sql", Word::Comment), (QStringList{ "-- note" }));
    EXPECT_EQ(words("#include <x>", "cpp", Word::Comment), QStringList());
}

TEST(CodeHighlighter, AQuoteThatIsNotClosedIsPlain)
{
    EXPECT_EQ(words("don't\nx", "python", Word::Literal), (QStringList{ "'" }));
}

} // namespace

} // namespace tessarin
