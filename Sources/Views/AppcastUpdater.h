#pragma once

#include "Platform/Instant.h"
#include "Platform/MainThread.h"
#include "Updates/SoftwareUpdater.h"

#include <QMetaObject>
#include <QUrl>

#include <optional>

namespace tessarin
{

class Preferences;
class UpdateFlow;

// The updater of systems without Sparkle. It decides when to look and stores that; UpdateFlow looks, asks and tells. It looks by itself
// once a day while the program runs, and soon after the start when the last look is longer ago; that is off until a person turns it
// on. There is one delayed work until the next look and none while it is off: no polling. What is shown to a person holds a look up that
// is due until it has been closed. Main thread only; what it is given outlives it.
class AppcastUpdater : public SoftwareUpdater
{
public:
    static constexpr const char* automaticallyChecksKey = "automaticallyChecksForUpdates";
    // Where the moment of the last look is stored, whoever asked for it and whatever came of it. A look that is
    // dropped because the address has changed does not count.
    static constexpr const char* lastLookKey = "lastUpdateLook.v1";
    // Between a change or the start and an automatic look that is due: while an address is typed there is none at each letter.
    static constexpr std::chrono::seconds shortDelay{ 2 };

    struct Surroundings {
        Preferences& preferences;
        MainThread& mainThread;
        UpdateFlow& flow;
        InstantSource now = &Instant::now;
    };

    AppcastUpdater(SoftwareUpdaterDelegate& delegate, Surroundings surroundings);
    ~AppcastUpdater() override;
    AppcastUpdater(const AppcastUpdater&) = delete;
    AppcastUpdater& operator=(const AppcastUpdater&) = delete;

    void startUpdater() override;
    void checkForUpdates() override;
    void resetUpdateCycleAfterShortDelay() override;
    [[nodiscard]] bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool checks) override;

private:
    void schedule();
    void lookByItself();
    void lookWhenNothingIsShown();
    void noteLook();
    [[nodiscard]] std::optional<QUrl> feedAddress() const;
    [[nodiscard]] std::chrono::milliseconds untilNextLook() const;

    SoftwareUpdaterDelegate& m_delegate;
    const Surroundings m_surroundings;
    QMetaObject::Connection m_flowChanged;
    bool m_isStarted = false;
    std::optional<MainThread::DelayID> m_nextLook;
};

} // namespace tessarin
