#pragma once

#include "App/AppModel.h"
#include "MemorySecretStore.h"
#include "RecordingDesktop.h"
#include "ScriptedRuntime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin::testing
{

// A real model on real stores in a folder of its own, with real clients that drive scripted runtimes found through PATH. The main
// thread is pumped by hand, the clock stands still until a test moves it, the desktop records.
class AppModelTest : public ::testing::Test
{
protected:
    // With another main thread than one that follows the clock of the system, if given; it outlives everything.
    explicit AppModelTest(MainThread* ownMainThread = nullptr);
    ~AppModelTest() override;

    // The programs that a search through PATH finds from now on: "grok", "kimi", "opencode", ...
    void install(std::initializer_list<std::string_view> programs);
    void uninstall(std::string_view program);

    // Opens the model on what is stored; the model before, if any, is dropped first.
    void openModel();
    // The usual beginning: these programs, a model, one project with one task.
    void openProject(std::initializer_list<std::string_view> programs = { "grok" });
    // Another folder that exists.
    [[nodiscard]] std::string makeFolder(const std::string& name) const;
    // Ends the client as a change of project does.
    void dropConnection();

    // Each pumps the main thread until it is so, and fails the test when it does not come to be so in time.
    void waitFor(ConnectionState::Kind state);
    void waitForEntries(std::size_t count);
    template <class Condition>
    void waitUntil(Condition condition, const char* what = "the condition")
    {
        ASSERT_TRUE(testing::waitUntil(mainThread, condition)) << what << "; the connection is " << describedState();
    }
    // Wait, without running anything on the main thread, until the client has taken all that a script wrote before `askToBeHandled`,
    // or has seen the end of its child. What it posts for that is posted when the next operation on it returns.
    void waitForHandled();
    void waitForCollected(std::string_view program);
    // Empties the main thread of what is there.
    void drain();
    // Sends and waits for the end of the turn.
    void runTurn(const std::string& prompt);

    // The tree as the store holds it at this moment; absent when nothing was ever stored.
    [[nodiscard]] std::optional<std::vector<Workspace>> storedTree();
    // The texts of the only stored task.
    [[nodiscard]] std::vector<std::string> storedTexts();
    // Of the selected task.
    [[nodiscard]] std::vector<std::string> texts() const;
    [[nodiscard]] std::vector<ChatEntryKind> kinds() const;
    [[nodiscard]] const ChatThread& task() const;
    // Whether the n-th start of a program was stopped: it sees its input close, or a signal, whichever comes first.
    [[nodiscard]] bool wasStopped(std::string_view program, int start = 1) const;
    void waitForStop(std::string_view program, int start = 1);
    // The texts of the prompts that the n-th start of a program got.
    [[nodiscard]] std::vector<std::string> prompts(std::string_view program, int start = 1) const;
    // The values of a field of `params` of all messages of a method.
    [[nodiscard]] std::vector<Json> parameters(
        std::string_view program, std::string_view method, std::string_view key, int start = 1) const;

    MainThread& mainThread;
    ScriptedRuntime runtime;
    Preferences preferences;
    WorkspaceStore store;
    RecordingDesktop desktop;
    MemorySecretStore secrets;
    // What the remote host of a model that is opened afterwards listens on, suggests, and calls this computer.
    std::uint16_t remotePort = RemoteHostServer::defaultPort;
    std::string suggestedAddress = "192.168.1.20";
    std::optional<std::string> computerName = "Test machine";
    Instant clock{ 1000 };
    // What this process is started with besides, in the eyes of a model that is opened afterwards.
    Environment addedEnvironment;
    // Called whenever a locator asks for a setting.
    std::function<void(const std::string& key)> onSettingAsked = [](const std::string&) {};
    std::shared_ptr<AppModel> model;

private:
    [[nodiscard]] RuntimeContext context();
    [[nodiscard]] RemoteContext remoteContext();
    [[nodiscard]] std::string describedState() const;
};

// Goes on with a request that the client answers by itself, and tells the test of the answer.
Scenario& askToBeHandled(Scenario& scenario);
// A runtime that opens a session and answers one prompt with one text.
[[nodiscard]] Scenario oneTurn(std::string_view answer, std::string_view sessionId = "session-1");
// Goes on with a turn that answers with one text.
Scenario& turn(Scenario& scenario, std::string_view answer);
// A runtime that opens a session and refuses the first prompt with an error.
[[nodiscard]] Scenario failingTurn(std::string_view message, std::string_view sessionId = "session-1");
// The same, once the test has touched "go".
[[nodiscard]] Scenario failingTurnOnGo(std::string_view message);
// A runtime that opens a session and never answers the first prompt.
[[nodiscard]] Scenario hangingTurn(std::string_view sessionId = "session-1");

inline constexpr const char* endTurn = R"({"stopReason":"end_turn"})";
inline constexpr const char* usageLimit = "Usage limit reached for this week";

} // namespace tessarin::testing
