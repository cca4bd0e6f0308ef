#include "Services/CodexApproval.h"

#include "Platform/Text.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

constexpr std::string_view permissionsMethod = "item/permissions/requestApproval";
constexpr std::array<std::string_view, 3> approvalMethods{ "item/commandExecution/requestApproval", "item/fileChange/requestApproval",
    permissionsMethod };

constexpr std::string_view allowOnce = "codex-allow-once";
constexpr std::string_view allowSession = "codex-allow-session";

std::string_view decision(std::string_view optionID)
{
    if (optionID == allowOnce)
        return "accept";
    if (optionID == allowSession)
        return "acceptForSession";
    return optionID == CodexApproval::cancelOption ? "cancel" : "decline";
}

// A refusal is a grant of nothing: the runtime has no other word for it here.
JsonObject grant(const PendingApproval& approval, std::string_view optionID)
{
    JsonObject granted;
    if (optionID.starts_with("codex-allow") && approval.requestedPermissions)
        granted = *approval.requestedPermissions;
    return { { "permissions", std::move(granted) }, { "scope", optionID == allowSession ? "session" : "turn" } };
}

std::string detail(const JsonObject& params)
{
    std::vector<std::string> parts;
    for (const char* key : { "command", "reason" }) {
        if (const auto part = textAt(params, key); part && !part->empty())
            parts.emplace_back(*part);
    }
    return parts.empty() ? "Codex is requesting permission to continue." : joined(parts, "\n\n");
}

} // namespace

std::optional<RPCID> RPCID::from(const JsonObject& message)
{
    const Json* id = message.if_contains("id");
    if (id && id->is_string())
        return RPCID(std::string(id->get_string()));
    const auto number = id && id->is_number() ? integerAt(message, "id") : std::nullopt;
    return number ? std::optional(RPCID(*number)) : std::nullopt;
}

Json RPCID::jsonValue() const
{
    return std::visit([](const auto& value) { return Json(value); }, m_value);
}

bool CodexApproval::isRequest(std::string_view method)
{
    return std::find(approvalMethods.begin(), approvalMethods.end(), method) != approvalMethods.end();
}

PermissionRequest CodexApproval::permissionRequest(std::int64_t id, std::string_view method, const JsonObject& params)
{
    PermissionRequest request;
    request.id = id;
    if (textAt(params, "command"))
        request.title = "Run command";
    else
        request.title = contains(method, "fileChange") ? "Edit files" : "Grant access";
    request.detail = detail(params);
    request.options = { { std::string(allowOnce), "Allow once", "allow_once" },
        { std::string(allowSession), "Allow for this task", "allow_always" }, { "codex-reject", "Deny", "reject_once" } };
    return request;
}

JsonObject CodexApproval::result(const PendingApproval& approval, std::string_view optionID)
{
    if (approval.method == permissionsMethod)
        return grant(approval, optionID);
    return { { "decision", decision(optionID) } };
}

} // namespace tessarin
