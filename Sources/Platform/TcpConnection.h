#pragma once

#include "Platform/Result.h"
#include "Platform/SerialQueue.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tessarin
{

// What the network says, in words for a person.
struct NetworkError {
    std::string text;
    int code = 0; // errno, where there is one
    bool operator==(const NetworkError&) const = default;
};

// One accepted TCP connection. Every call and every callback is on the queue of its listener; a callback may close the connection or drop
// the last reference to it. After `close` nothing is called any more.
class TcpConnection
{
public:
    // Takes over a connected socket; used by TcpListener.
    struct Implementation;
    explicit TcpConnection(std::shared_ptr<Implementation> implementation);
    ~TcpConnection(); // closes
    TcpConnection(const TcpConnection&) = delete;
    TcpConnection& operator=(const TcpConnection&) = delete;

    // Reads once, between 1 and `maximumLength` bytes, and calls `done` with them. Empty bytes: the other side has ended.
    // Requires: no earlier `receive` is under way.
    using Received = std::function<void(const Result<std::string_view, NetworkError>& bytes)>;
    void receive(std::size_t maximumLength, Received done);

    // Writes all bytes, which stay alive meanwhile. `taken` is called each time the system has taken some, with how many; the write is over
    // when all have been. `failed` ends it otherwise. Requires: no earlier write is under way.
    void send(std::shared_ptr<const std::string> bytes, std::function<void(std::size_t)> taken, std::function<void(NetworkError)> failed);

    // What the system has not sent yet may be dropped. Idempotent.
    void close();

private:
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
