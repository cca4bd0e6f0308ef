#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/MainThread.h"
#include "Platform/SerialQueue.h"
#include "Services/AgentClient.h"
#include "Services/CodexApproval.h"
#include "Services/Completion.h"
#include "Services/JsonRpc.h"
#include "Services/LineEnvelope.h"
#include "Services/RuntimeChild.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace tessarin
{

// The Codex program in its app-server mode: JSON-RPC 2.0 over its standard streams, one object a line. The session is a thread in the
// runtime's words, its id that of the thread.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use; every
// operation returns at once. One `start` runs per client. onReplayStarted and onReplayFailed are never called: a resumed thread does
// not come as updates.
class CodexAppServerClient final : public AgentClient,
                                   public RuntimeChild::Listener,
                                   public std::enable_shared_from_this<CodexAppServerClient>
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
    void finishStop() override;

    // The allowance in an answer to `account/rateLimits/read`, or in the `rateLimits` of a notification.
    [[nodiscard]] static ProviderUsage parseRateLimits(const JsonObject& payload);
    // The verdict in an error of the runtime, which may be wrapped once; `fallback` is its message when it has none.
    [[nodiscard]] static AgentRuntimeError runtimeError(const JsonObject& error, std::string_view fallback);
    // The word of the other runtimes for a status word; one that they share, or that nobody knows, stays as it is.
    [[nodiscard]] static std::string_view normalizeStatus(std::string_view status);

private:
    // Plays a runtime without a process; for fuzz targets.
    friend struct CodexAppServerClientPeer;

    CodexAppServerClient(Configuration configuration, MainThread& mainThread);

    // What one `start` carries from step to step.
    struct Opening {
        std::optional<std::string> storedThreadID;
        Completion<AgentStartResult> done;
    };
    static constexpr std::string_view reasoningPrefix = "reasoning-"; // of the ids of thoughts
    using ResultStep = void (CodexAppServerClient::*)(const JsonObject& result, Opening opening);
    using ReplyStep = void (CodexAppServerClient::*)(const JsonRpcReply& reply, Opening opening);
    // One kind of the pieces in which an answer or a thought comes. They are most of what a turn brings.
    struct DeltaLines {
        std::string_view chunk; // what the updates are
        std::string_view idPrefix; // of the updates, before the id of the item
        LineEnvelope envelope = LineEnvelope("params.delta", "emittedAtMs");
        std::string itemID{}; // of the lines in the known envelope
        std::string messageID{};
    };
    // Lets a view of a text be looked up.
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    using TurnOutcome = Result<JsonObject, AgentError>;

    // Opening a thread, in the order in which the steps run.
    void launch(Opening opening) REQUIRES(*m_queue);
    void sendInitialize(Opening opening) REQUIRES(*m_queue);
    void initialized(const JsonObject& result, Opening opening) REQUIRES(*m_queue);
    void resumeThread(Opening opening) REQUIRES(*m_queue);
    void threadResumed(const JsonRpcReply& reply, Opening opening) REQUIRES(*m_queue);
    void createThread(Opening opening) REQUIRES(*m_queue);
    void threadCreated(const JsonObject& result, Opening opening) REQUIRES(*m_queue);
    void finishThreadStart(const JsonObject& result, bool replayed, const Opening& opening) REQUIRES(*m_queue);
    void failOpening(const Opening& opening, AgentError error) REQUIRES(*m_queue);
    // The handler of a reply that goes on with `step`: a ResultStep takes the result, and a failure fails the start; a ReplyStep
    // decides by itself. When the client is gone the start is abandoned.
    [[nodiscard]] PendingRequests::Handler next(ResultStep step, Opening opening);
    [[nodiscard]] PendingRequests::Handler next(ReplyStep step, Opening opening);
    [[nodiscard]] JsonObject threadParameters() const;

    // A turn: it is announced by the answer to its request and ended by a notification, in either order.
    void startTurn(const std::string& prompt, Completion<JsonObject> done) REQUIRES(*m_queue);
    void turnStarted(const JsonRpcReply& reply, Completion<JsonObject> done) REQUIRES(*m_queue);
    void completeTurn(const JsonObject& params) REQUIRES(*m_queue);
    [[nodiscard]] TurnOutcome outcomeOf(const JsonObject& turn, const std::string& turnID) REQUIRES(*m_queue);
    void cancelTurn() REQUIRES(*m_queue);

    // The allowance.
    void refreshUsage() REQUIRES(*m_queue);
    void reportUsage(const JsonObject& payload) REQUIRES(*m_queue);

    // The child.
    void childEnded(ChildEnd end) override;
    void writeFailed(const SystemError& error) override;
    void stopOnQueue() REQUIRES(*m_queue);
    void failPending(const AgentError& error) REQUIRES(*m_queue);

    // What arrives.
    void handleLine(std::string_view line) override;
    void handle(JsonObject& message, std::string_view line) REQUIRES(*m_queue);
    [[nodiscard]] bool handleResponse(const JsonObject& message) REQUIRES(*m_queue);
    void handleNotification(std::string_view method, JsonObject& params, std::string_view line) REQUIRES(*m_queue);
    void handleItem(JsonObject& params, bool isCompleted) REQUIRES(*m_queue);
    void handlePlan(const JsonObject& params) REQUIRES(*m_queue);
    void handleRateLimits(const JsonObject& params) REQUIRES(*m_queue);
    void handleError(const JsonObject& params) REQUIRES(*m_queue);
    void handleServerRequest(RPCID id, std::string_view method, const JsonObject& params) REQUIRES(*m_queue);
    void respondToApproval(const PendingApproval& approval, std::string_view optionID) REQUIRES(*m_queue);

    // What becomes of items and deltas.
    void handleDelta(DeltaLines& lines, JsonObject& params, std::string_view line) REQUIRES(*m_queue);
    void emitDelta(const DeltaLines& lines, Json text) REQUIRES(*m_queue);
    void emitItem(JsonObject& item, bool isCompleted) REQUIRES(*m_queue);
    void emitTool(std::string_view id, std::string_view title, std::string_view status, Json rawInput) REQUIRES(*m_queue);
    void emitWholeMessage(std::string_view id, JsonObject& item) REQUIRES(*m_queue);
    void emitWholeReasoning(std::string_view id, const JsonObject& item) REQUIRES(*m_queue);
    void emitChunk(std::string_view kind, std::string_view messageId, Json text) REQUIRES(*m_queue);

    // What is sent.
    void sendRequest(std::string_view method, JsonObject params, PendingRequests::Handler handler) REQUIRES(*m_queue);

    // Constant after construction.
    const Configuration m_configuration;
    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<RuntimeChild> m_child; // used on the queue but for `open` and `close`

    // On the queue only.
    PendingRequests m_pending GUARDED_BY(*m_queue);
    std::int64_t m_nextApprovalID GUARDED_BY(*m_queue) = 1;
    std::map<std::int64_t, PendingApproval> m_pendingApprovals GUARDED_BY(*m_queue); // shown and not answered
    // By the id of their turn. The runtime adds a prompt that comes during a turn to that turn: both answers name it.
    std::multimap<std::string, Completion<JsonObject>> m_turnCompletions GUARDED_BY(*m_queue);
    std::map<std::string, AgentRuntimeError> m_turnErrors GUARDED_BY(*m_queue);
    std::map<std::string, TurnOutcome> m_completedBeforeRegistration GUARDED_BY(*m_queue);
    std::unordered_set<std::string, TextHash, std::equal_to<>> m_streamedItems GUARDED_BY(*m_queue); // came in deltas since the last prompt
    DeltaLines m_messageDeltas GUARDED_BY(*m_queue){ "agent_message_chunk", "" };
    DeltaLines m_thoughtDeltas GUARDED_BY(*m_queue){ "agent_thought_chunk", reasoningPrefix };
    std::optional<std::string> m_currentTurnID GUARDED_BY(*m_queue); // what `cancel` would interrupt
    std::optional<std::string> m_sessionId GUARDED_BY(*m_queue); // of the thread
};

} // namespace tessarin
