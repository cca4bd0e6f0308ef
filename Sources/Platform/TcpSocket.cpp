#include "Platform/TcpSocket.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <system_error>

namespace tessarin
{

namespace
{

// Nothing depends on an option that the system does not know.
void setOption(const Descriptor& socket, int level, int option, int value)
{
    static_cast<void>(::setsockopt(socket.get(), level, option, &value, sizeof value));
}

#if defined(__linux__)

Descriptor openSocket(int family)
{
    return Descriptor(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

Descriptor acceptSocket(int listeningSocket)
{
    return Descriptor(::accept4(listeningSocket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

#else

Descriptor prepared(Descriptor socket)
{
    if (socket.isOpen()) {
        ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
        ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
        setOption(socket, SOL_SOCKET, SO_NOSIGPIPE, 1);
    }
    return socket;
}

Descriptor openSocket(int family)
{
    return prepared(Descriptor(::socket(family, SOCK_STREAM, 0)));
}

Descriptor acceptSocket(int listeningSocket)
{
    return prepared(Descriptor(::accept(listeningSocket, nullptr, nullptr)));
}

#endif

bool bindToAll(const Descriptor& socket, int family, std::uint16_t port)
{
    if (family == AF_INET6) {
        setOption(socket, IPPROTO_IPV6, IPV6_V6ONLY, 0);
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_addr = in6addr_any;
        address.sin6_port = htons(port);
        return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// None on failure: errno says why.
Descriptor listenOn(int family, std::uint16_t port)
{
    Descriptor socket = openSocket(family);
    if (!socket.isOpen()) {
        return {};
    }
    // Connections that were closed a moment ago do not keep the port.
    setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    // The system cuts it to its own limit, which may be beyond the constant for it.
    constexpr int backlog = std::numeric_limits<int>::max();
    if (bindToAll(socket, family, port) && ::listen(socket.get(), backlog) == 0) {
        return socket;
    }
    const int error = errno;
    socket.reset();
    errno = error;
    return {};
}

NetworkError listeningError(std::uint16_t port, int code)
{
    const std::string number = std::to_string(port);
    if (code == EADDRINUSE) {
        return { "Port " + number + " is already used by another program.", code };
    }
    return { "Port " + number + " can't be opened: " + makeNetworkError(code).text + ".", code };
}

} // namespace

NetworkError makeNetworkError(int code)
{
    return { std::generic_category().message(code), code };
}

Result<Descriptor, NetworkError> openListeningSocket(std::uint16_t port)
{
    Descriptor socket = listenOn(AF_INET6, port);
    if (!socket.isOpen() && (errno == EAFNOSUPPORT || errno == EADDRNOTAVAIL)) {
        socket = listenOn(AF_INET, port);
    }
    if (!socket.isOpen()) {
        return Failure{ listeningError(port, errno) };
    }
    return socket;
}

Descriptor acceptConnection(int listeningSocket)
{
    Descriptor socket = acceptSocket(listeningSocket);
    if (socket.isOpen()) {
        // A short message goes at once.
        setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
        // What waits does so with us and not in the system, where it could not be replaced by what is newer, nor shared.
        constexpr int unsentByteLimit = 256 * 1024;
        setOption(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, unsentByteLimit);
    }
    return socket;
}

void endSocket(int socket)
{
    // Fails for what the other side has ended already.
    static_cast<void>(::shutdown(socket, SHUT_RDWR));
}

} // namespace tessarin
