#pragma once

#include "Platform/Instant.h"
#include "Platform/Uuid.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

enum class ImagineKind { image, video };
inline constexpr std::array allImagineKinds{ ImagineKind::image, ImagineKind::video };
[[nodiscard]] std::string_view rawText(ImagineKind kind);
[[nodiscard]] std::optional<ImagineKind> imagineKindFromRawText(std::string_view text);

// One file of the media library.
struct ImagineItem {
    Uuid id;
    ImagineKind kind = ImagineKind::image; // by the file's extension
    std::string prompt; // that it was generated from
    std::string localPath; // of the copy in the library, absolute
    std::string fileName; // the last component of localPath
    Instant createdAt; // when it came into the library

    // A new one, with an id of its own, of this moment.
    [[nodiscard]] static ImagineItem make(ImagineKind kind, std::string prompt, std::string localPath, std::string fileName);
    bool operator==(const ImagineItem&) const = default;
};

} // namespace tessarin
