#pragma once

#include "Updates/SoftwareUpdater.h"

#include <memory>

namespace tessarin
{

// Sparkle's standard updater (https://sparkle-project.org, version 2) with its own windows. It stores the automatic checks, verifies
// archives with SUPublicEDKey of the bundle's Info.plist, and installs them. Main thread only; the delegate outlives it.
class SparkleUpdater : public SoftwareUpdater
{
public:
    explicit SparkleUpdater(SoftwareUpdaterDelegate& delegate);
    ~SparkleUpdater() override;
    SparkleUpdater(const SparkleUpdater&) = delete;
    SparkleUpdater& operator=(const SparkleUpdater&) = delete;

    void startUpdater() override;
    void checkForUpdates() override;
    void resetUpdateCycleAfterShortDelay() override;
    [[nodiscard]] bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool checks) override;

private:
    struct Implementation; // what speaks Objective-C
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
