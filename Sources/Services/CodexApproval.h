#pragma once

#include "Models/PermissionRequest.h"
#include "Platform/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessarin
{

// The id that the Codex runtime puts on a request of its own. It goes back in the JSON type in which it came.
class RPCID
{
public:
    // `id` of a message; absent when it is neither a number nor a text. A fraction is cut off.
    [[nodiscard]] static std::optional<RPCID> from(const JsonObject& message);

    explicit RPCID(std::int64_t number) : m_value(number) { }
    explicit RPCID(std::string text) : m_value(std::move(text)) { }
    [[nodiscard]] Json jsonValue() const;
    bool operator==(const RPCID&) const = default;

private:
    std::variant<std::int64_t, std::string> m_value;
};

// A request for approval that waits for the person.
struct PendingApproval {
    RPCID rpcID;
    std::string method;
    std::optional<JsonObject> requestedPermissions;
};

namespace CodexApproval
{
// The option that is never offered: what an approval is answered with when the turn is called off.
inline constexpr std::string_view cancelOption = "codex-cancel";

// Whether a request of that method asks for approval.
[[nodiscard]] bool isRequest(std::string_view method);
// What the person is asked.
[[nodiscard]] PermissionRequest permissionRequest(std::int64_t id, std::string_view method, const JsonObject& params);
// The result that answers the request when the person has chosen.
[[nodiscard]] JsonObject result(const PendingApproval& approval, std::string_view optionID);
} // namespace CodexApproval

} // namespace tessarin
