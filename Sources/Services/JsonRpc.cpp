#include "Services/JsonRpc.h"

#include <utility>

namespace tessarin
{

namespace JsonRpc
{

JsonObject request(std::int64_t id, std::string_view method, JsonObject params)
{
    return { { "jsonrpc", "2.0" }, { "id", id }, { "method", method }, { "params", std::move(params) } };
}

JsonObject notification(std::string_view method)
{
    return { { "jsonrpc", "2.0" }, { "method", method } };
}

JsonObject notification(std::string_view method, JsonObject params)
{
    return { { "jsonrpc", "2.0" }, { "method", method }, { "params", std::move(params) } };
}

JsonObject response(Json id, JsonObject result)
{
    return { { "jsonrpc", "2.0" }, { "id", std::move(id) }, { "result", std::move(result) } };
}

JsonObject error(Json id, std::string_view message, std::int64_t code)
{
    return { { "jsonrpc", "2.0" }, { "id", std::move(id) }, { "error", { { "code", code }, { "message", message } } } };
}

std::optional<std::string> line(const JsonObject& message)
{
    const Json value(message);
    if (!isValidJson(value))
        return std::nullopt;
    return compactJson(value) + "\n";
}

} // namespace JsonRpc

std::int64_t PendingRequests::add(Handler handler)
{
    const std::int64_t id = m_nextID++;
    m_handlers.emplace(id, std::move(handler));
    return id;
}

std::optional<PendingRequests::Handler> PendingRequests::take(std::int64_t id)
{
    auto node = m_handlers.extract(id);
    if (node.empty())
        return std::nullopt;
    return std::move(node.mapped());
}

std::vector<PendingRequests::Handler> PendingRequests::takeAll()
{
    std::vector<Handler> handlers;
    for (auto& [id, handler] : std::exchange(m_handlers, {}))
        handlers.push_back(std::move(handler));
    return handlers;
}

} // namespace tessarin
