#pragma once

#include "Views/TextBlock.h"

#include <QList>

#include <string>
#include <string_view>

namespace tessarin
{

// Markdown (CommonMark with GitHub's tables, task lists, strikethrough and bare links) to flat blocks. Raw HTML is text like any other,
// an image is a link named by its alternative text. A text that the parser gives up on comes back as one plain paragraph.
[[nodiscard]] QList<TextBlock> parseMarkdown(std::string_view text);

// The text as it stands, as one paragraph.
[[nodiscard]] TextBlock plainBlock(std::string_view text);

} // namespace tessarin
