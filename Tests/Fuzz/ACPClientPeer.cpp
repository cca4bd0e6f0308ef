#include "ACPClientPeer.h"

#include <utility>

namespace tessarin
{

void ACPClientPeer::open(ACPClient& client, std::optional<std::string> storedSessionID, AgentClient::StartCompletion started,
    std::function<void(const JsonRpcReply&)> answered)
{
    client.m_gate->open(client.weak_from_this(), [] {});
    ACPClient::Opening opening{ std::move(storedSessionID), Completion(std::move(started)) };
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        client.m_isConnected = true;
        client.sendInitialize(client.next(&ACPClient::initialized, std::move(opening)));
        client.sendRequest("session/prompt", {}, std::move(answered));
        client.flush();
    });
}

void ACPClientPeer::feed(ACPClient& client, const std::vector<std::string_view>& pieces)
{
    client.m_queue->sync([&] {
        for (const std::string_view piece : pieces) {
            client.consume(piece);
        }
    });
}

void ACPClientPeer::end(ACPClient& client, int status)
{
    client.m_queue->sync([&] { client.processEnded({ .status = status }); });
}

} // namespace tessarin
