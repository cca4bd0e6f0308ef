#pragma once

#include <QCache>
#include <QDateTime>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QThreadPool>
#include <qqmlintegration.h>

#include <functional>
#include <memory>
#include <optional>

namespace tessarin
{

// Reads pictures at the size of a card, on threads of its own, and keeps the latest of them within a limit. Main thread only; the
// destructor waits for the pictures that are being read, and delivers nothing more.
class PreviewLoader : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its loader of previews")
public:
    static constexpr qsizetype defaultByteLimit = qsizetype(48) * 1024 * 1024;

    explicit PreviewLoader(qsizetype byteLimit = defaultByteLimit, QObject* parent = nullptr);
    ~PreviewLoader() override;

    // A null image where there is no picture.
    using Receiver = std::function<void(const QImage& picture)>;
    // Who drops the ticket hears nothing more, and what still waits is not read.
    using Ticket = std::shared_ptr<Receiver>;
    // Delivers what is kept before it returns, and later what is in the file by now, if that is not the same or nothing was kept. `size` is
    // that of the card in pixels of the screen.
    [[nodiscard]] Ticket request(const QString& path, QSize size, Receiver receiver);

    // Returns when nothing is to be read any more. The loop delivers it.
    void waitForReading() { m_threads.waitForDone(); }
    // Since construction, files without a picture included.
    [[nodiscard]] int readCount() const { return m_readCount; }
    [[nodiscard]] qsizetype keptBytes() const { return m_kept.totalCost(); }

private:
    // Tells whether a file is still the one that was read.
    struct Stamp {
        bool isFile = false;
        qint64 bytes = 0;
        QDateTime changedAt;
        bool operator==(const Stamp&) const = default;
        [[nodiscard]] static Stamp of(const QString& path);
    };
    struct Preview {
        Stamp stamp;
        QImage picture;
    };
    // What a thread needs. It never holds the receiver, which belongs to the main thread.
    struct Job {
        QString path;
        QSize size;
        std::optional<Stamp> known; // of what is kept
        std::weak_ptr<Receiver> receiver;
        [[nodiscard]] QString key() const;
    };

    void read(const Job& job); // any thread
    void finish(const Job& job, const Preview& preview);

    QCache<QString, Preview> m_kept; // the cost is in bytes
    int m_readCount = 0;
    QThreadPool m_threads;
};

} // namespace tessarin
