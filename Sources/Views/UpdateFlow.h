#pragma once

#include "Updates/AppImageInstall.h"
#include "Views/TextBlock.h"
#include "Views/UpdateFetch.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <qqmlintegration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

class Desktop;
class MainThread;
class Preferences;

// One conversation with the person about updates: looking, what was found, fetching it, and how it ended. Its window shows what stands
// here and calls the operations. A look that the program takes by itself shows nothing unless it finds a release that the person has
// not skipped. Nothing is fetched before the person asks, and nothing is installed or written but the bytes that were verified. Main
// thread only; it is owned by the application and outlives its updater.
class UpdateFlow : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes its flow of updates")
    Q_PROPERTY(bool isShown READ isShown NOTIFY changed) // whether there is a window
    Q_PROPERTY(bool isAutomatic MEMBER m_isAutomatic NOTIFY changed) // not asked for, so it must not take the keys from anybody
    Q_PROPERTY(Stage stage READ stage NOTIFY changed)
    Q_PROPERTY(QString heading READ heading NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(tessarin::StyledRuns notes MEMBER m_notes NOTIFY changed)
    Q_PROPERTY(bool hasNotes READ hasNotes NOTIFY changed)
    Q_PROPERTY(bool canInstall MEMBER m_canInstall NOTIFY changed) // whether anything found can verify: the program has a key
    Q_PROPERTY(QString installTitle READ installTitle CONSTANT)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged) // from 0 to 1
    Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)
public:
    enum Stage { Idle, Checking, UpToDate, Found, Fetching, Installing, Installed, Kept, Failed };
    Q_ENUM(Stage)

    // Under which the version is stored that the person does not want to be told of.
    static constexpr const char* skippedVersionKey = "skippedUpdateVersion.v1";

    struct Surroundings {
        Preferences& preferences;
        Desktop& desktop;
        MainThread& mainThread;
        std::function<UpdateFetch::Surroundings()> fetch; // asked before each look: whom to trust takes its time to be read
        std::string runningVersion;
        UpdateSystem system;
        std::optional<AppImageInstall> appImage; // what this program runs from
        std::vector<std::string> keepFolders; // where an archive goes that can't be installed: the first that is there, else the last
        std::string incomingFolder; // where an archive is while it comes, as `fetch` says too
    };

    explicit UpdateFlow(Surroundings surroundings, QObject* parent = nullptr);
    ~UpdateFlow() override;

    // Looks for a release, shows that, and tells whatever comes of it. A look at another address that is under way is dropped for it.
    // While a release is on offer, comes or has been installed, that is shown again instead. True unless it is: the address is looked at.
    bool lookForPerson(const QUrl& feed);
    // Does nothing while a person sees anything; true when it looks. Shows a release that was found, and nothing else. A look of before
    // that nobody sees is dropped for it, so none lasts for ever.
    bool lookByItself(const QUrl& feed);
    // Drops a look that nobody sees, unless it is at this address; absent: at none. True when there was one.
    bool dropSilentLookElsewhere(const std::optional<QUrl>& feed);

    // Fetches, verifies and installs what was found, if this build can. Requires: the stage is Found.
    Q_INVOKABLE void install();
    // Ends, and this version is not found again by a look that nobody asked for. Requires: the stage is Found.
    Q_INVOKABLE void skip();
    // Cancels what is under way and ends. While it is being installed it can't be ended.
    Q_INVOKABLE void close();
    // Requires: the stage is Kept.
    Q_INVOKABLE void showKept();

    // Removes what was kept of the version before and what a fetch or an installation that was interrupted has left, in the background.
    // To be called once this version stands.
    void dropLeftOvers() const;

    [[nodiscard]] bool isShown() const { return m_stage != Idle && !m_isSilent; }
    [[nodiscard]] Stage stage() const { return m_stage; }
    [[nodiscard]] QString heading() const;
    [[nodiscard]] QString message() const;
    [[nodiscard]] bool hasNotes() const { return !m_notes.runs.isEmpty(); }
    [[nodiscard]] QString installTitle() const;
    [[nodiscard]] double progress() const;
    [[nodiscard]] QString progressText() const;

signals:
    void changed();
    void progressChanged();
    void broughtForward(); // the person has asked for what is shown already

private:
    // In the order in which they run.
    void look(const QUrl& feed);
    void judge(const UpdateFetch::Found& found);
    void offer(const AvailableUpdate& update);
    void fetch();
    void noteProgress(qint64 received);
    void judge(const UpdateFetch::Fetched& fetched);
    void put(const VerifiedArchive& archive);
    void finishInstall(const Result<void, AppImageInstallError>& outcome);
    void finishKeep(const Result<std::string, FileError>& kept);

    void fail(const QString& reason);
    void end();
    void dropFetch();
    void setStage(Stage stage);
    [[nodiscard]] bool isSkipped(const std::string& version) const;
    [[nodiscard]] std::string keepFolder() const;
    // What the outcome of work in the background is to be handed to, on the main thread: nobody once this is gone.
    template <class Outcome, class Work>
    void putThen(Work work, void (UpdateFlow::*finish)(const Outcome&));

    const Surroundings m_surroundings;
    const QString m_runningVersion;
    Stage m_stage = Idle;
    bool m_isSilent = false;
    bool m_isAutomatic = false;
    QUrl m_feed; // of the last look
    bool m_canInstall = false;
    std::unique_ptr<UpdateFetch> m_fetch; // another one for each look, so that nothing of the one before comes late
    std::optional<AvailableUpdate> m_update;
    QString m_version; // of m_update, as a person reads it
    StyledRuns m_notes;
    qint64 m_received = 0;
    qint64 m_whole = 0;
    std::string m_keptPath;
    std::string m_installedVersion; // which a look must be newer than from then on; empty until something was installed
    QString m_shownInstalledVersion; // the same as a person reads it, which a later offer does not change
    QString m_failure;
    std::shared_ptr<void> m_isAlive = std::make_shared<bool>();
};

} // namespace tessarin
