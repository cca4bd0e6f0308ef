#pragma once

#include "Models/ProviderUsage.h"
#include "Platform/Json.h"

namespace tessarin
{

// The JSON form of an allowance report, the instant in seconds since 2001. Absent fields are left out.
// Requires: all numbers are finite.
[[nodiscard]] JsonObject encodeProviderUsage(const ProviderUsage& usage);
// `provider` and `exhausted` are required; a wrong type anywhere fails the whole. A null counts as absent, unknown keys are passed over.
[[nodiscard]] std::optional<ProviderUsage> decodeProviderUsage(const JsonObject& object);

} // namespace tessarin
