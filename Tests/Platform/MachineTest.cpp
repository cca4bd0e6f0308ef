#include "Platform/ComputerName.h"
#include "Platform/MachineInfo.h"
#include "Platform/NetworkInterfaces.h"
#include "Platform/PercentEncoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>

namespace tessarin
{

TEST(NetworkInterfacesTest, ListsTheLoopbackWithItsAddressInNumbers)
{
    const auto addresses = interfaceAddresses();
    EXPECT_THAT(
        addresses, testing::Contains(testing::AnyOf(InterfaceAddress{ "lo", "127.0.0.1" }, InterfaceAddress{ "lo0", "127.0.0.1" })));
}

TEST(NetworkInterfacesTest, ListsAddressesOfTheFourthVersionOnly)
{
    for (const InterfaceAddress& each : interfaceAddresses()) {
        in_addr parsed{};
        EXPECT_EQ(::inet_pton(AF_INET, each.address.c_str(), &parsed), 1) << each.address;
        EXPECT_FALSE(each.name.empty());
    }
}

struct MachineInfoRow {
    std::string_view text;
    std::optional<std::string> name;
};

class MachineInfoTest : public testing::TestWithParam<MachineInfoRow>
{
};

TEST_P(MachineInfoTest, TellsThePrettyHostName)
{
    EXPECT_EQ(prettyHostName(GetParam().text), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Files, MachineInfoTest,
    testing::Values(MachineInfoRow{ "", std::nullopt }, MachineInfoRow{ "PRETTY_HOSTNAME=Workshop", "Workshop" },
        MachineInfoRow{ "ICON_NAME=computer\nPRETTY_HOSTNAME=\"Anna's desk\"\nCHASSIS=desktop\n", "Anna's desk" },
        MachineInfoRow{ "PRETTY_HOSTNAME='a \"quoted\" name'\n", "a \"quoted\" name" },
        MachineInfoRow{ R"(PRETTY_HOSTNAME="say \"hi\" \$HOME \\ \n")", R"(say "hi" $HOME \ \n)" },
        MachineInfoRow{ "PRETTY_HOSTNAME=with\\ blank\r\n", "with blank" },
        MachineInfoRow{ "PRETTY_HOSTNAME=\"Büro 日本\"\n", "Büro 日本" },
        MachineInfoRow{ "PRETTY_HOSTNAME=first\nPRETTY_HOSTNAME=second\n", "second" },
        MachineInfoRow{ "# PRETTY_HOSTNAME=commented\n", std::nullopt }, MachineInfoRow{ "PRETTY_HOSTNAME=\"  \"\n", std::nullopt },
        MachineInfoRow{ "PRETTY_HOSTNAME=\n", std::nullopt }, MachineInfoRow{ "PRETTY_HOSTNAME=\"never closed", "never closed" },
        MachineInfoRow{ "PRETTY_HOSTNAME=\xff\n", std::nullopt }, MachineInfoRow{ "MY_PRETTY_HOSTNAME=other\n", std::nullopt }));

TEST(ComputerNameTest, ThisMachineHasAName)
{
    const auto name = computerName();
    ASSERT_TRUE(name.has_value());
    EXPECT_FALSE(name->empty());
}

TEST(PercentEncodingTest, KeepsLettersDigitsAndWhatIsPlainHere)
{
    EXPECT_EQ(percentEncoded("AZaz09-/", "-/"), "AZaz09-/");
    EXPECT_EQ(percentEncoded("-/", ""), "%2D%2F");
}

TEST(PercentEncodingTest, WritesEachByteOfACharacter)
{
    EXPECT_EQ(percentEncoded("a b\u00e9\u65e5", ""), "a%20b%C3%A9%E6%97%A5");
    EXPECT_EQ(percentEncoded(std::string_view("\0%\xff", 3), ""), "%00%25%FF");
}

} // namespace tessarin
