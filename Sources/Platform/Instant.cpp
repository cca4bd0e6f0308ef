#include "Platform/Instant.h"

#include <chrono>

namespace tessarin
{

Instant Instant::now()
{
    using namespace std::chrono;
    // Whole nanoseconds until the epochs are apart: a double of seconds since 1970 would lose digits that one since 2001 keeps.
    constexpr auto distance = seconds(static_cast<std::int64_t>(epochDistance));
    const auto sinceReference = duration_cast<nanoseconds>(system_clock::now().time_since_epoch()) - distance;
    return { duration<double>(sinceReference).count() };
}

} // namespace tessarin
