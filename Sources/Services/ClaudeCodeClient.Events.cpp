#include "Services/ClaudeCodeClient.h"

#include "Platform/Text.h"
#include "Services/ClaudeCodeVerdict.h"

#include <utility>

// What arrives at a ClaudeCodeClient: lines are told apart, and the events of the stream become updates. Nothing in them can end the
// client.

namespace tessarin
{

void ClaudeCodeClient::handleLine(std::string_view line)
{
    m_queue->assertCurrent();
    const auto storage = m_child->batch().storageFor(line.size());
    if (handlePiece(line, storage))
        return;
    auto message = parseJson(line, storage);
    if (JsonObject* object = message ? message->if_object() : nullptr)
        return handle(*object, line);
    // The program also says things in plain words here; they are not lost.
    if (!isValidUtf8(line))
        return;
    m_child->notify([text = std::string(line) + "\n"](AgentClient& client) {
        if (client.onLog)
            client.onLog(text);
    });
}

// False when the line has to be parsed whole.
bool ClaudeCodeClient::handlePiece(std::string_view line, const boost::json::storage_ptr& storage)
{
    if (auto text = m_textLines.valueIn(line, storage))
        emitUpdate(m_turn.handleText(&*text));
    else if (auto thinking = m_thinkingLines.valueIn(line, storage))
        emitUpdate(m_turn.handleThinking(&*thinking));
    else
        return false;
    return true;
}

void ClaudeCodeClient::handle(JsonObject& message, std::string_view line)
{
    const auto type = textAt(message, "type");
    if (type == "control_response")
        handleControlResponse(message);
    else if (type == "control_request")
        handleControlRequest(message);
    else if (type == "system")
        handleSystem(message);
    else if (type == "stream_event")
        handleStreamEvent(message, line);
    else if (type == "assistant")
        handleAssistant(message);
    else if (type == "result")
        handleResult(message);
    else if (type == "rate_limit_event")
        handleRateLimit(message);
}

void ClaudeCodeClient::handleSystem(const JsonObject& event)
{
    const auto sessionID = textAt(event, "session_id");
    if (sessionID && textAt(event, "subtype") == "init")
        m_sessionID = std::string(*sessionID);
    emitUpdate(claudeTaskUpdate(event));
}

void ClaudeCodeClient::handleStreamEvent(JsonObject& event, std::string_view line)
{
    auto update = m_turn.handleStreamEvent(event);
    const auto kind = update ? textAt(*update, "sessionUpdate") : std::nullopt;
    if (kind == "agent_message_chunk")
        m_textLines.learn(line);
    else if (kind == "agent_thought_chunk")
        m_thinkingLines.learn(line);
    emitUpdate(std::move(update));
}

void ClaudeCodeClient::handleAssistant(JsonObject& event)
{
    for (SessionUpdate& update : m_turn.handleAssistant(event))
        emitUpdate(std::move(update));
}

// No id says to which prompt a result belongs: one prompt at a time makes it the one that runs. Without one it is a leftover.
void ClaudeCodeClient::handleResult(const JsonObject& event)
{
    if (const auto sessionID = textAt(event, "session_id"))
        m_sessionID = std::string(*sessionID);
    const auto done = std::exchange(m_promptCompletion, std::nullopt);
    if (!done)
        return;
    if (auto failure = ClaudeCodeVerdict::failureOf(event))
        m_child->complete<JsonObject>(*done, Failure{ AgentError(*std::move(failure)) });
    else
        m_child->complete<JsonObject>(*done, keptCopy(event));
}

void ClaudeCodeClient::handleRateLimit(const JsonObject& event)
{
    const auto usage = ClaudeCodeVerdict::usageIn(event);
    if (!usage)
        return;
    m_child->notify([usage = *usage](AgentClient& client) {
        if (client.onUsageUpdate)
            client.onUsageUpdate(usage);
    });
}

void ClaudeCodeClient::emitUpdate(std::optional<SessionUpdate> update)
{
    if (update)
        m_child->batch().add(*std::move(update));
}

} // namespace tessarin
