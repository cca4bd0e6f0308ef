#include "Services/ClaudeCodeTurn.h"

#include "Platform/Uuid.h"

#include <utility>

namespace tessarin
{

namespace
{

constexpr const char* inProgress = "in_progress";
constexpr std::string_view messageChunk = "agent_message_chunk";
constexpr std::string_view thoughtChunk = "agent_thought_chunk";

JsonObject* objectIn(JsonObject& object, std::string_view key)
{
    Json* value = object.if_contains(key);
    return value ? value->if_object() : nullptr;
}

bool isSaid(const Json* text)
{
    return text && text->is_string() && !text->get_string().empty();
}

Json textOr(const JsonObject& object, std::string_view key, std::string_view otherwise)
{
    return Json(textAt(object, key).value_or(otherwise), object.storage());
}

// The id in the event, else one that nothing else bears.
Json idOr(const std::optional<std::string_view>& id, const boost::json::storage_ptr& storage)
{
    return id ? Json(*id, storage) : Json(Uuid::random().text(), storage);
}

SessionUpdate textUpdate(Json text, std::string_view kind, std::string_view messageID)
{
    const boost::json::storage_ptr storage = text.storage();
    JsonObject content(2, storage);
    content.emplace("type", "text");
    content.emplace("text", std::move(text));
    SessionUpdate update(3, storage);
    update.emplace("sessionUpdate", kind);
    update.emplace("messageId", messageID);
    update.emplace("content", std::move(content));
    return update;
}

// The input is empty when the tool starts and whole when the message is there. Nothing in the stream tells that a tool has finished.
SessionUpdate toolUpdate(JsonObject& block)
{
    const boost::json::storage_ptr storage = block.storage();
    SessionUpdate update(5, storage);
    update.emplace("sessionUpdate", "tool_call");
    update.emplace("toolCallId", idOr(textAt(block, "id"), storage));
    update.emplace("title", textOr(block, "name", "Claude tool"));
    update.emplace("status", inProgress);
    Json* input = block.if_contains("input");
    update.emplace("rawInput", input ? std::move(*input) : Json(boost::json::object_kind, storage));
    return update;
}

} // namespace

ClaudeCodeTurn::ClaudeCodeTurn() : m_assistantMessageID(Uuid::random().text()), m_thoughtMessageID("thought-" + m_assistantMessageID) { }

std::optional<SessionUpdate> ClaudeCodeTurn::handleStreamEvent(JsonObject& event)
{
    JsonObject* inner = objectIn(event, "event");
    if (!inner)
        return std::nullopt;
    const auto type = textAt(*inner, "type");
    if (type == "content_block_delta") {
        JsonObject* delta = objectIn(*inner, "delta");
        return delta ? handleDelta(*delta) : std::nullopt;
    }
    if (type == "content_block_start") {
        JsonObject* block = objectIn(*inner, "content_block");
        if (block && textAt(*block, "type") == "tool_use")
            return toolUpdate(*block);
    }
    return std::nullopt;
}

std::optional<SessionUpdate> ClaudeCodeTurn::handleDelta(JsonObject& delta)
{
    const auto type = textAt(delta, "type");
    if (type == "text_delta")
        return handleText(delta.if_contains("text"));
    if (type == "thinking_delta")
        return handleThinking(delta.if_contains("thinking"));
    return std::nullopt;
}

std::optional<SessionUpdate> ClaudeCodeTurn::handleText(Json* piece)
{
    if (!isSaid(piece))
        return std::nullopt;
    m_streamedTextThisTurn = true;
    return textUpdate(std::move(*piece), messageChunk, m_assistantMessageID);
}

std::optional<SessionUpdate> ClaudeCodeTurn::handleThinking(Json* piece)
{
    if (!isSaid(piece))
        return std::nullopt;
    m_streamedThinkingThisTurn = true;
    return textUpdate(std::move(*piece), thoughtChunk, m_thoughtMessageID);
}

std::vector<SessionUpdate> ClaudeCodeTurn::handleAssistant(JsonObject& event)
{
    JsonObject* message = objectIn(event, "message");
    Json* content = message ? message->if_contains("content") : nullptr;
    if (!content || !content->is_array())
        return {};
    // A list with anything but objects in it counts as no list.
    for (const Json& block : content->get_array()) {
        if (!block.is_object())
            return {};
    }
    std::vector<SessionUpdate> updates;
    for (Json& block : content->get_array()) {
        if (auto update = handleBlock(block.get_object()))
            updates.push_back(*std::move(update));
    }
    return updates;
}

std::optional<SessionUpdate> ClaudeCodeTurn::handleBlock(JsonObject& block)
{
    const auto type = textAt(block, "type");
    if (type == "text" && !m_streamedTextThisTurn) {
        if (Json* text = block.if_contains("text"); isSaid(text))
            return textUpdate(std::move(*text), messageChunk, m_assistantMessageID);
    } else if (type == "thinking" && !m_streamedThinkingThisTurn) {
        if (Json* thinking = block.if_contains("thinking"); isSaid(thinking))
            return textUpdate(std::move(*thinking), thoughtChunk, m_thoughtMessageID);
    } else if (type == "tool_use") {
        return toolUpdate(block);
    }
    return std::nullopt;
}

std::optional<SessionUpdate> claudeTaskUpdate(const JsonObject& event)
{
    const auto subtype = textAt(event, "subtype");
    const bool hasStarted = subtype == "task_started";
    if (!hasStarted && subtype != "task_notification" && subtype != "task_updated")
        return std::nullopt;
    auto id = textAt(event, "task_id");
    if (!id)
        id = textAt(event, "uuid");
    SessionUpdate update(4, event.storage());
    update.emplace("sessionUpdate", hasStarted ? "tool_call" : "tool_call_update");
    update.emplace("toolCallId", idOr(id, event.storage()));
    update.emplace("title", textOr(event, "summary", "Claude background task"));
    // The runtime's own word. Without one, whatever is not a start counts as the end of the task.
    update.emplace("status", textOr(event, "status", hasStarted ? inProgress : "completed"));
    return update;
}

} // namespace tessarin
