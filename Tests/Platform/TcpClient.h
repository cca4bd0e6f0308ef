#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The other side of a connection, as a program that waits. Each wait has a bound, far above what the slowest build needs.
class TcpClient
{
public:
    TcpClient() = default;
    // `receiveByteLimit` keeps the system from taking more than about that for us; 0 for its own choice.
    explicit TcpClient(std::uint16_t port, const char* address = "127.0.0.1", int receiveByteLimit = 0);
    ~TcpClient() { close(); }
    TcpClient(TcpClient&& other) noexcept;
    TcpClient& operator=(TcpClient&& other) noexcept;

    [[nodiscard]] bool isConnected() const { return m_socket >= 0; }
    // False when the other side does not take all of it.
    bool send(std::string_view bytes) const;
    // How much is taken at once, without waiting.
    [[nodiscard]] std::size_t sendWhatFits(std::string_view bytes) const;
    // Whether more is taken within half a second: one that reads at all takes it in less.
    [[nodiscard]] bool waitForRoom() const;
    // Exactly so many; absent when the other side ends before.
    [[nodiscard]] std::optional<std::string> receive(std::size_t byteCount) const;
    // Passes over what comes until the other side has ended. False when it has not in time.
    [[nodiscard]] bool waitForEnd() const;
    // Whether there is nothing to read now, and no end.
    [[nodiscard]] bool isSilent() const;

    void endWriting() const; // the other side reads to an end; we read on
    void close();
    void reset(); // without a farewell

private:
    int m_socket = -1;
};

// A port that nobody has, and that no outgoing connection is given.
[[nodiscard]] std::uint16_t freePort();
// Lets this process have as many descriptors as it may: each connection has two ends here.
void raiseDescriptorLimit();
// "::1", or "127.0.0.1" on a machine without IPv6: there is nothing to be reached by it then.
[[nodiscard]] const char* loopbackOfVersionSix();
// Open descriptors of this process.
[[nodiscard]] int openDescriptors();

} // namespace tessarin
