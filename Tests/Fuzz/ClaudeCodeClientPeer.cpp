#include "ClaudeCodeClientPeer.h"

#include "RuntimeChildPeer.h"

#include <utility>

namespace tessarin
{

void ClaudeCodeClientPeer::play(
    ClaudeCodeClient& client, Waiting waiting, std::function<void(std::string line)> onLine, const std::vector<std::string_view>& pieces)
{
    client.m_child->open(client.shared_from_this());
    ClaudeCodeClient::Opening opening = ClaudeCodeClient::opening("stored", std::move(waiting.started));
    const Completion<JsonObject> turnEnded(std::move(waiting.turnEnded));
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        RuntimeChildPeer::connect(*client.m_child, std::move(onLine));
        client.m_sessionID = opening.sessionID;
        client.initialize(std::move(opening));
        client.startTurn("prompt", turnEnded);
        client.m_child->flush();
        for (const std::string_view piece : pieces) {
            RuntimeChildPeer::read(*client.m_child, piece);
        }
        RuntimeChildPeer::end(*client.m_child);
    });
}

} // namespace tessarin
