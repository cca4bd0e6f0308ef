#pragma once

#include "Platform/Files.h"
#include "Platform/Result.h"

#include <QByteArrayView>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>

#include <chrono>
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
// silent for too long ends it; one that sends a little now and then does not: who shows it shows that it goes on, and can cancel it.
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
        // From then on, between any bytes and the next.
        std::chrono::milliseconds silenceLimit = std::chrono::seconds(60);
    };
    struct Handlers {
        // What has come, in order; a failure ends the download with its text.
        std::function<Result<void, FileError>(QByteArrayView)> onBytes;
        // Bytes so far, and in all where the server says so. May be unset.
        std::function<void(qint64, std::optional<qint64>)> onProgress;
        // Called once, later than `start`, as the last one; it may drop the download.
        std::function<void(Result<void, HttpsDownloadError>)> done;
    };

    explicit HttpsDownload(QNetworkAccessManager& network, QObject* parent = nullptr);
    ~HttpsDownload() override;

    // Requires: not started before.
    void start(const Request& request, Handlers handlers);
    // `done` is called with wasCancelled, later, unless the end is on its way already.
    void cancel();

private:
    // In the order in which they run.
    void watch(QNetworkReply& reply);
    void judgeHead();
    void read();
    void finish();

    void endWait();
    void end(Result<void, HttpsDownloadError> outcome);
    void fail(const QString& reason);
    [[nodiscard]] QString failureOf(const QNetworkReply& reply) const;

    QNetworkAccessManager& m_network;
    Handlers m_handlers;
    QPointer<QNetworkReply> m_reply;
    QTimer m_wait; // for the head, then for more bytes
    std::chrono::milliseconds m_silenceLimit{};
    bool m_hasHead = false;
    qint64 m_byteLimit = 0;
    qint64 m_received = 0;
    QString m_certificateFailure;
    bool m_hasEnded = false;
};

} // namespace tessarin
