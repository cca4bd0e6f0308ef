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

// One accepted TCP connection. Every call and every callback is on the queue of its listener, and no callback is made within a call; a
// callback may close the connection or drop the last reference to it. After `close` nothing is called any more.
class TcpConnection
{
public:
    // Takes over a connected socket; used by TcpListener.
    struct Implementation;
    explicit TcpConnection(std::shared_ptr<Implementation> implementation);
    ~TcpConnection(); // closes
    TcpConnection(const TcpConnection&) = delete;
    TcpConnection& operator=(const TcpConnection&) = delete;

    // Reads once, between 1 and `maximumLength` bytes, and calls `done` with them; they live as long as the call. Empty bytes: the other
    // side has ended. What came before an end or a failure is given first.
    // Requires: no earlier `receive` is under way; `maximumLength` is no more than `receiveLimit`.
    static constexpr std::size_t receiveLimit = 65536;
    using Received = std::function<void(const Result<std::string_view, NetworkError>& bytes)>;
    void receive(std::size_t maximumLength, Received done);

    // Writes all bytes, which stay alive meanwhile. `taken` is called each time the system has taken some, with how many; the write is over
    // when all have been, and the last call of `taken` may begin another. `failed` ends it otherwise; what the other side had sent by then
    // is received before the end. The system takes little more than the other side is about to get, so that what is not yet written may
    // still be thought over. Requires: no earlier write is under way; `bytes` is not empty.
    void send(std::shared_ptr<const std::string> bytes, std::function<void(std::size_t)> taken, std::function<void(NetworkError)> failed);

    // What the system has not sent yet may be dropped. Idempotent.
    void close();

private:
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
