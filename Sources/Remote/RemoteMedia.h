#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin
{

// A file of the media library on its way to the devices.
struct RemoteMedia {
    static constexpr std::size_t chunkSize = 196608; // in bytes: 262,144 characters of Base64

    std::string id; // UUID text
    std::string kind; // raw text of ImagineKind
    std::string path;
    std::string fileName;
    bool operator==(const RemoteMedia&) const = default;
};

// By the path's extension; there is no unknown type: all others are pictures of JPEG.
[[nodiscard]] std::string_view mimeType(std::string_view path);

} // namespace tessarin
