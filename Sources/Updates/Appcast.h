#pragma once

#include "Platform/Result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// What an item of a feed offers for download.
struct AppcastEnclosure {
    std::string url;
    std::optional<std::uint64_t> length; // in bytes; absent also when it is no plain number
    std::string type; // media type
    std::string edSignature; // Base64 of the Ed25519 signature over the archive; empty when the feed states none
    std::string releaseSignature; // likewise over what is stated of it (ReleaseStatement)
    std::string os; // empty: not said
    std::string version; // the attributes: they count where the item has no elements of these names
    std::string shortVersionString;
    bool operator==(const AppcastEnclosure&) const = default;
};

// One release. What the feed does not say is empty.
struct AppcastItem {
    std::string title;
    std::string version; // sparkle:version, an element, else the attribute of the first enclosure that has one
    std::string shortVersionString; // likewise: what a person reads
    std::string minimumSystemVersion;
    std::string os;
    std::string channel; // empty: the default one
    std::string description; // as the feed has it, markup and all: never shown without a look at what it is
    std::string releaseNotesLink;
    std::string pubDate; // RFC 822, not read any further
    std::vector<AppcastEnclosure> enclosures;
    bool operator==(const AppcastItem&) const = default;
};

struct AppcastError {
    std::string text;
    [[nodiscard]] const std::string& description() const { return text; }
};

// A feed of releases: RSS 2.0 with the elements and attributes of http://www.andymatuschak.org/xml-namespaces/sparkle and the attribute of
// ReleaseStatement, whatever prefixes the feed gives their namespaces. The feed is hostile until read: nothing is fetched that it names, a
// document type (with which entities would come) is refused, and so is what goes beyond the limits.
struct Appcast {
    static constexpr std::size_t byteLimit = std::size_t{ 4 } * 1024 * 1024;
    static constexpr int depthLimit = 64;
    static constexpr std::size_t itemLimit = 10'000;
    static constexpr std::size_t enclosureLimit = 100; // of one item
    static constexpr std::size_t versionByteLimit = 200; // of each version in an item: that of the system too, and what a person reads
    static constexpr std::size_t linkByteLimit = 2'000; // a longer address is none

    // In the order of the feed. Those without a version or an enclosure are left out, and those with a version beyond the limit.
    std::vector<AppcastItem> items;

    // Fails for what is not well-formed, is no RSS, exceeds a limit, or is in an encoding other than UTF-8, UTF-16, ISO-8859-1 and ASCII.
    // Texts are UTF-8, without white space at both ends.
    [[nodiscard]] static Result<Appcast, AppcastError> parse(std::string_view xml);
};

} // namespace tessarin
