#include "Views/PreviewLoader.h"

#include "Views/PictureReader.h"

#include <QFileInfo>

#include <utility>

namespace tessarin
{

PreviewLoader::PreviewLoader(qsizetype byteLimit, QObject* parent) : QObject(parent), m_kept(byteLimit)
{
    constexpr int threadCount = 2; // one that has a large picture does not hold up the next
    m_threads.setMaxThreadCount(threadCount);
}

PreviewLoader::~PreviewLoader()
{
    m_threads.clear();
    waitForReading();
}

PreviewLoader::Stamp PreviewLoader::Stamp::of(const QString& path)
{
    const QFileInfo file(path);
    return file.isFile() ? Stamp{ true, file.size(), file.lastModified() } : Stamp();
}

QString PreviewLoader::Job::key() const
{
    return QStringLiteral("%1 %2 ").arg(size.width()).arg(size.height()) + path;
}

PreviewLoader::Ticket PreviewLoader::request(const QString& path, QSize size, Receiver receiver)
{
    auto ticket = std::make_shared<Receiver>(std::move(receiver));
    Job job{ path, size, std::nullopt, ticket };
    if (const Preview* kept = m_kept.object(job.key())) {
        job.known = kept->stamp;
        (*ticket)(kept->picture);
    }
    m_threads.start([this, job = std::move(job)] { read(job); });
    return ticket;
}

void PreviewLoader::read(const Job& job)
{
    if (job.receiver.expired()) {
        return;
    }
    Preview preview{ Stamp::of(job.path), {} };
    if (preview.stamp == job.known) {
        return;
    }
    if (preview.stamp.isFile) {
        preview.picture = readPicture(job.path.toStdString(), job.size);
    }
    // This object waits for its threads before it goes, and what has not been called by then never is.
    QMetaObject::invokeMethod(
        this, [this, job, preview] { finish(job, preview); }, Qt::QueuedConnection);
}

void PreviewLoader::finish(const Job& job, const Preview& preview)
{
    constexpr qsizetype bookkeeping = 512; // of an entry
    ++m_readCount;
    m_kept.insert(job.key(), new Preview(preview), preview.picture.sizeInBytes() + bookkeeping);
    if (const Ticket receiver = job.receiver.lock()) {
        (*receiver)(preview.picture);
    }
}

} // namespace tessarin
