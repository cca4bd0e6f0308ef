#pragma once

#include "Platform/MainThread.h"
#include "Platform/Result.h"

#include <QByteArrayView>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslConfiguration>
#include <QUrl>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace tessarin
{

// Why nothing, or not everything, was fetched. A person who cancelled knows, and need not be told.
struct HttpsDownloadError {
    QString text;
    bool wasCancelled = false;
    [[nodiscard]] const QString& description() const { return text; }
};

// One file fetched over HTTPS, once: no password is asked for, no cookie, no cache, no decoding of what the server sends. What is not HTTPS
// is neither asked nor followed, a certificate that does not verify ends it, and more bytes than the limit are not read. A server that is
// silent or sends next to nothing for too long ends it. Who takes the bytes may hold them back: then the server waits too.
// The network library holds the head of an answer in memory, however long it is: only headLimit bounds how much of it can come.
// Dropping it cancels without calling `done`. Main thread only.
class HttpsDownload : public QObject
{
public:
    // More redirections than this are a loop.
    static constexpr int redirectionLimit = 5;

    struct Request {
        QUrl url;
        qint64 byteLimit = 0;
        // Whom to trust: the system's authorities unless a test has its own. The peer is always verified.
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        // In all until the head of the file itself has come: connecting, every redirection, and a page that explains a failure.
        std::chrono::milliseconds headLimit = std::chrono::seconds(30);
        // From then on, in each such span at least so many bytes: 1 KiB a second.
        std::chrono::milliseconds span = std::chrono::seconds(60);
        qint64 leastBytes = qint64{ 60 } * 1024;
        // In all, for what is small; none unless asked for.
        std::optional<std::chrono::milliseconds> wholeLimit = std::nullopt;
    };
    struct Handlers {
        // What has come, in order.
        std::function<void(QByteArrayView)> onBytes;
        // How many bytes may be handed on now; unset: any number. Once it was none nothing is read, and no span counts, until `resume`.
        std::function<std::size_t()> room;
        // Bytes so far, and in all where the server says so. May be unset.
        std::function<void(qint64, std::optional<qint64>)> onProgress;
        // Called once, later than `start`, as the last one; it may drop the download.
        std::function<void(Result<void, HttpsDownloadError>)> done;
    };

    // Whatever has a bound of time waits on `mainThread`, by its clock.
    HttpsDownload(QNetworkAccessManager& network, MainThread& mainThread, QObject* parent = nullptr);
    ~HttpsDownload() override;

    // Requires: not started before.
    void start(const Request& request, Handlers handlers);
    // There may be room again. `done` may be called within.
    void resume();
    // `done` is called with wasCancelled, later, unless the end is on its way already.
    void cancel();

private:
    // In the order in which they run.
    void watch(QNetworkReply& reply);
    void judgeHead();
    void read();
    void finish();
    void judgeWhole();

    // One bound of time at a time: for the head, then for each span.
    void beginWait(std::chrono::milliseconds limit);
    void endWait();
    void beginSpan();
    void callOff(std::optional<MainThread::DelayID>& wait);

    void end(Result<void, HttpsDownloadError> outcome);
    void fail(const QString& reason);
    [[nodiscard]] QString failureOf(const QNetworkReply& reply) const;

    QNetworkAccessManager& m_network;
    MainThread& m_mainThread;
    Request m_request;
    Handlers m_handlers;
    QPointer<QNetworkReply> m_reply;
    std::optional<MainThread::DelayID> m_wait;
    std::optional<MainThread::DelayID> m_whole;
    bool m_hasHead = false;
    bool m_isHeldBack = false; // nobody takes what comes
    bool m_hasFinished = false; // the reply has all, or will get no more
    qint64 m_received = 0;
    qint64 m_receivedBeforeSpan = 0;
    QString m_certificateFailure;
    bool m_hasEnded = false;
};

} // namespace tessarin
