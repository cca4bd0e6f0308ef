#include "Services/GrokArguments.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using Arguments = std::vector<std::string>;

TEST(GrokArgumentsTest, TheModeMovesInFrontOfAgentAndTheRestKeepsItsOrder)
{
    EXPECT_EQ(withPermissionModeInFront({ "agent", "--permission-mode", "auto", "stdio" }),
        (Arguments{ "--permission-mode", "auto", "agent", "stdio" }));
    EXPECT_EQ(withPermissionModeInFront({ "agent", "--model", "m", "--permission-mode", "default", "stdio" }),
        (Arguments{ "--permission-mode", "default", "agent", "--model", "m", "stdio" }));
}

TEST(GrokArgumentsTest, OtherArgumentsAreNotRearranged)
{
    EXPECT_EQ(withPermissionModeInFront({ "agent", "--always-approve", "stdio" }), std::nullopt);
    EXPECT_EQ(withPermissionModeInFront({ "--permission-mode", "auto", "agent", "stdio" }), std::nullopt);
    EXPECT_EQ(withPermissionModeInFront({ "agent", "--permission-mode" }), std::nullopt);
    EXPECT_EQ(withPermissionModeInFront({}), std::nullopt);
}

TEST(GrokArgumentsTest, OnlyTheRefusalOfThatArgumentCounts)
{
    EXPECT_TRUE(refusesPermissionModeArgument("error: unexpected argument '--permission-mode' found\n\nUsage: grok agent"));
    EXPECT_FALSE(refusesPermissionModeArgument("error: unexpected argument '--model' found"));
    EXPECT_FALSE(refusesPermissionModeArgument(""));
}

} // namespace

} // namespace tessarin
