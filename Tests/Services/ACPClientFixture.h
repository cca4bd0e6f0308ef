#pragma once

#include "Models/GrokPermissionMode.h"
#include "ScriptedRuntime.h"
#include "Services/ACPClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace tessarin::testing
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

// A client and a scripted runtime over real pipes. Everything that the client tells the main thread is written down in `events`, in
// order, one text an event: "replayStarted", "replayFailed", "update <json>", "log <text>", "permission <id>", "started <id>",
// "replayed <id>", "startFailed <text>", "turn <json>", "turnFailed <text>", "terminated <text>".
class ACPClientTest : public ::testing::Test
{
protected:
    ~ACPClientTest() override
    {
        if (client)
            client->stop();
    }

    [[nodiscard]] static std::string_view programOf(AgentProvider provider)
    {
        return provider == AgentProvider::kimi ? "kimi" : provider == AgentProvider::glm ? "opencode" : "grok";
    }
    [[nodiscard]] ACPClient::Configuration configuration(AgentProvider provider = AgentProvider::grok) const
    {
        ACPClient::Configuration result;
        result.provider = provider;
        result.executable = ScriptedRuntime::executable(programOf(provider));
        result.workspacePath = runtime.workspace();
        result.processArguments = { "agent", "stdio" };
        result.processEnvironment = runtime.environment();
        return result;
    }

    void make(ACPClient::Configuration configuration)
    {
        program = programOf(configuration.provider);
        client = ACPClient::make(std::move(configuration), mainThread);
        client->onSessionUpdate = [this](const SessionUpdate& update) { add("update", compactJson(keptCopy(update))); };
        client->onPermissionRequest = [this](PermissionRequest request) {
            add("permission", std::to_string(request.id));
            permissions.push_back(std::move(request));
        };
        client->onLog = [this](const std::string& text) {
            log += text;
            add("log", text);
        };
        client->onReplayStarted = [this] { events.push_back("replayStarted"); };
        client->onReplayFailed = [this] { events.push_back("replayFailed"); };
        client->onUnexpectedTermination = [this](const std::string& text) { add("terminated", text); };
        client->onUsageUpdate = [this](ProviderUsage) { events.push_back("usage"); };
    }
    void start(std::optional<std::string> existingSessionID = std::nullopt)
    {
        client->start(std::move(existingSessionID), [this](Result<AgentStartResult, AgentError> result) {
            if (result)
                add(result.value().replayedSession ? "replayed" : "started", result.value().sessionId);
            else
                add("startFailed", result.error().description());
        });
    }
    // Plays the script for a client of that provider up to the answer of `start`.
    void openSession(const Scenario& scenario, AgentProvider provider = AgentProvider::grok)
    {
        runtime.script(programOf(provider), scenario);
        make(configuration(provider));
        start();
        ASSERT_TRUE(waitForEvent("started")) << report();
    }
    void prompt(std::string text = "Hello")
    {
        client->sendPrompt(std::move(text), [this](Result<JsonObject, AgentError> result) {
            if (result)
                add("turn", compactJson(std::move(result).value()));
            else
                add("turnFailed", result.error().description());
        });
    }

    // Waits for an event of that kind, or for a number of them.
    [[nodiscard]] bool waitForEvent(std::string_view kind, std::ptrdiff_t count = 1)
    {
        return waitUntil(mainThread, [&] { return this->count(kind) >= count; });
    }
    [[nodiscard]] bool waitForReceived(std::string_view method, std::size_t count = 1)
    {
        return waitUntil(mainThread, [&] { return runtime.received(program, method).size() >= count; });
    }
    // Waits for an answer of ours to a request with that id.
    [[nodiscard]] std::optional<Json> waitForAnswer(std::int64_t id)
    {
        std::optional<Json> answer;
        const bool came = waitUntil(mainThread, [&] { return (answer = answerTo(id)).has_value(); });
        EXPECT_TRUE(came) << "no answer to " << id << "; " << report();
        return answer;
    }
    [[nodiscard]] std::optional<Json> answerTo(std::int64_t id) const
    {
        for (const Json& message : runtime.received(program)) {
            const JsonObject* object = message.if_object();
            if (object && !object->contains("method") && integerAt(*object, "id") == id)
                return message;
        }
        return std::nullopt;
    }
    // How much of its error output nobody has read yet.
    [[nodiscard]] int unreadErrorOutput() const
    {
        const std::string path = "/proc/" + std::to_string(runtime.processID(program)) + "/fd/2";
        const int pipe = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_GE(pipe, 0);
        int unread = 0;
        EXPECT_EQ(ioctl(pipe, FIONREAD, &unread), 0);
        close(pipe);
        return unread;
    }
    [[nodiscard]] bool waitForEndOf(int processID)
    {
        return waitUntil(mainThread, [&] { return kill(processID, 0) != 0; });
    }
    [[nodiscard]] std::ptrdiff_t count(std::string_view kind) const
    {
        return std::count_if(events.begin(), events.end(), [&](const std::string& event) { return kindOf(event) == kind; });
    }
    [[nodiscard]] std::string report() const
    {
        std::string text = "events:";
        for (const std::string& event : events)
            text += "\n  " + event.substr(0, 300);
        return text;
    }
    // Sends a prompt whose turn the script ends, so that all that came before it has been handled.
    void runTurn()
    {
        const auto turns = count("turn");
        prompt();
        ASSERT_TRUE(waitForEvent("turn", turns + 1)) << report();
    }

    [[nodiscard]] static std::string_view kindOf(std::string_view event) { return event.substr(0, event.find(' ')); }
    [[nodiscard]] static Json parsed(std::string_view text) { return boost::json::parse(text); }

    MainThread mainThread;
    ScriptedRuntime runtime;
    std::string program;
    std::shared_ptr<ACPClient> client;
    std::vector<std::string> events;
    std::string log;
    std::vector<PermissionRequest> permissions;

private:
    void add(std::string_view kind, const std::string& text) { events.push_back(std::string(kind) + " " + text); }
};

inline constexpr const char* disconnectedText = "The model runtime disconnected.";

} // namespace tessarin::testing
