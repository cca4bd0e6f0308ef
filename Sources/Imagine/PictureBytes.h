#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// What the bytes of a picture tell before a decoder sees them. They may come from anywhere, and the decoders trust them more than we do: a
// picture that ends early is shown grey, a text in it is unpacked to thousands of times its size. Any thread.
namespace PictureBytes
{

enum class Format { gif, jpeg, png, webp };

// By the signature, whatever the file is called. Absent for everything else, drawings in XML among them.
[[nodiscard]] std::optional<Format> format(std::string_view bytes);

// Only what the first picture needs: a PNG without its texts and profiles (PNG 1.2, chapter 4), a GIF without the pictures after the first
// (GIF89a). Absent when the picture has no end. Requires: these bytes have that format.
[[nodiscard]] std::optional<std::string> essentials(Format format, std::string bytes);

// How often the whole picture is gone over: the scans of a JPEG (ITU T.81), of which a small file may have thousands.
[[nodiscard]] std::size_t passes(Format format, std::string_view bytes);

} // namespace PictureBytes

} // namespace tessarin
