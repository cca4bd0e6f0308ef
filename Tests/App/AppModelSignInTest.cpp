#include "App/ShellCommands.h"
#include "AppModelFixture.h"
#include "Platform/CommandGroup.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Versions and sign-ins as the vendors' programs tell them.
class AppModelSignInTest : public AppModelTest
{
protected:
    template <class Status>
    static std::optional<std::string> versionOf(const Status& status)
    {
        return status.installed() ? status.installed()->version : std::nullopt;
    }
    std::string makeProgram(const std::string& name, const std::string& script) const
    {
        const std::string path = makeFolder("programs") + "/" + name;
        std::ofstream(path) << "#!/bin/sh\n" << script;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    [[nodiscard]] std::size_t linesOf(const std::string& file) const
    {
        std::ifstream lines(runtime.directory() + "/" + file);
        return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(lines), {}, '\n'));
    }

    // A model with as many probes of another Grok under way as may be, and one that waits; its path is forgotten.
    void beginStaleProbes()
    {
        const std::string here = "cd '" + runtime.directory() + "'; ";
        preferences.setText("grokExecutablePath",
            makeProgram("other",
                here + "echo >> starts; while [ -d '" + runtime.directory() + "' ] && [ ! -e go ]; do sleep 0.01; done; echo stale"));
        openModel();
        for (int probe = 0; probe < ProbeLimit::atOnce; ++probe) {
            model->refreshInstallStatus();
        }
        waitUntil([&] { return linesOf("starts") == ProbeLimit::atOnce; }, "the probes");
        preferences.setText("grokExecutablePath", "");
    }
    // The one that waits starts when the answer of one that ran has been taken.
    void finishAStaleProbe()
    {
        std::ofstream(runtime.directory() + "/go") << "";
        waitUntil([&] { return linesOf("starts") == ProbeLimit::atOnce + 1; }, "the probe that waited");
    }
};

TEST_F(AppModelSignInTest, ConstructionAsksAllFiveRuntimes)
{
    install({ "grok", "kimi", "opencode", "codex", "claude" });
    runtime.script("grok", Scenario().command("--version", "grok 1\n"));
    runtime.script("kimi", Scenario().command("--version", " kimi 2 "));
    runtime.script("opencode", Scenario().command("--version", "3"));
    runtime.script("codex", Scenario().command("--version", "codex 4").command("login status", "Logged in using ChatGPT"));
    runtime.script("claude", Scenario().command("--version", "claude 5").command("auth status", "{}", 1));
    openModel();
    waitUntil([&] { return versionOf(model->installStatus()) == "grok 1"; });
    waitUntil([&] { return versionOf(model->kimiInstallStatus()) == "kimi 2"; });
    waitUntil([&] { return versionOf(model->openCodeInstallStatus()) == "3"; });
    waitUntil([&] { return versionOf(model->codexInstallStatus()) == "codex 4"; });
    waitUntil([&] { return versionOf(model->claudeInstallStatus()) == "claude 5"; });
    EXPECT_EQ(model->codexInstallStatus().installed()->signedIn, true);
    EXPECT_EQ(model->claudeInstallStatus().installed()->signedIn, false);
}

TEST_F(AppModelSignInTest, WhatIsNotThereIsMissing)
{
    openModel();
    EXPECT_TRUE(model->installStatus().isMissing());
    EXPECT_TRUE(model->codexInstallStatus().isMissing());
    EXPECT_TRUE(model->kimiInstallStatus().isMissing());
    EXPECT_TRUE(model->openCodeInstallStatus().isMissing());
    EXPECT_TRUE(model->claudeInstallStatus().isMissing());
}

TEST_F(AppModelSignInTest, ARefreshPublishesTheFoundProgramAtOnceAndNeverChecking)
{
    openModel();
    install({ "grok", "codex" });
    runtime.script("grok", Scenario().command("--version", "1"));
    runtime.script("codex", Scenario().command("--version", "1").command("login status", "", 2));
    model->refreshInstallStatus();
    model->refreshCodexInstallStatus();
    ASSERT_TRUE(model->installStatus().installed());
    EXPECT_EQ(versionOf(model->installStatus()), std::nullopt);
    ASSERT_TRUE(model->codexInstallStatus().installed());
    EXPECT_EQ(model->codexInstallStatus().installed()->signedIn, std::nullopt);
    waitUntil([&] { return versionOf(model->codexInstallStatus()).has_value(); });
    EXPECT_EQ(model->codexInstallStatus().installed()->signedIn, std::nullopt) << "status 2 and no word";
}

TEST_F(AppModelSignInTest, ARefreshAfterARemovalSaysMissing)
{
    install({ "kimi" });
    runtime.script("kimi", Scenario().command("--version", "1"));
    openModel();
    waitUntil([&] { return versionOf(model->kimiInstallStatus()).has_value(); });
    uninstall("kimi");
    model->refreshKimiInstallStatus();
    EXPECT_TRUE(model->kimiInstallStatus().isMissing());
}

TEST_F(AppModelSignInTest, ManyRefreshesStartFewProbesAndTheLastBeginsAfterTheLastRefresh)
{
    install({ "claude" });
    runtime.script("claude", Scenario().commandUntil("go", "--version", "1").command("auth status", "{}"));
    openModel();
    for (int letter = 0; letter < 20; ++letter) {
        model->refreshClaudeInstallStatus();
    }
    waitUntil([&] { return runtime.hasStarted("claude-command", ProbeLimit::atOnce); }, "the probes that may run at once");
    EXPECT_FALSE(runtime.hasStarted("claude-command", ProbeLimit::atOnce + 1));
    runtime.touch("go");
    // Two questions for each of the probes, and for the one that waited.
    const int all = 2 * (ProbeLimit::atOnce + 1);
    waitUntil([&] { return runtime.hasRecorded("claude-command", "exit", all); }, "the probe that waited");
    waitUntil([&] { return versionOf(model->claudeInstallStatus()) == "1"; });
    EXPECT_FALSE(runtime.hasStarted("claude-command", all + 1));
}

TEST_F(AppModelSignInTest, OfOverlappingRefreshesOfOneProgramTheLastAnswerStays)
{
    install({ "grok" });
    const std::string counted = runtime.directory() + "/counted";
    // The first start answers last.
    preferences.setText("grokExecutablePath",
        makeProgram("slow",
            "if mkdir '" + counted + "' 2>/dev/null; then while [ -d '" + counted + "' ] && [ ! -e '" + counted
                + "/go' ]; do sleep 0.01; done; echo first; else echo second; fi"));
    openModel();
    waitUntil([&] { return std::filesystem::exists(counted); }, "the first start");
    model->refreshInstallStatus();
    waitUntil([&] { return versionOf(model->installStatus()) == "second"; });
    std::ofstream(counted + "/go") << "";
    waitUntil([&] { return versionOf(model->installStatus()) == "first"; });
}

// Overlapping refreshes are not ordered; the next refresh says again what is found.
TEST_F(AppModelSignInTest, TheLastAnswerStaysAlsoOfAProgramThatIsNoLongerTheOneFound)
{
    install({ "grok" });
    runtime.script("grok", Scenario().command("--version", "right"));
    beginStaleProbes();
    model->refreshInstallStatus();
    waitUntil([&] { return versionOf(model->installStatus()) == "right"; });
    finishAStaleProbe();
    waitUntil([&] { return versionOf(model->installStatus()) == "stale"; });
    EXPECT_THAT(model->installStatus().installed()->path, ::testing::EndsWith("/other"));
}

TEST_F(AppModelSignInTest, AnAnswerAfterTheProgramIsNoLongerFoundShowsItAgain)
{
    beginStaleProbes();
    model->refreshInstallStatus();
    ASSERT_TRUE(model->installStatus().isMissing());
    finishAStaleProbe();
    waitUntil([&] { return versionOf(model->installStatus()) == "stale"; });
}

TEST_F(AppModelSignInTest, AnAnswerAfterTheModelIsGoneDoesNothing)
{
    install({ "grok" });
    runtime.script("grok", Scenario().command("--version", "1"));
    openModel();
    model.reset();
    waitForCollected("grok-command");
    // The answer to the model before it has come by the time that the next one has its own.
    openModel();
    waitUntil([&] { return versionOf(model->installStatus()).has_value(); });
}

TEST_F(AppModelSignInTest, GrokLogInGoesThroughConnectingToIdleAndClearsTheMessage)
{
    install({ "grok" });
    runtime.script("grok", Scenario().command("--version", "1").command("login", "Welcome"));
    openModel();
    model->logIn();
    EXPECT_EQ(model->connectionState(), ConnectionState(ConnectionState::Kind::connecting));
    waitFor(ConnectionState::Kind::idle);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelSignInTest, AFailedGrokLogInShowsWhatTheProgramSaid)
{
    install({ "grok" });
    runtime.script("grok", Scenario().command("--version", "1").command("login", "\n The browser said no.\n", 3));
    openModel();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("The browser said no."));
    EXPECT_EQ(model->errorMessage(), "The browser said no.");
}

TEST_F(AppModelSignInTest, OfAFailedGrokLogInThatTalksWithoutEndTheLastWordsAreShown)
{
    preferences.setText("grokExecutablePath",
        makeProgram("grok",
            "[ \"$1\" = login ] || exit\n"
            "head -c 100000000 /dev/zero | tr '\\0' o & head -c 100000000 /dev/zero | tr '\\0' e >&2\n"
            "wait; echo; echo The browser said no.; exit 3\n"));
    openModel();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    const std::string& message = model->errorMessage().value();
    EXPECT_THAT(message, ::testing::EndsWith("\nThe browser said no."));
    EXPECT_LT(message.size(), CommandGroup::outputLimit);
    EXPECT_GT(message.size(), CommandGroup::outputLimit / 2);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(message));
}

TEST_F(AppModelSignInTest, AFailedGrokLogInThatSaidNothingHasAnEmptyMessage)
{
    install({ "grok" });
    runtime.script("grok", Scenario().command("--version", "1").command("login", "", 1));
    openModel();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->errorMessage(), "");
}

TEST_F(AppModelSignInTest, AFailedGrokLogInThatCannotBeReadHasTheFixedText)
{
    preferences.setText("grokExecutablePath", makeProgram("grok", "printf 'no\\377'; exit 1\n"));
    openModel();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->errorMessage(), "Grok login failed.");
}

TEST_F(AppModelSignInTest, AGrokThatCannotBeStartedSaysWhy)
{
    const std::string folder = makeFolder("bin");
    const std::string program = folder + "/grok";
    std::ofstream(program) << "#!/no/such/interpreter\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    preferences.setText("grokExecutablePath", program);
    openModel();
    model->logIn();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->errorMessage(), program + ": No such file or directory");
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(*model->errorMessage()));
}

TEST_F(AppModelSignInTest, LogInWithoutGrokLeavesTheConnectionAlone)
{
    openModel();
    model->logIn();
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_TRUE(model->installStatus().isMissing());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelSignInTest, AFailedCodexLogInRefreshesFirstAndThenSaysSo)
{
    install({ "codex" });
    runtime.script("codex", Scenario().command("--version", "1").command("login status", "", 1).command("login", "", 1));
    openModel();
    waitUntil([&] { return versionOf(model->codexInstallStatus()).has_value(); });
    bool wasRefreshed = false;
    const auto observing = model->observe([&](const ModelChange& change) {
        wasRefreshed = wasRefreshed || (change.kind == ModelChange::Kind::installStatus && !model->errorMessage());
    });
    model->logInCodex();
    EXPECT_EQ(model->connectionState(), ConnectionState()) << "untouched";
    waitUntil([&] { return model->errorMessage().has_value(); });
    EXPECT_EQ(model->errorMessage(), "Codex login did not complete.");
    EXPECT_TRUE(wasRefreshed);
}

TEST_F(AppModelSignInTest, AFailedKimiLogInSaysSo)
{
    install({ "kimi" });
    runtime.script("kimi", Scenario().command("--version", "1").command("login", "", 1));
    openModel();
    model->logInKimi();
    waitUntil([&] { return model->errorMessage().has_value(); });
    EXPECT_EQ(model->errorMessage(), "Kimi login did not complete.");
    EXPECT_EQ(model->connectionState(), ConnectionState());
}

TEST_F(AppModelSignInTest, ACodexOrKimiThatCannotBeStartedSaysWhy)
{
    const std::string folder = makeFolder("bin");
    for (const char* name : { "codex", "kimi" }) {
        const std::string program = folder + "/" + name;
        std::ofstream(program) << "#!/no/such/interpreter\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        preferences.setText(name + std::string("ExecutablePath"), program);
    }
    openModel();
    model->logInCodex();
    waitUntil([&] { return model->errorMessage() == folder + "/codex: No such file or directory"; }, "the text of the system");
    model->logInKimi();
    waitUntil([&] { return model->errorMessage() == folder + "/kimi: No such file or directory"; }, "the text of the system");
    EXPECT_EQ(model->connectionState(), ConnectionState());
}

TEST_F(AppModelSignInTest, SeveralLogInsRunAtOnceAndASecondPressIsOneMore)
{
    install({ "codex", "kimi" });
    runtime.script("codex", Scenario().command("--version", "1").command("login status", "").commandUntil("go", "login", "", 1));
    runtime.script("kimi", Scenario().command("--version", "1").commandUntil("go", "login", "", 1));
    openModel();
    waitUntil([&] { return versionOf(model->codexInstallStatus()) && versionOf(model->kimiInstallStatus()); });
    ASSERT_FALSE(runtime.hasStarted("kimi-command", 2)) << "the version alone";
    model->logInKimi();
    model->logInKimi();
    model->logInCodex();
    waitUntil([&] { return runtime.hasStarted("kimi-command", 2) && runtime.hasStarted("kimi-command", 3); }, "both log-ins");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    std::set<std::string> messages;
    const auto observing = model->observe([&](const ModelChange&) { messages.insert(model->errorMessage().value_or("")); });
    runtime.touch("go");
    waitUntil([&] { return messages.contains("Codex login did not complete.") && messages.contains("Kimi login did not complete."); });
    waitUntil([&] { return runtime.hasRecorded("kimi-command", "exit", 2) && runtime.hasRecorded("kimi-command", "exit", 3); });
}

TEST_F(AppModelSignInTest, TheEndOfALogInOverwritesTheStateThatAConnectionHasSetMeanwhile)
{
    install({ "grok", "kimi" });
    runtime.script("grok", Scenario().command("--version", "1").commandUntil("go", "login", "Not today.", 1));
    runtime.script("kimi", hangingTurn().command("--version", "1"));
    openModel();
    model->addWorkspace(runtime.workspace());
    model->setRoutingMode(ProviderRoutingMode::kimi);
    model->logIn();
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    model->send("Hi");
    waitFor(ConnectionState::Kind::working);
    runtime.touch("go");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Not today."));
    EXPECT_EQ(model->activeProvider(), AgentProvider::kimi) << "whose turn goes on";
}

TEST_F(AppModelSignInTest, AKimiLogInThatSucceedsRefreshesAndSaysNothing)
{
    install({ "kimi" });
    runtime.script("kimi", Scenario().command("--version", "1").command("login", ""));
    openModel();
    waitUntil([&] { return versionOf(model->kimiInstallStatus()).has_value(); });
    bool wasRefreshed = false;
    const auto observing = model->observe(
        [&](const ModelChange& change) { wasRefreshed = wasRefreshed || change.kind == ModelChange::Kind::installStatus; });
    model->logInKimi();
    waitUntil([&] { return wasRefreshed; });
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelSignInTest, CodexOrKimiThatIsMissingIsPublishedAsMissing)
{
    openModel();
    model->logInCodex();
    model->logInKimi();
    EXPECT_TRUE(model->codexInstallStatus().isMissing());
    EXPECT_TRUE(model->kimiInstallStatus().isMissing());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelSignInTest, TheTerminalFlowsCopyTheirCommandAndOpenATerminal)
{
    install({ "opencode", "claude" });
    runtime.script("opencode", Scenario().command("--version", "1"));
    runtime.script("claude", Scenario().command("--version", "1").command("auth status", ""));
    openModel();
    const std::string openCode = model->openCodeInstallStatus().installed()->path;
    const std::string claude = model->claudeInstallStatus().installed()->path;
    model->setUpOpenCodeGLM();
    model->logInClaude();
    model->copyInstallCommandAndOpenTerminal();
    EXPECT_THAT(desktop.pasteboard,
        ElementsAre("'" + openCode + "' auth login --provider zai-coding-plan", "'" + claude + "' auth login",
            "curl -fsSL https://x.ai/cli/install.sh | bash"));
    EXPECT_EQ(desktop.terminals.size(), 3U);
    EXPECT_THAT(desktop.copiedBeforeTerminal, ElementsAre(1U, 2U, 3U)) << "a terminal opens with its command on the pasteboard";
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelSignInTest, ATerminalFlowWithoutItsProgramTouchesNeitherPasteboardNorTerminal)
{
    openModel();
    model->setUpOpenCodeGLM();
    model->logInClaude();
    EXPECT_TRUE(model->openCodeInstallStatus().isMissing());
    EXPECT_TRUE(model->claudeInstallStatus().isMissing());
    EXPECT_THAT(desktop.pasteboard, IsEmpty());
    EXPECT_TRUE(desktop.terminals.empty());
}

TEST_F(AppModelSignInTest, ACommandIsShownOnlyWhereNoTerminalCouldBeOpened)
{
    openModel();
    model->copyInstallCommandAndOpenTerminal();
    desktop.terminals.at(0)(true);
    EXPECT_EQ(model->copiedCommand(), std::nullopt);
    model->copyInstallCommandAndOpenTerminal();
    desktop.terminals.at(1)(false);
    EXPECT_EQ(model->copiedCommand(), std::string(grokInstallCommand));
    model->dismissCopiedCommand();
    EXPECT_EQ(model->copiedCommand(), std::nullopt);
}

TEST(ShellCommandsTest, APathSurvivesTheQuotes)
{
    EXPECT_EQ(shellQuoted("/usr/bin/a"), "'/usr/bin/a'");
    EXPECT_EQ(shellQuoted("/a b/c"), "'/a b/c'");
    EXPECT_EQ(shellQuoted("/it's"), "'/it'\\''s'");
    EXPECT_EQ(shellQuoted(""), "''");
}

TEST(ShellCommandsTest, AShellReadsAQuotedPathAsItIs)
{
    const std::string hostile = "a'b \"$HOME\" `x` \\ ;&|\n*";
    ChildLaunch launch;
    launch.executable = "/bin/sh";
    launch.arguments = { "-c", "printf %s " + shellQuoted(hostile) };
    const auto outcome = runCommand(launch);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome.value().output, hostile);
}

} // namespace

} // namespace tessarin::testing
