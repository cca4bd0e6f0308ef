#include "SigningKey.h"
#include "TemporaryFolder.h"
#include "Updates/UpdateSignature.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace tessarin
{
namespace
{

constexpr const char* notValid = "The update was not installed. Its signature is not valid.";
constexpr const char* notSigned = "The update was not installed. It is not signed.";

// What is stated of an archive whose own signature is good.
class ReleaseSignatureTest : public testing::Test
{
protected:
    // Why it is refused, empty when it verifies. Each refusal comes before a byte of the archive is looked at.
    [[nodiscard]] std::string refusalOf(const ReleaseStatement& stated) const { return refusalOf(stated, archive); }
    [[nodiscard]] std::string refusalOf(const ReleaseStatement& stated, const std::string& bytes) const
    {
        const auto may = UpdateSignature::mayVerify(stated, key.updateKey());
        const std::string before = may ? "" : may.error().description();
        writeWholeFile(folder / "archive", bytes);
        const auto verified = UpdateSignature::verify(OpenedFile::open(folder / "archive").value(), stated, key.updateKey());
        const std::string after = verified ? "" : verified.error().description();
        EXPECT_EQ(before, after) << "what can't verify need not be fetched";
        return after;
    }

    const TemporaryFolder folder;
    const SigningKey key;
    const std::string archive = "the bytes of an old release";
    const ReleaseStatement old = key.statementOf(archive, "1.0");
};

TEST_F(ReleaseSignatureTest, WhatIsStatedAsItWasSignedVerifies)
{
    EXPECT_EQ(refusalOf(old), "");
}

TEST_F(ReleaseSignatureTest, AnOldGenuineArchiveUnderANewVersionIsRefused)
{
    ReleaseStatement stated = old;
    stated.version = "99.0";
    EXPECT_EQ(refusalOf(stated), notValid);
    stated.version = "1.0.0";
    EXPECT_EQ(refusalOf(stated), notValid) << "an equal version is another text";
}

TEST_F(ReleaseSignatureTest, AnotherPartThanTheOneThatWasSignedIsRefused)
{
    const std::vector<std::function<void(ReleaseStatement&)>> changes{
        [](ReleaseStatement& stated) { stated.shownVersion = "99.0"; },
        [](ReleaseStatement& stated) { stated.os = "macos"; },
        [](ReleaseStatement& stated) { ++*stated.length; },
        [](ReleaseStatement& stated) { --*stated.length; },
        [](ReleaseStatement& stated) { stated.version = "1.0\n"; },
        [this](ReleaseStatement& stated) { stated.archiveSignature = key.signatureOf("the bytes of a newer one..."); },
    };
    for (std::size_t change = 0; change < changes.size(); ++change) {
        ReleaseStatement stated = old;
        changes[change](stated);
        EXPECT_EQ(refusalOf(stated), notValid) << change;
    }
}

TEST_F(ReleaseSignatureTest, TheSignatureOfAnotherReleaseIsRefused)
{
    ReleaseStatement stated = old;
    stated.version = "99.0";
    stated.signature = key.statementOf("the bytes of a new release!", "99.0").signature;
    EXPECT_EQ(refusalOf(stated), notValid) << "one genuine version and another genuine archive";
}

TEST_F(ReleaseSignatureTest, WithoutItTheReleaseIsNotSigned)
{
    ReleaseStatement stated = old;
    stated.signature.clear();
    EXPECT_EQ(refusalOf(stated), notSigned);
}

TEST_F(ReleaseSignatureTest, OneThatIsNotExactly64BytesInBase64IsRefused)
{
    const std::string good = old.signature;
    for (const std::string& wrong :
        { good.substr(0, 60), good.substr(0, 87), good + "AAAA", " " + good, "\n" + good, std::string(88, '=') }) {
        ReleaseStatement stated = old;
        stated.signature = wrong;
        EXPECT_EQ(refusalOf(stated), notValid) << wrong;
    }
}

TEST_F(ReleaseSignatureTest, OneByAnotherKeyIsRefused)
{
    EXPECT_EQ(refusalOf(SigningKey().signedStatement(old)), notValid);
}

TEST_F(ReleaseSignatureTest, TheSignatureOfTheArchiveIsNoneOfTheRelease)
{
    ReleaseStatement stated = old;
    stated.signature = old.archiveSignature;
    EXPECT_EQ(refusalOf(stated), notValid);
}

TEST_F(ReleaseSignatureTest, TheSignatureOfTheReleaseIsNoneOfItsArchive)
{
    ReleaseStatement stated = old;
    stated.archiveSignature = old.signature;
    EXPECT_EQ(refusalOf(stated), notValid);
}

// Its text has a good signature, so as an archive it would verify by that alone.
TEST_F(ReleaseSignatureTest, ASignedStatementIsNoArchive)
{
    const std::string text = old.text().value();
    const ReleaseStatement stated{ "99.0", "", "linux", text.size(), old.signature, old.signature };
    EXPECT_EQ(refusalOf(stated, text), notValid);
}

} // namespace
} // namespace tessarin
