#include "Views/UpdateFetch.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Files.h"
#include "Platform/MainThread.h"
#include "Updates/Appcast.h"

#include <cassert>
#include <utility>

namespace tessarin
{

namespace
{

constexpr const char* fileName = "update.archive";

UpdateFetchError toldOf(const char* what, const HttpsDownloadError& error)
{
    return { error.wasCancelled ? error.description() : QString::fromUtf8(what) + u' ' + error.description(), error.wasCancelled };
}

UpdateFetchError notStored(const std::string& reason)
{
    return { QStringLiteral("The update can't be stored: %1.").arg(QString::fromStdString(reason)) };
}

UpdateFetch::Found newestIn(const QByteArray& xml, const std::string& runningVersion, const UpdateSystem& system)
{
    const auto feed = Appcast::parse({ xml.constData(), static_cast<std::size_t>(xml.size()) });
    if (!feed) {
        return Failure{ UpdateFetchError{ QString::fromStdString(feed.error().description()) } };
    }
    return UpdateChoice::newest(feed.value(), runningVersion, system);
}

} // namespace

UpdateFetch::UpdateFetch(Surroundings surroundings, QObject* parent) : QObject(parent), m_surroundings(std::move(surroundings)) { }

UpdateFetch::~UpdateFetch()
{
    m_download.reset();
    dropFile();
}

void UpdateFetch::findNewest(const QUrl& feed, std::string runningVersion, UpdateSystem system, std::function<void(Found)> done)
{
    assert(!m_download && !m_found && !m_done);
    m_found = std::move(done);
    const auto xml = std::make_shared<QByteArray>();
    HttpsDownload::Handlers handlers;
    handlers.onBytes = [xml](QByteArrayView bytes) -> Result<void, FileError> {
        xml->append(bytes);
        return {};
    };
    handlers.done = [this, xml, runningVersion = std::move(runningVersion), system = std::move(system)](
                        const Result<void, HttpsDownloadError>& outcome) {
        const auto ended = std::move(m_download); // lives until this returns
        if (outcome) {
            choose(xml, runningVersion, system);
        } else {
            endFind(Failure{ toldOf("The update feed can't be fetched.", outcome.error()) });
        }
    };
    m_download = std::make_unique<HttpsDownload>(m_network);
    m_download->start({ feed, static_cast<qint64>(Appcast::byteLimit), m_surroundings.tls }, std::move(handlers));
}

void UpdateFetch::choose(std::shared_ptr<const QByteArray> xml, std::string runningVersion, UpdateSystem system)
{
    runInBackgroundThen([xml = std::move(xml), runningVersion = std::move(runningVersion),
                            system = std::move(system)] { return newestIn(*xml, runningVersion, system); },
        &UpdateFetch::endFind);
}

void UpdateFetch::endFind(Found found)
{
    m_work.reset();
    // Last, because it may drop this object.
    const auto done = std::exchange(m_found, {});
    done(std::move(found));
}

void UpdateFetch::fetchArchive(const AvailableUpdate& update, Progress onProgress, std::function<void(Fetched)> done)
{
    assert(!m_download && !m_found && !m_done);
    m_update = update;
    m_onProgress = std::move(onProgress);
    m_done = std::move(done);
    std::optional<UpdateFetchError> error;
    if (const auto may = UpdateSignature::mayVerify(update.enclosure, m_surroundings.key); !may) {
        error = UpdateFetchError{ QString::fromStdString(may.error().description()) };
    } else if (const auto opened = openFile(); !opened) {
        error = notStored(opened.error().description());
    }
    if (!error) {
        download();
        return;
    }
    // Later, as every other end.
    QMetaObject::invokeMethod(
        this, [this, failure = *error] { endFetch(Failure{ failure }); }, Qt::QueuedConnection);
}

Result<void, FileError> UpdateFetch::openFile()
{
    if (auto made = createDirectories(m_surroundings.folder); !made) {
        return made;
    }
    const std::string path = m_surroundings.folder + '/' + fileName;
    // A program that was killed may have left one.
    if (auto removed = removeFile(path); !removed) {
        return removed;
    }
    m_file.setFileName(QString::fromStdString(path));
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered, QFile::ReadOwner | QFile::WriteOwner)) {
        return Failure{ FileError{ m_file.errorString().toStdString() } };
    }
    return {};
}

void UpdateFetch::download()
{
    HttpsDownload::Handlers handlers;
    handlers.onBytes = [this](QByteArrayView bytes) -> Result<void, FileError> {
        if (m_file.write(bytes.data(), bytes.size()) != bytes.size()) {
            return Failure{ FileError{ m_file.errorString().toStdString() } };
        }
        return {};
    };
    handlers.onProgress = m_onProgress;
    handlers.done = [this](const Result<void, HttpsDownloadError>& outcome) {
        const auto ended = std::move(m_download); // lives until this returns
        m_file.close();
        if (outcome) {
            verify();
        } else {
            endFetch(Failure{ toldOf("The update can't be fetched.", outcome.error()) });
        }
    };
    m_download = std::make_unique<HttpsDownload>(m_network);
    const QUrl url(QString::fromStdString(m_update.enclosure.url), QUrl::StrictMode);
    const auto length = static_cast<qint64>(m_update.enclosure.length.value_or(0));
    m_download->start({ url, length, m_surroundings.tls }, std::move(handlers));
}

void UpdateFetch::verify()
{
    runInBackgroundThen(
        [path = m_file.fileName().toStdString(), stated = m_update.enclosure, key = m_surroundings.key]() -> Fetched {
            auto archive = UpdateSignature::verify(path, stated, key);
            if (!archive) {
                return Failure{ UpdateFetchError{ QString::fromStdString(archive.error().description()) } };
            }
            return std::move(archive).value();
        },
        &UpdateFetch::endFetch);
}

template <class Outcome, class Work>
void UpdateFetch::runInBackgroundThen(Work work, void (UpdateFetch::*finish)(Outcome))
{
    m_work = std::make_shared<bool>();
    runInBackground(
        [this, work = std::move(work), finish, isWanted = std::weak_ptr<void>(m_work), &mainThread = m_surroundings.mainThread] {
            mainThread.post([this, outcome = work(), finish, isWanted] {
                if (!isWanted.expired()) {
                    (this->*finish)(outcome);
                }
            });
        },
        AtEnd::dropped);
}

void UpdateFetch::cancel()
{
    if (m_download) {
        m_download->cancel();
    } else if (m_work) {
        m_work.reset();
        QMetaObject::invokeMethod(
            this, [this] { endCancelled(); }, Qt::QueuedConnection);
    }
}

void UpdateFetch::endCancelled()
{
    const UpdateFetchError cancelled{ QStringLiteral("It was cancelled."), true };
    if (m_found) {
        endFind(Failure{ cancelled });
    } else {
        endFetch(Failure{ cancelled });
    }
}

void UpdateFetch::endFetch(Fetched outcome)
{
    m_work.reset();
    m_onProgress = {};
    dropFile();
    // Last, because it may drop this object.
    const auto done = std::exchange(m_done, {});
    done(std::move(outcome));
}

void UpdateFetch::dropFile()
{
    if (!m_file.fileName().isEmpty()) {
        m_file.close();
        m_file.remove(); // one that stays is replaced by the next
    }
    m_file.setFileName({});
}

} // namespace tessarin
