#pragma once

#include "Models/EntrySlicer.h"
#include "Models/Workspace.h"

#include <optional>
#include <string_view>
#include <vector>

namespace tessarin
{

// Decodes a stored tree as decodeWorkspaces does. With a slicer, which is one of this text, it also learns where the entries are.
[[nodiscard]] std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view text, EntrySlicer* slicer);

} // namespace tessarin
