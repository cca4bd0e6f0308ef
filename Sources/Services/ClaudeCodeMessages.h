#pragma once

#include "Models/GrokPermissionMode.h"
#include "Models/PermissionRequest.h"
#include "Platform/Json.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// How Claude Code is started, what is written to it, one JSON object a line, and what a person sees of a question of its.

namespace tessarin::ClaudeCodeMessages
{

enum class SessionOrigin { created, stored };

// The arguments of the program, one text an argument.
[[nodiscard]] std::vector<std::string> arguments(
    const std::string& model, GrokPermissionMode permissionMode, const std::string& sessionID, SessionOrigin origin);

// A request of ours on the control channel; `request` is one of the next two.
[[nodiscard]] JsonObject controlRequest(std::string_view requestID, JsonObject request);
[[nodiscard]] JsonObject initialize();
[[nodiscard]] JsonObject interrupt();

// Answers to a request of the runtime, by its id. `input` is the tool's input as it was received.
[[nodiscard]] JsonObject allow(std::string_view requestID, JsonObject input);
[[nodiscard]] JsonObject deny(std::string_view requestID);
[[nodiscard]] JsonObject controlError(std::string_view requestID, std::string_view message);

[[nodiscard]] JsonObject prompt(std::string_view text, std::string_view sessionID);

// The options of every question. Any other answer than the second denies.
inline constexpr const char* denyOptionID = "claude-deny";
inline constexpr const char* allowOnceOptionID = "claude-allow-once";

// What a person is asked before a tool runs. `request` is the runtime's, `input` what the tool would get.
[[nodiscard]] PermissionRequest permissionRequest(std::int64_t id, const JsonObject& request, const JsonObject& input);

} // namespace tessarin::ClaudeCodeMessages
