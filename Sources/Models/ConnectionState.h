#pragma once

#include <string>
#include <string_view>

namespace tessarin
{

// The state of the connection to a runtime. `failed` carries the runtime's own text.
class ConnectionState
{
public:
    enum class Kind { idle, connecting, ready, working, failed };

    ConnectionState() = default;
    // Requires: kind is not `failed`.
    ConnectionState(Kind kind);
    [[nodiscard]] static ConnectionState failed(std::string text);

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] bool isBusy() const { return m_kind == Kind::connecting || m_kind == Kind::working; }
    // Empty unless failed.
    [[nodiscard]] const std::string& failureText() const { return m_failureText; }
    [[nodiscard]] std::string_view label() const;
    bool operator==(const ConnectionState&) const = default;

private:
    Kind m_kind = Kind::idle;
    std::string m_failureText;
};

} // namespace tessarin
