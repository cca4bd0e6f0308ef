#pragma once

#include <QString>

namespace tessarin
{

// The character of a Markdown entity such as "&amp;", "&#233;" or "&#xE9;". An unknown one stays as it is written.
[[nodiscard]] QString entityText(const QString& entity);

} // namespace tessarin
