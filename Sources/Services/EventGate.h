#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>

namespace tessarin
{

class AgentClient;

// What a client and all that it has posted to the main thread share: to whom the events go, whether the client was stopped, and how far
// the main thread is behind.
class EventGate
{
public:
    // So much text may wait for the main thread before reading pauses; it goes on when half of it has been handled.
    static constexpr std::size_t byteLimit = 4 * 1024 * 1024;

    // Main thread only. Events reach `client` from now on. `onDrained` runs on the main thread when reading was told to pause and may
    // go on.
    void open(std::weak_ptr<AgentClient> client, std::function<void()> onDrained);
    // Main thread only. The client was told to stop.
    void close();
    // Main thread only. What was posted before goes on to its callbacks; only the end of the child is nobody's business any more.
    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    // On the client's queue, or the main thread. Null when it is gone.
    [[nodiscard]] std::shared_ptr<AgentClient> client() const;

    // Any thread: bytes that have been posted. True when reading has to pause now.
    [[nodiscard]] bool add(std::size_t bytes);
    // Main thread only: bytes that have been handled.
    void release(std::size_t bytes);
    // Any thread.
    [[nodiscard]] bool isFull() const;

private:
    // Constant once the client has been started.
    std::weak_ptr<AgentClient> m_client;
    std::function<void()> m_onDrained;

    // Main thread only.
    bool m_isOpen = false;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::size_t m_bytes = 0;
    bool m_isFull = false;
};

} // namespace tessarin
