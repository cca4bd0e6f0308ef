#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>

namespace tessarin
{

class AgentClient;

// Where the events of a client reach the main thread, shared by the client and all that it has posted. It knows whether anyone still
// listens, and how far the main thread is behind.
class EventGate
{
public:
    // So much text may wait for the main thread before reading pauses; it goes on when half of it has been handled.
    static constexpr std::size_t byteLimit = 4 * 1024 * 1024;

    // Main thread only. Events reach `client` from now on. `onDrained` runs on the main thread when reading was told to pause and may
    // go on.
    void open(std::weak_ptr<AgentClient> client, std::function<void()> onDrained);
    // Main thread only. Nothing more reaches the client's callbacks, also of what was posted before.
    void close();
    // Main thread only. Null when the gate is closed or the client is gone.
    [[nodiscard]] std::shared_ptr<AgentClient> client() const;
    [[nodiscard]] bool isOpen() const { return m_isOpen; }

    // Any thread: bytes that have been posted. True when reading has to pause now.
    [[nodiscard]] bool add(std::size_t bytes);
    // Main thread only: bytes that have been handled.
    void release(std::size_t bytes);
    // Any thread.
    [[nodiscard]] bool isFull() const;

private:
    // Main thread only.
    std::weak_ptr<AgentClient> m_client;
    std::function<void()> m_onDrained;
    bool m_isOpen = false;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::size_t m_bytes = 0;
    bool m_isFull = false;
};

} // namespace tessarin
