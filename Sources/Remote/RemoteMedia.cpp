#include "Remote/RemoteMedia.h"

#include "Platform/FileExtension.h"

#include <array>
#include <utility>

namespace tessarin
{

namespace
{

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> types{ {
    { "png", "image/png" },
    { "webp", "image/webp" },
    { "gif", "image/gif" },
    { "mp4", "video/mp4" },
    { "m4v", "video/mp4" },
    { "mov", "video/quicktime" },
} };

} // namespace

std::string_view mimeType(std::string_view path)
{
    const std::string extension = lowerCasedExtension(path);
    for (const auto& [known, type] : types) {
        if (known == extension) {
            return type;
        }
    }
    return "image/jpeg";
}

} // namespace tessarin
