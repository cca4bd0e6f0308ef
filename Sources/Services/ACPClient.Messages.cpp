#include "Services/ACPClient.h"

#include <utility>

// The messages of an ACPClient: what arrives is told apart, what is sent is written.

namespace tessarin
{

void ACPClient::handleLine(std::string_view line)
{
    m_queue->assertCurrent();
    const auto storage = m_child->batch().storageFor(line.size());
    if (auto update = m_updateEnvelope.valueIn(line, storage); update && update->is_object())
        return m_child->batch().add(std::move(update->get_object()));
    auto message = parseJson(line, storage);
    if (!message)
        return;
    if (JsonObject* object = message->if_object())
        handle(*object, line);
}

void ACPClient::handle(JsonObject& message, std::string_view line)
{
    const auto id = integerAt(message, "id");
    if (id && !message.contains("method")) {
        if (const auto handler = m_pending.take(*id))
            (*handler)(replyOf(message));
        return;
    }
    const auto method = textAt(message, "method");
    if (!method)
        return;
    if (id) {
        static const JsonObject noParams;
        const JsonObject* params = objectAt(message, "params");
        handleAgentRequest(*id, *method, params ? *params : noParams);
    } else if (*method == "session/update") {
        deliverUpdate(message, line);
    }
}

JsonRpcReply ACPClient::replyOf(const JsonObject& message) const
{
    if (const JsonObject* error = objectAt(message, "error")) {
        const auto text = textAt(*error, "message");
        return Failure{ AgentError(ACPClientError{
            ACPClientError::Kind::invalidResponse, text ? std::string(*text) : m_runtimeName + " returned an unknown error." }) };
    }
    const JsonObject* result = objectAt(message, "result");
    return result ? keptCopy(*result) : JsonObject();
}

void ACPClient::deliverUpdate(JsonObject& message, std::string_view line)
{
    Json* params = message.if_contains("params");
    Json* update = params && params->is_object() ? params->get_object().if_contains("update") : nullptr;
    if (!update || !update->is_object())
        return;
    m_updateEnvelope.learn(line);
    m_child->batch().add(std::move(update->get_object()));
}

void ACPClient::sendRequest(std::string_view method, JsonObject params, PendingRequests::Handler handler)
{
    // Nobody would answer.
    if (!m_child->isConnected())
        return handler(Failure{ AgentError(ACPClientError{ ACPClientError::Kind::disconnected, {} }) });
    const std::int64_t id = m_pending.add(std::move(handler));
    m_child->write(JsonRpc::request(id, method, std::move(params)));
}

void ACPClient::sendNotification(std::string_view method, JsonObject params)
{
    m_child->write(JsonRpc::notification(method, std::move(params)));
}

} // namespace tessarin
