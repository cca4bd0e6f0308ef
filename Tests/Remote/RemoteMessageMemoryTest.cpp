#include "Remote/RemoteMessageMemory.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <string>

namespace tessarin
{

namespace
{

// Inserts the numbers from `first` on; how many were new.
int insertNumbers(RemoteMessageMemory& memory, int first, int count)
{
    int inserted = 0;
    for (int number = first; number < first + count; ++number) {
        inserted += memory.insert(std::to_string(number)) ? 1 : 0;
    }
    return inserted;
}

} // namespace

TEST(RemoteMessageMemoryTest, AnIdIsNewOnce)
{
    RemoteMessageMemory memory;
    EXPECT_TRUE(memory.insert("a"));
    EXPECT_FALSE(memory.insert("a"));
    EXPECT_TRUE(memory.insert("A"));
    EXPECT_TRUE(memory.insert(""));
    EXPECT_FALSE(memory.insert(""));
    EXPECT_EQ(memory.count(), 3U);
}

TEST(RemoteMessageMemoryTest, TheOldestHalfIsForgottenBeyondTheLimit)
{
    RemoteMessageMemory memory;
    EXPECT_EQ(insertNumbers(memory, 0, 2048), 2048);
    EXPECT_EQ(memory.count(), 2048U);
    EXPECT_FALSE(memory.insert("0")) << "at the limit all are known";
    EXPECT_TRUE(memory.insert("2048"));
    EXPECT_EQ(memory.count(), 1024U);
    EXPECT_EQ(insertNumbers(memory, 1025, 1024), 0) << "the newest 1,024 are known";
    EXPECT_TRUE(memory.insert("1024")) << "the last that was forgotten";
    EXPECT_TRUE(memory.insert("0"));
    EXPECT_EQ(memory.count(), 1026U);
}

TEST(RemoteMessageMemoryTest, ARepeatDoesNotMakeAnIdYounger)
{
    RemoteMessageMemory memory;
    insertNumbers(memory, 0, 2048);
    EXPECT_FALSE(memory.insert("0"));
    EXPECT_TRUE(memory.insert("2048"));
    EXPECT_TRUE(memory.insert("0"));
}

TEST(RemoteMessageMemoryTest, LongIdsAreToldApartAndCostLittle)
{
    RemoteMessageMemory memory;
    std::string id(1'000'000, 'x');
    EXPECT_TRUE(memory.insert(id)); // what makes the digests is set up at the first of the process, and stays
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int number = 0; number < 100; ++number) {
        id.back() = static_cast<char>(number);
        EXPECT_TRUE(memory.insert(id));
        EXPECT_FALSE(memory.insert(id));
    }
    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + 100'000);
    for (const std::size_t size : { 63U, 64U, 65U, 66U }) {
        EXPECT_TRUE(memory.insert(std::string(size, 'y'))) << size;
        EXPECT_FALSE(memory.insert(std::string(size, 'y'))) << size;
    }
}

} // namespace tessarin
