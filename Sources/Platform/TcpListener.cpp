#include "Platform/TcpListener.h"

#include "Platform/AsioQueue.h"
#include "Platform/TcpSocket.h"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <sys/resource.h>
#include <utility>

namespace tessarin
{

namespace
{

using Stream = boost::asio::posix::stream_descriptor;

// The queue has other work than accepting.
constexpr int acceptsInARow = 64;
// Of the descriptors that the process may have, these are for files and children, or a quarter where that is less: whoever connects must
// not be able to keep the program from saving.
constexpr rlim_t reservedDescriptors = 256;
// Until it is tried again when the system has run out of something.
constexpr std::chrono::milliseconds shortageDelay{ 100 };

bool areDescriptorsScarce(int anyDescriptor)
{
    const Descriptor lowestFree(::fcntl(anyDescriptor, F_DUPFD_CLOEXEC, 0));
    rlimit limit{};
    if (!lowestFree.isOpen() || ::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return true;
    }
    const rlim_t most = std::min<rlim_t>(limit.rlim_cur, std::numeric_limits<int>::max());
    return static_cast<rlim_t>(lowestFree.get()) >= most - std::min(reservedDescriptors, most / 4);
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

// Of the one connection that was to be accepted, and not of the listening socket: accept(2) hands them on.
bool isOfConnection(int error)
{
    static constexpr std::array ofConnection{ ECONNABORTED, EINTR, EPERM, EPROTO, ENOPROTOOPT, ENETDOWN, ENETUNREACH, EHOSTDOWN,
        EHOSTUNREACH, EOPNOTSUPP, ETIMEDOUT };
    return std::find(ofConnection.begin(), ofConnection.end(), error) != ofConnection.end();
}

} // namespace

struct TcpListener::Implementation : std::enable_shared_from_this<Implementation> {
    Implementation(const std::shared_ptr<SerialQueue>& serialQueue, Callbacks given)
        : queue(serialQueue)
        , socket(*serialQueue->implementation()->executor)
        , shortage(*serialQueue->implementation()->executor)
        , callbacks(std::move(given))
    {
    }

    // In the order in which they run.
    void awaitConnection() REQUIRES(*queue);
    void acceptWaiting() REQUIRES(*queue);
    // False when there is nothing more to accept for now.
    [[nodiscard]] bool acceptOne() REQUIRES(*queue);
    void awaitSupply() REQUIRES(*queue);
    void fail(int error) REQUIRES(*queue);
    void cancel() REQUIRES(*queue);

    // Constant after construction.
    const std::shared_ptr<SerialQueue> queue;

    // On the queue only.
    Stream socket GUARDED_BY(*queue);
    boost::asio::steady_timer shortage GUARDED_BY(*queue);
    Callbacks callbacks GUARDED_BY(*queue);
    bool isAwaiting GUARDED_BY(*queue) = false;
    bool isShort GUARDED_BY(*queue) = false;
    bool isPaused GUARDED_BY(*queue) = false;
};

void TcpListener::Implementation::awaitConnection()
{
    if (!socket.is_open() || isPaused || isAwaiting || isShort) {
        return;
    }
    isAwaiting = true;
    socket.async_wait(Stream::wait_read, [self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        self->isAwaiting = false;
        self->acceptWaiting();
    });
}

void TcpListener::Implementation::acceptWaiting()
{
    for (int accepted = 0; accepted < acceptsInARow && acceptOne(); ++accepted) { }
    awaitConnection();
}

bool TcpListener::Implementation::acceptOne()
{
    // The one that was accepted before may have ended or paused this listener.
    if (!socket.is_open() || isPaused) {
        return false;
    }
    if (areDescriptorsScarce(socket.native_handle())) {
        awaitSupply();
        return false;
    }
    Descriptor accepted = acceptConnection(socket.native_handle());
    if (accepted.isOpen()) {
        auto connection = makeTcpConnection(queue, std::move(accepted));
        // A copy: the call may drop the listener's own.
        const auto report = callbacks.accepted;
        if (connection && report) {
            report(std::move(connection));
        }
        return true;
    }
    const int error = errno;
    if (isOfConnection(error)) {
        return true;
    }
    if (isShortage(error)) {
        awaitSupply();
    } else if (error != EAGAIN && error != EWOULDBLOCK) {
        fail(error);
    }
    return false;
}

void TcpListener::Implementation::awaitSupply()
{
    isShort = true;
    shortage.expires_after(shortageDelay);
    shortage.async_wait([self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        self->isShort = false;
        self->awaitConnection();
    });
}

void TcpListener::Implementation::fail(int error)
{
    const auto report = callbacks.failed;
    cancel();
    if (report) {
        NetworkError told = makeNetworkError(error);
        told.text += ".";
        report(told);
    }
}

void TcpListener::Implementation::cancel()
{
    if (socket.is_open()) {
        endSocket(socket.native_handle());
    }
    // Nobody can do anything about a socket that does not close.
    boost::system::error_code ignored;
    socket.close(ignored);
    shortage.cancel();
    callbacks = {};
}

Result<std::unique_ptr<TcpListener>, NetworkError> TcpListener::listen(
    const std::shared_ptr<SerialQueue>& queue, std::uint16_t port, Callbacks callbacks)
{
    queue->assertCurrent();
    auto opened = openListeningSocket(port);
    if (!opened) {
        return Failure{ opened.error() };
    }
    Descriptor socket = std::move(opened).value();
    const auto implementation = std::make_shared<Implementation>(queue, std::move(callbacks));
    implementation->queue->assertCurrent();
    boost::system::error_code error;
    implementation->socket.assign(socket.get(), error);
    if (error) {
        return Failure{ NetworkError{ error.message(), error.value() } };
    }
    socket.release();
    implementation->awaitConnection();
    return std::unique_ptr<TcpListener>(new TcpListener(implementation));
}

TcpListener::TcpListener(std::shared_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) { }

TcpListener::~TcpListener()
{
    cancel();
}

void TcpListener::pause()
{
    m_implementation->queue->assertCurrent();
    m_implementation->isPaused = true;
}

void TcpListener::resume()
{
    m_implementation->queue->assertCurrent();
    m_implementation->isPaused = false;
    m_implementation->awaitConnection();
}

void TcpListener::cancel()
{
    m_implementation->queue->assertCurrent();
    m_implementation->cancel();
}

} // namespace tessarin
