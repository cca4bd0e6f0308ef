#include "Updates/Appcast.h"

#include "Feeds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

using testing::HasSubstr;

std::vector<AppcastItem> itemsOf(const std::string& xml)
{
    auto feed = Appcast::parse(xml);
    EXPECT_TRUE(feed.isSuccess()) << (feed ? "" : feed.error().description());
    return feed ? std::move(feed).value().items : std::vector<AppcastItem>();
}

std::string refusalOf(const std::string& xml)
{
    const auto feed = Appcast::parse(xml);
    return feed ? "read" : feed.error().description();
}

TEST(AppcastTest, ReadsAllThatAnItemSays)
{
    const auto items = itemsOf(feedOf(R"(<item>
        <title>  Version 2  </title><pubDate>Sat, 21 Nov 2026 08:30:00 +0000</pubDate>
        <sparkle:version>2.0.1</sparkle:version><sparkle:shortVersionString>2.0</sparkle:shortVersionString>
        <sparkle:minimumSystemVersion>5.10</sparkle:minimumSystemVersion><sparkle:os>linux</sparkle:os><sparkle:channel>beta</sparkle:channel>
        <sparkle:releaseNotesLink>https://example.com/notes</sparkle:releaseNotesLink><description><![CDATA[<b>New</b> & good]]></description>
        <enclosure url="https://example.com/a?b=1&amp;c=2" length="42" type="application/octet-stream" sparkle:edSignature="c2ln" tessarin:releaseSignature="cmVs"
            sparkle:os="linux"/></item>)"));
    ASSERT_EQ(items.size(), 1U);
    const AppcastEnclosure file{ "https://example.com/a?b=1&c=2", 42, "application/octet-stream", "c2ln", "cmVs", "linux", "", "" };
    const AppcastItem wanted{ "Version 2", "2.0.1", "2.0", "5.10", "linux", "beta", "<b>New</b> & good", "https://example.com/notes",
        "Sat, 21 Nov 2026 08:30:00 +0000", { file } };
    EXPECT_EQ(items.front(), wanted);
}

TEST(AppcastTest, TheVersionMayBeAnAttributeOfTheEnclosure)
{
    const auto items = itemsOf(feedOf(R"(<item><enclosure url="u" sparkle:version="7" sparkle:shortVersionString="0.7"/></item>)"));
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().version, "7");
    EXPECT_EQ(items.front().shortVersionString, "0.7");
}

TEST(AppcastTest, AnElementWinsOverTheAttribute)
{
    const auto items = itemsOf(feedOf(R"(<item><enclosure url="u" sparkle:version="7"/><sparkle:version>8</sparkle:version></item>)"));
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().version, "8");
}

TEST(AppcastTest, ItemsWithoutAVersionOrAFileAreLeftOut)
{
    const auto items = itemsOf(
        feedOf("<item><title>News</title></item><item><enclosure url='u'/></item><item><sparkle:version>3</sparkle:version></item>"
            + itemOf("4")));
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().version, "4");
}

TEST(AppcastTest, ItemsWithAVersionBeyondTheLimitAreLeftOut)
{
    const std::string most(Appcast::versionByteLimit, '1');
    const std::string more = most + '1';
    const auto element
        = [](const std::string& name, const std::string& text) { return "<sparkle:" + name + ">" + text + "</sparkle:" + name + ">"; };
    const auto ofEnclosure = [](const std::string& version, const std::string& read) {
        return "<item><enclosure url='u' sparkle:version='" + version + "' sparkle:shortVersionString='" + read + "'/></item>";
    };
    const auto whole = [&](const std::string& text) {
        return itemOf(text) + itemOf("1", element("shortVersionString", text)) + itemOf("1", element("minimumSystemVersion", text))
            + ofEnclosure(text, "1") + ofEnclosure("1", text);
    };
    EXPECT_EQ(itemsOf(feedOf(whole(most))).size(), 5U);
    EXPECT_TRUE(itemsOf(feedOf(whole(more))).empty());
}

TEST(AppcastTest, AnAddressOfNotesBeyondTheLimitIsNone)
{
    const auto linkOf = [](std::size_t size) {
        const std::string link(size, 'x');
        const auto items = itemsOf(feedOf(itemOf("1", "<sparkle:releaseNotesLink>" + link + "</sparkle:releaseNotesLink>")));
        return items.size() == 1 ? items.front().releaseNotesLink : "no item";
    };
    EXPECT_EQ(linkOf(Appcast::linkByteLimit), std::string(Appcast::linkByteLimit, 'x'));
    EXPECT_EQ(linkOf(Appcast::linkByteLimit + 1), "");
}

TEST(AppcastTest, AFeedWithoutItemsIsReadAndEmpty)
{
    EXPECT_TRUE(itemsOf(feedOf("")).empty());
    EXPECT_TRUE(itemsOf("<rss/>").empty());
}

TEST(AppcastTest, TheNamespaceCountsAndNotItsPrefix)
{
    const std::string rest = "<channel><item><s:version>2</s:version><enclosure url='u' s:edSignature='x'/></item></channel></rss>";
    const auto items = itemsOf("<rss xmlns:s='http://www.andymatuschak.org/xml-namespaces/sparkle'>" + rest);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().enclosures.front().edSignature, "x");
    EXPECT_TRUE(itemsOf("<rss xmlns:s='http://example.com/sparkle'>" + rest).empty());
}

TEST(AppcastTest, TheSignatureOfTheReleaseIsInANamespaceOfItsOwn)
{
    const auto signatureIn = [](const std::string& space) {
        const auto items = itemsOf("<rss xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle' xmlns:t='" + space
            + "'><channel><item><sparkle:version>2</sparkle:version><enclosure t:releaseSignature='x' releaseSignature='bare'/></item>"
              "</channel></rss>");
        return items.empty() ? "no item" : items.front().enclosures.front().releaseSignature;
    };
    EXPECT_EQ(signatureIn("urn:tessarin:release"), "x");
    EXPECT_EQ(signatureIn("urn:tessarin:released"), "");
    EXPECT_EQ(signatureIn("http://www.andymatuschak.org/xml-namespaces/sparkle"), "");
}

TEST(AppcastTest, OnlyWhatStandsDirectlyInAnItemOfTheChannelCounts)
{
    const auto items
        = itemsOf(feedOf(itemOf("4", "<sparkle:deltas><enclosure url='delta'/><sparkle:version>9</sparkle:version></sparkle:deltas>")
            + "<image>" + itemOf("5") + "</image>"));
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().version, "4");
    EXPECT_EQ(items.front().enclosures.size(), 1U);
}

TEST(AppcastTest, ALengthThatIsNoPlainNumberIsAbsent)
{
    for (const std::string length : { "", "-1", "1.5", "12a", "0x10", "18446744073709551616", "1e9" }) {
        const auto items = itemsOf(feedOf("<item><sparkle:version>1</sparkle:version><enclosure url='u' length='" + length + "'/></item>"));
        ASSERT_EQ(items.size(), 1U);
        EXPECT_EQ(items.front().enclosures.front().length, std::nullopt) << length;
    }
}

TEST(AppcastTest, OtherEncodingsBecomeUtf8)
{
    const std::string latin
        = "<?xml version='1.0' encoding='ISO-8859-1'?><rss xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'>"
          "<channel>"
        + itemOf("1", "<title>\xFC</title>") + "</channel></rss>";
    const auto items = itemsOf(latin);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().title, "ü");
}

TEST(AppcastTest, BytesThatTheEncodingDoesNotAllowAreRefused)
{
    EXPECT_THAT(refusalOf(feedOf(itemOf("1", "<title>\xFF\xFE</title>"))), HasSubstr("not well-formed"));
    EXPECT_THAT(refusalOf("<?xml version='1.0' encoding='EBCDIC-CP-US'?><rss/>"), HasSubstr("unknown encoding"));
    EXPECT_THAT(refusalOf(feedOf(itemOf("1", "<title>&#xD800;</title>"))), HasSubstr("invalid character"));
}

TEST(AppcastTest, ADocumentTypeIsRefusedSoThatNoEntityGrowsOrReadsAFile)
{
    const std::string laughs = "<!DOCTYPE rss [<!ENTITY a 'ha'><!ENTITY b '&a;&a;&a;'>]><rss><channel><title>&b;</title></channel></rss>";
    EXPECT_EQ(refusalOf(laughs), "The update feed can't be read. It has a document type.");
    EXPECT_THAT(refusalOf("<!DOCTYPE rss SYSTEM 'file:///etc/passwd'><rss/>"), HasSubstr("document type"));
    EXPECT_THAT(refusalOf("<!DOCTYPE html><html></html>"), HasSubstr("document type"));
}

TEST(AppcastTest, AnUnknownEntityIsRefused)
{
    EXPECT_THAT(refusalOf(feedOf(itemOf("1", "<title>&nbsp;</title>"))), HasSubstr("undefined entity"));
}

TEST(AppcastTest, WhatIsNotWellFormedIsRefusedWithItsLine)
{
    EXPECT_EQ(refusalOf("<rss>\n<channel>\n</rss>"), "The update feed can't be read. Line 3: mismatched tag.");
    EXPECT_THAT(refusalOf(""), HasSubstr("no element found"));
    EXPECT_THAT(refusalOf(feedOf(itemOf("1")).substr(0, 200)), HasSubstr("can't be read"));
    EXPECT_THAT(refusalOf("<rss/><rss/>"), HasSubstr("junk after document element"));
}

TEST(AppcastTest, WhatIsNoRssIsRefused)
{
    EXPECT_EQ(refusalOf("<feed xmlns='http://www.w3.org/2005/Atom'/>"), "The update feed can't be read. It is no RSS.");
}

TEST(AppcastTest, NestingIsBounded)
{
    const auto nested = [](int levels) {
        std::string open;
        std::string close;
        for (int level = 3; level < levels; ++level) {
            open += "<b>";
            close += "</b>";
        }
        return "<rss><channel><item>" + open + close + "</item></channel></rss>";
    };
    EXPECT_EQ(refusalOf(nested(Appcast::depthLimit)), "read");
    EXPECT_THAT(refusalOf(nested(Appcast::depthLimit + 1)), HasSubstr("nested too deeply"));
    EXPECT_THAT(refusalOf(nested(100'000)), HasSubstr("nested too deeply"));
}

TEST(AppcastTest, SizeIsBounded)
{
    const std::string start = feedOf(itemOf("1"));
    EXPECT_EQ(refusalOf(start + std::string(Appcast::byteLimit - start.size(), ' ')), "read");
    EXPECT_THAT(refusalOf(start + std::string(Appcast::byteLimit - start.size() + 1, ' ')), HasSubstr("too large"));
}

TEST(AppcastTest, ItemsAndTheirFilesAreBounded)
{
    std::string items;
    for (std::size_t count = 0; count < Appcast::itemLimit; ++count) {
        items += itemOf("1");
    }
    EXPECT_EQ(itemsOf(feedOf(items)).size(), Appcast::itemLimit);
    EXPECT_THAT(refusalOf(feedOf(items + itemOf("1"))), HasSubstr("too many items"));

    std::string files;
    for (std::size_t count = 1; count < Appcast::enclosureLimit; ++count) {
        files += "<enclosure url='u'/>";
    }
    EXPECT_EQ(refusalOf(feedOf(itemOf("1", files))), "read");
    EXPECT_THAT(refusalOf(feedOf(itemOf("1", files + "<enclosure url='u'/>"))), HasSubstr("too many files"));
}

} // namespace
} // namespace tessarin
