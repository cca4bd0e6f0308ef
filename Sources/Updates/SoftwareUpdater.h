#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

class SoftwareUpdater;

// Whom an updater asks where to look. Outlives the updater.
class SoftwareUpdaterDelegate
{
public:
    virtual ~SoftwareUpdaterDelegate() = default;
    // The feed's address at this moment; absent: nowhere. Asked before each look at the feed, so what becomes unusable is not reached.
    [[nodiscard]] virtual std::optional<std::string> feedURLString(const SoftwareUpdater& updater) = 0;
};

// What finds, verifies and installs releases, and tells the person about it: Sparkle's standard updater where there is Sparkle, ours
// elsewhere. It does nothing before startUpdater. Main thread only.
class SoftwareUpdater
{
public:
    virtual ~SoftwareUpdater() = default;

    // Called once.
    virtual void startUpdater() = 0;
    // Looks for a newer release now and tells the person what it found. Requires: startUpdater was called.
    virtual void checkForUpdates() = 0;
    // Begins anew, a moment later, to wait for the next automatic look, after the feed's address has changed.
    virtual void resetUpdateCycleAfterShortDelay() = 0;

    // Whether it looks by itself from time to time. The updater stores this; it may be read and set before it is started.
    [[nodiscard]] virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool checks) = 0;
};

// Makes an updater that is not started.
using SoftwareUpdaterFactory = std::function<std::unique_ptr<SoftwareUpdater>(SoftwareUpdaterDelegate& delegate)>;

} // namespace tessarin
