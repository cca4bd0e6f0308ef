#include "Views/ToolCardRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

struct SymbolRow {
    const char* title;
    const char* symbol;
};

class ToolSymbol : public testing::TestWithParam<SymbolRow>
{
};

TEST_P(ToolSymbol, FollowsTheTitle)
{
    EXPECT_EQ(ToolCardRules::symbol(std::string(GetParam().title)), GetParam().symbol);
}

INSTANTIATE_TEST_SUITE_P(Table, ToolSymbol,
    testing::Values(SymbolRow{ "Read file", "doc.text" }, SymbolRow{ "Run command", "terminal" },
        SymbolRow{ "Search the web", "magnifyingglass" }, SymbolRow{ "Edit files", "doc.text" }, SymbolRow{ "TERMINAL", "terminal" },
        SymbolRow{ "Search files", "doc.text" }, SymbolRow{ "Read the command", "terminal" }, SymbolRow{ "spread", "doc.text" },
        SymbolRow{ "research", "magnifyingglass" }, SymbolRow{ "Think", "wrench.and.screwdriver" },
        SymbolRow{ "", "wrench.and.screwdriver" }));

TEST(ToolCardRules, ATitleThatIsAbsentReadsToolAndHasTheWrench)
{
    EXPECT_EQ(ToolCardRules::title(std::nullopt), "Tool");
    EXPECT_EQ(ToolCardRules::symbol(std::nullopt), "wrench.and.screwdriver");
}

TEST(ToolCardRules, AnEmptyTitleStaysEmpty)
{
    EXPECT_EQ(ToolCardRules::title(std::string()), "");
}

TEST(ToolCardRules, AStatusReadsWordByWord)
{
    EXPECT_EQ(ToolCardRules::statusWord(std::string("in_progress")), "In Progress");
    EXPECT_EQ(ToolCardRules::statusWord(std::string("weird_state")), "Weird State");
    EXPECT_EQ(ToolCardRules::statusWord(std::string("completed")), "Completed");
    EXPECT_EQ(ToolCardRules::statusWord(std::string("ALREADY_DONE")), "Already Done");
    EXPECT_EQ(ToolCardRules::statusWord(std::string("übersetzt_ß")), "Übersetzt ß");
    EXPECT_EQ(ToolCardRules::statusWord(std::string("two__blanks")), "Two  Blanks");
}

TEST(ToolCardRules, AMissingStatusReadsPending)
{
    EXPECT_EQ(ToolCardRules::statusWord(std::nullopt), "Pending");
}

TEST(ToolCardRules, CompletedIsGreenFailedIsRedAndAllElseIsOrange)
{
    EXPECT_EQ(ToolCardRules::tint(std::string("completed")), Tint::Green);
    EXPECT_EQ(ToolCardRules::tint(std::string("failed")), Tint::Red);
    EXPECT_EQ(ToolCardRules::tint(std::string("in_progress")), Tint::Orange);
    EXPECT_EQ(ToolCardRules::tint(std::string("weird_state")), Tint::Orange);
    EXPECT_EQ(ToolCardRules::tint(std::string("Completed")), Tint::Orange);
    EXPECT_EQ(ToolCardRules::tint(std::nullopt), Tint::Orange);
}

} // namespace

} // namespace tessarin
