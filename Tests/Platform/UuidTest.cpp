#include "Platform/Uuid.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tessarin
{
namespace
{

TEST(UuidTest, IsWrittenInUpperCaseCanonicalForm)
{
    const auto uuid = Uuid::parse("0123abcd-4567-89ab-cdef-0123456789ab");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->text(), "0123ABCD-4567-89AB-CDEF-0123456789AB");
    EXPECT_EQ(Uuid().text(), "00000000-0000-0000-0000-000000000000");
}

TEST(UuidTest, IsReadInAnyCase)
{
    EXPECT_EQ(Uuid::parse("0123ABCD-4567-89AB-CDEF-0123456789AB"), Uuid::parse("0123abcd-4567-89aB-cDeF-0123456789ab"));
}

TEST(UuidTest, RefusesEverythingElse)
{
    for (const char* text : { "", "0123ABCD", "0123ABCD456789ABCDEF0123456789AB", "{0123ABCD-4567-89AB-CDEF-0123456789AB}",
             "0123ABCD-4567-89AB-CDEF-0123456789A", "0123ABCD-4567-89AB-CDEF-0123456789AB0", "0123ABCD-4567-89AB-CDEF-0123456789AG",
             "0123ABCD+4567-89AB-CDEF-0123456789AB", "0123ABCD-4567-89AB-CDEF_0123456789AB", "012-3ABCD4567-89AB-CDEF-0123456789AB",
             " 123ABCD-4567-89AB-CDEF-0123456789AB", "not-a-uuid-but-thirty-six-characters" }) {
        EXPECT_EQ(Uuid::parse(text), std::nullopt) << text;
    }
}

TEST(UuidTest, ARandomOneIsOfVersion4AndNeverRepeats)
{
    std::unordered_set<Uuid> seen;
    for (int round = 0; round < 10'000; ++round) {
        const Uuid uuid = Uuid::random();
        const std::string text = uuid.text();
        ASSERT_EQ(text[14], '4') << text;
        ASSERT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        ASSERT_EQ(Uuid::parse(text), uuid);
        ASSERT_TRUE(seen.insert(uuid).second);
    }
}

TEST(UuidTest, IsOrderedLikeItsText)
{
    EXPECT_LT(*Uuid::parse("00000000-0000-0000-0000-00000000000F"), *Uuid::parse("00000000-0000-0000-0000-0000000000F0"));
    EXPECT_LT(*Uuid::parse("7FFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"), *Uuid::parse("80000000-0000-0000-0000-000000000000"));
}

} // namespace
} // namespace tessarin
