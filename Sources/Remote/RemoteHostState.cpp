#include "Remote/RemoteHostState.h"

#include <utility>

namespace tessarin
{

RemoteHostState RemoteHostState::listening(std::uint16_t port)
{
    RemoteHostState state;
    state.m_kind = Kind::listening;
    state.m_port = port;
    return state;
}

RemoteHostState RemoteHostState::failed(std::string text)
{
    RemoteHostState state;
    state.m_kind = Kind::failed;
    state.m_failureText = std::move(text);
    return state;
}

RemoteHostState RemoteHostState::starting()
{
    RemoteHostState state;
    state.m_kind = Kind::starting;
    return state;
}

std::string RemoteHostState::label() const
{
    switch (m_kind) {
    case Kind::listening:
        return "Available on port " + std::to_string(m_port);
    case Kind::failed:
        return "Needs attention";
    case Kind::disabled:
        return "Off";
    case Kind::starting:
        return "Starting…";
    }
    return {};
}

} // namespace tessarin
