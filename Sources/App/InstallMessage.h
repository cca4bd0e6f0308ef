#pragma once

#include "Models/AgentProvider.h"

#include <string_view>

namespace tessarin
{

// What a person needs to do before a runtime of this provider can start.
[[nodiscard]] std::string_view installMessage(AgentProvider provider);

} // namespace tessarin
