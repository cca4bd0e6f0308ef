#pragma once

#include "ImmortalMainThread.h"
#include "Models/GrokPermissionMode.h"
#include "ScriptedRuntime.h"
#include "Services/CodexAppServerClient.h"

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
inline constexpr bool isCodexTestSanitized = true;
#else
inline constexpr bool isCodexTestSanitized = false;
#endif

inline constexpr const char* codexDisconnected = "Codex disconnected.";

// The answers up to an open thread. Requests for the allowance stay unanswered where a script says nothing else.
inline Scenario codexThread(std::string_view id = "thread-1")
{
    Scenario scenario;
    scenario.withoutVersion().expect("initialize").reply(R"({"userAgent":"codex"})").expect("thread/start");
    return scenario.reply(R"({"thread":{"id":")" + std::string(id) + R"("}})");
}
// The same, and a turn that has begun.
inline Scenario codexTurn(std::string_view id = "turn-1")
{
    return codexThread().expect("turn/start").reply(R"({"turn":{"id":")" + std::string(id) + R"(","status":"inProgress"}})");
}
inline std::string codexTurnEnd(std::string_view id = "turn-1", std::string_view status = "completed")
{
    return R"({"method":"turn/completed","params":{"threadId":"thread-1","turn":{"id":")" + std::string(id) + R"(","status":")"
        + std::string(status) + R"("}}})";
}

// A client and a scripted Codex over real pipes. Everything that the client tells the main thread is written down in `events`, in
// order, one text an event: "update <json>", "log <text>", "permission <id>", "usage <json>", "started <id>", "replayed <id>",
// "startFailed <text>", "turn <json>", "turnFailed <text>", "terminated <text>", and "replayStarted" and "replayFailed", which never come.
class CodexClientTest : public ::testing::Test
{
protected:
    ~CodexClientTest() override
    {
        if (client)
            client->stop();
    }

    [[nodiscard]] CodexAppServerClient::Configuration configuration(GrokPermissionMode mode = GrokPermissionMode::ask) const
    {
        return { ScriptedRuntime::executable("codex"), runtime.workspace(), mode, runtime.environment() };
    }
    void make(CodexAppServerClient::Configuration configuration)
    {
        client = CodexAppServerClient::make(std::move(configuration), mainThread);
        client->onSessionUpdate = [this](const SessionUpdate& update) {
            updates.emplace_back(keptCopy(update));
            add("update", compactJson(updates.back()));
        };
        client->onPermissionRequest = [this](PermissionRequest request) {
            add("permission", std::to_string(request.id));
            permissions.push_back(std::move(request));
        };
        client->onLog = [this](const std::string& text) { add("log", text); };
        client->onReplayStarted = [this] { events.emplace_back("replayStarted"); };
        client->onReplayFailed = [this] { events.emplace_back("replayFailed"); };
        client->onUnexpectedTermination = [this](const std::string& text) { add("terminated", text); };
        client->onUsageUpdate = [this](ProviderUsage usage) {
            add("usage", std::to_string(static_cast<int>(usage.primaryUsedPercent.value_or(-1))));
            usages.push_back(std::move(usage));
        };
    }
    void start(std::optional<std::string> existingSessionID = std::nullopt)
    {
        client->start(std::move(existingSessionID), [this](Result<AgentStartResult, AgentError> result) {
            if (result)
                add(result.value().replayedSession ? "replayed" : "started", result.value().sessionId);
            else
                fail("startFailed", result.error());
        });
    }
    void prompt(std::string text = "Hello")
    {
        client->sendPrompt(std::move(text), [this](Result<JsonObject, AgentError> result) {
            if (result)
                add("turn", compactJson(std::move(result).value()));
            else
                fail("turnFailed", result.error());
        });
    }
    // Plays the script up to the answer of `start`.
    void openThread(const Scenario& scenario, GrokPermissionMode mode = GrokPermissionMode::ask)
    {
        runtime.script("codex", scenario);
        make(configuration(mode));
        start();
        ASSERT_TRUE(waitForEvent("started")) << report();
    }
    // A turn in which the runtime sends these lines, to its end.
    void playTurn(const std::vector<std::string>& lines)
    {
        Scenario scenario = codexTurn();
        for (const std::string& line : lines)
            scenario.raw(line + "\n");
        openThread(scenario.send(codexTurnEnd()));
        prompt();
        ASSERT_TRUE(waitForEvent("turn")) << report();
    }

    [[nodiscard]] bool waitForEvent(std::string_view kind, std::ptrdiff_t count = 1)
    {
        return waitUntil(mainThread, [&] { return this->count(kind) >= count; });
    }
    [[nodiscard]] bool waitForReceived(std::string_view method, std::size_t count = 1)
    {
        return waitUntil(mainThread, [&] { return runtime.received("codex", method).size() >= count; });
    }
    // Waits for an answer of ours to a request with that id, in its own type.
    [[nodiscard]] Json waitForAnswer(const Json& id)
    {
        Json answer;
        const auto isAnswer = [&](const Json& message) {
            const Json* found = message.as_object().if_contains("id");
            return found && *found == id && !message.as_object().contains("method");
        };
        const bool came = waitUntil(mainThread, [&] {
            const auto messages = runtime.received("codex");
            const auto found = std::find_if(messages.begin(), messages.end(), isAnswer);
            answer = found == messages.end() ? Json() : *found;
            return found != messages.end();
        });
        EXPECT_TRUE(came) << "no answer to " << compactJson(id) << "; " << report();
        return answer;
    }
    [[nodiscard]] bool waitForEndOf(int processID)
    {
        return waitUntil(mainThread, [&] { return kill(processID, 0) != 0; });
    }
    [[nodiscard]] std::ptrdiff_t count(std::string_view kind) const
    {
        return std::count_if(events.begin(), events.end(), [&](const std::string& event) { return kindOf(event) == kind; });
    }
    // The events without those of that kind.
    [[nodiscard]] std::vector<std::string> eventsBut(std::string_view kind) const
    {
        std::vector<std::string> others;
        std::copy_if(events.begin(), events.end(), std::back_inserter(others), [&](const auto& event) { return kindOf(event) != kind; });
        return others;
    }
    [[nodiscard]] std::string report() const
    {
        std::string text = "events:";
        for (const std::string& event : events)
            text += "\n  " + event.substr(0, 300);
        return text;
    }

    [[nodiscard]] static std::string_view kindOf(std::string_view event) { return event.substr(0, event.find(' ')); }
    [[nodiscard]] static Json parsed(std::string_view text) { return boost::json::parse(text); }

    MainThread& mainThread = immortalMainThread();
    ScriptedRuntime runtime;
    std::shared_ptr<CodexAppServerClient> client;
    std::vector<std::string> events;
    std::vector<Json> updates;
    std::vector<PermissionRequest> permissions;
    std::vector<ProviderUsage> usages;
    std::vector<AgentError> errors; // of starts and turns that failed

private:
    void add(std::string_view kind, const std::string& text) { events.push_back(std::string(kind) + " " + text); }
    void fail(std::string_view kind, const AgentError& error)
    {
        errors.push_back(error);
        add(kind, error.description());
    }
};

// How the texts of one mode differ.
struct CodexModeRow {
    GrokPermissionMode mode;
    const char* approvalPolicy;
    const char* approvalsReviewer;
    const char* sandbox;
    bool isFree;
};
inline const auto codexModeRows = ::testing::Values(CodexModeRow{ GrokPermissionMode::ask, "on-request", "user", "workspace-write", false },
    CodexModeRow{ GrokPermissionMode::auto_, "on-request", "auto_review", "workspace-write", false },
    CodexModeRow{ GrokPermissionMode::fullAccess, "never", "user", "danger-full-access", true });
inline std::string codexModeName(const ::testing::TestParamInfo<CodexModeRow>& info)
{
    return std::string(rawText(info.param.mode));
}

} // namespace tessarin::testing
