#pragma once

#include "App/ModelChange.h"

#include <algorithm>
#include <initializer_list>

namespace tessarin
{

// For what is read anew after changes of several kinds.
[[nodiscard]] inline bool isOneOf(ModelChange::Kind kind, std::initializer_list<ModelChange::Kind> kinds)
{
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

} // namespace tessarin
