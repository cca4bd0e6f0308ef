#include "ACPClientPeer.h"

#include <utility>

namespace tessarin
{

void ACPClientPeer::play(ACPClient& client, std::string storedSessionID, Waiting waiting, const std::vector<std::string_view>& pieces)
{
    client.m_gate->open(client.weak_from_this(), [] {});
    ACPClient::Opening opening{ std::move(storedSessionID), Completion(std::move(waiting.started)) };
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        client.m_isConnected = true;
        client.sendInitialize(client.next(&ACPClient::initialized, std::move(opening)));
        client.sendRequest("session/prompt", {}, std::move(waiting.answered));
        client.flush();
        for (const std::string_view piece : pieces) {
            client.consume(piece);
        }
        client.processEnded({});
    });
}

} // namespace tessarin
