#pragma once

// For the sources of this folder alone: sockets as the system makes them. None blocks, none is inherited by a child.

#include "Platform/Descriptor.h"
#include "Platform/TcpConnection.h"

#include <cstdint>
#include <memory>

namespace tessarin
{

[[nodiscard]] NetworkError makeNetworkError(int code);

// A socket that listens on the port of all local interfaces.
[[nodiscard]] Result<Descriptor, NetworkError> openListeningSocket(std::uint16_t port);
// None when there is no connection to accept or it can't be had: errno says why.
[[nodiscard]] Descriptor acceptConnection(int listeningSocket);
// Ends a socket also where a child that is just being started still has a copy of it, for the moment until that is closed.
void endSocket(int socket);

// Null when it can't be watched.
[[nodiscard]] std::unique_ptr<TcpConnection> makeTcpConnection(const std::shared_ptr<SerialQueue>& queue, Descriptor socket);

} // namespace tessarin
