#pragma once

#include "Updates/Appcast.h"

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The system that an update would have to run on.
struct UpdateSystem {
    std::string os; // as feeds name it: "linux", "macos"
    std::string version; // what minimumSystemVersion is compared with; on Linux that of the kernel. Empty: not known

    [[nodiscard]] static UpdateSystem current();
};

// An item that can be installed here, with the one of its files that is for this system.
struct AvailableUpdate {
    AppcastItem item;
    AppcastEnclosure enclosure;
};

namespace UpdateChoice
{

// The newest item of the feed that is newer than the running version, by compareVersions: the same version and an older one are never
// offered. Of two equal ones the first in the feed. Only the default channel counts, and only items for this system or for any, with a
// minimum that the system meets; when the system's version is not known, only items without a minimum. Of an item's files that for
// this system by name comes before one for any. Absent for none. Pure.
[[nodiscard]] std::optional<AvailableUpdate> newest(const Appcast& feed, std::string_view runningVersion, const UpdateSystem& system);

} // namespace UpdateChoice

} // namespace tessarin
