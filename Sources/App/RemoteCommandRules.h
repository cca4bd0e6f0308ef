#pragma once

#include "Models/GrokPermissionMode.h"
#include "Models/PermissionRequest.h"
#include "Models/ProviderRoutingMode.h"
#include "Platform/Uuid.h"
#include "Remote/RemoteEnvelope.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessarin
{

// What a paired device may do. It acts like the person at the computer with three deliberate limits: it never turns on full access, it
// answers a permission with nothing but a one-time allow or a refusal, and it neither deletes nor changes settings.
namespace RemoteCommandRules
{

// The only texts that a device is ever refused with.
inline constexpr std::string_view fullAccessRefusal = "Full Access can only be enabled on the Mac after confirmation.";
inline constexpr std::string_view permissionModeRefusal = "Wait for the agent to finish before changing permission mode.";
inline constexpr std::string_view providerModeRefusal = "Wait for the agent to finish before changing providers.";

// A request whose needed fields are missing or mean nothing is passed over without a word.
struct Ignored {
    bool operator==(const Ignored&) const = default;
};
struct Refused {
    std::string_view text;
    bool operator==(const Refused&) const = default;
};
template <class Mode>
using ModeVerdict = std::variant<Ignored, Refused, Mode>;

// Full access is refused before anything else is looked at.
[[nodiscard]] ModeVerdict<GrokPermissionMode> judgePermissionMode(const RemoteEnvelope& message, bool canChange);
[[nodiscard]] ModeVerdict<ProviderRoutingMode> judgeProviderMode(const RemoteEnvelope& message, bool canChange);

// Whether a device may choose this option: it allows once or refuses. What allows for good is chosen at the computer.
[[nodiscard]] bool isOffered(const PermissionOption& option);
// The option that the message chooses for the pending request; absent when it answers another request, or chooses what is not there or
// not offered. An id that an offered option shares with one that is not counts as not offered.
[[nodiscard]] std::optional<std::string> chosenOption(const RemoteEnvelope& message, const std::optional<PermissionRequest>& pending);

enum class CancelTarget { nothing, agent, imagine };
// A video's generation is cancelled as "image" or "imagine" too; "video" is none of these words, on purpose. A task is named by exactly
// the text of its id, so that a message about a task that has been left since does nothing.
[[nodiscard]] CancelTarget cancelTarget(const RemoteEnvelope& message, const std::optional<Uuid>& selectedThreadID);

// Absent also for a text that is no UUID.
[[nodiscard]] std::optional<Uuid> uuid(const std::optional<std::string>& text);

} // namespace RemoteCommandRules

} // namespace tessarin
