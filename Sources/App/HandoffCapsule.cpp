#include "App/HandoffCapsule.h"

#include "Platform/ChildProcess.h"
#include "Platform/Text.h"

#include <algorithm>

namespace tessarin::HandoffCapsule
{

namespace
{

std::string_view role(ChatEntryKind kind)
{
    switch (kind) {
    case ChatEntryKind::user:
        return "USER";
    case ChatEntryKind::assistant:
        return "ASSISTANT";
    case ChatEntryKind::tool:
        return "TOOL";
    case ChatEntryKind::system:
    case ChatEntryKind::thought:
        break;
    }
    return "SYSTEM";
}

std::string rendered(const ChatEntry& entry)
{
    std::string line(role(entry.kind));
    if (entry.provider) {
        line.append(" [").append(shortLabel(*entry.provider)).append("]");
    }
    if (entry.title) {
        line.append(" ").append(*entry.title);
    }
    return line.append(": ").append(entry.text);
}

// Thoughts never cross to another runtime.
std::string conversation(const std::vector<ChatEntry>& entries)
{
    std::vector<const ChatEntry*> visible; // newest first
    for (auto entry = entries.rbegin(); entry != entries.rend() && visible.size() < entryLimit; ++entry) {
        if (entry->kind != ChatEntryKind::thought) {
            visible.push_back(&*entry);
        }
    }
    std::vector<std::string> lines;
    lines.reserve(visible.size());
    std::transform(visible.rbegin(), visible.rend(), std::back_inserter(lines), [](const ChatEntry* entry) { return rendered(*entry); });
    const std::string text = joined(lines, "\n\n");
    return std::string(lastCharacters(text, characterLimit));
}

std::string planText(const std::vector<PlanEntry>& plan)
{
    if (plan.empty()) {
        return "No active plan was reported.";
    }
    std::vector<std::string> lines;
    lines.reserve(plan.size());
    for (const PlanEntry& item : plan) {
        lines.push_back("- [" + item.status + "] " + item.content);
    }
    return joined(lines, "\n");
}

std::string orElse(std::string text, std::string_view fallback)
{
    return text.empty() ? std::string(fallback) : std::move(text);
}

// Empty when the command contributes nothing.
std::string gitOutput(const std::string& git, const std::string& path, const std::vector<std::string>& arguments)
{
    ChildLaunch launch;
    launch.executable = git;
    launch.arguments = { "-C", path };
    launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
    launch.environment = processEnvironment();
    const auto outcome = runCommand(launch);
    if (!outcome || outcome.value().status != 0 || !isValidUtf8(outcome.value().output)) {
        return {};
    }
    return std::string(trimmed(outcome.value().output));
}

} // namespace

std::string build(const Contents& contents)
{
    const std::string from(shortLabel(contents.from));
    const std::string to(shortLabel(contents.to));
    const std::string snapshot = contents.repositorySnapshot ? *contents.repositorySnapshot : repositoryState(contents.workspacePath);
    return joined(
        {
            "Continue this coding task after an automatic provider handoff from " + from + " to " + to + ".",
            "",
            "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve the "
            "user's "
            "approval mode and ask for approval when your runtime requires it.",
            "",
            "ORIGINAL USER REQUEST",
            contents.originalPrompt,
            "",
            "ACTIVE PLAN",
            planText(contents.plan),
            "",
            "RECENT VISIBLE CONVERSATION",
            orElse(conversation(contents.entries), "No visible conversation was available."),
            "",
            "WORKSPACE",
            contents.workspacePath,
            "",
            "REPOSITORY SNAPSHOT",
            orElse(snapshot, "No Git snapshot is available; inspect the workspace directly."),
        },
        "\n");
}

std::string repositoryState(const std::string& path, const std::string& git)
{
    const std::vector<std::vector<std::string>> commands{ { "status", "--short", "--branch" }, { "diff", "--stat" },
        { "diff", "--cached", "--stat" } };
    std::vector<std::string> blocks;
    for (const auto& arguments : commands) {
        const std::string output = gitOutput(git, path, arguments);
        if (!output.empty()) {
            blocks.push_back("$ git " + joined(arguments, " ") + "\n" + output);
        }
    }
    return joined(blocks, "\n\n");
}

} // namespace tessarin::HandoffCapsule
