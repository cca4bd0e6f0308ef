#include "Updates/ArchiveKeeping.h"

#include "SigningKey.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace tessarin::ArchiveKeeping
{
namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ArchiveKeepingTest : public testing::Test
{
protected:
    // As it comes out of a good signature: there is no other way to one.
    [[nodiscard]] VerifiedArchive archiveOf(const std::string& bytes) const
    {
        writeWholeFile(outside / "archive", bytes);
        return UpdateSignature::verify(OpenedFile::open(outside / "archive").value(), key.statementOf(bytes), key.updateKey()).value();
    }

    const TemporaryFolder outside;
    const TemporaryFolder folder;
    const SigningKey key;
};

TEST(ArchiveNameTest, IsTheLastPartOfTheAddressWithoutAnythingThatMeansSomething)
{
    EXPECT_EQ(fileName("https://example.com/releases/tessarin-2.0_amd64.deb", "2.0"), "tessarin-2.0_amd64.deb");
    EXPECT_EQ(fileName("https://example.com/a.tar.gz?token=/b#c/d", "2.0"), "a.tar.gz");
    EXPECT_EQ(fileName("https://example.com/..", "2.0"), "tessarin-2.0");
    EXPECT_EQ(fileName("https://example.com/.bashrc", "2.0"), "bashrc");
    EXPECT_EQ(fileName("https://example.com/-rf", "2.0"), "rf");
    EXPECT_EQ(fileName("https://example.com/a%2F..%2Fb;rm $HOME`", "2.0"), "a-2F..-2Fb-rm--HOME-");
    EXPECT_EQ(fileName("https://example.com/é.deb", "2.0"), "deb") << "what is left begins with a letter";
}

TEST(ArchiveNameTest, WithNothingOfTheAddressItIsTheVersion)
{
    EXPECT_EQ(fileName("https://example.com", "2.0"), "tessarin-2.0");
    EXPECT_EQ(fileName("https://example.com/releases/", "2.0"), "tessarin-2.0");
    EXPECT_EQ(fileName("", "../2 0"), "tessarin-2-0");
}

TEST(ArchiveNameTest, ALongOneKeepsItsEnd)
{
    const std::string name = fileName("https://example.com/" + std::string(5000, 'a') + ".deb", "2.0");
    EXPECT_EQ(name.size(), 120U);
    EXPECT_TRUE(name.ends_with("a.deb"));
}

TEST_F(ArchiveKeepingTest, TheFileHasTheVerifiedBytesAndCanNotBeRun)
{
    const auto kept = keep(archiveOf("verified"), folder / "new/updates", "tessarin.deb");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept.value(), folder / "new/updates/tessarin.deb");
    EXPECT_EQ(wholeFile(kept.value()), "verified");
    EXPECT_EQ(fs::status(kept.value()).permissions() & fs::perms(0111), fs::perms::none);
}

TEST_F(ArchiveKeepingTest, NoOtherFileIsEverReplaced)
{
    writeWholeFile(folder / "tessarin.deb", "mine");
    fs::create_symlink(outside / "nowhere", folder / "tessarin-2.deb");
    const auto kept = keep(archiveOf("verified"), folder.path(), "tessarin.deb");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept.value(), folder / "tessarin-3.deb");
    EXPECT_EQ(wholeFile(folder / "tessarin.deb"), "mine");
    EXPECT_FALSE(fs::exists(outside / "nowhere")) << "no link is followed";
    EXPECT_EQ(keep(archiveOf("verified"), folder.path(), "plain").value(), folder / "plain");
    EXPECT_EQ(keep(archiveOf("verified"), folder.path(), "plain").value(), folder / "plain-2");
}

TEST_F(ArchiveKeepingTest, AFolderThatCanNotBeMadeIsToldAndNothingIsLeft)
{
    writeWholeFile(folder / "file", "mine");
    const auto kept = keep(archiveOf("verified"), folder / "file/updates", "tessarin.deb");
    ASSERT_FALSE(kept);
    EXPECT_FALSE(kept.error().description().empty());
    EXPECT_EQ(namesIn(folder.path()), Names{ "file" });
}

} // namespace
} // namespace tessarin::ArchiveKeeping
