#pragma once

#include <QImage>
#include <QString>

namespace tessarin
{

// A text as a QR code (ISO/IEC 18004): its UTF-8 bytes with error correction level M.
namespace PairingCode
{

inline constexpr int modulePixels = 8;
inline constexpr int quietModules = 1; // light ones around it, beside the padding of what shows it

// Black on white, so many pixels a module. Null for an empty text and for one that is too long.
[[nodiscard]] QImage image(const QString& text);

} // namespace PairingCode

} // namespace tessarin
