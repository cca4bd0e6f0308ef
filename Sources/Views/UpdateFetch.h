#pragma once

#include "Platform/Result.h"
#include "Updates/IncomingArchive.h"
#include "Updates/UpdateChoice.h"
#include "Updates/UpdateKey.h"
#include "Updates/UpdateSignature.h"
#include "Views/HttpsDownload.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QObject>
#include <QSslConfiguration>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

class MainThread;

// Why there is nothing to install. A person who cancelled knows, and need not be told.
struct UpdateFetchError {
    QString text;
    bool wasCancelled = false;
    [[nodiscard]] const QString& description() const { return text; }
};

// The way from the address of a feed to an archive that has been verified, in two halves between which a person may be asked. It installs
// nothing, and what it fetches nobody else gets to see. One half at a time. Dropping it cancels without calling `done`. Main thread only.
class UpdateFetch : public QObject
{
public:
    struct Surroundings {
        MainThread& mainThread;
        std::string folder; // on whose disk the archive is while it comes; made when it is needed, for this account alone
        std::optional<UpdateKey> key = UpdateKey::builtIn();
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        IncomingArchive::Write write = &ScratchFile::append; // unless the disk is to be another
    };
    using Found = Result<std::optional<AvailableUpdate>, UpdateFetchError>;
    using Fetched = Result<VerifiedArchive, UpdateFetchError>;
    using Progress = std::function<void(qint64 received, std::optional<qint64> whole)>;

    explicit UpdateFetch(Surroundings surroundings, QObject* parent = nullptr);
    ~UpdateFetch() override;

    // Reads the feed, in the background once it has come, and tells the newest release in it that is for this system and newer than what
    // runs; absent for none. Requires: nothing is under way.
    void findNewest(const QUrl& feed, std::string runningVersion, UpdateSystem system, std::function<void(Found)> done);
    // Fetches the release's archive as fast as the disk takes it, and verifies it. What can't verify is not fetched. Nothing of it stays
    // on the disk, whatever the end is. Requires: nothing is under way.
    void fetchArchive(const AvailableUpdate& update, Progress onProgress, std::function<void(Fetched)> done);
    // `done` of what is under way is called with wasCancelled, later.
    void cancel();

private:
    // The steps of findNewest behind the download, in their order.
    void choose(std::shared_ptr<const QByteArray> xml, std::string runningVersion, UpdateSystem system);
    void endFind(Found found);

    // The steps of fetchArchive, in their order.
    void open();
    void download();
    void verify();

    void endFetch(Fetched outcome);
    void endCancelled();

    const Surroundings m_surroundings;
    QNetworkAccessManager m_network;
    std::function<void(Found)> m_found; // while a feed is being looked at
    std::shared_ptr<void> m_choosing; // while that is read in the background, which holds it weakly

    // While an archive is being fetched.
    AvailableUpdate m_update;
    Progress m_onProgress;
    std::function<void(Fetched)> m_done;
    std::unique_ptr<IncomingArchive> m_archive;

    std::unique_ptr<HttpsDownload> m_download; // while one is under way
};

} // namespace tessarin
