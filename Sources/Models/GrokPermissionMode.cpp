#include "Models/GrokPermissionMode.h"

#include "Models/VocabularyTable.h"

namespace tessarin
{

namespace
{

using Mode = GrokPermissionMode;

struct Row {
    Mode value;
    std::string_view rawText;
    std::string_view label;
    std::string_view grokName;
    std::string_view systemImage;
    std::string_view kimiMode;
    std::string_view claudeMode;
    std::optional<std::string_view> acpMetadata;
};

constexpr std::array table{
    Row{ Mode::ask, "ask", "Ask", "Ask", "hand.raised.fill", "manual", "default", std::nullopt },
    Row{ Mode::auto_, "auto", "Auto", "Auto", "checkmark.shield.fill", "auto", "auto", "autoMode" },
    Row{ Mode::fullAccess, "full_access", "Full access", "Always-approve", "bolt.shield.fill", "yolo", "bypassPermissions", "yoloMode" },
};
static_assert(isInOrder(table) && table.size() == allGrokPermissionModes.size());

struct DetailRow {
    Mode value;
    std::string_view plain;
    std::string_view kimi;
    std::string_view glm;
    std::string_view claude;
};

constexpr std::array details{
    DetailRow{ Mode::ask, "Grok asks before actions that are not already allowed.", "Kimi uses manual mode and asks before tool actions.",
        "OpenCode applies its configured allow/deny rules and sends unresolved GLM tool actions here for approval.",
        "Claude Code uses its default permission checks and sends unresolved tool actions here for approval." },
    DetailRow{ Mode::auto_, "Grok's safety classifier approves routine actions and escalates others.",
        "Kimi handles approvals and questions autonomously.",
        "OpenCode applies its own permission rules and tessarin surfaces any action it still cannot decide.",
        "Claude Code uses its native auto permission mode and escalates actions it cannot approve." },
    DetailRow{ Mode::fullAccess, "Grok skips ordinary approval prompts. Deny rules, hooks, and any configured sandbox still apply.",
        "Kimi uses YOLO mode for regular tool calls; sensitive actions and plan exits may still ask.",
        "tessarin approves OpenCode tool prompts automatically. OpenCode deny rules still apply.",
        "Claude Code uses bypassPermissions. Explicit deny rules still apply." },
};
static_assert(isInOrder(details) && details.size() == table.size());

} // namespace

std::string_view rawText(GrokPermissionMode mode)
{
    return rowOf(table, mode).rawText;
}

std::optional<GrokPermissionMode> grokPermissionModeFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

std::string_view label(GrokPermissionMode mode)
{
    return rowOf(table, mode).label;
}

std::string_view grokName(GrokPermissionMode mode)
{
    return rowOf(table, mode).grokName;
}

std::string_view systemImage(GrokPermissionMode mode)
{
    return rowOf(table, mode).systemImage;
}

std::string_view kimiMode(GrokPermissionMode mode)
{
    return rowOf(table, mode).kimiMode;
}

std::string_view claudeMode(GrokPermissionMode mode)
{
    return rowOf(table, mode).claudeMode;
}

std::optional<std::string_view> acpMetadata(GrokPermissionMode mode)
{
    return rowOf(table, mode).acpMetadata;
}

std::string_view detail(GrokPermissionMode mode)
{
    return rowOf(details, mode).plain;
}

std::string_view detail(GrokPermissionMode mode, std::optional<AgentProvider> provider)
{
    const DetailRow& row = rowOf(details, mode);
    switch (provider.value_or(AgentProvider::grok)) {
    case AgentProvider::kimi:
        return row.kimi;
    case AgentProvider::glm:
        return row.glm;
    case AgentProvider::claude:
        return row.claude;
    case AgentProvider::grok:
    // Codex has no text of its own and shows that of Grok, its name included.
    case AgentProvider::codex:
        break;
    }
    return row.plain;
}

std::vector<std::string> agentArguments(GrokPermissionMode mode, const std::optional<std::string>& model)
{
    std::vector<std::string> arguments{ "agent" };
    if (model && !model->empty()) {
        arguments.insert(arguments.end(), { "--model", *model });
    }
    switch (mode) {
    case GrokPermissionMode::ask:
        arguments.insert(arguments.end(), { "--permission-mode", "default" });
        break;
    case GrokPermissionMode::auto_:
        arguments.insert(arguments.end(), { "--permission-mode", "auto" });
        break;
    case GrokPermissionMode::fullAccess:
        arguments.emplace_back("--always-approve");
        break;
    }
    arguments.emplace_back("stdio");
    return arguments;
}

} // namespace tessarin
