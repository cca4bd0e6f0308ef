#include "Imagine/PictureBytes.h"

#include <array>
#include <cstdint>
#include <utility>

namespace tessarin::PictureBytes
{

namespace
{

using namespace std::string_view_literals;

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n"sv;
constexpr std::string_view jpegScan = "\xff\xda"sv;
constexpr std::string_view jpegEnd = "\xff\xd9"sv;

std::size_t byteAt(std::string_view bytes, std::size_t at)
{
    return static_cast<std::uint8_t>(bytes[at]);
}

// Within an entropy-coded scan no marker can stand, so that what follows the last scan ends it.
std::optional<std::string> wholeJpeg(std::string bytes)
{
    const std::size_t scan = bytes.rfind(jpegScan);
    const std::size_t end = bytes.rfind(jpegEnd);
    return scan == std::string::npos || end == std::string::npos || end < scan ? std::nullopt : std::optional(std::move(bytes));
}

// Critical chunks, whose name begins with a capital letter, and the transparency of a palette.
bool isEssentialChunk(std::string_view type)
{
    return (type.front() >= 'A' && type.front() <= 'Z') || type == "tRNS";
}

std::optional<std::string> wholePng(std::string_view bytes)
{
    constexpr std::size_t frame = 12; // length, type and checksum
    std::string kept(pngSignature);
    std::size_t at = pngSignature.size();
    while (bytes.size() - at >= frame) {
        const std::size_t length
            = byteAt(bytes, at) << 24 | byteAt(bytes, at + 1) << 16 | byteAt(bytes, at + 2) << 8 | byteAt(bytes, at + 3);
        if (length > bytes.size() - at - frame) {
            return std::nullopt;
        }
        const std::string_view type = bytes.substr(at + 4, 4);
        if (isEssentialChunk(type)) {
            kept += bytes.substr(at, length + frame);
        }
        if (type == "IEND") {
            return kept;
        }
        at += length + frame;
    }
    return std::nullopt;
}

// Behind the blocks of data, each with its size before it, up to the empty one; absent when there is none.
std::optional<std::size_t> behindGifData(std::string_view bytes, std::size_t at)
{
    while (at < bytes.size()) {
        const std::size_t size = byteAt(bytes, at);
        at += size + 1;
        if (size == 0) {
            return at;
        }
    }
    return std::nullopt;
}

// Of a colour table, by the byte that tells of it.
std::size_t gifTableSize(std::size_t flags)
{
    return (flags & 0x80) != 0 ? std::size_t(3) << ((flags & 0x07) + 1) : 0;
}

std::optional<std::string> wholeGif(std::string_view bytes)
{
    constexpr std::size_t headSize = 13;
    constexpr std::size_t pictureHeadSize = 10;
    constexpr char trailer = ';';
    if (bytes.size() < headSize) {
        return std::nullopt;
    }
    std::size_t at = headSize + gifTableSize(byteAt(bytes, 10));
    while (at < bytes.size()) {
        if (bytes[at] == ',' && bytes.size() - at > pictureHeadSize) {
            const std::size_t codeSize = at + pictureHeadSize + gifTableSize(byteAt(bytes, at + 9));
            const auto end = behindGifData(bytes, codeSize + 1);
            return end ? std::optional(std::string(bytes.substr(0, *end)) + trailer) : std::nullopt;
        }
        const auto behind = bytes[at] == '!' ? behindGifData(bytes, at + 2) : std::nullopt;
        if (!behind) {
            return std::nullopt;
        }
        at = *behind;
    }
    return std::nullopt;
}

std::optional<std::string> wholeWebp(std::string bytes)
{
    constexpr std::size_t headSize = 8; // what the size that is told does not count
    const std::size_t size = byteAt(bytes, 4) | byteAt(bytes, 5) << 8 | byteAt(bytes, 6) << 16 | byteAt(bytes, 7) << 24;
    return bytes.size() - headSize < size ? std::nullopt : std::optional(std::move(bytes));
}

} // namespace

std::optional<Format> format(std::string_view bytes)
{
    if (bytes.starts_with("\xff\xd8\xff"sv)) {
        return Format::jpeg;
    }
    if (bytes.starts_with(pngSignature)) {
        return Format::png;
    }
    if (bytes.starts_with("GIF87a"sv) || bytes.starts_with("GIF89a"sv)) {
        return Format::gif;
    }
    constexpr std::size_t name = 8; // where the kind of a RIFF file stands
    if (bytes.starts_with("RIFF"sv) && bytes.size() > name && bytes.substr(name).starts_with("WEBP"sv)) {
        return Format::webp;
    }
    return std::nullopt;
}

std::optional<std::string> essentials(Format format, std::string bytes)
{
    switch (format) {
    case Format::gif:
        return wholeGif(bytes);
    case Format::jpeg:
        return wholeJpeg(std::move(bytes));
    case Format::png:
        return wholePng(bytes);
    case Format::webp:
        return wholeWebp(std::move(bytes));
    }
    return std::nullopt;
}

std::size_t passes(Format format, std::string_view bytes)
{
    if (format != Format::jpeg) {
        return 1;
    }
    std::size_t count = 0;
    for (std::size_t at = bytes.find(jpegScan); at != std::string_view::npos; at = bytes.find(jpegScan, at + jpegScan.size())) {
        ++count;
    }
    return count;
}

} // namespace tessarin::PictureBytes
