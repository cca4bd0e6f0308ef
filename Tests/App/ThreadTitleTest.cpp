#include "App/ThreadTitle.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

TEST(ThreadTitle, IsTheFirstLineOfThePrompt)
{
    EXPECT_EQ(threadTitle("a\nb"), "a");
    EXPECT_EQ(threadTitle("a\r\nb"), "a");
    EXPECT_EQ(threadTitle("one line"), "one line");
}

TEST(ThreadTitle, HoldsFiftyTwoCharactersWithoutAnEllipsis)
{
    const std::string sixty = "123456789012345678901234567890123456789012345678901234567890";
    EXPECT_EQ(threadTitle(sixty), sixty.substr(0, 52));
    EXPECT_EQ(threadTitle(sixty.substr(0, 52)), sixty.substr(0, 52));
}

TEST(ThreadTitle, CountsUserPerceivedCharacters)
{
    const std::string family = "\U0001F468‍\U0001F469‍\U0001F467"; // one character of five code points
    std::string prompt;
    for (int i = 0; i < 60; ++i) {
        prompt += family;
    }
    EXPECT_EQ(threadTitle(prompt).size(), 52 * family.size());
}

} // namespace
} // namespace tessarin
