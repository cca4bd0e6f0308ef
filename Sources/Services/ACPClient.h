#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/MainThread.h"
#include "Platform/SerialQueue.h"
#include "Services/AgentClient.h"
#include "Services/Completion.h"
#include "Services/JsonRpc.h"
#include "Services/LineEnvelope.h"
#include "Services/RuntimeChild.h"
#include "Services/TerminalManager.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

struct RuntimeContext;

// A runtime that speaks the Agent Client Protocol over its standard streams (JSON-RPC 2.0, one object a line): Grok, Kimi, GLM.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use.
// One `start` runs per client.
class ACPClient final : public AgentClient, public RuntimeChild::Listener, public std::enable_shared_from_this<ACPClient>
{
public:
    struct Configuration {
        AgentProvider provider = AgentProvider::grok;
        std::string executable; // absolute path
        std::string workspacePath; // the child's working directory, and that of sessions
        std::optional<std::string> model;
        GrokPermissionMode permissionMode = GrokPermissionMode::ask;
        std::vector<std::string> processArguments;
        Environment processEnvironment; // the child sees this and nothing else
        Environment terminalEnvironment; // what every command of the agent starts from: Grok's, whatever the provider

        // The Grok runtime with the arguments of its mode and model, in Grok's environment.
        [[nodiscard]] static Configuration grok(std::string executable, std::string workspacePath, std::optional<std::string> model,
            GrokPermissionMode permissionMode, const RuntimeContext& context);
    };

    // Starts nothing.
    [[nodiscard]] static std::shared_ptr<ACPClient> make(Configuration configuration, MainThread& mainThread);
    // Has no effect on the child: `stop` comes first.
    ~ACPClient() override;

    [[nodiscard]] AgentProvider provider() const override;
    // Fails with executableMissing or processFailed when there is no child, with invalidResponse and the runtime's words when it
    // refuses, with disconnected when the child ends before the session is open.
    void start(std::optional<std::string> existingSessionID, StartCompletion completion) override;
    // Fails with disconnected when no session is open or the child has ended, with invalidResponse when the runtime refuses.
    void sendPrompt(std::string prompt, PromptCompletion completion) override;
    // Also answers every open permission request as cancelled. Does nothing before a session exists.
    void cancel() override;
    void respondToPermission(std::int64_t requestID, std::string optionID) override;
    void stop() override;
    void finishStop() override;

private:
    // Plays a runtime without a process; for fuzz targets.
    friend struct ACPClientPeer;

    ACPClient(Configuration configuration, MainThread& mainThread);

    // What one `start` carries from step to step.
    struct Opening {
        std::optional<std::string> storedSessionID;
        Completion<AgentStartResult> done;
        bool replayed = false;
    };
    using ResultStep = void (ACPClient::*)(const JsonObject& result, Opening opening);
    using ReplyStep = void (ACPClient::*)(const JsonRpcReply& reply, Opening opening);

    // Opening a session, in the order in which the steps run.
    void launch(Opening opening) REQUIRES(*m_queue);
    void sendInitialize(PendingRequests::Handler handler) REQUIRES(*m_queue);
    void initialized(const JsonObject& result, Opening opening) REQUIRES(*m_queue);
    void loadSession(Opening opening) REQUIRES(*m_queue);
    void sessionLoaded(const JsonRpcReply& reply, Opening opening) REQUIRES(*m_queue);
    void createSession(Opening opening) REQUIRES(*m_queue);
    void sessionCreated(const JsonObject& result, Opening opening) REQUIRES(*m_queue);
    void applyRuntimeConfiguration(Opening opening) REQUIRES(*m_queue);
    void modeApplied(const JsonRpcReply& reply, Opening opening) REQUIRES(*m_queue);
    void defaultModeApplied(const JsonRpcReply& reply, Opening opening) REQUIRES(*m_queue);
    void applyModel(Opening opening) REQUIRES(*m_queue);
    void modelApplied(const JsonRpcReply& reply, Opening opening) REQUIRES(*m_queue);
    void finishOpening(Opening opening) REQUIRES(*m_queue);
    void failOpening(const Opening& opening, AgentError error) REQUIRES(*m_queue);
    // The handler of a reply that goes on with `step`: a ResultStep takes the result, and a failure fails the start; a ReplyStep
    // decides by itself. When the client is gone the start is abandoned.
    [[nodiscard]] PendingRequests::Handler next(ResultStep step, Opening opening);
    [[nodiscard]] PendingRequests::Handler next(ReplyStep step, Opening opening);
    void setConfigOption(std::string_view configId, std::string_view value, PendingRequests::Handler handler) REQUIRES(*m_queue);

    // A turn.
    void startTurn(const std::string& prompt, Completion<JsonObject> done) REQUIRES(*m_queue);
    [[nodiscard]] PendingRequests::Handler turnEnd(Completion<JsonObject> done);
    void cancelTurn() REQUIRES(*m_queue);

    // The child.
    [[nodiscard]] Result<void, ACPClientError> launchProcess() REQUIRES(*m_queue);
    void writeFailed(const SystemError& error) override;
    void childEnded(ChildEnd end) override;
    [[nodiscard]] bool launchesAgain() REQUIRES(*m_queue);
    void stopOnQueue() REQUIRES(*m_queue);
    void failPending(const AgentError& error) REQUIRES(*m_queue);

    // What arrives.
    void handleLine(std::string_view line) override;
    void handle(JsonObject& message, std::string_view line) REQUIRES(*m_queue);
    [[nodiscard]] JsonRpcReply replyOf(const JsonObject& message) const;
    void deliverUpdate(JsonObject& message, std::string_view line) REQUIRES(*m_queue);
    void handleAgentRequest(std::int64_t id, std::string_view method, const JsonObject& params) REQUIRES(*m_queue);
    [[nodiscard]] bool handleToolRequest(std::int64_t id, std::string_view method, const JsonObject& params) REQUIRES(*m_queue);
    [[nodiscard]] bool handleTerminalRequest(std::int64_t id, std::string_view method, const JsonObject& params) REQUIRES(*m_queue);
    [[nodiscard]] Result<JsonObject, ACPClientError> createTerminal(const JsonObject& params) REQUIRES(*m_queue);
    [[nodiscard]] Result<JsonObject, ACPClientError> terminalOutput(const std::string& terminal);
    [[nodiscard]] Result<JsonObject, ACPClientError> killTerminal(const std::string& terminal);
    [[nodiscard]] Result<JsonObject, ACPClientError> releaseTerminal(const std::string& terminal);
    void waitForTerminal(std::int64_t id, const std::string& terminal) REQUIRES(*m_queue);
    void terminalEnded(std::int64_t id, JsonObject exitStatus);
    void answer(std::int64_t id, Result<JsonObject, ACPClientError> result) REQUIRES(*m_queue);
    void handlePermissionRequest(std::int64_t id, const JsonObject& params) REQUIRES(*m_queue);
    void selectPermission(std::int64_t id, const std::string& optionID) REQUIRES(*m_queue);

    // What is sent.
    void sendRequest(std::string_view method, JsonObject params, PendingRequests::Handler handler) REQUIRES(*m_queue);
    void sendNotification(std::string_view method, JsonObject params) REQUIRES(*m_queue);
    void answerPermission(std::int64_t id, JsonObject outcome) REQUIRES(*m_queue);

    // Constant after construction.
    const Configuration m_configuration;
    const std::string m_runtimeName;
    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<RuntimeChild> m_child; // used on the queue but for `open` and `close`
    TerminalManager m_terminals; // of any thread

    // On the queue only.
    LineEnvelope m_updateEnvelope GUARDED_BY(*m_queue){ "params.update" };
    std::vector<std::string> m_arguments GUARDED_BY(*m_queue); // of the next launch
    bool m_isInitialized GUARDED_BY(*m_queue) = false;
    PendingRequests m_pending GUARDED_BY(*m_queue);
    std::set<std::int64_t> m_pendingPermissionIDs GUARDED_BY(*m_queue); // shown and not answered
    bool m_supportsConfigOptions GUARDED_BY(*m_queue) = false;
    std::optional<std::string> m_sessionId GUARDED_BY(*m_queue);
};

} // namespace tessarin
