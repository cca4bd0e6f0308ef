#pragma once

#include "Remote/RemoteHostState.h"
#include "Views/Tint.h"

#include <QString>

#include <cstddef>

namespace tessarin
{

// What the settings say of the remote host.
namespace RemoteSettingsRules
{

[[nodiscard]] Tint::Value stateTint(const RemoteHostState& state);
// How many devices are connected; empty for none.
[[nodiscard]] QString connectedText(std::size_t clientCount);

} // namespace RemoteSettingsRules

} // namespace tessarin
