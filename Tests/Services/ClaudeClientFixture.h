#pragma once

#include "Models/GrokPermissionMode.h"
#include "ScriptedRuntime.h"
#include "Services/ClaudeCodeClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessarin::testing
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isClaudeTestSanitized = true;
#else
inline constexpr bool isClaudeTestSanitized = false;
#endif

// A client and a scripted Claude Code over real pipes. Everything that the client tells the main thread is written down in `events`,
// in order, one text an event: "text <n> <text>" and "thought <n> <text>" with the number of the message counted from 1, "tool <json>",
// "log <text>", "permission <id>", "usage <percent> <exhausted>", "started <id>", "resumed <id>", "startFailed <text>", "turn <json>",
// "turnFailed <text>", "terminated <text>".
class ClaudeClientTest : public ::testing::Test
{
protected:
    ~ClaudeClientTest() override
    {
        if (client)
            client->stop();
    }

    [[nodiscard]] ClaudeCodeClient::Configuration configuration(GrokPermissionMode mode = GrokPermissionMode::ask) const
    {
        ClaudeCodeClient::Configuration result;
        result.executable = ScriptedRuntime::executable("claude");
        result.workspacePath = runtime.workspace();
        result.permissionMode = mode;
        result.processEnvironment = runtime.environment();
        return result;
    }

    void make(ClaudeCodeClient::Configuration configuration)
    {
        client = ClaudeCodeClient::make(std::move(configuration), mainThread);
        client->onSessionUpdate = [this](const SessionUpdate& update) { addUpdate(keptCopy(update)); };
        client->onPermissionRequest = [this](PermissionRequest request) {
            add("permission", std::to_string(request.id));
            permissions.push_back(std::move(request));
        };
        client->onLog = [this](const std::string& text) {
            log += text;
            add("log", text);
        };
        client->onReplayStarted = [this] { events.emplace_back("replayStarted"); };
        client->onReplayFailed = [this] { events.emplace_back("replayFailed"); };
        client->onUnexpectedTermination = [this](const std::string& text) { add("terminated", text); };
        client->onUsageUpdate = [this](const ProviderUsage& usage) {
            const std::string percent
                = usage.primaryUsedPercent ? std::to_string(static_cast<int>(*usage.primaryUsedPercent)) : std::string("none");
            add("usage", percent + (usage.exhausted ? " exhausted" : " left"));
        };
    }
    void start(std::optional<std::string> existingSessionID = std::nullopt)
    {
        client->start(std::move(existingSessionID), [this](const Result<AgentStartResult, AgentError>& result) {
            if (result)
                add(result.value().replayedSession ? "resumed" : "started", result.value().sessionId);
            else
                add("startFailed", result.error().description());
        });
    }
    void playAndStart(const Scenario& scenario, GrokPermissionMode mode = GrokPermissionMode::ask)
    {
        runtime.script("claude", scenario);
        make(configuration(mode));
        start("session-1");
    }
    // Plays the script up to the answer of `start`; the session is the stored "session-1", and `events` is empty afterwards.
    void openSession(const Scenario& scenario, GrokPermissionMode mode = GrokPermissionMode::ask)
    {
        playAndStart(scenario, mode);
        ASSERT_TRUE(waitForEvent("resumed")) << report();
        const auto told = std::find(events.begin(), events.end(), "resumed session-1");
        ASSERT_NE(told, events.end()) << report();
        events.erase(told);
    }
    void prompt(std::string text = "Hello")
    {
        client->sendPrompt(std::move(text), [this](const Result<JsonObject, AgentError>& result) {
            if (result)
                add("turn", compactJson(result.value()));
            else
                add("turnFailed", result.error().description());
        });
    }
    // Sends a prompt whose turn the script ends, so that all that came before it has been handled.
    void runTurn()
    {
        const auto turns = count("turn") + count("turnFailed");
        prompt();
        ASSERT_TRUE(waitUntil(mainThread, [&] { return count("turn") + count("turnFailed") > turns; })) << report();
    }

    // Waits for an event of that kind, or for a number of them.
    [[nodiscard]] bool waitForEvent(std::string_view kind, std::ptrdiff_t number = 1)
    {
        return waitUntil(mainThread, [&] { return count(kind) >= number; });
    }
    // Waits until the program has received so many messages.
    [[nodiscard]] bool waitForReceived(std::size_t number)
    {
        return waitUntil(mainThread, [&] { return runtime.received("claude").size() >= number; });
    }
    [[nodiscard]] bool waitForFile(const std::string& name)
    {
        return waitUntil(mainThread, [&] { return runtime.exists(name); });
    }
    [[nodiscard]] bool waitForEndOf(int processID)
    {
        return waitUntil(mainThread, [&] { return kill(processID, 0) != 0; });
    }
    [[nodiscard]] std::ptrdiff_t count(std::string_view kind) const
    {
        return std::count_if(
            events.begin(), events.end(), [&](std::string_view event) { return event.substr(0, event.find(' ')) == kind; });
    }
    [[nodiscard]] std::string report() const
    {
        std::string text = "events:";
        for (const std::string& event : events)
            text += "\n  " + event.substr(0, 300);
        return text;
    }
    // The messages that the program has received, but for the first, which is `initialize`.
    [[nodiscard]] std::vector<Json> receivedAfterInitialize() const
    {
        std::vector<Json> messages = runtime.received("claude");
        if (!messages.empty())
            messages.erase(messages.begin());
        return messages;
    }

    [[nodiscard]] static Json parsed(std::string_view text) { return boost::json::parse(text); }

    // A script up to the answer to `initialize`.
    [[nodiscard]] static Scenario opened() { return Scenario().expect("control_request/initialize").reply(); }
    // A script up to the first prompt.
    [[nodiscard]] static Scenario prompted() { return opened().expect("user"); }

    MainThread mainThread;
    ScriptedRuntime runtime;
    std::shared_ptr<ClaudeCodeClient> client;
    std::vector<std::string> events;
    std::string log;
    std::vector<PermissionRequest> permissions;

private:
    void add(std::string_view kind, const std::string& text) { events.push_back(std::string(kind) + " " + text); }
    void addUpdate(const JsonObject& update)
    {
        const auto kind = textAt(update, "sessionUpdate");
        const bool isThought = kind == "agent_thought_chunk";
        if (!isThought && kind != "agent_message_chunk")
            return add("tool", compactJson(update));
        std::string messageID(textAt(update, "messageId").value_or(""));
        if (isThought)
            messageID.erase(0, std::string_view("thought-").size());
        auto known = std::find(m_messageIDs.begin(), m_messageIDs.end(), messageID);
        if (known == m_messageIDs.end())
            known = m_messageIDs.insert(known, messageID);
        const std::string number = std::to_string(known - m_messageIDs.begin() + 1);
        add(isThought ? "thought" : "text", number + " " + std::string(*textAt(*objectAt(update, "content"), "text")));
    }

    std::vector<std::string> m_messageIDs; // in the order in which they came first
};

// Lines of the program.
inline constexpr const char* goodResult = R"({"type":"result","subtype":"success","is_error":false,"result":"done"})";

inline std::string streamed(std::string_view text)
{
    const JsonObject delta{ { "type", "text_delta" }, { "text", text } };
    return compactJson(
        JsonObject{ { "type", "stream_event" }, { "event", JsonObject{ { "type", "content_block_delta" }, { "delta", delta } } } });
}

inline std::string canUseTool(std::string_view requestID, std::string_view input)
{
    const JsonObject request{ { "subtype", "can_use_tool" }, { "tool_name", "Bash" }, { "input", boost::json::parse(input) } };
    return compactJson(JsonObject{ { "type", "control_request" }, { "request_id", requestID }, { "request", request } });
}

} // namespace tessarin::testing
