#include "Updates/ReleaseStatement.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace tessarin
{
namespace
{

const ReleaseStatement stated{ "1.2.3", "", "linux", 42, "c2ln", "signature" };

// What the publisher's tool signs has to be the same to the letter.
TEST(ReleaseStatementTest, EachPartStandsOnALineOfItsOwn)
{
    EXPECT_EQ(stated.text(), "tessarin release\n1.2.3\n\nlinux\n42\nc2ln\n");
}

TEST(ReleaseStatementTest, TwoDifferentOnesNeverHaveTheSameText)
{
    const std::vector<ReleaseStatement> others{ { "1.2.4", "", "linux", 42, "c2ln", "" }, { "1.2.3", "1.2.3", "linux", 42, "c2ln", "" },
        { "1.2.3", "", "macos", 42, "c2ln", "" }, { "1.2.3", "", "linux", 43, "c2ln", "" }, { "1.2.3", "", "linux", 42, "c2lm", "" },
        { "", "1.2.3", "linux", 42, "c2ln", "" }, { "1.2.3", "", "linux", 4, "2c2ln", "" }, { "1.2.3 ", "", "linux", 42, "c2ln", "" } };
    std::set<std::string> texts{ stated.text().value() };
    for (const ReleaseStatement& other : others) {
        texts.insert(other.text().value());
    }
    EXPECT_EQ(texts.size(), others.size() + 1);
}

TEST(ReleaseStatementTest, ALineBreakInAPartLeavesNoText)
{
    const std::vector<ReleaseStatement> wrong{ { "1.2.3\n", "", "linux", 42, "c2ln", "" }, { "1", "2\n3", "linux", 42, "c2ln", "" },
        { "1.2.3", "", "\nlinux", 42, "c2ln", "" }, { "1.2.3", "", "linux", 42, "c2ln\n", "" } };
    for (const ReleaseStatement& statement : wrong) {
        EXPECT_FALSE(statement.text());
    }
}

TEST(ReleaseStatementTest, WithoutALengthThereIsNoText)
{
    ReleaseStatement statement = stated;
    statement.length.reset();
    EXPECT_FALSE(statement.text());
}

TEST(ReleaseStatementTest, ItsSignatureIsNoPartOfIt)
{
    ReleaseStatement statement = stated;
    statement.signature = "another";
    EXPECT_EQ(statement.text(), stated.text());
}

} // namespace
} // namespace tessarin
