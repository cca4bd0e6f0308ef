#include "Demo/Agent.h"

#include "Demo/Stories.h"
#include "Platform/Text.h"
#include "Platform/Uuid.h"

namespace demo
{

using tessarin::Json;
using tessarin::JsonArray;
using tessarin::JsonObject;

Agent::Agent(Role role, double pace)
    : m_role(std::move(role)), m_pace(pace), m_idPrefix(m_role.program + "-demo-" + tessarin::Uuid::random().text())
{
}

void Agent::run()
{
    while (m_connection.isOpen())
        if (const auto message = m_connection.next(std::nullopt))
            handle(*message);
}

void Agent::handle(const JsonObject& message)
{
    const std::string method{ tessarin::textAt(message, "method").value_or("") };
    static const JsonObject none;
    const JsonObject* params = tessarin::objectAt(message, "params");
    const Json* id = message.if_contains("id");
    if (id && !method.empty())
        answer(*id, method, params ? *params : none);
    else if (method == "session/cancel")
        m_isCancelled = true;
}

void Agent::answer(const Json& id, const std::string& method, const JsonObject& params)
{
    if (method == "initialize")
        reply(id,
            { { "protocolVersion", 1 }, { "agentInfo", JsonObject{ { "name", m_role.program + "-demo" }, { "version", "1.0.0" } } },
                { "agentCapabilities", JsonObject{ { "loadSession", true } } }, { "authMethods", JsonArray() } });
    else if (method == "session/new")
        openSession(id);
    else if (method == "session/load")
        loadSession(id, params);
    else if (method == "session/set_config_option")
        reply(id, { { "configOptions", JsonArray() } });
    else if (method == "session/prompt")
        prompt(id, params);
    else
        refuse(id, -32601, "Method not found: " + method);
}

void Agent::openSession(const Json& id)
{
    m_sessionId = m_idPrefix;
    reply(id, { { "sessionId", *m_sessionId } });
}

void Agent::loadSession(const Json& id, const JsonObject& params)
{
    const std::string sessionId{ tessarin::textAt(params, "sessionId").value_or("") };
    if (!sessionId.starts_with(m_role.program + "-demo-"))
        return refuse(id, -32602, "Unknown session: " + sessionId);
    m_sessionId = sessionId;
    for (const Beat& beat : replayedTurn(m_idPrefix + "-replay").beats)
        update(beat.update);
    reply(id, JsonObject());
}

static std::string textOf(const JsonObject& params)
{
    std::string text;
    const JsonArray* blocks = tessarin::arrayAt(params, "prompt");
    for (std::size_t i = 0; blocks && i < blocks->size(); ++i)
        if (const JsonObject* block = (*blocks)[i].if_object())
            text += tessarin::textAt(*block, "text").value_or("");
    return text;
}

void Agent::prompt(const Json& id, const JsonObject& params)
{
    if (m_isPlaying)
        return refuse(id, -32600, "A turn is running already.");
    if (!m_sessionId || tessarin::textAt(params, "sessionId") != *m_sessionId)
        return refuse(id, -32602, "Unknown session.");
    const Turn turn = turnFor(textOf(params));
    m_isPlaying = true;
    m_isCancelled = false;
    play(id, turn);
    m_isPlaying = false;
}

Turn Agent::turnFor(const std::string& text)
{
    ++m_promptCount;
    const std::string idPrefix = m_idPrefix + "-" + std::to_string(m_promptCount);
    const auto capsule = readCapsule(text);
    const bool speaksOfLimit = !capsule && tessarin::contains(tessarin::lowerCased(text), "limit");
    if (m_role.hasAllowance && (m_promptCount > 1 || speaksOfLimit))
        m_isExhausted = true;
    if (m_isExhausted)
        return limitedTurn(idPrefix, m_role.name);
    if (capsule)
        return continuedTurn(idPrefix, *capsule);
    return m_promptCount == 1 ? workingTurn(idPrefix, text) : reviewingTurn(idPrefix, text);
}

void Agent::play(const Json& id, const Turn& turn)
{
    for (const Beat& beat : turn.beats) {
        const std::chrono::duration<double, std::milli> wait(static_cast<double>(beat.before.count()) * m_pace);
        const auto due = Connection::Clock::now() + std::chrono::duration_cast<Connection::Clock::duration>(wait);
        // What comes meanwhile is answered at once; a turn without waiting looks, too, whether it was cancelled.
        while (!m_isCancelled) {
            const auto message = m_connection.next(due);
            if (!message)
                break;
            handle(*message);
        }
        if (m_isCancelled) {
            endRunningCall();
            return reply(id, { { "stopReason", "cancelled" } });
        }
        if (!m_connection.isOpen())
            return;
        update(beat.update);
    }
    if (turn.failure)
        return refuse(id, -32003, *turn.failure);
    reply(id, { { "stopReason", "end_turn" } });
}

void Agent::endRunningCall()
{
    if (m_runningCall.empty())
        return;
    JsonObject ended = m_runningCall;
    ended["sessionUpdate"] = "tool_call_update";
    ended["status"] = "failed";
    update(ended);
}

void Agent::update(const JsonObject& update)
{
    if (update.contains("toolCallId")) {
        const auto status = tessarin::textAt(update, "status");
        m_runningCall = status == "completed" || status == "failed" ? JsonObject() : update;
    }
    m_connection.send({ { "jsonrpc", "2.0" }, { "method", "session/update" },
        { "params", JsonObject{ { "sessionId", *m_sessionId }, { "update", update } } } });
}

void Agent::reply(const Json& id, const JsonObject& result)
{
    m_connection.send({ { "jsonrpc", "2.0" }, { "id", id }, { "result", result } });
}

void Agent::refuse(const Json& id, int code, const std::string& message)
{
    m_connection.send({ { "jsonrpc", "2.0" }, { "id", id }, { "error", JsonObject{ { "code", code }, { "message", message } } } });
}

} // namespace demo
