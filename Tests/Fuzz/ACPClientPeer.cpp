#include "ACPClientPeer.h"

#include "RuntimeChildPeer.h"

#include <utility>

namespace tessarin
{

void ACPClientPeer::play(ACPClient& client, std::string storedSessionID, Waiting waiting, const std::vector<std::string_view>& pieces)
{
    client.m_child->open(client.shared_from_this());
    ACPClient::Opening opening{ std::move(storedSessionID), Completion(std::move(waiting.started)) };
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        RuntimeChildPeer::connect(*client.m_child);
        client.sendInitialize(client.next(&ACPClient::initialized, std::move(opening)));
        client.sendRequest("session/prompt", {}, std::move(waiting.answered));
        client.m_child->flush();
        for (const std::string_view piece : pieces) {
            RuntimeChildPeer::read(*client.m_child, piece);
        }
        RuntimeChildPeer::end(*client.m_child);
    });
}

void ACPClientPeer::converse(
    ACPClient& client, std::function<void(std::string line)> onLine, const std::function<std::optional<std::string>()>& nextLine)
{
    client.m_child->open(client.shared_from_this());
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        RuntimeChildPeer::connect(*client.m_child, std::move(onLine));
        client.m_sessionId = "session";
        while (const auto line = nextLine()) {
            RuntimeChildPeer::read(*client.m_child, *line);
        }
    });
}

} // namespace tessarin
