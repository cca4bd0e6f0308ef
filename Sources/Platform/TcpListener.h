#pragma once

#include "Platform/TcpConnection.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace tessarin
{

// Accepts TCP connections on one port of all local interfaces, IPv6 and IPv4 (IPv4 alone where there is no IPv6), with the system's
// largest backlog. Children inherit none of it. Every call and callback is on the queue; nothing is called after `cancel`. While the system
// has no memory left for another connection, or the process few descriptors left for anything else, accepting waits and tries again.
class TcpListener
{
public:
    struct Callbacks {
        std::function<void(std::unique_ptr<TcpConnection>)> accepted;
        std::function<void(NetworkError)> failed; // a sentence; it accepts nothing any more
    };
    // Listens when it returns. Fails in words for a person, as when another program has the port (EADDRINUSE).
    [[nodiscard]] static Result<std::unique_ptr<TcpListener>, NetworkError> listen(
        const std::shared_ptr<SerialQueue>& queue, std::uint16_t port, Callbacks callbacks);
    ~TcpListener(); // cancels
    TcpListener(const TcpListener&) = delete;
    TcpListener& operator=(const TcpListener&) = delete;

    // While paused connections wait in the backlog.
    void pause();
    void resume();
    // The port is free again when this returns. Idempotent.
    void cancel();

private:
    struct Implementation;
    explicit TcpListener(std::shared_ptr<Implementation> implementation);
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
