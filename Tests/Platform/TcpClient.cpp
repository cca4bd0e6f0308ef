#include "TcpClient.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <netinet/in.h>
#include <poll.h>
#include <random>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace tessarin
{

namespace
{

constexpr timeval bound{ 60, 0 };

bool connectTo(int socket, std::uint16_t port, const char* address)
{
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(port);
    if (inet_pton(AF_INET6, address, &six.sin6_addr) == 1) {
        return ::connect(socket, reinterpret_cast<const sockaddr*>(&six), sizeof six) == 0;
    }
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    return inet_pton(AF_INET, address, &four.sin_addr) == 1
        && ::connect(socket, reinterpret_cast<const sockaddr*>(&four), sizeof four) == 0;
}

bool canBeBound(int family, const sockaddr* address, socklen_t length)
{
    const int socket = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isFree = socket >= 0 && ::bind(socket, address, length) == 0;
    ::close(socket);
    return isFree;
}

} // namespace

TcpClient::TcpClient(std::uint16_t port, const char* address, int receiveByteLimit)
{
    const bool isSix = std::string_view(address).find(':') != std::string_view::npos;
    m_socket = ::socket(isSix ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
    if (receiveByteLimit > 0) {
        setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveByteLimit, sizeof receiveByteLimit);
    }
    if (!connectTo(m_socket, port, address)) {
        close();
    }
}

TcpClient::TcpClient(TcpClient&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)) { }

TcpClient& TcpClient::operator=(TcpClient&& other) noexcept
{
    std::swap(m_socket, other.m_socket);
    return *this;
}

bool TcpClient::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::size_t TcpClient::sendWhatFits(std::string_view bytes) const
{
    const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool TcpClient::waitForRoom() const
{
    pollfd state{ m_socket, POLLOUT, 0 };
    return ::poll(&state, 1, 500) == 1;
}

std::optional<std::string> TcpClient::receive(std::size_t byteCount) const
{
    std::string bytes(byteCount, '\0');
    for (std::size_t start = 0; start < byteCount;) {
        const ssize_t count = ::recv(m_socket, bytes.data() + start, byteCount - start, 0);
        if (count <= 0) {
            return std::nullopt;
        }
        start += static_cast<std::size_t>(count);
    }
    return bytes;
}

bool TcpClient::waitForEnd() const
{
    std::array<char, 65536> passedOver{};
    ssize_t count = 0;
    do {
        count = ::recv(m_socket, passedOver.data(), passedOver.size(), 0);
    } while (count > 0);
    return count == 0 || errno == ECONNRESET;
}

bool TcpClient::isSilent() const
{
    pollfd state{ m_socket, POLLIN, 0 };
    return ::poll(&state, 1, 0) == 0;
}

void TcpClient::endWriting() const
{
    ::shutdown(m_socket, SHUT_WR);
}

void TcpClient::close()
{
    if (isConnected()) {
        ::close(std::exchange(m_socket, -1));
    }
}

void TcpClient::reset()
{
    const linger atOnce{ 1, 0 };
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

std::uint16_t freePort()
{
    static std::mt19937 random{ std::random_device{}() };
    while (true) {
        const auto port = static_cast<std::uint16_t>(std::uniform_int_distribution<int>(15000, 32000)(random));
        sockaddr_in6 six{};
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port);
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_port = htons(port);
        if (canBeBound(AF_INET6, reinterpret_cast<const sockaddr*>(&six), sizeof six)
            || canBeBound(AF_INET, reinterpret_cast<const sockaddr*>(&four), sizeof four)) {
            return port;
        }
    }
}

const char* loopbackOfVersionSix()
{
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_addr = in6addr_loopback;
    return canBeBound(AF_INET6, reinterpret_cast<const sockaddr*>(&six), sizeof six) ? "::1" : "127.0.0.1";
}

void raiseDescriptorLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

int openDescriptors()
{
    const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace tessarin
