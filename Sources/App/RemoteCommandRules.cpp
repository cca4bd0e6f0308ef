#include "App/RemoteCommandRules.h"

namespace tessarin::RemoteCommandRules
{

ModeVerdict<GrokPermissionMode> judgePermissionMode(const RemoteEnvelope& message, bool canChange)
{
    const auto mode = grokPermissionModeFromRawText(message.permissionMode.value_or(""));
    if (!mode) {
        return Ignored();
    }
    if (*mode == GrokPermissionMode::fullAccess) {
        return Refused{ fullAccessRefusal };
    }
    if (!canChange) {
        return Refused{ permissionModeRefusal };
    }
    return *mode;
}

ModeVerdict<ProviderRoutingMode> judgeProviderMode(const RemoteEnvelope& message, bool canChange)
{
    const auto mode = providerRoutingModeFromRawText(message.providerMode.value_or(""));
    if (!mode) {
        return Ignored();
    }
    if (!canChange) {
        return Refused{ providerModeRefusal };
    }
    return *mode;
}

bool isOffered(const PermissionOption& option)
{
    return option.kind == "allow_once" || option.kind.starts_with("reject");
}

std::optional<std::string> chosenOption(const RemoteEnvelope& message, const std::optional<PermissionRequest>& pending)
{
    if (!pending || message.requestID != pending->id || !message.optionID) {
        return std::nullopt;
    }
    bool isThere = false;
    for (const PermissionOption& option : pending->options) {
        if (option.id != *message.optionID) {
            continue;
        }
        if (!isOffered(option)) {
            return std::nullopt;
        }
        isThere = true;
    }
    return isThere ? message.optionID : std::nullopt;
}

CancelTarget cancelTarget(const RemoteEnvelope& message, const std::optional<Uuid>& selectedThreadID)
{
    if (message.mediaKind == "image" || message.mediaKind == "imagine") {
        return CancelTarget::imagine;
    }
    const bool isSelected = !message.threadID || (selectedThreadID && *message.threadID == selectedThreadID->text());
    return isSelected ? CancelTarget::agent : CancelTarget::nothing;
}

std::optional<Uuid> uuid(const std::optional<std::string>& text)
{
    return text ? Uuid::parse(*text) : std::nullopt;
}

} // namespace tessarin::RemoteCommandRules
