#include "Views/UpdateFlow.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Desktop.h"
#include "Platform/MainThread.h"
#include "Platform/Preferences.h"
#include "Updates/ArchiveKeeping.h"
#include "Updates/BackgroundStep.h"
#include "Updates/VersionOrder.h"
#include "Views/UpdateTexts.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace tessarin
{

UpdateFlow::UpdateFlow(Surroundings surroundings, QObject* parent)
    : QObject(parent), m_surroundings(std::move(surroundings)), m_runningVersion(QString::fromStdString(m_surroundings.runningVersion))
{
}

UpdateFlow::~UpdateFlow() = default;

bool UpdateFlow::lookForPerson(const QUrl& feed)
{
    const bool isShownOtherwise = m_isAutomatic || m_isSilent;
    m_isAutomatic = false;
    m_isSilent = false;
    const bool isUnderWay = m_stage == Checking && m_feed == feed;
    const bool begins = m_stage == Idle || m_stage == UpToDate || m_stage == Failed || (m_stage == Checking && !isUnderWay);
    if (begins) {
        look(feed);
    } else if (isShownOtherwise) {
        emit changed();
    }
    emit broughtForward();
    return begins || isUnderWay;
}

bool UpdateFlow::lookByItself(const QUrl& feed)
{
    if (isShown()) {
        return false;
    }
    m_isAutomatic = true;
    m_isSilent = true;
    look(feed);
    return true;
}

bool UpdateFlow::dropSilentLookElsewhere(const std::optional<QUrl>& feed)
{
    const bool isElsewhere = m_stage == Checking && m_isSilent && feed != m_feed;
    if (isElsewhere) {
        end();
    }
    return isElsewhere;
}

void UpdateFlow::look(const QUrl& feed)
{
    m_notes = {};
    dropFetch();
    m_feed = feed;
    auto surroundings = m_surroundings.fetch();
    m_canInstall = surroundings.key.has_value();
    m_fetch = std::make_unique<UpdateFetch>(std::move(surroundings), this);
    setStage(Checking);
    const std::string& newest = m_installedVersion.empty() ? m_surroundings.runningVersion : m_installedVersion;
    m_fetch->findNewest(feed, newest, m_surroundings.system, [this, fetch = m_fetch.get()](const UpdateFetch::Found& found) {
        if (fetch == m_fetch.get()) {
            judge(found);
        }
    });
}

void UpdateFlow::judge(const UpdateFetch::Found& found)
{
    const bool isOffer = found && found.value();
    if (m_isSilent && (!isOffer || isSkipped(found.value()->item.version))) {
        end();
    } else if (!found) {
        fail(found.error().description());
    } else if (isOffer) {
        offer(*found.value());
    } else {
        setStage(m_installedVersion.empty() ? UpToDate : Installed);
    }
}

void UpdateFlow::offer(const AvailableUpdate& update)
{
    m_update = update;
    m_version = UpdateTexts::version(update.item);
    const QString notes = UpdateTexts::notes(update.item);
    m_notes = notes.isEmpty() ? StyledRuns() : StyledRuns::fromText(notes);
    m_isSilent = false;
    setStage(Found);
}

void UpdateFlow::install()
{
    if (m_stage == Found && m_canInstall) {
        fetch();
    }
}

void UpdateFlow::fetch()
{
    m_received = 0;
    m_whole = static_cast<qint64>(m_update->enclosure.length.value_or(0));
    setStage(Fetching);
    emit progressChanged();
    m_fetch->fetchArchive(
        *m_update, [this](qint64 received, std::optional<qint64>) { noteProgress(received); },
        [this, fetch = m_fetch.get()](const UpdateFetch::Fetched& fetched) {
            if (fetch == m_fetch.get()) {
                judge(fetched);
            }
        });
}

void UpdateFlow::noteProgress(qint64 received)
{
    m_received = received;
    emit progressChanged();
}

void UpdateFlow::judge(const UpdateFetch::Fetched& fetched)
{
    if (fetched) {
        put(fetched.value());
    } else {
        fail(fetched.error().description());
    }
}

// What was begun is brought to its end, also by the end of the program.
template <class Outcome, class Work>
void UpdateFlow::putThen(Work work, void (UpdateFlow::*finish)(const Outcome&))
{
    runInBackgroundThen(
        m_surroundings.mainThread, m_isAlive, std::move(work), [this, finish](const Outcome& outcome) { (this->*finish)(outcome); },
        AtEnd::finished);
}

void UpdateFlow::put(const VerifiedArchive& archive)
{
    setStage(Installing);
    if (m_surroundings.appImage) {
        putThen([archive, appImage = *m_surroundings.appImage] { return appImage.install(archive); }, &UpdateFlow::finishInstall);
    } else {
        const std::string name = ArchiveKeeping::fileName(m_update->enclosure.url, m_update->item.version);
        putThen([archive, name, folder = keepFolder()] { return ArchiveKeeping::keep(archive, folder, name); }, &UpdateFlow::finishKeep);
    }
}

void UpdateFlow::finishInstall(const Result<void, AppImageInstallError>& outcome)
{
    if (outcome) {
        m_installedVersion = m_update->item.version;
        m_shownInstalledVersion = m_version;
        setStage(Installed);
    } else {
        fail(QString::fromStdString(outcome.error().description()));
    }
}

void UpdateFlow::finishKeep(const Result<std::string, FileError>& kept)
{
    if (kept) {
        m_keptPath = kept.value();
        setStage(Kept);
        showKept();
    } else {
        fail(QStringLiteral("The verified archive can't be stored: %1.").arg(QString::fromStdString(kept.error().description())));
    }
}

void UpdateFlow::skip()
{
    if (m_stage == Found) {
        m_surroundings.preferences.setText(skippedVersionKey, m_update->item.version);
        end();
    }
}

void UpdateFlow::close()
{
    if (m_stage != Installing) {
        end();
    }
}

void UpdateFlow::showKept()
{
    if (m_stage == Kept) {
        m_surroundings.desktop.reveal(m_keptPath);
    }
}

void UpdateFlow::dropLeftOvers() const
{
    // What stays is tried again at the next start, and does no harm until then.
    runInBackground([appImage = m_surroundings.appImage, folder = m_surroundings.incomingFolder] {
        ScratchFile::removeLeftOvers(folder);
        if (appImage) {
            static_cast<void>(appImage->dropLeftOvers());
        }
    });
}

void UpdateFlow::fail(const QString& reason)
{
    m_failure = reason;
    setStage(Failed);
}

void UpdateFlow::end()
{
    dropFetch();
    setStage(Idle);
}

// Later, because it may be its own end that led here; what comes of it until then is not heard.
void UpdateFlow::dropFetch()
{
    if (m_fetch) {
        m_fetch.release()->deleteLater();
    }
}

void UpdateFlow::setStage(Stage stage)
{
    m_stage = stage;
    emit changed();
}

bool UpdateFlow::isSkipped(const std::string& version) const
{
    const auto skipped = m_surroundings.preferences.text(skippedVersionKey);
    return skipped && compareVersions(*skipped, version) == 0;
}

std::string UpdateFlow::keepFolder() const
{
    const auto& folders = m_surroundings.keepFolders;
    assert(!folders.empty());
    const auto there = std::find_if(folders.begin(), folders.end(), isDirectory);
    return there == folders.end() ? folders.back() : *there;
}

QString UpdateFlow::heading() const
{
    switch (m_stage) {
    case Idle:
    case Checking:
        return QStringLiteral("Checking for updates…");
    case UpToDate:
        return QStringLiteral("You're up to date");
    case Found:
        return QStringLiteral("tessarin %1 is available").arg(m_version);
    case Fetching:
        return QStringLiteral("Fetching tessarin %1…").arg(m_version);
    case Installing:
        return QStringLiteral("Installing tessarin %1…").arg(m_version);
    case Installed:
        return QStringLiteral("tessarin %1 is installed").arg(m_shownInstalledVersion);
    case Kept:
        return QStringLiteral("tessarin %1 is verified").arg(m_version);
    case Failed:
        return QStringLiteral("The update failed");
    }
    return {};
}

QString UpdateFlow::message() const
{
    switch (m_stage) {
    case Idle:
    case Checking:
    case Fetching:
    case Installing:
        return {};
    case UpToDate:
        return UpdateTexts::upToDate(m_runningVersion);
    case Found:
        return m_canInstall ? UpdateTexts::found(m_runningVersion, m_surroundings.appImage.has_value())
                            : UpdateTexts::foundInVain(m_runningVersion);
    case Installed:
        return UpdateTexts::installed();
    case Kept:
        return UpdateTexts::kept(m_keptPath);
    case Failed:
        return m_failure;
    }
    return {};
}

QString UpdateFlow::installTitle() const
{
    return m_surroundings.appImage ? QStringLiteral("Install") : QStringLiteral("Download");
}

double UpdateFlow::progress() const
{
    return m_whole > 0 ? std::clamp(static_cast<double>(m_received) / static_cast<double>(m_whole), 0.0, 1.0) : 0.0;
}

QString UpdateFlow::progressText() const
{
    return UpdateTexts::progress(m_received, m_whole);
}

} // namespace tessarin
