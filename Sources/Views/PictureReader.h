#pragma once

#include <QImage>
#include <QSize>

#include <cstddef>
#include <string>

namespace tessarin
{

// What is read of a picture at most. Beyond that there is none.
namespace PictureLimits
{

inline constexpr std::size_t fileBytes = 64 * 1024 * 1024;
inline constexpr qint64 pixels = 32 * 1024 * 1024; // a picture of 8K has a few less
inline constexpr qint64 decodedPixels = 10 * pixels; // with all the passes over them

} // namespace PictureLimits

// The picture in a file (GIF, JPEG, PNG, WebP, by what it holds, upright, the first of a moving one), cut to the shape of `size` around its
// middle, and no larger than that. A null image when there is none: no regular file, not readable, another kind, damaged, beyond the
// limits. Blocks while the disk and the decoder work. Any thread.
[[nodiscard]] QImage readPicture(const std::string& path, QSize size);

} // namespace tessarin
