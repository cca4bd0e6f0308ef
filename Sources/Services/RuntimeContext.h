#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Preferences.h"

#include <functional>
#include <optional>
#include <string>

namespace tessarin
{

// The places where runtimes are searched differ by system; both tables are in the program.
enum class LocatorPlatform { macOS, linux };
#if defined(__APPLE__)
inline constexpr LocatorPlatform currentLocatorPlatform = LocatorPlatform::macOS;
#else
inline constexpr LocatorPlatform currentLocatorPlatform = LocatorPlatform::linux;
#endif

// What the locators look at: the person's settings, the environment of this process, the home folder, the system.
struct RuntimeContext {
    // The stored text of a preference key.
    std::function<std::optional<std::string>(const std::string& key)> preference;
    Environment environment;
    std::string home;
    LocatorPlatform platform = currentLocatorPlatform;

    // Of this process. `preferences` has to outlive the context.
    [[nodiscard]] static RuntimeContext current(const Preferences& preferences);
};

} // namespace tessarin
