#pragma once

#include <QString>
#include <QUrl>

#include <string>
#include <string_view>

namespace tessarin
{

inline constexpr const char* previewProviderName = "previews";

// Where a view finds the preview of a file: "image://previews/" and the path in the URL-safe form of Base64 (RFC 4648), because a URL
// would change some of what may stand in the name of a file.
[[nodiscard]] QUrl previewAddress(std::string_view path);
// The path again, from what stands behind the last slash.
[[nodiscard]] std::string previewPath(const QString& id);

} // namespace tessarin
