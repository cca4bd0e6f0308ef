#include "Platform/TcpConnection.h"

#include "Platform/AsioQueue.h"
#include "Platform/TcpSocket.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

using Stream = boost::asio::posix::stream_descriptor;

#if defined(MSG_NOSIGNAL)
constexpr int sendFlags = MSG_NOSIGNAL;
#else
constexpr int sendFlags = 0; // the socket itself raises none
#endif

// One buffer a thread serves all connections, so that one that is silent costs none: bytes live only as long as the callback.
char* receiveBuffer()
{
    thread_local std::vector<char> buffer(TcpConnection::receiveLimit);
    return buffer.data();
}

bool isNotNow(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

} // namespace

struct TcpConnection::Implementation : std::enable_shared_from_this<Implementation> {
    explicit Implementation(const std::shared_ptr<SerialQueue>& serialQueue)
        : queue(serialQueue), socket(*serialQueue->implementation()->executor)
    {
    }

    // Reading and writing, each in the order in which its steps run.
    void awaitBytes() REQUIRES(*queue);
    void readBytes() REQUIRES(*queue);
    void awaitRoom() REQUIRES(*queue);
    void writeBytes() REQUIRES(*queue);
    // How many the system took; `error` is 0, or why it takes no more.
    [[nodiscard]] std::size_t writeWhatFits(int& error) REQUIRES(*queue);
    void reportTaken(std::size_t count) REQUIRES(*queue);
    void close() REQUIRES(*queue);

    // Constant after construction.
    const std::shared_ptr<SerialQueue> queue;

    // On the queue only.
    Stream socket GUARDED_BY(*queue);
    Received onReceived GUARDED_BY(*queue);
    std::size_t wantedLength GUARDED_BY(*queue) = 0;
    std::shared_ptr<const std::string> bytes GUARDED_BY(*queue); // under way
    std::size_t writtenLength GUARDED_BY(*queue) = 0;
    std::function<void(std::size_t)> onTaken GUARDED_BY(*queue);
    std::function<void(NetworkError)> onFailed GUARDED_BY(*queue);
};

void TcpConnection::Implementation::awaitBytes()
{
    socket.async_wait(Stream::wait_read, [self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        if (self->socket.is_open()) {
            self->readBytes();
        }
    });
}

void TcpConnection::Implementation::readBytes()
{
    const ssize_t count = ::recv(socket.native_handle(), receiveBuffer(), wantedLength, 0);
    const int error = count < 0 ? errno : 0;
    if (isNotNow(error) || error == EINTR) {
        return awaitBytes();
    }
    const auto report = std::exchange(onReceived, nullptr);
    if (count < 0) {
        return report(Failure{ makeNetworkError(error) });
    }
    report(std::string_view(receiveBuffer(), static_cast<std::size_t>(count)));
}

void TcpConnection::Implementation::awaitRoom()
{
    socket.async_wait(Stream::wait_write, [self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        if (self->socket.is_open()) {
            self->writeBytes();
        }
    });
}

void TcpConnection::Implementation::writeBytes()
{
    int error = 0;
    const std::size_t count = writeWhatFits(error);
    if (error != 0 && !isNotNow(error)) {
        ::shutdown(socket.native_handle(), SHUT_RD);
        const auto report = std::exchange(onFailed, nullptr);
        onTaken = nullptr;
        bytes.reset();
        return report(makeNetworkError(error));
    }
    if (writtenLength < bytes->size()) {
        awaitRoom();
    }
    if (count > 0) {
        reportTaken(count);
    }
}

std::size_t TcpConnection::Implementation::writeWhatFits(int& error)
{
    const std::size_t start = writtenLength;
    while (error == 0 && writtenLength < bytes->size()) {
        const ssize_t count = ::send(socket.native_handle(), bytes->data() + writtenLength, bytes->size() - writtenLength, sendFlags);
        if (count >= 0) {
            writtenLength += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    return writtenLength - start;
}

void TcpConnection::Implementation::reportTaken(std::size_t count)
{
    if (writtenLength < bytes->size()) {
        // A copy: the call may close the connection.
        const auto report = onTaken;
        return report(count);
    }
    bytes.reset();
    onFailed = nullptr;
    const auto report = std::exchange(onTaken, nullptr);
    report(count);
}

void TcpConnection::Implementation::close()
{
    if (socket.is_open()) {
        endSocket(socket.native_handle());
    }
    // Nobody can do anything about a socket that does not close.
    boost::system::error_code ignored;
    socket.close(ignored);
    bytes.reset();
    onReceived = nullptr;
    onTaken = nullptr;
    onFailed = nullptr;
}

std::unique_ptr<TcpConnection> makeTcpConnection(const std::shared_ptr<SerialQueue>& queue, Descriptor socket)
{
    const auto implementation = std::make_shared<TcpConnection::Implementation>(queue);
    implementation->queue->assertCurrent();
    boost::system::error_code error;
    implementation->socket.assign(socket.get(), error);
    if (error) {
        return nullptr;
    }
    socket.release();
    return std::make_unique<TcpConnection>(implementation);
}

TcpConnection::TcpConnection(std::shared_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) { }

TcpConnection::~TcpConnection()
{
    close();
}

void TcpConnection::receive(std::size_t maximumLength, Received done)
{
    Implementation& connection = *m_implementation;
    connection.queue->assertCurrent();
    assert(!connection.onReceived);
    if (!connection.socket.is_open()) {
        return;
    }
    connection.onReceived = std::move(done);
    connection.wantedLength = std::min(maximumLength, receiveLimit);
    connection.awaitBytes();
}

void TcpConnection::send(
    std::shared_ptr<const std::string> bytes, std::function<void(std::size_t)> taken, std::function<void(NetworkError)> failed)
{
    Implementation& connection = *m_implementation;
    connection.queue->assertCurrent();
    assert(!connection.bytes && !bytes->empty());
    if (!connection.socket.is_open()) {
        return;
    }
    connection.bytes = std::move(bytes);
    connection.writtenLength = 0;
    connection.onTaken = std::move(taken);
    connection.onFailed = std::move(failed);
    connection.awaitRoom();
}

void TcpConnection::close()
{
    m_implementation->queue->assertCurrent();
    m_implementation->close();
}

} // namespace tessarin
