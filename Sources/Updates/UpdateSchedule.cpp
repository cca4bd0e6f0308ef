#include "Updates/UpdateSchedule.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace tessarin::UpdateSchedule
{

std::chrono::milliseconds untilNextLook(const std::optional<Instant>& lastLook, Instant now)
{
    if (!lastLook) {
        return std::chrono::milliseconds(0);
    }
    const double passed = now.secondsSince2001 - lastLook->secondsSince2001;
    const auto whole = static_cast<double>(interval.count());
    if (!(passed >= 0 && passed < whole)) {
        return std::chrono::milliseconds(0);
    }
    // Rounded up, so that it is due when the time has passed.
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil((whole - passed) * 1000)));
}

std::string storedText(Instant lastLook)
{
    return std::to_string(static_cast<std::int64_t>(std::floor(lastLook.secondsSince2001)));
}

std::optional<Instant> lastLookFrom(std::string_view text)
{
    std::int64_t seconds = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || stopped != end) {
        return std::nullopt;
    }
    return Instant{ static_cast<double>(seconds) };
}

} // namespace tessarin::UpdateSchedule
