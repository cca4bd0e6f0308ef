#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/ChildProcess.h"
#include "Platform/MainThread.h"
#include "Services/AgentClient.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// The Codex program in its app-server mode: JSON-RPC 2.0 over its standard streams, one object a line. The session is a thread in the
// runtime's words, its id that of the thread.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use; every
// operation returns at once. One `start` runs per client. onReplayStarted and onReplayFailed are never called: a resumed thread does
// not come as updates.
class CodexAppServerClient final : public AgentClient, public std::enable_shared_from_this<CodexAppServerClient>
{
public:
    struct Configuration {
        std::string executable; // absolute path
        std::string workspacePath; // the child's working directory, and that of the thread
        GrokPermissionMode permissionMode = GrokPermissionMode::ask;
        Environment processEnvironment; // the child sees this and nothing else
    };

    // Starts nothing.
    [[nodiscard]] static std::shared_ptr<CodexAppServerClient> make(Configuration configuration, MainThread& mainThread);
    // Asks a child that still runs to end; nobody hears of it. `stop` comes first.
    ~CodexAppServerClient() override;

    [[nodiscard]] AgentProvider provider() const override;
    // A stored thread that the runtime refuses is replaced by a new one without a word: another id, and `replayedSession` false. Fails
    // with protocolError when there is no child or the runtime names no thread, with the runtime's verdict when it refuses, with
    // disconnected when the child ends first.
    void start(std::optional<std::string> existingSessionID, StartCompletion completion) override;
    // Succeeds with the finished turn. Fails with disconnected when no thread is open or the child ends, with the runtime's verdict
    // when the turn does not end well, with the system's error when nothing can be written. Turns may overlap.
    void sendPrompt(std::string prompt, PromptCompletion completion) override;
    // Also answers every open permission request as cancelled.
    void cancel() override;
    void respondToPermission(std::int64_t requestID, std::string optionID) override;
    void stop() override;

private:
    CodexAppServerClient(Configuration configuration, MainThread& mainThread);
};

} // namespace tessarin
