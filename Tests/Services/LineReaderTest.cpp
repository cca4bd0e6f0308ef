#include "Services/LineReader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace tessarin
{

namespace
{

class LineReaderTest : public testing::Test
{
protected:
    void read(std::string_view chunk)
    {
        m_reader.read(chunk, [this](std::string_view line) { m_lines.emplace_back(line); });
    }

    LineReader m_reader;
    std::vector<std::string> m_lines;
};

using Lines = std::vector<std::string>;

TEST_F(LineReaderTest, TwoLinesOfOneChunkComeInOrder)
{
    read("one\ntwo\n");
    EXPECT_EQ(m_lines, (Lines{ "one", "two" }));
}

TEST_F(LineReaderTest, HalfALineWaitsForTheNextChunk)
{
    read("one\ntw");
    EXPECT_EQ(m_lines, (Lines{ "one" }));
    read("o");
    EXPECT_EQ(m_lines, (Lines{ "one" }));
    read("\nthree\nfo");
    EXPECT_EQ(m_lines, (Lines{ "one", "two", "three" }));
}

TEST_F(LineReaderTest, ANewlineMayComeAlone)
{
    read("one");
    read("\n");
    EXPECT_EQ(m_lines, (Lines{ "one" }));
}

TEST_F(LineReaderTest, EmptyLinesAreSkipped)
{
    read("\n\none\n\n");
    read("\n");
    EXPECT_EQ(m_lines, (Lines{ "one" }));
}

TEST_F(LineReaderTest, ACarriageReturnStays)
{
    read("one\r\n\r\n");
    EXPECT_EQ(m_lines, (Lines{ "one\r", "\r" }));
}

TEST_F(LineReaderTest, ZeroBytesAndBrokenTextPassThrough)
{
    const std::string chunk("a\0b\xff\n", 5);
    read(chunk);
    EXPECT_EQ(m_lines, (Lines{ std::string("a\0b\xff", 4) }));
}

TEST_F(LineReaderTest, ALineWholeInItsChunkIsNotCopied)
{
    const std::string chunk = "whole\n";
    const char* place = nullptr;
    m_reader.read(chunk, [&](std::string_view line) { place = line.data(); });
    EXPECT_EQ(place, chunk.data());
}

TEST_F(LineReaderTest, ResetForgetsTheLineThatHasBegun)
{
    read("half");
    m_reader.reset();
    read("new\n");
    EXPECT_EQ(m_lines, (Lines{ "new" }));
}

TEST_F(LineReaderTest, EveryCutOfAStreamGivesTheSameLines)
{
    const std::string stream = "a\n\nbcd\r\nefgh\n\xe2\x82\xac\ni";
    for (std::size_t first = 0; first <= stream.size(); ++first) {
        for (std::size_t second = first; second <= stream.size(); ++second) {
            m_reader.reset();
            m_lines.clear();
            read(std::string_view(stream).substr(0, first));
            read(std::string_view(stream).substr(first, second - first));
            read(std::string_view(stream).substr(second));
            ASSERT_EQ(m_lines, (Lines{ "a", "bcd\r", "efgh", "\xe2\x82\xac" })) << first << " " << second;
        }
    }
}

// Searching from the beginning again with each chunk would take hours for this.
TEST_F(LineReaderTest, ALongLineInSmallChunksCostsLinearTime)
{
    const std::string piece(64, 'x');
    for (std::size_t bytes = 0; bytes < 64 * 1024 * 1024; bytes += piece.size())
        read(piece);
    read("\n");
    ASSERT_EQ(m_lines.size(), 1U);
    EXPECT_EQ(m_lines[0].size(), 64U * 1024 * 1024);
}

} // namespace

} // namespace tessarin
