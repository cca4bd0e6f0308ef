#include "App/SessionUpdateReducer.h"

#include "Platform/Uuid.h"

#include <string_view>
#include <utility>

namespace tessarin
{

FallbackMessageIDs FallbackMessageIDs::random()
{
    std::string message = Uuid::random().text();
    std::string thought = "thought-" + message;
    return { std::move(message), std::move(thought) };
}

namespace SessionUpdateReducer
{

namespace
{

std::string textOr(const JsonObject& object, std::string_view key, std::string_view fallback)
{
    return std::string(textAt(object, key).value_or(fallback));
}

std::optional<std::string_view> contentText(const SessionUpdate& update)
{
    const JsonObject* content = objectAt(update, "content");
    return content ? textAt(*content, "text") : std::nullopt;
}

ModelChange appendEntry(ChatThread& thread, ChatEntry entry, const Situation& situation)
{
    entry.provider = situation.activeProvider;
    entry.createdAt = situation.now;
    thread.entries.push_back(std::move(entry));
    return { ModelChange::Kind::entryAppended, thread.entries.size() - 1 };
}

// The absent fallback stands for an id of its own, which is drawn only where it is needed.
std::optional<ModelChange> upsertTextEntry(const SessionUpdate& update, ChatEntryKind kind, std::optional<std::string_view> fallbackID,
    const Target& target, const Situation& situation)
{
    const auto text = contentText(update);
    if (!target.thread || !text || text->empty()) {
        return std::nullopt;
    }
    ChatThread& thread = *target.thread;
    thread.updatedAt = situation.now;
    auto id = textAt(update, "messageId");
    if (!id) {
        id = fallbackID;
    }
    if (id) {
        if (const auto row = target.index.find(thread.entries, *id)) {
            thread.entries[*row].text.append(*text);
            return ModelChange{ ModelChange::Kind::entryTextAppended, *row };
        }
    }
    ChatEntry entry;
    entry.id = id ? std::string(*id) : "replay-user-" + Uuid::random().text();
    entry.kind = kind;
    entry.text = *text;
    return appendEntry(thread, std::move(entry), situation);
}

// The detail of a tool card: what has a JSON document of its own, and nothing for all else.
std::string detailText(const SessionUpdate& update)
{
    const Json* rawInput = update.if_contains("rawInput");
    std::string text = rawInput ? prettyJson(*rawInput).value_or(std::string()) : std::string();
    text.shrink_to_fit(); // it stays as long as the task, and was written into a buffer that doubles
    return text;
}

std::optional<ModelChange> upsertToolEntry(const SessionUpdate& update, const Target& target, const Situation& situation)
{
    const auto id = textAt(update, "toolCallId");
    if (!target.thread || !id) {
        return std::nullopt;
    }
    ChatThread& thread = *target.thread;
    thread.updatedAt = situation.now;
    // An update that leaves these two out puts the defaults back, on purpose.
    std::string title = textOr(update, "title", "Using a tool");
    std::string status = textOr(update, "status", "pending");
    std::string text = detailText(update);
    if (const auto row = target.index.find(thread.entries, *id)) {
        ChatEntry& entry = thread.entries[*row];
        entry.title = std::move(title);
        entry.status = std::move(status);
        if (!text.empty()) {
            entry.text = std::move(text);
        }
        return ModelChange{ ModelChange::Kind::entryChanged, *row };
    }
    ChatEntry entry;
    entry.id = *id;
    entry.kind = ChatEntryKind::tool;
    entry.text = std::move(text);
    entry.title = std::move(title);
    entry.status = std::move(status);
    return appendEntry(thread, std::move(entry), situation);
}

PlanEntry planEntry(const JsonObject& item, std::size_t number)
{
    const auto id = textAt(item, "id");
    return { id ? std::string(*id) : "plan-" + std::to_string(number), textOr(item, "content", "Task"), textOr(item, "status", "pending"),
        textOr(item, "priority", "medium") };
}

// The list counts as empty when any of its items is no map: it is of another type then.
std::vector<PlanEntry> planEntries(const SessionUpdate& update)
{
    std::vector<PlanEntry> plan;
    const JsonArray* items = arrayAt(update, "entries");
    if (!items) {
        return plan;
    }
    plan.reserve(items->size());
    for (const Json& item : *items) {
        const JsonObject* object = item.if_object();
        if (!object) {
            return {};
        }
        plan.push_back(planEntry(*object, plan.size()));
    }
    return plan;
}

} // namespace

std::optional<ModelChange> fold(const SessionUpdate& update, const Target& target, const Situation& situation)
{
    const auto kind = textAt(update, "sessionUpdate");
    if (!kind) {
        return std::nullopt;
    }
    if (*kind == "agent_message_chunk") {
        return upsertTextEntry(update, ChatEntryKind::assistant, situation.fallbackIDs.message, target, situation);
    }
    if (*kind == "agent_thought_chunk") {
        return upsertTextEntry(update, ChatEntryKind::thought, situation.fallbackIDs.thought, target, situation);
    }
    if (*kind == "tool_call" || *kind == "tool_call_update") {
        return upsertToolEntry(update, target, situation);
    }
    if (*kind == "user_message_chunk" && situation.isReplaying) {
        // The program wrote the prompt itself when it was sent; only a replay brings prompts that it may not have.
        return upsertTextEntry(update, ChatEntryKind::user, std::nullopt, target, situation);
    }
    if (*kind == "plan") {
        std::vector<PlanEntry> plan = planEntries(update);
        if (plan == target.plan) {
            return std::nullopt;
        }
        target.plan = std::move(plan);
        return ModelChange{ ModelChange::Kind::plan };
    }
    return std::nullopt;
}

} // namespace SessionUpdateReducer

} // namespace tessarin
