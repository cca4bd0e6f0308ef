#include "Platform/InstanceLock.h"

#include "Platform/AsioQueue.h"
#include "Platform/Descriptor.h"
#include "Platform/Files.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <utility>

namespace tessarin
{

namespace
{

constexpr char question = 'R';

// The address of a socket in a folder.
class SocketAddress
{
public:
    SocketAddress(const std::string& folder, const std::string& name)
    {
        m_address.sun_family = AF_UNIX;
        std::string path = folder + "/" + name;
        if (path.size() >= sizeof m_address.sun_path) {
            // An address has room for about a hundred bytes only; the folder's descriptor is a short way to the same place.
            m_folder.reset(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            path = "/proc/self/fd/" + std::to_string(m_folder.get()) + "/" + name;
        }
        std::copy_n(path.c_str(), std::min(path.size() + 1, sizeof m_address.sun_path), m_address.sun_path);
    }

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    static socklen_t size() { return sizeof(sockaddr_un); }

private:
    Descriptor m_folder;
    sockaddr_un m_address{};
};

Descriptor openSocket()
{
    Descriptor opened(socket(AF_UNIX, SOCK_DGRAM, 0));
    if (opened.isOpen()) {
        fcntl(opened.get(), F_SETFD, FD_CLOEXEC);
        fcntl(opened.get(), F_SETFL, O_NONBLOCK);
    }
    return opened;
}

// May find nobody, when the first start is still on its way or just ends: then the window comes by itself, or is gone.
// Does not wait: when there is no room for the question, it has been asked often enough.
void askToRaise(const std::string& folder, const std::string& name)
{
    const Descriptor asking = openSocket();
    const SocketAddress address(folder, name);
    [[maybe_unused]] const ssize_t ignored = sendto(asking.get(), &question, sizeof question, 0, address.get(), SocketAddress::size());
}

} // namespace

// Kept alive by the wait for the next question until the lock is dropped.
struct InstanceLock::Implementation : std::enable_shared_from_this<Implementation> {
    Implementation(std::string folder, MainThread& main, std::function<void()> whenAsked);

    // Main thread.
    void startListening();
    // On the queue.
    void awaitQuestion();
    void takeQuestion();

    // Constant after construction.
    const std::string dataFolder;
    const std::string socketName = "instance.socket";
    MainThread& mainThread;
    SerialQueue queue;

    // Any thread.
    std::atomic<bool> isRaisePosted = false;

    // Main thread only.
    std::function<void()> onRaise;
    Descriptor lockFile;

    // On the queue only, once listening.
    boost::asio::posix::stream_descriptor listener;
};

InstanceLock::Implementation::Implementation(std::string folder, MainThread& main, std::function<void()> whenAsked)
    : dataFolder(std::move(folder))
    , mainThread(main)
    , queue("com.local.tessarin.instance")
    , onRaise(std::move(whenAsked))
    , listener(*queue.implementation()->executor)
{
}

void InstanceLock::Implementation::startListening()
{
    // What a start that was killed has left; nobody else listens there while we have the lock.
    unlink((dataFolder + "/" + socketName).c_str());
    Descriptor opened = openSocket();
    const SocketAddress address(dataFolder, socketName);
    // Between the two calls the socket lies in a folder of mode 0700.
    if (!opened.isOpen() || bind(opened.get(), address.get(), SocketAddress::size()) != 0)
        return;
    chmod((dataFolder + "/" + socketName).c_str(), S_IRUSR | S_IWUSR);
    boost::system::error_code error;
    listener.assign(opened.get(), error);
    if (error)
        return;
    opened.release();
    queue.post([self = shared_from_this()] { self->awaitQuestion(); });
}

void InstanceLock::Implementation::awaitQuestion()
{
    queue.assertCurrent();
    if (!listener.is_open())
        return;
    listener.async_wait(boost::asio::posix::descriptor_base::wait_read, [self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue.implementation());
        self->takeQuestion();
    });
}

void InstanceLock::Implementation::takeQuestion()
{
    queue.assertCurrent();
    if (!listener.is_open())
        return;
    char received = 0;
    const bool wasAsked = recv(listener.native_handle(), &received, sizeof received, 0) == sizeof received && received == question;
    if (wasAsked && !isRaisePosted.exchange(true)) {
        mainThread.post([weak = weak_from_this()] {
            const auto self = weak.lock();
            if (!self)
                return;
            self->isRaisePosted = false;
            if (self->onRaise)
                self->onRaise();
        });
    }
    awaitQuestion();
}

std::unique_ptr<InstanceLock> InstanceLock::acquire(const StoreLocations& locations, MainThread& mainThread, std::function<void()> onRaise)
{
    const auto implementation = std::make_shared<Implementation>(locations.data, mainThread, std::move(onRaise));
    std::unique_ptr<InstanceLock> lock(new InstanceLock(implementation));
    if (!createDirectories(locations.data))
        return lock;
    Descriptor file(open((locations.data + "/instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        return lock;
    // Any other failure is that of a file system that knows no locks.
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        askToRaise(locations.data, implementation->socketName);
        return nullptr;
    }
    implementation->lockFile = std::move(file);
    implementation->startListening();
    return lock;
}

InstanceLock::InstanceLock(std::shared_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) { }

InstanceLock::~InstanceLock()
{
    Implementation& lock = *m_implementation;
    lock.onRaise = nullptr;
    if (!lock.lockFile.isOpen())
        return;
    // Waited for, so that nothing is posted to the main thread once this object is gone.
    lock.queue.sync([&lock] {
        boost::system::error_code ignored;
        lock.listener.close(ignored);
    });
    // In this order: once the lock is free, the socket may be another's.
    unlink((lock.dataFolder + "/" + lock.socketName).c_str());
    lock.lockFile.reset();
}

} // namespace tessarin
