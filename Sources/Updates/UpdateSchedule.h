#pragma once

#include "Platform/Instant.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin::UpdateSchedule
{

// How often an updater looks by itself.
inline constexpr std::chrono::seconds interval = std::chrono::hours(24);

// How long to wait at `now` for the next automatic look: nothing when there was none yet, or when the last one lies an interval back. A
// last look that lies ahead, because the clock was wrong then or is now, does not count. Never longer than the interval. Pure.
[[nodiscard]] std::chrono::milliseconds untilNextLook(const std::optional<Instant>& lastLook, Instant now);

// A moment as it is stored, in whole seconds since 2001, and back; absent for any other text.
[[nodiscard]] std::string storedText(Instant lastLook);
[[nodiscard]] std::optional<Instant> lastLookFrom(std::string_view text);

} // namespace tessarin::UpdateSchedule
