#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// What a feed states of one release, and what its publisher signs of that: so an older archive, though it is genuine, is nothing under a
// newer version, and an archive for another system is nothing here.
struct ReleaseStatement {
    // The feed's attribute for the signature over the statement, in a namespace of our own: other readers of feeds pass it over.
    static constexpr std::string_view attributeNamespace = "urn:tessarin:release";
    static constexpr std::string_view attribute = "releaseSignature";

    std::string version;
    std::string shownVersion; // what a person reads instead of it; empty for none
    std::string os; // as feeds name it, in lower case
    std::optional<std::uint64_t> length; // of the archive, in bytes
    std::string archiveSignature; // Base64 of the Ed25519 signature over the archive; empty when the feed states none
    std::string signature; // likewise over text(); not a part of that

    // The bytes that are signed: "tessarin release" and then each of the first five on a line of its own. Two different statements never
    // have the same text, so there is none when one of them holds a line break, or the length is not stated. An archive is no such text,
    // and such a text no archive: neither signature is good for the other.
    [[nodiscard]] std::optional<std::string> text() const;
    bool operator==(const ReleaseStatement&) const = default;
};

} // namespace tessarin
