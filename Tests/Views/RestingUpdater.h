#pragma once

#include "Updates/SoftwareUpdater.h"

namespace tessarin
{

// Looks for nothing.
class RestingUpdater : public SoftwareUpdater
{
public:
    void startUpdater() override { }
    void checkForUpdates() override { }
    void resetUpdateCycleAfterShortDelay() override { }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return false; }
    void setAutomaticallyChecksForUpdates(bool /*checks*/) override { }
};

} // namespace tessarin
