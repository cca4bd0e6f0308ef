#include "Platform/FreedMemory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace tessarin
{

namespace
{

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
std::size_t residentBytes()
{
    std::size_t whole = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(FreedMemoryTest, WhatWasFreedBelowWhatIsKeptGoesBackToTheSystem)
{
    constexpr std::size_t count = 50'000;
    std::vector<std::unique_ptr<std::string>> texts;
    for (std::size_t i = 0; i < count; ++i) {
        texts.push_back(std::make_unique<std::string>(1000, 'x'));
    }
    const auto last = std::make_unique<std::string>(1000, 'x'); // above all of them
    texts.clear();
    const std::size_t before = residentBytes();
    giveBackFreedMemory();
    EXPECT_LT(residentBytes() + count * 1000 / 2, before);
}
#endif

} // namespace

} // namespace tessarin
