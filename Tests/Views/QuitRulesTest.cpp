#include "Views/QuitRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

TEST(QuitRulesTest, NothingIsAskedWhereNothingIsCutShort)
{
    EXPECT_EQ(QuitRules::question({}), "");
}

TEST(QuitRulesTest, TheQuestionSaysWhoWorksWhereAndWhatStays)
{
    EXPECT_EQ(QuitRules::question({ "Mend the wheel", AgentProvider::claude, false }),
        "Claude is still working in “Mend the wheel”. Quitting stops it; what it has written stays.");
    EXPECT_EQ(QuitRules::question({ "New task", std::nullopt, false }),
        "Agent is still working in “New task”. Quitting stops it; what it has written stays.");
}

TEST(QuitRulesTest, AGenerationIsAskedAboutToo)
{
    EXPECT_EQ(QuitRules::question({ std::nullopt, std::nullopt, true }),
        "Grok is still generating in Imagine. Quitting stops it; what is in the library stays.");
    EXPECT_EQ(QuitRules::question({ "Mend the wheel", AgentProvider::codex, true }),
        "Codex is still working in “Mend the wheel”, and Grok is still generating in Imagine. Quitting stops both; what they have made "
        "stays.");
}

TEST(QuitRulesTest, ATitleIsOneLineAndStandsAsItIs)
{
    EXPECT_EQ(QuitRules::question({ "a\n%2 <b>", AgentProvider::grok, false }),
        "Grok is still working in “a %2 <b>”. Quitting stops it; what it has written stays.");
}

} // namespace

} // namespace tessarin
