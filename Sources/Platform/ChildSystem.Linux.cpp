#include "Platform/ChildSystem.h"

#include "Platform/AsioQueue.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tessarin
{

namespace
{

constexpr int firstOwnDescriptor = 3;

// The library's function of this name cannot be linked from C++ before glibc 2.37: its header forgets to say that it is C.
int openProcess(pid_t process)
{
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

// For a system that refuses descriptors of processes, as some containers do.
void waitOnAThread(pid_t child, const std::shared_ptr<SerialQueue>& queue, std::function<void()> onEnded)
{
    std::thread([child, queue, onEnded = std::move(onEnded)]() mutable {
        siginfo_t information{};
        while (waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT) != 0 && errno == EINTR) { }
        queue->post(std::move(onEnded));
    }).detach();
}

using Watched = std::shared_ptr<boost::asio::posix::stream_descriptor>;

// The descriptor of a process is readable once it has ended.
bool hasEnded(const Watched& watched)
{
    pollfd state{ watched->native_handle(), POLLIN, 0 };
    return poll(&state, 1, 0) != 0;
}

// A wait may be over for nothing: what the system had told of an earlier descriptor with this number can arrive late. Collecting a child
// that still runs would block a thread that all queues share.
void awaitEnd(const Watched& watched, const std::shared_ptr<SerialQueue>& queue, std::function<void()> onEnded)
{
    watched->async_wait(boost::asio::posix::descriptor_base::wait_read,
        [watched, queue, onEnded = std::move(onEnded)](const boost::system::error_code&) mutable {
            const QueueScope scope(*queue->implementation());
            if (!hasEnded(watched))
                return awaitEnd(watched, queue, std::move(onEnded));
            boost::system::error_code ignored;
            watched->close(ignored);
            onEnded();
        });
}

} // namespace

Pipe openPipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    return { Descriptor(ends[0]), Descriptor(ends[1]) };
}

int inheritStandardStreamsOnly(posix_spawn_file_actions_t& actions, short& /*flags*/)
{
    return posix_spawn_file_actions_addclosefrom_np(&actions, firstOwnDescriptor);
}

void callWhenEnded(pid_t child, const std::shared_ptr<SerialQueue>& queue, std::function<void()> onEnded)
{
    Descriptor process(openProcess(child));
    const auto watched = std::make_shared<boost::asio::posix::stream_descriptor>(*queue->implementation()->executor);
    boost::system::error_code error = boost::asio::error::bad_descriptor;
    if (process.isOpen())
        watched->assign(process.get(), error);
    if (error) {
        waitOnAThread(child, queue, std::move(onEnded));
        return;
    }
    process.release();
    awaitEnd(watched, queue, std::move(onEnded));
}

} // namespace tessarin
