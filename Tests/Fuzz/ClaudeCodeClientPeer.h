#pragma once

#include "Services/ClaudeCodeClient.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Stands where the child of a ClaudeCodeClient stands otherwise: opens the client without one, and feeds it what the program might write.
struct ClaudeCodeClientPeer {
    // What waits for the program.
    struct Waiting {
        AgentClient::StartCompletion started;
        AgentClient::PromptCompletion turnEnded;
    };
    // As `start` and a prompt behind it, but nothing is launched. Then each piece is one read, and the child ends. What the client writes
    // goes to `onLine`, on its queue.
    static void play(ClaudeCodeClient& client, Waiting waiting, std::function<void(std::string line)> onLine,
        const std::vector<std::string_view>& pieces);
};

} // namespace tessarin
