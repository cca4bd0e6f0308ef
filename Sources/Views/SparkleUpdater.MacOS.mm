#include "Views/SparkleUpdater.MacOS.h"

#include "Views/SystemUpdater.h"

#import <Sparkle/Sparkle.h>
#include <functional>
#include <optional>
#include <string>

// Sparkle holds its delegate weakly and asks it for the address of the feed before each look.
@interface TessarinFeedDelegate : NSObject <SPUUpdaterDelegate> {
@public
    std::function<std::optional<std::string>()> feedAddress;
}
@end

@implementation TessarinFeedDelegate
- (nullable NSString*)feedURLStringForUpdater:(SPUUpdater*)updater
{
    static_cast<void>(updater);
    const std::optional<std::string> address = feedAddress();
    return address ? [NSString stringWithUTF8String:address->c_str()] : nil;
}
@end

namespace tessarin
{

struct SparkleUpdater::Implementation {
    TessarinFeedDelegate* __strong delegate;
    SPUStandardUpdaterController* __strong controller;
};

SparkleUpdater::SparkleUpdater(SoftwareUpdaterDelegate& delegate) : m_implementation(std::make_unique<Implementation>())
{
    TessarinFeedDelegate* const feedDelegate = [[TessarinFeedDelegate alloc] init];
    feedDelegate->feedAddress = [this, &delegate] { return delegate.feedURLString(*this); };
    m_implementation->delegate = feedDelegate;
    m_implementation->controller = [[SPUStandardUpdaterController alloc] initWithStartingUpdater:NO
                                                                                 updaterDelegate:feedDelegate
                                                                              userDriverDelegate:nil];
}

SparkleUpdater::~SparkleUpdater()
{
    // Sparkle's own work may outlive this object.
    m_implementation->delegate->feedAddress = [] { return std::optional<std::string>(); };
}

void SparkleUpdater::startUpdater()
{
    [m_implementation->controller startUpdater];
}

void SparkleUpdater::checkForUpdates()
{
    [m_implementation->controller checkForUpdates:nil];
}

void SparkleUpdater::resetUpdateCycleAfterShortDelay()
{
    [m_implementation->controller.updater resetUpdateCycleAfterShortDelay];
}

bool SparkleUpdater::automaticallyChecksForUpdates() const
{
    return m_implementation->controller.updater.automaticallyChecksForUpdates;
}

void SparkleUpdater::setAutomaticallyChecksForUpdates(bool checks)
{
    m_implementation->controller.updater.automaticallyChecksForUpdates = checks;
}

SoftwareUpdaterFactory systemUpdater(Preferences&, MainThread&, UpdateFlow&)
{
    return [](SoftwareUpdaterDelegate& delegate) { return std::make_unique<SparkleUpdater>(delegate); };
}

} // namespace tessarin
