#pragma once

#include "Models/AgentProvider.h"
#include "Models/PermissionRequest.h"
#include "Models/ProviderUsage.h"
#include "Platform/Result.h"
#include "Services/AgentError.h"
#include "Services/SessionUpdate.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

struct AgentStartResult {
    std::string sessionId; // the session now open
    bool replayedSession = false; // the stored session was restored; false for a new one
    bool operator==(const AgentStartResult&) const = default;
};

// One running runtime of a vendor. Operations are called on the main thread; every callback and completion arrives there, posted,
// in the order in which things happened. Order of use: set the callbacks, `start`, after its success `sendPrompt` for each turn, one
// at a time, and `stop` exactly once before the last reference is dropped: dropping alone leaves the child running.
class AgentClient
{
public:
    using StartCompletion = std::function<void(Result<AgentStartResult, AgentError>)>;
    using PromptCompletion = std::function<void(Result<JsonObject, AgentError>)>;

    virtual ~AgentClient() = default;

    [[nodiscard]] virtual AgentProvider provider() const = 0;

    // Launches the runtime and opens a session: the stored one where the runtime can restore it, else a new one. `completion` fires
    // exactly once. A restored conversation comes as onReplayStarted, its updates, then the completion.
    virtual void start(std::optional<std::string> existingSessionID, StartCompletion completion) = 0;
    // Runs one turn. `completion` fires exactly once, when the turn has ended or failed, with the runtime's raw result.
    virtual void sendPrompt(std::string prompt, PromptCompletion completion) = 0;
    // Asks the agent to end the current turn; the completion of `sendPrompt` still fires when the runtime answers.
    virtual void cancel() = 0;
    // Answers one request, by its id, with the id of an option. Does nothing for a request that is not open.
    virtual void respondToPermission(std::int64_t requestID, std::string optionID) = 0;
    // Ends the child with one SIGTERM and fails what is outstanding as disconnected; onUnexpectedTermination does not fire. What had
    // been posted before still arrives at the other callbacks, also when the client is dropped meanwhile.
    virtual void stop() = 0;
    // After `stop`, where nobody comes back to look: returns when the child and the commands it ran through us have been asked to end.
    virtual void finishStop() { }

    // Set before `start`, main thread only; not replaced while they run. A callback may call any operation, `stop` included.
    std::function<void(const SessionUpdate&)> onSessionUpdate; // the update lives as long as the call, see SessionUpdate
    std::function<void(PermissionRequest)> onPermissionRequest;
    std::function<void(const std::string& text)> onLog; // raw diagnostic text of the runtime
    std::function<void()> onReplayStarted; // a stored conversation is about to come through onSessionUpdate
    std::function<void()> onReplayFailed; // the announced replay did not happen
    std::function<void(const std::string& text)> onUnexpectedTermination; // the child ended without `stop`; ready to show
    std::function<void(ProviderUsage)> onUsageUpdate;
};

} // namespace tessarin
