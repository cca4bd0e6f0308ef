#include "Updates/UpdateSignature.h"

#include "Platform/BackgroundWork.h"
#include "SigningKey.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <latch>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace tessarin
{
namespace
{

using testing::HasSubstr;

class UpdateSignatureTest : public testing::Test
{
protected:
    void SetUp() override { writeWholeFile(path, bytes); }

    [[nodiscard]] ReleaseStatement stated() const { return key.statementOf(bytes); }
    // Why the archive is refused, empty when it verifies.
    [[nodiscard]] std::string refusalOf(const ReleaseStatement& statement) const { return refusalOf(statement, key.updateKey()); }
    [[nodiscard]] std::string refusalOf(const ReleaseStatement& statement, const std::optional<UpdateKey>& publicKey) const
    {
        const auto archive = UpdateSignature::verify(opened(), statement, publicKey);
        return archive ? "" : archive.error().description();
    }

    [[nodiscard]] OpenedFile opened() const { return OpenedFile::open(path).value(); }

    const TemporaryFolder folder;
    const std::string path = folder / "archive";
    const SigningKey key;
    const std::string bytes = "the bytes of a release" + std::string(100'000, 'x');
};

TEST_F(UpdateSignatureTest, AGoodSignatureGivesTheBytesThatWereVerified)
{
    const auto archive = UpdateSignature::verify(opened(), stated(), key.updateKey());
    ASSERT_TRUE(archive) << archive.error().description();
    writeWholeFile(path, "other bytes, written later");
    EXPECT_EQ(archive.value().bytes().joined(), bytes);
}

TEST_F(UpdateSignatureTest, OneChangedByteIsRefused)
{
    std::string changed = bytes;
    changed.back() = 'y';
    writeWholeFile(path, changed);
    EXPECT_EQ(refusalOf(stated()), "The update was not installed. Its signature is not valid.");
}

TEST_F(UpdateSignatureTest, ASignatureByAnotherKeyIsRefused)
{
    EXPECT_THAT(refusalOf(stated(), SigningKey().updateKey()), HasSubstr("signature is not valid"));
    ReleaseStatement statement = stated();
    statement.archiveSignature = SigningKey().signatureOf(bytes);
    EXPECT_THAT(refusalOf(key.signedStatement(statement)), HasSubstr("signature is not valid"));
}

TEST_F(UpdateSignatureTest, ASignatureOfOtherBytesIsRefused)
{
    ReleaseStatement statement = stated();
    statement.archiveSignature = key.signatureOf("other bytes");
    EXPECT_THAT(refusalOf(key.signedStatement(statement)), HasSubstr("signature is not valid"));
}

TEST_F(UpdateSignatureTest, NoSignatureIsRefused)
{
    ReleaseStatement statement = stated();
    statement.archiveSignature.clear();
    EXPECT_EQ(refusalOf(key.signedStatement(statement)), "The update was not installed. It is not signed.");
}

TEST_F(UpdateSignatureTest, ASignatureThatIsNotExactly64BytesInBase64IsRefused)
{
    const std::string good = stated().archiveSignature;
    const std::vector<std::string> wrong{ good.substr(0, 84), good.substr(0, 87), good + "AAAA", " " + good.substr(1),
        good.substr(0, 87) + "A", std::string(88, '='), "-" + good.substr(1), "\n" + good, good.substr(0, 86),
        std::string(86, 'A') + "==" };
    for (const std::string& signature : wrong) {
        ReleaseStatement statement = stated();
        statement.archiveSignature = signature;
        EXPECT_THAT(refusalOf(statement.text() ? key.signedStatement(statement) : statement), HasSubstr("signature is not valid"))
            << signature;
    }
}

TEST_F(UpdateSignatureTest, ABuildWithoutAKeyRefusesEverything)
{
    EXPECT_EQ(refusalOf(stated(), std::nullopt), "The update was not installed. This build of tessarin has no key to verify updates with.");
}

TEST_F(UpdateSignatureTest, ALengthOtherThanTheStatedOneIsRefusedThoughTheSignatureIsGood)
{
    ReleaseStatement statement = stated();
    for (const std::uint64_t length : { bytes.size() - 1, bytes.size() + 1, std::size_t{ 1 } }) {
        statement.length = length;
        EXPECT_EQ(refusalOf(key.signedStatement(statement)), "The update was not installed. It is not as large as its feed says.")
            << length;
    }
}

TEST_F(UpdateSignatureTest, AFeedThatStatesNoLengthIsRefused)
{
    ReleaseStatement statement = stated();
    statement.length.reset();
    EXPECT_THAT(refusalOf(statement), HasSubstr("does not say how large"));
    statement.length = 0;
    EXPECT_THAT(refusalOf(statement), HasSubstr("does not say how large"));
}

TEST_F(UpdateSignatureTest, WhatIsTooLargeIsNotRead)
{
    ReleaseStatement statement = stated();
    statement.length = UpdateSignature::byteLimit + 1;
    EXPECT_THAT(refusalOf(key.signedStatement(statement)), HasSubstr("too large"));
}

TEST_F(UpdateSignatureTest, AFileThatCannotBeReadIsRefusedWithTheReason)
{
    const OpenedFile file = opened();
    std::filesystem::resize_file(path, bytes.size() - 1);
    const auto archive = UpdateSignature::verify(file, stated(), key.updateKey());
    ASSERT_FALSE(archive);
    EXPECT_EQ(archive.error().description(), "The update was not installed. It can't be read: The file has become shorter.");
}

TEST_F(UpdateSignatureTest, WhoIsToEndItIsAskedBetweenThePieces)
{
    writeWholeFile(path, std::string(10'000'000, 'x'));
    ReleaseStatement statement = stated();
    statement.length = 10'000'000;
    statement = key.signedStatement(statement);
    int asked = 0;
    const auto archive = UpdateSignature::verify(opened(), statement, key.updateKey(), [&] { return ++asked >= 3; });
    ASSERT_FALSE(archive);
    EXPECT_EQ(archive.error().description(), "The update was not installed. It was given up.");
    EXPECT_LE(asked, 4);
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(UpdateSignatureTest, WithoutEnoughMemoryItIsRefused)
{
    std::filesystem::resize_file(path, UpdateSignature::byteLimit); // with nothing in it
    ReleaseStatement statement = stated();
    statement.length = UpdateSignature::byteLimit;
    statement = key.signedStatement(statement);
    const auto inLittleMemory = [&] {
        const rlimit little{ 300'000'000, 300'000'000 };
        setrlimit(RLIMIT_AS, &little);
        std::exit(refusalOf(statement) == "The update was not installed. There is not enough memory to verify it." ? 0 : 1);
    };
    EXPECT_EXIT(inLittleMemory(), testing::ExitedWithCode(0), "");
}
#endif

TEST_F(UpdateSignatureTest, TheEndOfTheProgramGivesItUp)
{
    std::latch begun(1);
    std::string refusal;
    runInBackground([&] {
        begun.count_down();
        const auto last = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!isBackgroundWorkEnding() && std::chrono::steady_clock::now() < last) {
            std::this_thread::yield();
        }
        refusal = refusalOf(stated());
    });
    begun.wait();
    endBackgroundWork();
    EXPECT_EQ(refusal, "The update was not installed. It was given up.");
    EXPECT_EQ(refusalOf(stated()), "");
}

TEST_F(UpdateSignatureTest, AnArchiveOfManyPiecesIsReadWhole)
{
    std::string large;
    while (large.size() < 10'000'000) {
        large += std::to_string(large.size());
    }
    writeWholeFile(path, large);
    const auto archive = UpdateSignature::verify(opened(), key.statementOf(large), key.updateKey());
    ASSERT_TRUE(archive) << archive.error().description();
    EXPECT_TRUE(archive.value().bytes().joined() == large);
}

// RFC 8032, section 7.1, test 3: so that a mistake of ours that signs and verifies alike would show.
TEST_F(UpdateSignatureTest, AgreesWithAPublishedVector)
{
    const SigningKey published = SigningKey::ofSecret("xaqN9D+fg3vtt0QvMdy3sWbThTUHbwlLhc46LgtEWPc=");
    EXPECT_EQ(published.publicKey(), "/FHNjmIYoaONpH7QAjDwWAgW7RO6MwOsXeuRFUiQgCU=");
    writeWholeFile(path, "\xAF\x82");
    const ReleaseStatement statement = published.statementOf("\xAF\x82");
    EXPECT_EQ(statement.archiveSignature, "YpHWV97sJAJIJ+acOr4BowzlSKKEdDpEXjaA19taw6wY/5tTjRbykK5n92CYTcZZSnwV6XFu0o3AJ77O6h7ECg==");
    EXPECT_EQ(refusalOf(statement, published.updateKey()), "");
}

TEST(UpdateKeyTest, IsExactly32BytesInBase64)
{
    const std::string good = SigningKey().publicKey();
    EXPECT_TRUE(UpdateKey::fromBase64(good));
    const std::vector<std::string> wrong{ "", good.substr(0, 40), good + "=", good.substr(0, 43), good.substr(0, 43) + " ", " " + good,
        " " + good.substr(1), "-" + good.substr(1), std::string(44, '='), good.substr(0, 20) + "=" + good.substr(21) };
    for (const std::string& text : wrong) {
        EXPECT_FALSE(UpdateKey::fromBase64(text)) << text;
    }
}

TEST(UpdateKeyTest, TheBuiltInOneIsWhatTheBuildWasGiven)
{
    const std::string given = TESSARIN_UPDATE_PUBLIC_KEY;
    const auto key = UpdateKey::builtIn();
    EXPECT_EQ(key.has_value(), !given.empty());
    if (key) {
        EXPECT_EQ(key->bytes, UpdateKey::fromBase64(given)->bytes);
    }
}

} // namespace
} // namespace tessarin
