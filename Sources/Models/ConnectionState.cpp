#include "Models/ConnectionState.h"

#include <cassert>
#include <utility>

namespace tessarin
{

ConnectionState::ConnectionState(Kind kind) : m_kind(kind)
{
    assert(kind != Kind::failed);
}

ConnectionState ConnectionState::failed(std::string text)
{
    ConnectionState state;
    state.m_kind = Kind::failed;
    state.m_failureText = std::move(text);
    return state;
}

std::string_view ConnectionState::label() const
{
    switch (m_kind) {
    case Kind::idle:
        return "Not connected";
    case Kind::connecting:
        return "Connecting";
    case Kind::ready:
        return "Ready";
    case Kind::working:
        return "Agent is working";
    case Kind::failed:
        return "Needs attention";
    }
    return {};
}

} // namespace tessarin
