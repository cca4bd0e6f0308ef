#include "Remote/RemoteCrypto.h"

#include <boost/algorithm/hex.hpp>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace tessarin
{

namespace
{

using namespace std::string_literals;

std::string fromHex(std::string_view text)
{
    std::string bytes;
    boost::algorithm::unhex(text.begin(), text.end(), std::back_inserter(bytes));
    return bytes;
}

const std::string key(RemoteCrypto::keyByteCount, 'k');

std::string sealed(std::string_view plaintext)
{
    const auto frame = RemoteCrypto::seal(plaintext, key);
    EXPECT_TRUE(frame);
    return frame ? frame.value() : std::string();
}

std::string payloadOf(const std::string& frame)
{
    return frame.substr(RemoteCrypto::lengthByteCount);
}

template <class T>
RemoteCryptoFailure failureOf(const Result<T, RemoteCryptoFailure>& result)
{
    EXPECT_FALSE(result);
    return result ? RemoteCryptoFailure(CryptoLibraryError{ "none" }) : result.error();
}

// Those of the authors of the mode: "The Galois/Counter Mode of Operation", appendix B, test cases 13 to 15.
struct Vector {
    const char* name;
    const char* key;
    const char* nonce;
    const char* plaintext;
    const char* ciphertext;
    const char* tag;
};

class PublishedVector : public testing::TestWithParam<Vector>
{
};

TEST_P(PublishedVector, IsOpened)
{
    const Vector& vector = GetParam();
    const std::string payload = fromHex(vector.nonce) + fromHex(vector.ciphertext) + fromHex(vector.tag);
    const auto plaintext = RemoteCrypto::open(payload, fromHex(vector.key));
    ASSERT_TRUE(plaintext);
    EXPECT_EQ(plaintext.value(), fromHex(vector.plaintext));
}

INSTANTIATE_TEST_SUITE_P(Rows, PublishedVector,
    testing::Values(Vector{ "Case13", "0000000000000000000000000000000000000000000000000000000000000000", "000000000000000000000000", "",
                        "", "530f8afbc74536b9a963b4f1c4cb738b" },
        Vector{ "Case14", "0000000000000000000000000000000000000000000000000000000000000000", "000000000000000000000000",
            "00000000000000000000000000000000", "cea7403d4d606b6e074ec5d3baf39d18", "d0d1c8a799996bf0265b98b5d48ab919" },
        Vector{ "Case15", "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308", "cafebabefacedbaddecaf888",
            "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
            "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b391aafd255",
            "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
            "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662898015ad",
            "b094dac5d93471bdec1a502270e3cc6c" }),
    [](const auto& row) { return row.param.name; });

TEST(RemoteCryptoTest, AnEmptyMessageIsALengthANonceAndATag)
{
    const std::string frame = sealed("");
    EXPECT_EQ(frame.size(), 32U);
    EXPECT_EQ(frame.substr(0, 4), "\0\0\0\x1C"s);
    const auto opened = RemoteCrypto::open(payloadOf(frame), key);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened.value(), "");
}

TEST(RemoteCryptoTest, WhatIsSealedIsOpenedAgain)
{
    for (const std::size_t size : { 1U, 15U, 16U, 17U, 255U, 65'536U, 1'000'003U }) {
        std::string plaintext(size, 'x');
        plaintext.back() = '\0';
        const std::string frame = sealed(plaintext);
        ASSERT_EQ(frame.size(), size + 32);
        const auto length = RemoteCrypto::frameLength(frame.substr(0, 4));
        ASSERT_TRUE(length);
        EXPECT_EQ(length.value(), frame.size() - 4);
        const auto opened = RemoteCrypto::open(payloadOf(frame), key);
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened.value() == plaintext) << size;
    }
}

TEST(RemoteCryptoTest, AMessageThatStandsInItsPlaceIsSealedThere)
{
    for (const std::size_t size : { 0U, 1U, 17U, 300'000U }) {
        const std::string plaintext(size, 'x');
        std::string frame = std::string(16, '-') + plaintext + std::string(16, '-');
        ASSERT_TRUE(RemoteCrypto::sealInPlace(frame, key));
        ASSERT_EQ(frame.size(), size + 32);
        EXPECT_EQ(RemoteCrypto::frameLength(frame.substr(0, 4)).value(), size + 28);
        const auto opened = RemoteCrypto::open(payloadOf(frame), key);
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened.value() == plaintext) << size;
    }
    std::string longest(16'777'188 + 32, 'x');
    EXPECT_TRUE(RemoteCrypto::sealInPlace(longest, key));
    std::string tooLong(longest.size() + 1, 'x');
    EXPECT_EQ(failureOf(RemoteCrypto::sealInPlace(tooLong, key)), RemoteCryptoFailure(RemoteCryptoError::oversizedFrame));
    EXPECT_EQ(failureOf(RemoteCrypto::sealInPlace(tooLong, "short")), RemoteCryptoFailure(RemoteCryptoError::invalidKey));
}

TEST(RemoteCryptoTest, NoTwoFramesAreAlike)
{
    std::set<std::string> nonces;
    for (int round = 0; round < 1000; ++round)
        nonces.insert(sealed("again").substr(RemoteCrypto::lengthByteCount, RemoteCrypto::nonceByteCount));
    EXPECT_EQ(nonces.size(), 1000U);
    EXPECT_NE(sealed("again"), sealed("again"));
}

TEST(RemoteCryptoTest, TheKeyIsLookedAtFirst)
{
    for (const std::size_t size : { 0U, 16U, 31U, 33U, 64U }) {
        const std::string wrong(size, 'k');
        EXPECT_EQ(failureOf(RemoteCrypto::seal("x", wrong)), RemoteCryptoFailure(RemoteCryptoError::invalidKey));
        EXPECT_EQ(failureOf(RemoteCrypto::open("short", wrong)), RemoteCryptoFailure(RemoteCryptoError::invalidKey));
        const std::string tooLong(RemoteCrypto::maximumFrameSize, 'x');
        EXPECT_EQ(failureOf(RemoteCrypto::seal(tooLong, wrong)), RemoteCryptoFailure(RemoteCryptoError::invalidKey));
    }
}

TEST(RemoteCryptoTest, ALongestMessageIsSealedAndALongerOneIsNot)
{
    constexpr std::size_t longest = 16'777'188;
    const std::string frame = sealed(std::string(longest, 'x'));
    ASSERT_EQ(frame.size(), RemoteCrypto::maximumFrameSize + 4);
    EXPECT_EQ(frame.substr(0, 4), "\1\0\0\0"s);
    const auto opened = RemoteCrypto::open(payloadOf(frame), key);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened.value().size(), longest);
    EXPECT_EQ(failureOf(RemoteCrypto::seal(std::string(longest + 1, 'x'), key)), RemoteCryptoFailure(RemoteCryptoError::oversizedFrame));
}

TEST(RemoteCryptoTest, APayloadOfAnImpossibleLengthIsInvalidAndNotOversized)
{
    for (const std::size_t size : { std::size_t(0), std::size_t(27), RemoteCrypto::maximumFrameSize + 1 })
        EXPECT_EQ(failureOf(RemoteCrypto::open(std::string(size, 'x'), key)), RemoteCryptoFailure(RemoteCryptoError::invalidFrame)) << size;
}

TEST(RemoteCryptoTest, WhatWasAlteredIsRefusedInTheWordsOfTheLibrary)
{
    const std::string payload = payloadOf(sealed("the message"));
    for (std::size_t bit = 0; bit < payload.size() * 8; ++bit) {
        std::string altered = payload;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
        ASSERT_TRUE(std::holds_alternative<CryptoLibraryError>(failureOf(RemoteCrypto::open(altered, key)))) << bit;
    }
    for (std::size_t length = 28; length < payload.size(); ++length)
        ASSERT_FALSE(RemoteCrypto::open(payload.substr(0, length), key)) << length;
    EXPECT_TRUE(std::holds_alternative<CryptoLibraryError>(failureOf(RemoteCrypto::open(payload, std::string(32, 'o')))));
    EXPECT_EQ(std::get<CryptoLibraryError>(failureOf(RemoteCrypto::open(payload, std::string(32, 'o')))).text, "authentication failed");
}

TEST(RemoteCryptoTest, ALengthIsReadFromFourBytesWithTheHighestFirst)
{
    const auto length = [](const std::string& header) {
        const auto result = RemoteCrypto::frameLength(header);
        return result ? std::to_string(result.value()) : std::string(description(result.error()));
    };
    const std::string invalid(description(RemoteCryptoError::invalidFrame));
    const std::string oversized(description(RemoteCryptoError::oversizedFrame));
    EXPECT_EQ(length("\0\0\0\0"s), oversized);
    EXPECT_EQ(length("\0\0\0\1"s), "1");
    EXPECT_EQ(length("\0\1\2\3"s), "66051");
    EXPECT_EQ(length("\0\xFF\xFF\xFF"s), "16777215");
    EXPECT_EQ(length("\1\0\0\0"s), "16777216");
    EXPECT_EQ(length("\1\0\0\1"s), oversized);
    EXPECT_EQ(length("\xFF\xFF\xFF\xFF"s), oversized);
    EXPECT_EQ(length("\0\0\1"s), invalid);
    EXPECT_EQ(length("\0\0\0\1\0"s), invalid);
    EXPECT_EQ(length(""), invalid);
}

TEST(RemoteCryptoTest, ErrorsReadAsALogTellsThem)
{
    EXPECT_EQ(description(RemoteCryptoError::invalidKey), "The remote pairing key is invalid.");
    EXPECT_EQ(description(RemoteCryptoError::invalidFrame), "The encrypted remote message is invalid.");
    EXPECT_EQ(description(RemoteCryptoError::oversizedFrame), "The remote message is too large.");
}

TEST(RemoteCryptoTest, ErrorsStandInTheirOrderAndAreKeysOfATable)
{
    EXPECT_LT(RemoteCryptoError::invalidKey, RemoteCryptoError::invalidFrame);
    EXPECT_LT(RemoteCryptoError::invalidFrame, RemoteCryptoError::oversizedFrame);
    const std::unordered_set<RemoteCryptoError> errors{ RemoteCryptoError::invalidKey, RemoteCryptoError::invalidFrame,
        RemoteCryptoError::oversizedFrame, RemoteCryptoError::invalidKey };
    EXPECT_EQ(errors.size(), 3U);
}

TEST(RemoteCryptoTest, AMessageInPiecesIsSealedLikeAWholeOne)
{
    for (const std::size_t pieceSize : { 1U, 15U, 16'383U, 16'384U, 16'385U, 50'000U }) {
        std::string whole;
        ByteRope rope;
        while (whole.size() < 60'000) {
            std::string piece(pieceSize, static_cast<char>('a' + whole.size() % 26));
            whole += piece;
            rope.append(std::move(piece));
        }
        const auto frame = RemoteCrypto::seal(rope, key);
        ASSERT_TRUE(frame);
        const auto opened = RemoteCrypto::open(payloadOf(frame.value()), key);
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened.value() == whole) << pieceSize;
    }
    const auto empty = RemoteCrypto::seal(ByteRope(), key);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty.value().size(), 32U);
    EXPECT_TRUE(RemoteCrypto::open(payloadOf(empty.value()), key));
}

TEST(RemoteCryptoTest, AMessageInPiecesHasTheSameLimits)
{
    ByteRope longest(std::string(RemoteCrypto::maximumPlaintextSize, 'x'));
    EXPECT_EQ(RemoteCrypto::maximumPlaintextSize, 16'777'188U);
    EXPECT_EQ(failureOf(RemoteCrypto::seal(longest, "short")), RemoteCryptoFailure(RemoteCryptoError::invalidKey));
    EXPECT_TRUE(RemoteCrypto::seal(longest, key));
    longest.append("y");
    EXPECT_EQ(failureOf(RemoteCrypto::seal(longest, key)), RemoteCryptoFailure(RemoteCryptoError::oversizedFrame));
}

TEST(RemoteCryptoTest, KeysAreThirtyTwoBytesAndNeverTheSame)
{
    std::set<std::string> keys;
    for (int round = 0; round < 100; ++round) {
        const auto made = RemoteCrypto::makeKey();
        ASSERT_TRUE(made);
        EXPECT_EQ(made.value().size(), 32U);
        keys.insert(made.value());
    }
    EXPECT_EQ(keys.size(), 100U);
}

TEST(RemoteCryptoTest, AKeyAsTextHasFortyThreeCharactersAndComesBack)
{
    for (int round = 0; round < 100; ++round) {
        const std::string made = RemoteCrypto::makeKey().value();
        const std::string text = RemoteCrypto::base64URL(made);
        EXPECT_EQ(text.size(), 43U);
        EXPECT_EQ(text.find_first_of("+/="), std::string::npos);
        EXPECT_EQ(RemoteCrypto::dataFromBase64URL(text), made);
    }
}

TEST(RemoteCryptoTest, TextIsBase64WithoutPadding)
{
    EXPECT_EQ(RemoteCrypto::base64URL("\xFB\xFF"), "-_8");
    EXPECT_EQ(RemoteCrypto::base64URL(""), "");
    EXPECT_EQ(RemoteCrypto::base64URL("f"), "Zg");
    EXPECT_EQ(RemoteCrypto::base64URL("foob"), "Zm9vYg");
    EXPECT_EQ(RemoteCrypto::base64URL("foobar"), "Zm9vYmFy");
}

TEST(RemoteCryptoTest, TextIsReadInEitherAlphabetWithOrWithoutPadding)
{
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("-_8"), "\xFB\xFF");
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("+/8="), "\xFB\xFF");
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL(""), "");
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("AAAA"), "\0\0\0"s);
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("Zg=="), "f");
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("Zg="), "f") << "what is missing of the padding is added";
}

TEST(RemoteCryptoTest, WhatIsNoBase64GivesNothing)
{
    for (const char* text : { "A", "AAAAA", "====", "A===", "Zg=a", "=Zg=", "Z g", " Zg=", "Zg==\n", "Zm9v!", "Zm9v\xC3\xA9" })
        EXPECT_EQ(RemoteCrypto::dataFromBase64URL(text), std::nullopt) << text;
    EXPECT_EQ(RemoteCrypto::dataFromBase64URL("Zg\0="s), std::nullopt);
}

TEST(RemoteCryptoTest, SeveralThreadsSealAndOpenAtOnce)
{
    std::array<bool, 4> isRight{};
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < isRight.size(); ++number) {
        threads.emplace_back([&isRight, number] {
            const std::string message(1000, static_cast<char>('a' + number));
            bool isAllRight = true;
            for (int round = 0; round < 500; ++round) {
                const auto frame = RemoteCrypto::seal(message, key);
                const auto opened = frame ? RemoteCrypto::open(payloadOf(frame.value()), key) : frame;
                isAllRight = isAllRight && opened && opened.value() == message;
            }
            isRight[number] = isAllRight;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(isRight, (std::array<bool, 4>{ true, true, true, true }));
}

} // namespace

// Each thread uses one context of the library again and again.
TEST(RemoteCryptoTest, AFrameThatDoesNotOpenLeavesNothingBehindForTheNext)
{
    const std::string other(RemoteCrypto::keyByteCount, 'o');
    const std::string payload = payloadOf(sealed("first"));
    for (int round = 0; round < 3; ++round) {
        EXPECT_FALSE(RemoteCrypto::open(payload, other));
        EXPECT_FALSE(RemoteCrypto::open(payloadOf(sealed("cut")).substr(0, 30), key));
        const auto opened = RemoteCrypto::open(payload, key);
        ASSERT_TRUE(opened);
        EXPECT_EQ(opened.value(), "first");
        const auto frame = RemoteCrypto::seal("second", other);
        ASSERT_TRUE(frame);
        EXPECT_FALSE(RemoteCrypto::open(payloadOf(frame.value()), key));
        EXPECT_EQ(RemoteCrypto::open(payloadOf(frame.value()), other).value(), "second");
    }
}

} // namespace tessarin
