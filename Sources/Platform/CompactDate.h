#pragma once

#include "Platform/Instant.h"

#include <string>

namespace tessarin
{

// The second of an instant in UTC in the shortest form of ISO 8601, fit for file names, as in 20261121T083000Z.
[[nodiscard]] std::string compactDate(Instant instant);

} // namespace tessarin
