#include "Views/UpdateController.h"

#include "Platform/Preferences.h"
#include "Platform/Text.h"
#include "Views/UpdateRules.h"

namespace tessarin
{

UpdateController::UpdateController(Preferences& preferences, const SoftwareUpdaterFactory& makeUpdater, QObject* parent)
    : QObject(parent), m_preferences(preferences), m_statusMessage(UpdateRules::statusMessage(false))
{
    const std::string stored = preferences.text(feedURLKey).value_or("");
    const std::string_view address = trimmed(stored);
    m_feedURL
        = address.empty() ? QString::fromUtf8(defaultFeedURL) : QString::fromUtf8(address.data(), static_cast<qsizetype>(address.size()));
    m_updater = makeUpdater(*this);
    if (isConfigured()) {
        startUpdaterIfNeeded();
    }
    refreshStatus();
}

void UpdateController::updateFeedURL(const QString& text)
{
    const std::string entered = text.toStdString();
    const std::string address(trimmed(entered));
    const QString feedURL = QString::fromStdString(address);
    const bool isOther = feedURL != m_feedURL;
    m_feedURL = feedURL;
    m_preferences.setText(feedURLKey, address);
    if (isConfigured()) {
        startUpdaterIfNeeded();
    }
    if (m_updaterStarted) {
        m_updater->resetUpdateCycleAfterShortDelay();
    }
    refreshStatus();
    if (isOther) {
        emit feedURLChanged();
    }
}

void UpdateController::checkForUpdates()
{
    if (!isConfigured()) {
        setStatusMessage(UpdateRules::cannotCheckMessage());
        return;
    }
    startUpdaterIfNeeded();
    m_updater->checkForUpdates();
}

bool UpdateController::isConfigured() const
{
    return UpdateRules::validatedFeedURL(m_feedURL).has_value();
}

bool UpdateController::automaticallyChecksForUpdates() const
{
    return m_updater->automaticallyChecksForUpdates();
}

void UpdateController::setAutomaticallyChecksForUpdates(bool checks)
{
    m_updater->setAutomaticallyChecksForUpdates(checks);
    emit automaticallyChecksForUpdatesChanged();
}

std::optional<std::string> UpdateController::feedURLString(const SoftwareUpdater&)
{
    const auto url = UpdateRules::validatedFeedURL(m_feedURL);
    return url ? std::optional(url->toString(QUrl::FullyEncoded).toStdString()) : std::nullopt;
}

void UpdateController::startUpdaterIfNeeded()
{
    if (!m_updaterStarted) {
        m_updater->startUpdater();
        m_updaterStarted = true;
    }
}

void UpdateController::refreshStatus()
{
    setStatusMessage(UpdateRules::statusMessage(isConfigured()));
}

void UpdateController::setStatusMessage(const QString& message)
{
    if (message != m_statusMessage) {
        m_statusMessage = message;
        emit statusMessageChanged();
    }
}

} // namespace tessarin
