#pragma once

#include <cstdint>
#include <string>

namespace tessarin
{

// The state of the remote host's listener. `listening` carries the port, `failed` the reason in words for a person.
class RemoteHostState
{
public:
    enum class Kind { listening, failed, disabled, starting };

    RemoteHostState() = default; // disabled
    [[nodiscard]] static RemoteHostState listening(std::uint16_t port);
    [[nodiscard]] static RemoteHostState failed(std::string text);
    [[nodiscard]] static RemoteHostState disabled() { return {}; }
    [[nodiscard]] static RemoteHostState starting();

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] std::uint16_t port() const { return m_port; } // 0 unless listening
    [[nodiscard]] const std::string& failureText() const { return m_failureText; } // empty unless failed
    [[nodiscard]] std::string label() const;
    bool operator==(const RemoteHostState&) const = default;

private:
    Kind m_kind = Kind::disabled;
    std::uint16_t m_port = 0;
    std::string m_failureText;
};

} // namespace tessarin
