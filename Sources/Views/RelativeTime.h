#pragma once

#include "Platform/Instant.h"

#include <QString>

namespace tessarin
{

// A past moment as people speak of it: "just now", "2 minutes ago", "yesterday", "last week". Days, weeks, months and years count by
// the calendar of the local time zone; less than a day ago counts by the clock. A moment in the future reads "just now".
[[nodiscard]] QString relativeTime(Instant moment, Instant now);

} // namespace tessarin
