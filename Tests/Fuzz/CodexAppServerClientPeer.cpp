#include "CodexAppServerClientPeer.h"

#include "RuntimeChildPeer.h"

#include <utility>

namespace tessarin
{

void CodexAppServerClientPeer::play(
    CodexAppServerClient& client, std::string storedThreadID, Waiting waiting, const std::vector<std::string_view>& pieces)
{
    client.m_child->open(client.shared_from_this());
    CodexAppServerClient::Opening opening{ std::move(storedThreadID), Completion(std::move(waiting.started)) };
    client.m_queue->sync([&] {
        client.m_queue->assertCurrent();
        RuntimeChildPeer::connect(*client.m_child);
        client.sendInitialize(std::move(opening));
        client.m_sessionId = "thread";
        client.startTurn("x", Completion<JsonObject>(std::move(waiting.ended)));
        client.m_child->flush();
        for (const std::string_view piece : pieces) {
            RuntimeChildPeer::read(*client.m_child, piece);
        }
        RuntimeChildPeer::end(*client.m_child);
    });
}

void CodexAppServerClientPeer::wait(CodexAppServerClient& client)
{
    client.m_queue->sync([] {});
}

} // namespace tessarin
