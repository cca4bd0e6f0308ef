#include "Views/HttpsDownload.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSslError>

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

namespace tessarin
{

namespace
{

constexpr qint64 bufferSize = qint64{ 256 } * 1024;
constexpr int okStatus = 200;

QNetworkRequest requestFor(const HttpsDownload::Request& asked)
{
    QSslConfiguration tls = asked.tls;
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    QNetworkRequest request(asked.url);
    request.setSslConfiguration(tls);
    request.setMaximumRedirectsAllowed(HttpsDownload::redirectionLimit);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // Over HTTP/2 the library goes on taking what nobody reads.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    // Set by ourselves, so that a small answer is not unpacked into a large one.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

QString withoutPeriod(const QString& text)
{
    return text.endsWith(u'.') ? text.chopped(1) : text;
}

} // namespace

HttpsDownload::HttpsDownload(QNetworkAccessManager& network, MainThread& mainThread, QObject* parent)
    : QObject(parent), m_network(network), m_mainThread(mainThread)
{
}

HttpsDownload::~HttpsDownload()
{
    callOff(m_wait);
    callOff(m_whole);
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
    }
}

void HttpsDownload::start(const Request& request, Handlers handlers)
{
    assert(!m_handlers.done && handlers.onBytes && handlers.done);
    m_handlers = std::move(handlers);
    m_request = request;
    if (request.url.scheme() != QLatin1String("https") || request.url.host().isEmpty()) {
        // Later, as every other end.
        QMetaObject::invokeMethod(
            this, [this] { fail(QStringLiteral("Its address is not an HTTPS address.")); }, Qt::QueuedConnection);
        return;
    }
    m_reply = m_network.get(requestFor(request));
    // The network waits while we are behind.
    m_reply->setReadBufferSize(bufferSize);
    watch(*m_reply);
    beginWait(request.headLimit);
    if (request.wholeLimit) {
        m_whole = m_mainThread.postDelayed(*request.wholeLimit, [this] {
            m_whole.reset();
            fail(QStringLiteral("The server took too long."));
        });
    }
}

void HttpsDownload::watch(QNetworkReply& reply)
{
    connect(&reply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError>& errors) {
        // Told here in words; never ignored, so the reply fails.
        m_certificateFailure = errors.isEmpty() ? QString() : errors.front().errorString();
    });
    connect(&reply, &QNetworkReply::metaDataChanged, this, [this] { judgeHead(); });
    connect(&reply, &QNetworkReply::readyRead, this, [this] { read(); });
    connect(&reply, &QNetworkReply::finished, this, [this] { finish(); });
}

void HttpsDownload::judgeHead()
{
    // Of the file itself, not of a page that explains a failure.
    const bool isFile = m_reply && m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == okStatus;
    if (isFile && !m_hasHead) {
        m_hasHead = true;
        beginSpan();
    }
    if (isFile && m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() > m_request.byteLimit) {
        fail(QStringLiteral("It is too large."));
    }
}

void HttpsDownload::read()
{
    std::array<char, 64 * 1024> buffer;
    while (!m_hasEnded && m_reply) {
        const std::size_t room = m_handlers.room ? std::min(m_handlers.room(), buffer.size()) : buffer.size();
        m_isHeldBack = room == 0;
        if (m_isHeldBack) {
            callOff(m_wait);
            return;
        }
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const qint64 count = m_reply->read(buffer.data(), static_cast<qint64>(room));
        if (count <= 0) {
            return;
        }
        if (status != okStatus) {
            continue; // a page that explains a failure
        }
        m_received += count;
        if (m_received > m_request.byteLimit) {
            fail(QStringLiteral("It is too large."));
            return;
        }
        m_handlers.onBytes(QByteArrayView(buffer.data(), count));
        if (m_handlers.onProgress) {
            const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
            m_handlers.onProgress(m_received, length.isValid() ? std::optional(length.toLongLong()) : std::nullopt);
        }
    }
}

void HttpsDownload::resume()
{
    if (!m_isHeldBack || m_hasEnded) {
        return;
    }
    m_isHeldBack = false;
    beginSpan();
    if (m_hasFinished) {
        finish();
    } else {
        read();
    }
}

void HttpsDownload::finish()
{
    m_hasFinished = true;
    const QPointer<HttpsDownload> self(this);
    read();
    if (self && !m_hasEnded && m_reply && !m_isHeldBack) {
        judgeWhole();
    }
}

void HttpsDownload::judgeWhole()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    if (m_reply->error() != QNetworkReply::NoError) {
        fail(failureOf(*m_reply));
    } else if (status != okStatus) {
        fail(QStringLiteral("The server answered with status %1.").arg(status));
    } else if (length.isValid() && length.toLongLong() != m_received) {
        fail(QStringLiteral("The connection ended before all of it had come."));
    } else {
        end({});
    }
}

void HttpsDownload::beginWait(std::chrono::milliseconds limit)
{
    callOff(m_wait);
    m_wait = m_mainThread.postDelayed(limit, [this] {
        m_wait.reset();
        // After what has come meanwhile, in case it is this program that stood still.
        QMetaObject::invokeMethod(
            this, [this] { endWait(); }, Qt::QueuedConnection);
    });
}

void HttpsDownload::callOff(std::optional<MainThread::DelayID>& wait)
{
    if (wait) {
        m_mainThread.cancelDelayed(*std::exchange(wait, std::nullopt));
    }
}

void HttpsDownload::endWait()
{
    if (m_wait || m_isHeldBack || m_hasEnded) {
        return; // another one has begun, or it waits for us
    }
    if (!m_hasHead) {
        fail(QStringLiteral("The server did not answer in time."));
    } else if (m_received - m_receivedBeforeSpan < m_request.leastBytes) {
        fail(QStringLiteral("The server stopped sending before all of it had come."));
    } else {
        beginSpan();
    }
}

void HttpsDownload::beginSpan()
{
    m_receivedBeforeSpan = m_received;
    beginWait(m_request.span);
}

void HttpsDownload::cancel()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            end(Failure{ HttpsDownloadError{ QStringLiteral("It was cancelled."), true } });
        },
        Qt::QueuedConnection);
}

void HttpsDownload::fail(const QString& reason)
{
    end(Failure{ HttpsDownloadError{ reason, false } });
}

void HttpsDownload::end(Result<void, HttpsDownloadError> outcome)
{
    if (std::exchange(m_hasEnded, true)) {
        return;
    }
    callOff(m_wait);
    callOff(m_whole);
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
        m_reply.clear();
    }
    // Last, because it may drop this object.
    const auto done = std::move(m_handlers.done);
    done(std::move(outcome));
}

QString HttpsDownload::failureOf(const QNetworkReply& reply) const
{
    switch (static_cast<int>(reply.error())) {
    case QNetworkReply::SslHandshakeFailedError:
        return m_certificateFailure.isEmpty()
            ? QStringLiteral("The server could not be verified.")
            : QStringLiteral("The server could not be verified: %1.").arg(withoutPeriod(m_certificateFailure));
    case QNetworkReply::InsecureRedirectError:
        return QStringLiteral("The server led to an address that is not HTTPS.");
    case QNetworkReply::TooManyRedirectsError:
        return QStringLiteral("The server led from one address to another without end.");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("The connection ended before all of it had come.");
    default:
        break;
    }
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return status >= 300 ? QStringLiteral("The server answered with status %1.").arg(status) : withoutPeriod(reply.errorString()) + u'.';
}

} // namespace tessarin
