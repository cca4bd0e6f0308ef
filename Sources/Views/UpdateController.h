#pragma once

#include "Updates/SoftwareUpdater.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

class Preferences;

// What the window knows of software updates: it keeps the address of the feed, decides whether that is usable, starts the updater at the
// right moment and hands on what the person asks for. It downloads, verifies and installs nothing itself. One for the whole run, owned
// by the application object. Once started the updater stays on, also when the feed turns unusable; it just finds no address then. Main
// thread only.
class UpdateController : public QObject, private SoftwareUpdaterDelegate
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes its update controller")
    Q_PROPERTY(QString feedURL READ feedURL NOTIFY feedURLChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(bool isConfigured READ isConfigured NOTIFY feedURLChanged)
    Q_PROPERTY(bool automaticallyChecksForUpdates READ automaticallyChecksForUpdates WRITE setAutomaticallyChecksForUpdates NOTIFY
            automaticallyChecksForUpdatesChanged)
public:
    static constexpr const char* feedURLKey = "updateFeedURL.v1";
    // Nobody can own a host below "example" (RFC 2606), so until a release is built with a feed of its own, none is found.
    static constexpr const char* defaultFeedURL = "https://updates.tessarin.example/appcast.xml";

    // Shows the stored address, else the default one, which is not stored by that; starts the updater when the address is usable.
    UpdateController(Preferences& preferences, const SoftwareUpdaterFactory& makeUpdater, QObject* parent = nullptr);

    // Without blanks at both ends it is shown and stored, also when it is empty or not usable; an updater that runs begins anew with it.
    Q_INVOKABLE void updateFeedURL(const QString& text);
    // With an unusable feed only says so.
    Q_INVOKABLE void checkForUpdates();

    [[nodiscard]] const QString& feedURL() const { return m_feedURL; }
    [[nodiscard]] const QString& statusMessage() const { return m_statusMessage; }
    [[nodiscard]] bool isConfigured() const;
    // Kept by the updater, not here.
    [[nodiscard]] bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool checks);

signals:
    void feedURLChanged();
    void statusMessageChanged();
    void automaticallyChecksForUpdatesChanged();

private:
    [[nodiscard]] std::optional<std::string> feedURLString(const SoftwareUpdater& updater) override;

    void startUpdaterIfNeeded();
    void refreshStatus();
    void setStatusMessage(const QString& message);

    Preferences& m_preferences;
    QString m_feedURL;
    QString m_statusMessage;
    std::unique_ptr<SoftwareUpdater> m_updater;
    bool m_updaterStarted = false;
};

} // namespace tessarin
