#pragma once

#include "Updates/Appcast.h"
#include "Updates/ReleaseStatement.h"

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
    std::string os; // that of the system

    // What the feed states of it, as its publisher would have to have signed it.
    [[nodiscard]] ReleaseStatement statement() const;
};

namespace UpdateChoice
{

// The newest item of the feed that is newer than the running version, by compareVersions: the same version and an older one are never
// offered. Of two equal ones the first in the feed. Only the default channel counts, and only files for this system: a file is for the one
// that it names, else for the one that its item names, else, as Sparkle has it, for macOS; what names two is for neither. The item's
// minimum has to be met; when the system's version is not known, only items without one count. Of an item's files one that names the
// system itself comes first. Absent for none. Pure.
[[nodiscard]] std::optional<AvailableUpdate> newest(const Appcast& feed, std::string_view runningVersion, const UpdateSystem& system);

} // namespace UpdateChoice

} // namespace tessarin
