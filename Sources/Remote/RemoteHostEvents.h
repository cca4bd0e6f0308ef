#pragma once

#include "Platform/MainThread.h"
#include "Platform/SerialQueue.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace tessarin
{

class RemoteHostServer;

// The way from the server's queue to the callbacks on the main thread, each event a post of its own: a flood leaves the window time to
// paint in between. It counts what the main thread has not taken yet, so that the server reads and accepts no more while that is much.
class RemoteHostEvents : public std::enable_shared_from_this<RemoteHostEvents>
{
public:
    // So many events, or bytes of messages, may wait for the main thread; half of it when it goes on.
    static constexpr std::size_t countLimit = 512;
    static constexpr std::size_t byteLimit = 4 * 1024 * 1024;

    // `server` is gone when nobody is to hear of anything any more.
    using Receiver = std::weak_ptr<RemoteHostServer* const>;
    RemoteHostEvents(MainThread& mainThread, std::shared_ptr<SerialQueue> queue, Receiver receiver);

    // On the queue, when it is no longer behind.
    std::function<void()> onCaughtUp;

    // The rest on the queue only.
    using Event = std::function<void(RemoteHostServer& server)>;
    void post(Event event, std::size_t byteCount = 0);
    // True from the moment when a limit is reached until half of it has been taken.
    [[nodiscard]] bool isBehind() const;

private:
    void taken(std::size_t byteCount) REQUIRES(*m_queue);

    // Constant after construction.
    MainThread& m_mainThread;
    const std::shared_ptr<SerialQueue> m_queue;
    const Receiver m_receiver;

    // On the queue only.
    std::size_t m_waitingCount GUARDED_BY(*m_queue) = 0;
    std::size_t m_waitingBytes GUARDED_BY(*m_queue) = 0;
    bool m_isBehind GUARDED_BY(*m_queue) = false;
};

} // namespace tessarin
