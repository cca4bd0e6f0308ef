#pragma once

#include "Platform/Json.h"
#include "Platform/Result.h"
#include "Services/AgentError.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// The messages of JSON-RPC 2.0 (www.jsonrpc.org) over lines, one object a line, as this program writes them.
namespace JsonRpc
{
inline constexpr std::int64_t methodNotFound = -32601;
inline constexpr std::int64_t internalError = -32603;

[[nodiscard]] JsonObject request(std::int64_t id, std::string_view method, JsonObject params);
[[nodiscard]] JsonObject notification(std::string_view method);
[[nodiscard]] JsonObject notification(std::string_view method, JsonObject params);
// The id of a request that came is echoed in its own type.
[[nodiscard]] JsonObject response(Json id, JsonObject result);
[[nodiscard]] JsonObject error(Json id, std::string_view message, std::int64_t code = internalError);

// The line of a message with its newline; absent for a value that has no JSON text.
[[nodiscard]] std::optional<std::string> line(const JsonObject& message);
} // namespace JsonRpc

// What answers a request: the result, or why there is none.
using JsonRpcReply = Result<JsonObject, AgentError>;

// The requests that wait for an answer, by the id that went out with them. Not thread-safe: a client guards it with its queue.
class PendingRequests
{
public:
    using Handler = std::function<void(const JsonRpcReply&)>;

    // The id for the next request; the handler waits under it.
    [[nodiscard]] std::int64_t add(Handler handler);
    [[nodiscard]] bool isEmpty() const { return m_handlers.empty(); }
    // Removes and returns the handler of an id, for the caller to call; absent for an id that nothing waits for.
    [[nodiscard]] std::optional<Handler> take(std::int64_t id);
    // Removes and returns all of them in the order of their ids. The table is empty before the first is called, so that a handler may
    // send a new request.
    [[nodiscard]] std::vector<Handler> takeAll();

private:
    std::map<std::int64_t, Handler> m_handlers;
    std::int64_t m_nextID = 1;
};

} // namespace tessarin
