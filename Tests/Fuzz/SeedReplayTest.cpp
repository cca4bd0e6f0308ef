// Each seed goes through its fuzz target in the ordinary build too, where no fuzzer is at hand.

#include "FuzzTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

std::vector<std::filesystem::path> seeds()
{
    std::vector<std::filesystem::path> paths;
    for (const auto& file : std::filesystem::directory_iterator(SEED_FOLDER)) {
        paths.push_back(file.path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string seedName(const testing::TestParamInfo<std::filesystem::path>& info)
{
    std::string name = info.param.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char character) { return std::isalnum(character) == 0; }, '_');
    return name;
}

void play(const std::string& input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

class SeedReplayTest : public testing::TestWithParam<std::filesystem::path>
{
};

TEST_P(SeedReplayTest, HoldsTheRulesOfTheTarget)
{
    std::ifstream file(GetParam(), std::ios::binary);
    ASSERT_TRUE(file.is_open());
    play(std::string(std::istreambuf_iterator<char>(file), {}));
}

INSTANTIATE_TEST_SUITE_P(Seeds, SeedReplayTest, testing::ValuesIn(seeds()), seedName);

TEST(GeneratedInputTest, AnEmptyInput)
{
    play("");
}

TEST(GeneratedInputTest, OneLineOfTenMegabytes)
{
    play(std::string(10'000'000, '['));
}

TEST(GeneratedInputTest, OneTextOfAHundredMegabytes)
{
    std::string input(tessarin::longTextInput.start);
    input.append(100'000'000, 'x').append(tessarin::longTextInput.end);
    play(input);
}

TEST(GeneratedInputTest, AMillionLevelsOfNesting)
{
    std::string input;
    for (int level = 0; level < 1'000'000; ++level) {
        input += R"({"a":[)";
    }
    play(input);
}

} // namespace
