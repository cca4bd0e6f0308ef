#pragma once

#include "Models/AgentProvider.h"

#include <string>
#include <variant>

namespace tessarin
{

// The error of ACPClient and of its terminals.
struct ACPClientError {
    enum class Kind { executableMissing, processFailed, invalidResponse, invalidRequest, disconnected };
    Kind kind = Kind::disconnected;
    std::string text; // the runtime's name for executableMissing, unused for disconnected
    [[nodiscard]] std::string description() const;
    bool operator==(const ACPClientError&) const = default;
};

// The error of ClaudeCodeClient's own machinery; what the runtime itself says of a turn is an AgentRuntimeError.
struct ClaudeCodeClientError {
    enum class Kind { processFailed, disconnected, protocolError, executableMissing };
    Kind kind = Kind::disconnected;
    std::string text; // unused for executableMissing
    [[nodiscard]] std::string description() const;
    bool operator==(const ClaudeCodeClientError&) const = default;
};

// The verdict of a runtime that classifies its failures itself.
struct AgentRuntimeError {
    enum class Kind { usageLimit, authentication, disconnected, protocolError };
    AgentProvider provider = AgentProvider::grok;
    Kind kind = Kind::protocolError;
    std::string message;
    [[nodiscard]] const std::string& description() const { return message; }
    bool operator==(const AgentRuntimeError&) const = default;
};

// What the system says when something of its own fails, as it is: a write to a pipe that nobody reads.
struct SystemError {
    std::string text;
    [[nodiscard]] const std::string& description() const { return text; }
    bool operator==(const SystemError&) const = default;
};

// What a start or a prompt can fail with.
class AgentError
{
public:
    AgentError(ACPClientError error) : m_error(std::move(error)) { }
    AgentError(ClaudeCodeClientError error) : m_error(std::move(error)) { }
    AgentError(AgentRuntimeError error) : m_error(std::move(error)) { }
    AgentError(SystemError error) : m_error(std::move(error)) { }

    // The text that a person reads.
    [[nodiscard]] std::string description() const;
    // Whether the provider's allowance is used up, which moves a task: the kind of an AgentRuntimeError, the words of any other error.
    [[nodiscard]] bool isUsageLimitFailure() const;

private:
    std::variant<ACPClientError, ClaudeCodeClientError, AgentRuntimeError, SystemError> m_error;
};

} // namespace tessarin
