#pragma once

#include "Services/CodexAppServerClient.h"

#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Stands where the child of a CodexAppServerClient stands otherwise: opens the client without one, and feeds it what a runtime might
// write. What the client writes goes nowhere.
struct CodexAppServerClientPeer {
    // What waits for the runtime.
    struct Waiting {
        AgentClient::StartCompletion started;
        AgentClient::PromptCompletion ended;
    };
    // As `start`, but nothing is launched, and as if a thread were open already, so that a prompt is on its way as well: 1 is the id of the
    // handshake, 2 that of the prompt, 3 and later read the allowance and open the thread. Then each piece is one read, and the child ends.
    static void play(
        CodexAppServerClient& client, std::string storedThreadID, Waiting waiting, const std::vector<std::string_view>& pieces);
    // Returns when the client has done all that it was told.
    static void wait(CodexAppServerClient& client);
};

} // namespace tessarin
