#include "Services/CodexAppServerClient.h"

#include "Platform/Text.h"
#include "Platform/Uuid.h"

#include <utility>
#include <vector>

// What a CodexAppServerClient makes of the items of a turn: session updates, built in the memory of their batch.

namespace tessarin
{

namespace
{

std::string_view textOr(const JsonObject& item, std::string_view key, std::string_view otherwise)
{
    return textAt(item, key).value_or(otherwise);
}

// Takes the value out of the item as it stands.
Json taken(JsonObject& item, std::string_view key, Json otherwise)
{
    Json* value = item.if_contains(key);
    return value ? std::move(*value) : std::move(otherwise);
}

// The lines of an array of texts; none when anything else is in it.
std::string lines(const JsonArray* parts)
{
    std::vector<std::string> texts;
    for (std::size_t place = 0; parts && place < parts->size(); ++place) {
        const Json& part = (*parts)[place];
        if (!part.is_string())
            return {};
        texts.emplace_back(part.get_string());
    }
    return joined(texts, "\n");
}

// The status of items that have none of their own.
std::string_view progress(bool isCompleted)
{
    return isCompleted ? "completed" : "inProgress";
}

} // namespace

// Nothing comes of what is no delta of an item.
void CodexAppServerClient::handleDelta(DeltaLines& lines, JsonObject& params, std::string_view line)
{
    const auto id = textAt(params, "itemId");
    Json* text = params.if_contains("delta");
    if (!id || !text || !text->is_string())
        return;
    lines.envelope.learn(line);
    lines.itemID = *id;
    lines.messageID = std::string(lines.idPrefix).append(*id);
    emitDelta(lines, std::move(*text));
}

void CodexAppServerClient::emitDelta(const DeltaLines& lines, Json text)
{
    if (!m_streamedItems.contains(lines.itemID))
        m_streamedItems.emplace(lines.itemID);
    emitChunk(lines.chunk, lines.messageID, std::move(text));
}

void CodexAppServerClient::emitItem(JsonObject& item, bool isCompleted)
{
    const std::string type(textOr(item, "type", ""));
    // Without an id each notification is an entry of its own.
    const auto given = textAt(item, "id");
    const std::string id = given ? std::string(*given) : Uuid::random().text();
    const std::string status(textOr(item, "status", "inProgress"));
    if (type == "commandExecution") {
        const JsonObject input{ { "command", textOr(item, "command", "") }, { "cwd", textOr(item, "cwd", m_configuration.workspacePath) },
            { "output", textOr(item, "aggregatedOutput", "") } };
        emitTool(id, textOr(item, "command", "Run command"), status, input);
    } else if (type == "fileChange") {
        emitTool(id, "Edit files", status, taken(item, "changes", JsonArray()));
    } else if (type == "mcpToolCall") {
        const std::string title = std::string(textOr(item, "server", "MCP")).append(" · ").append(textOr(item, "tool", "tool"));
        emitTool(id, title, status, taken(item, "arguments", JsonObject()));
    } else if (type == "dynamicToolCall") {
        emitTool(id, textOr(item, "tool", "Use tool"), status, taken(item, "arguments", JsonObject()));
    } else if (type == "webSearch") {
        emitTool(id, "Search the web", progress(isCompleted), JsonObject{ { "query", textOr(item, "query", "") } });
    } else if (type == "imageView") {
        emitTool(id, "View image", progress(isCompleted), JsonObject{ { "path", textOr(item, "path", "") } });
    } else if (isCompleted && !m_streamedItems.contains(id)) {
        if (type == "agentMessage")
            emitWholeMessage(id, item);
        else if (type == "reasoning")
            emitWholeReasoning(id, item);
    }
}

void CodexAppServerClient::emitTool(std::string_view id, std::string_view title, std::string_view status, Json rawInput)
{
    m_child->batch().add(JsonObject({ { "sessionUpdate", "tool_call_update" }, { "toolCallId", id }, { "title", title },
                                        { "status", normalizeStatus(status) }, { "rawInput", std::move(rawInput) } },
        m_child->batch().storageFor(0)));
}

void CodexAppServerClient::emitWholeMessage(std::string_view id, JsonObject& item)
{
    if (const auto text = textAt(item, "text"); text && !text->empty())
        emitChunk("agent_message_chunk", id, std::move(item["text"]));
}

void CodexAppServerClient::emitWholeReasoning(std::string_view id, const JsonObject& item)
{
    const std::string text = lines(arrayAt(item, "summary"));
    if (!text.empty())
        emitChunk("agent_thought_chunk", std::string(reasoningPrefix).append(id), Json(text));
}

// Built key by key, since the members of a list of initial values are copied once more.
void CodexAppServerClient::emitChunk(std::string_view kind, std::string_view messageId, Json text)
{
    const boost::json::storage_ptr storage = m_child->batch().storageFor(0);
    JsonObject content(2, storage);
    content.emplace("type", "text");
    content.emplace("text", std::move(text));
    SessionUpdate update(3, storage);
    update.emplace("sessionUpdate", kind);
    update.emplace("messageId", messageId);
    update.emplace("content", std::move(content));
    m_child->batch().add(std::move(update));
}

} // namespace tessarin
