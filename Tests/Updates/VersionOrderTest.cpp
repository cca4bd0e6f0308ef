#include "Updates/VersionOrder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessarin
{
namespace
{

struct Pair {
    std::string older;
    std::string newer;
};

class OlderAndNewerTest : public testing::TestWithParam<Pair>
{
};

TEST_P(OlderAndNewerTest, TheSecondIsNewerThanTheFirst)
{
    const auto& [older, newer] = GetParam();
    EXPECT_TRUE(compareVersions(older, newer) < 0) << older << " < " << newer;
    EXPECT_TRUE(compareVersions(newer, older) > 0) << newer << " > " << older;
}

INSTANTIATE_TEST_SUITE_P(Numbers, OlderAndNewerTest,
    testing::Values(Pair{ "1.0", "1.1" }, Pair{ "1.9", "1.10" }, Pair{ "0.9", "1.0" }, Pair{ "1", "1.0.1" },
        Pair{ "2.0.0.2429", "2.0.0.2430" }, Pair{ "1.1.1.1818", "2.0.0.2430" }, Pair{ "9", "10" }, Pair{ "0.1", "0.02" }, Pair{ "", "0" },
        Pair{ "", "1" }, Pair{ "1.18446744073709551615", "1.18446744073709551616" },
        Pair{ "1.99999999999999999999999", "1.100000000000000000000000" }));

INSTANTIATE_TEST_SUITE_P(Words, OlderAndNewerTest,
    testing::Values(Pair{ "1.5.5", "1.5.6a1" }, Pair{ "1.1.0b1", "1.1.0b2" }, Pair{ "1.1.1b2", "1.1.2b1" }, Pair{ "1.1.1b2", "1.1.2a1" },
        Pair{ "1.0a1", "1.0b1" }, Pair{ "1.0b1", "1.0" }, Pair{ "0.9", "1.0a1" }, Pair{ "1.0b", "1.0b2" }, Pair{ "1.0b9", "1.0b10" },
        Pair{ "1.0b10", "1.0b11" }, Pair{ "1.0rc", "1.0" }, Pair{ "1.0b", "1.0" }, Pair{ "1.0pre1", "1.0" }, Pair{ "1.0.b1", "1.0" },
        Pair{ "1.0 beta", "1.0" }, Pair{ "1.0 - beta", "1.0" }, Pair{ "1.0-beta", "1.0" }, Pair{ "1.0 alpha", "1.0-beta2" },
        Pair{ "1.0b1", "1.0.1" }, Pair{ "v9", "0" }, Pair{ "1.ü", "1" }, Pair{ "\xff", "0" }));

INSTANTIATE_TEST_SUITE_P(Builds, OlderAndNewerTest,
    testing::Values(Pair{ "1.0 (1234)", "1.0 (1235)" }, Pair{ "1.0", "1.0 (1)" }, Pair{ "1.0b1 (1234)", "1.0 (1234)" },
        Pair{ "1.0b5 (1234)", "1.0b5 (1235)" }, Pair{ "1.0b5 (1234)", "1.0.1b5 (1234)" }, Pair{ "1.0.1b5 (1234)", "1.0.1b6 (1234)" },
        Pair{ "3.3 (5847)", "3.3.1b1 (5902)" }, Pair{ "1.0 (1235)", "1.0.1" }, Pair{ "1.0-5", "1.0.1" }, Pair{ "6.1", "6.1.0-18-amd64" }));

class EqualVersionsTest : public testing::TestWithParam<Pair>
{
};

TEST_P(EqualVersionsTest, AreNeitherOlderNorNewer)
{
    const auto& [first, second] = GetParam();
    EXPECT_TRUE(compareVersions(first, second) == 0) << first << " = " << second;
    EXPECT_TRUE(compareVersions(second, first) == 0) << second << " = " << first;
}

INSTANTIATE_TEST_SUITE_P(All, EqualVersionsTest,
    testing::Values(Pair{ "1", "1.0" }, Pair{ "1.0", "1.0.0" }, Pair{ "1.0b1", "1.0.0b1" }, Pair{ "1.00", "1.0" }, Pair{ "1.07", "1.7" },
        Pair{ "1.0 (5)", "1.0.0-5" }, Pair{ "1.0.", "1.0" }, Pair{ "1.0 beta", "1.0beta" }, Pair{ "", "." }, Pair{ "0", "0.0.0" }));

// What a search for the newest relies on.
TEST(VersionOrderTest, IsTransitive)
{
    const std::vector<std::string> versions{ "", ".", "..", "0", "1", "1.0", "1.0.0", "1..0", "1.b", "1b", "1b.5", "1b5", "1 b 5",
        "1.0 (5)", "1-5", "1.5", "1.0.b", "1.0.0.5", "v1", "v1.0", ".5", ".0", "a.1", "b", "é", "1é", "1.0é2", "1.0-2", "1.0-2-b",
        "1.0 2" };
    for (const std::string& first : versions) {
        for (const std::string& second : versions) {
            EXPECT_TRUE((compareVersions(first, second) < 0) == (compareVersions(second, first) > 0)) << first << ", " << second;
            for (const std::string& third : versions) {
                if (compareVersions(first, second) <= 0 && compareVersions(second, third) <= 0) {
                    EXPECT_TRUE(compareVersions(first, third) <= 0) << first << ", " << second << ", " << third;
                }
            }
        }
    }
}

} // namespace
} // namespace tessarin
