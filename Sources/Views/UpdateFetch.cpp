#include "Views/UpdateFetch.h"

#include "Platform/MainThread.h"
#include "Updates/Appcast.h"
#include "Updates/BackgroundStep.h"

#include <cassert>
#include <utility>

namespace tessarin
{

namespace
{

// Of a feed, with all that leads to it. An archive has none: it may be large, and who waits for it sees how far it is.
constexpr std::chrono::seconds feedLimit{ 60 };

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

UpdateFetch::~UpdateFetch() = default;

void UpdateFetch::findNewest(const QUrl& feed, std::string runningVersion, UpdateSystem system, std::function<void(Found)> done)
{
    assert(!m_download && !m_found && !m_done);
    m_found = std::move(done);
    const auto xml = std::make_shared<QByteArray>();
    HttpsDownload::Handlers handlers;
    handlers.onBytes = [xml](QByteArrayView bytes) { xml->append(bytes); };
    handlers.done = [this, xml, runningVersion = std::move(runningVersion), system = std::move(system)](
                        const Result<void, HttpsDownloadError>& outcome) {
        const auto ended = std::move(m_download); // lives until this returns
        if (outcome) {
            choose(xml, runningVersion, system);
        } else {
            endFind(Failure{ toldOf("The update feed can't be fetched.", outcome.error()) });
        }
    };
    HttpsDownload::Request request{ feed, static_cast<qint64>(Appcast::byteLimit), m_surroundings.tls };
    request.wholeLimit = feedLimit;
    m_download = std::make_unique<HttpsDownload>(m_network, m_surroundings.mainThread);
    m_download->start(request, std::move(handlers));
}

void UpdateFetch::choose(std::shared_ptr<const QByteArray> xml, std::string runningVersion, UpdateSystem system)
{
    m_choosing = std::make_shared<bool>();
    runInBackgroundThen(
        m_surroundings.mainThread, m_choosing,
        [xml = std::move(xml), runningVersion = std::move(runningVersion), system = std::move(system)] {
            return newestIn(*xml, runningVersion, system);
        },
        [this](const Found& found) { endFind(found); }, AtEnd::dropped);
}

void UpdateFetch::endFind(Found found)
{
    m_choosing.reset();
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
    const auto may = UpdateSignature::mayVerify(update.statement(), m_surroundings.key);
    if (may) {
        open();
        return;
    }
    // Later, as every other end.
    QMetaObject::invokeMethod(
        this, [this, failure = UpdateFetchError{ QString::fromStdString(may.error().description()) }] { endFetch(Failure{ failure }); },
        Qt::QueuedConnection);
}

void UpdateFetch::open()
{
    IncomingArchive::Handlers handlers;
    handlers.onRoom = [this] {
        if (m_download) {
            m_download->resume();
        }
    };
    handlers.onFailure = [this](const FileError& error) { endFetch(Failure{ notStored(error.description()) }); };
    m_archive
        = std::make_unique<IncomingArchive>(m_surroundings.mainThread, m_surroundings.folder, std::move(handlers), m_surroundings.write);
    m_archive->open([this] { download(); });
}

void UpdateFetch::download()
{
    HttpsDownload::Handlers handlers;
    handlers.onBytes = [this](QByteArrayView bytes) { m_archive->append({ bytes.data(), static_cast<std::size_t>(bytes.size()) }); };
    handlers.room = [this] { return m_archive->room(); };
    handlers.onProgress = m_onProgress;
    handlers.done = [this](const Result<void, HttpsDownloadError>& outcome) {
        const auto ended = std::move(m_download); // lives until this returns
        if (outcome) {
            verify();
        } else {
            endFetch(Failure{ toldOf("The update can't be fetched.", outcome.error()) });
        }
    };
    m_download = std::make_unique<HttpsDownload>(m_network, m_surroundings.mainThread);
    const QUrl url(QString::fromStdString(m_update.enclosure.url), QUrl::StrictMode);
    const auto length = static_cast<qint64>(m_update.enclosure.length.value_or(0));
    m_download->start({ url, length, m_surroundings.tls }, std::move(handlers));
}

void UpdateFetch::verify()
{
    m_archive->verify(m_update.statement(), m_surroundings.key, [this](IncomingArchive::Verified verified) {
        if (verified) {
            endFetch(std::move(verified).value());
        } else {
            endFetch(Failure{ UpdateFetchError{ QString::fromStdString(verified.error().description()) } });
        }
    });
}

void UpdateFetch::cancel()
{
    if (m_download) {
        m_download->cancel();
    } else if (m_choosing || m_archive) {
        m_choosing.reset();
        m_archive.reset();
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
    m_download.reset();
    m_archive.reset();
    m_onProgress = {};
    // Last, because it may drop this object.
    const auto done = std::exchange(m_done, {});
    done(std::move(outcome));
}

} // namespace tessarin
