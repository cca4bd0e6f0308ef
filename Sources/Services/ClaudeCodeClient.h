#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/MainThread.h"
#include "Platform/SerialQueue.h"
#include "Services/AgentClient.h"
#include "Services/ClaudeCodeTurn.h"
#include "Services/Completion.h"
#include "Services/LineEnvelope.h"
#include "Services/Locators.h"
#include "Services/RuntimeChild.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The Claude Code program in its streaming mode: prompts go in as lines of JSON, and lines of JSON come back, among them a control
// channel on which the session is initialized and permission is asked for.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use.
// One `start` runs per client. onReplayStarted and onReplayFailed are never called.
class ClaudeCodeClient final : public AgentClient, public RuntimeChild::Listener, public std::enable_shared_from_this<ClaudeCodeClient>
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
    // Plays a runtime without a process; for fuzz targets.
    friend struct ClaudeCodeClientPeer;

    ClaudeCodeClient(Configuration configuration, MainThread& mainThread);

    // What one `start` carries from step to step.
    struct Opening {
        std::string sessionID;
        bool resume = false;
        Completion<AgentStartResult> done;
    };
    // What answers a control request: the response, or why there is none.
    using ControlReply = Result<JsonObject, AgentError>;
    using ControlCompletion = std::function<void(const ControlReply&)>;
    struct PendingPermission {
        std::string controlRequestID;
        JsonObject input; // goes back as it came
    };

    // Opening a session, in the order in which the steps run.
    [[nodiscard]] static Opening opening(std::optional<std::string> existingSessionID, StartCompletion completion);
    void launch(Opening opening) REQUIRES(*m_queue);
    [[nodiscard]] Result<void, AgentError> launchProcess(const Opening& opening) REQUIRES(*m_queue);
    void initialize(Opening opening) REQUIRES(*m_queue);
    void initialized(const ControlReply& reply, const Opening& opening) REQUIRES(*m_queue);

    // A turn.
    void startTurn(const std::string& prompt, Completion<JsonObject> done) REQUIRES(*m_queue);
    void cancelTurn() REQUIRES(*m_queue);

    // The end.
    void stopOnQueue() REQUIRES(*m_queue);
    void writeFailed(const SystemError& error) override;
    void childEnded(ChildEnd end) override;
    void failPending(const AgentError& error) REQUIRES(*m_queue);

    // What arrives.
    void handleLine(std::string_view line) override;
    [[nodiscard]] bool handlePiece(std::string_view line, const boost::json::storage_ptr& storage) REQUIRES(*m_queue);
    void handle(JsonObject& message, std::string_view line) REQUIRES(*m_queue);
    void handleSystem(const JsonObject& event) REQUIRES(*m_queue);
    void handleStreamEvent(JsonObject& event, std::string_view line) REQUIRES(*m_queue);
    void handleAssistant(JsonObject& event) REQUIRES(*m_queue);
    void handleResult(const JsonObject& event) REQUIRES(*m_queue);
    void handleRateLimit(const JsonObject& event) REQUIRES(*m_queue);
    void emitUpdate(std::optional<SessionUpdate> update) REQUIRES(*m_queue);

    // The control channel.
    void sendControlRequest(JsonObject request, ControlCompletion completion) REQUIRES(*m_queue);
    void handleControlResponse(const JsonObject& message) REQUIRES(*m_queue);
    void handleControlRequest(const JsonObject& message) REQUIRES(*m_queue);
    void askPerson(const std::string& controlRequestID, const JsonObject& request, const JsonObject& input) REQUIRES(*m_queue);
    void answerPermission(std::int64_t id, std::string_view optionID) REQUIRES(*m_queue);

    // Constant after construction.
    const Configuration m_configuration;
    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<RuntimeChild> m_child; // used on the queue but for `open` and `close`

    // On the queue only.
    std::optional<std::string> m_sessionID GUARDED_BY(*m_queue); // the runtime may give the session another one
    std::int64_t m_nextControlRequestID GUARDED_BY(*m_queue) = 1;
    std::int64_t m_nextPermissionID GUARDED_BY(*m_queue) = 100000;
    std::map<std::string, ControlCompletion> m_controlCompletions GUARDED_BY(*m_queue);
    std::map<std::int64_t, PendingPermission> m_permissions GUARDED_BY(*m_queue); // shown and not answered
    std::optional<Completion<JsonObject>> m_promptCompletion GUARDED_BY(*m_queue); // while a turn runs
    ClaudeCodeTurn m_turn GUARDED_BY(*m_queue); // the current one, or the last
    // Most of what a turn brings: the pieces of texts and of thoughts.
    LineEnvelope m_textLines GUARDED_BY(*m_queue){ "event.delta.text", "uuid" };
    LineEnvelope m_thinkingLines GUARDED_BY(*m_queue){ "event.delta.thinking", "uuid" };
};

} // namespace tessarin
