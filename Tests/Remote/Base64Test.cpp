#include "Remote/Base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstring>
#include <random>
#include <string>

namespace tessarin
{

namespace
{

std::string written(std::string_view bytes)
{
    // With a guard behind it, which must stay.
    std::string text(base64Size(bytes.size()) + 1, '!');
    writeBase64(bytes, text.data());
    EXPECT_EQ(text.back(), '!');
    text.pop_back();
    return text;
}

std::string writtenOverItself(const std::string& bytes)
{
    std::string text(base64Size(bytes.size()) + 1, '!');
    char* const end = text.data() + text.size() - 1;
    if (!bytes.empty()) {
        std::memcpy(end - bytes.size(), bytes.data(), bytes.size());
    }
    writeBase64({ end - bytes.size(), bytes.size() }, text.data());
    EXPECT_EQ(text.back(), '!');
    text.pop_back();
    return text;
}

// RFC 4648, section 10.
TEST(Base64Test, TheVectorsOfTheStandardHold)
{
    EXPECT_EQ(written(""), "");
    EXPECT_EQ(written("f"), "Zg==");
    EXPECT_EQ(written("fo"), "Zm8=");
    EXPECT_EQ(written("foo"), "Zm9v");
    EXPECT_EQ(written("foob"), "Zm9vYg==");
    EXPECT_EQ(written("fooba"), "Zm9vYmE=");
    EXPECT_EQ(written("foobar"), "Zm9vYmFy");
}

TEST(Base64Test, EachCharacterOfTheAlphabetStandsForItsSixBits)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t bits = 0; bits < alphabet.size(); ++bits) {
        EXPECT_EQ(written(std::string(1, static_cast<char>(bits << 2U))).front(), alphabet[bits]) << bits;
        EXPECT_EQ(written(std::string{ 0, 0, static_cast<char>(bits) }).back(), alphabet[bits]) << bits;
    }
}

// By a coder that is not ours.
std::string reference(const std::string& bytes)
{
    std::string text(base64Size(bytes.size()) + 1, '\0'); // with the zero byte that it adds
    const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), from, static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

TEST(Base64Test, RandomBytesOfEveryLengthAreWrittenAsAnotherCoderDoes)
{
    std::mt19937 random(4648);
    for (std::size_t length = 0; length < 300; ++length) {
        std::string bytes(length, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        ASSERT_EQ(written(bytes), reference(bytes)) << length;
        ASSERT_EQ(writtenOverItself(bytes), reference(bytes)) << length;
    }
}

TEST(Base64Test, BytesAtTheEndOfTheirOwnRoomSpreadOutToTheFront)
{
    std::mt19937 random(7);
    for (const std::size_t length : { std::size_t(196'608), std::size_t(196'607), std::size_t(196'606), std::size_t(100'001) }) {
        std::string bytes(length, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        EXPECT_TRUE(writtenOverItself(bytes) == reference(bytes)) << length;
    }
}

} // namespace

} // namespace tessarin
