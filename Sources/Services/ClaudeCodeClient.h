#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/ChildProcess.h"
#include "Platform/MainThread.h"
#include "Services/AgentClient.h"
#include "Services/Locators.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// The Claude Code program in its streaming mode: prompts go in as lines of JSON, and lines of JSON come back, among them a control
// channel on which the session is initialized and permission is asked for.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use.
// One `start` runs per client. onReplayStarted and onReplayFailed are never called.
class ClaudeCodeClient final : public AgentClient, public std::enable_shared_from_this<ClaudeCodeClient>
{
public:
    struct Configuration {
        std::string executable; // absolute path
        std::string workspacePath; // the child's working directory
        std::string model = ClaudeLocator::defaultModel;
        GrokPermissionMode permissionMode = GrokPermissionMode::ask;
        Environment processEnvironment; // the child sees this and nothing else
    };

    // Starts nothing.
    [[nodiscard]] static std::shared_ptr<ClaudeCodeClient> make(Configuration configuration, MainThread& mainThread);
    // Has no effect on the child: `stop` comes first.
    ~ClaudeCodeClient() override;

    [[nodiscard]] AgentProvider provider() const override;
    // Resumes the stored session, or opens a new one under an id of the client's own making; there is no way back from a resume that
    // fails. Fails with executableMissing or processFailed when there is no child, with protocolError and the runtime's words when it
    // refuses, with disconnected and what the child said last when it ends before it is initialized.
    void start(std::optional<std::string> existingSessionID, StartCompletion completion) override;
    // Fails with disconnected when no child runs, with protocolError during another turn, with an AgentRuntimeError when the runtime
    // says that the turn failed.
    void sendPrompt(std::string prompt, PromptCompletion completion) override;
    // Also denies every open permission request.
    void cancel() override;
    // Allows with "claude-allow-once", denies with anything else.
    void respondToPermission(std::int64_t requestID, std::string optionID) override;
    void stop() override;

private:
    ClaudeCodeClient(Configuration configuration, MainThread& mainThread);
};

} // namespace tessarin
