#include "Views/RemoteSettingsRules.h"

namespace tessarin
{

Tint::Value RemoteSettingsRules::stateTint(const RemoteHostState& state)
{
    switch (state.kind()) {
    case RemoteHostState::Kind::listening:
        return Tint::Green;
    case RemoteHostState::Kind::failed:
        return Tint::Red;
    case RemoteHostState::Kind::disabled:
        return Tint::Secondary;
    case RemoteHostState::Kind::starting:
        return Tint::Orange;
    }
    return Tint::Secondary;
}

QString RemoteSettingsRules::connectedText(std::size_t clientCount)
{
    return clientCount == 0 ? QString() : QString::number(clientCount) + QStringLiteral(" connected");
}

} // namespace tessarin
