#pragma once

#include <compare>
#include <functional>

namespace tessarin
{

// A moment in time, in seconds since 2001-01-01T00:00:00Z. Stored records count from there, the remote wire from 1970.
struct Instant {
    double secondsSince2001 = 0;

    // Seconds from 1970-01-01T00:00:00Z to 2001-01-01T00:00:00Z.
    static constexpr double epochDistance = 978307200.0;

    [[nodiscard]] static Instant now();
    [[nodiscard]] static constexpr Instant fromSecondsSince1970(double seconds) { return { seconds - epochDistance }; }
    [[nodiscard]] constexpr double secondsSince1970() const { return secondsSince2001 + epochDistance; }
    auto operator<=>(const Instant&) const = default;
};

// Where the present moment comes from; tests pass their own.
using InstantSource = std::function<Instant()>;

} // namespace tessarin
