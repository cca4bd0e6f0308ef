#include "Updates/UpdateChoice.h"

#include "Platform/Text.h"
#include "Updates/VersionOrder.h"

#include <sys/utsname.h>

namespace tessarin
{

namespace
{

bool isFor(const AppcastItem& item, const AppcastEnclosure& enclosure, const UpdateSystem& system)
{
    constexpr std::string_view unsaid = "macos";
    const std::string ofItem = lowerCased(item.os);
    const std::string ofFile = lowerCased(enclosure.os);
    if (ofItem.empty() && ofFile.empty()) {
        return system.os == unsaid;
    }
    return (ofItem.empty() || ofItem == system.os) && (ofFile.empty() || ofFile == system.os);
}

bool meetsMinimum(const AppcastItem& item, const UpdateSystem& system)
{
    if (item.minimumSystemVersion.empty()) {
        return true;
    }
    return !system.version.empty() && compareVersions(system.version, item.minimumSystemVersion) >= 0;
}

const AppcastEnclosure* enclosureFor(const AppcastItem& item, const UpdateSystem& system)
{
    const AppcastEnclosure* found = nullptr;
    for (const AppcastEnclosure& enclosure : item.enclosures) {
        const bool isBetter = found == nullptr || (found->os.empty() && !enclosure.os.empty());
        if (!enclosure.url.empty() && isFor(item, enclosure, system) && isBetter) {
            found = &enclosure;
        }
    }
    return found;
}

} // namespace

UpdateSystem UpdateSystem::current()
{
#if defined(__APPLE__)
    // The kernel there has numbers of its own. Sparkle chooses on that system.
    return { "macos", {} };
#else
    utsname names{};
    return { "linux", ::uname(&names) == 0 ? names.release : "" };
#endif
}

ReleaseStatement AvailableUpdate::statement() const
{
    return { item.version, item.shortVersionString, os, enclosure.length, enclosure.edSignature, enclosure.releaseSignature };
}

std::optional<AvailableUpdate> UpdateChoice::newest(const Appcast& feed, std::string_view runningVersion, const UpdateSystem& system)
{
    const AppcastItem* best = nullptr;
    const AppcastEnclosure* file = nullptr;
    for (const AppcastItem& item : feed.items) {
        const AppcastEnclosure* const enclosure = enclosureFor(item, system);
        if (enclosure == nullptr || !item.channel.empty() || !meetsMinimum(item, system)) {
            continue;
        }
        if (compareVersions(item.version, best == nullptr ? runningVersion : best->version) > 0) {
            best = &item;
            file = enclosure;
        }
    }
    return best == nullptr ? std::nullopt : std::optional(AvailableUpdate{ *best, *file, system.os });
}

} // namespace tessarin
