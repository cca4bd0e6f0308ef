#pragma once

#include "Services/ACPClient.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Stands where the child of an ACPClient stands otherwise: opens the client without one, and feeds it what a runtime might write.
struct ACPClientPeer {
    // What waits for the runtime.
    struct Waiting {
        AgentClient::StartCompletion started;
        std::function<void(const JsonRpcReply&)> answered;
    };
    // As `start`, but nothing is launched. A request is left open as well, so that answers to three ids are awaited in the end: 1 is the
    // handshake, 2 is that request, 3 and later open the session. Then each piece is one read, and the child ends.
    static void play(ACPClient& client, std::string storedSessionID, Waiting waiting, const std::vector<std::string_view>& pieces);
    // A session that is open at once, with a runtime that says one line after the other, until it has none, without letting anything else
    // happen in between. What the client writes, now and until it is stopped, goes to `onLine`, on its queue.
    static void converse(
        ACPClient& client, std::function<void(std::string line)> onLine, const std::function<std::optional<std::string>()>& nextLine);
};

} // namespace tessarin
