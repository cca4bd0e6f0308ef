#include "Platform/CommandGroup.h"
#include "ScriptedRuntime.h"
#include "Services/Locators.h"
#include "Services/RuntimeProgram.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tessarin
{
namespace
{

struct Inspected {
    std::optional<std::string> version;
    std::optional<bool> signedIn;
    bool operator==(const Inspected&) const = default;
};

void PrintTo(const Inspected& inspected, std::ostream* out)
{
    *out << inspected.version.value_or("no version") << ", "
         << (inspected.signedIn ? (*inspected.signedIn ? "signed in" : "signed out") : "not known");
}

class LocatorProbeTest : public ::testing::Test
{
protected:
    using VersionProbe = void (*)(const std::string&, const RuntimeContext&, MainThread&, VersionCompletion);
    using Inspection = void (*)(const std::string&, const RuntimeContext&, MainThread&, InspectCompletion);

    [[nodiscard]] RuntimeContext context() const
    {
        RuntimeContext context;
        context.environment = m_runtime.environment();
        context.home = m_runtime.home();
        return context;
    }
    // The completion has to come, once, and on a call of the main thread.
    std::optional<std::string> versionBy(VersionProbe probe, const std::string& executable)
    {
        std::vector<std::optional<std::string>> answers;
        probe(
            executable, context(), m_mainThread, [&answers](std::optional<std::string> version) { answers.push_back(std::move(version)); });
        EXPECT_TRUE(answers.empty()) << "completed before the main thread was free";
        EXPECT_TRUE(testing::waitUntil(m_mainThread, [&answers] { return !answers.empty(); }));
        m_mainThread.drain();
        EXPECT_EQ(answers.size(), 1U);
        return answers.empty() ? std::nullopt : answers.front();
    }
    Inspected inspectedBy(Inspection inspect, const std::string& executable)
    {
        std::vector<Inspected> answers;
        inspect(executable, context(), m_mainThread, [&answers](std::optional<std::string> version, std::optional<bool> signedIn) {
            answers.push_back({ std::move(version), signedIn });
        });
        EXPECT_TRUE(answers.empty()) << "completed before the main thread was free";
        EXPECT_TRUE(testing::waitUntil(m_mainThread, [&answers] { return !answers.empty(); }));
        m_mainThread.drain();
        EXPECT_EQ(answers.size(), 1U);
        return answers.empty() ? Inspected() : answers.front();
    }
    [[nodiscard]] static std::string executable(const char* program) { return testing::ScriptedRuntime::executable(program); }
    void commands(const std::string& program, const std::string& json) const
    {
        std::ofstream(m_runtime.directory() + "/" + program + ".json") << "{\"commands\":" << json << "}";
    }
    // What the n-th probe of the program was started with.
    [[nodiscard]] JsonObject startOf(const std::string& program, int number = 1) const
    {
        return m_runtime.startOf(program + "-command", number);
    }

    MainThread m_mainThread;
    testing::ScriptedRuntime m_runtime;
};

struct VersionRow {
    const char* program;
    void (*version)(const std::string&, const RuntimeContext&, MainThread&, VersionCompletion);
};
const VersionRow versionRows[]
    = { { "grok", &GrokLocator::version }, { "kimi", &KimiLocator::version }, { "opencode", &OpenCodeLocator::version } };

TEST_F(LocatorProbeTest, TheVersionIsTheTrimmedOutput)
{
    for (const VersionRow& row : versionRows) {
        commands(row.program, R"({"--version":{"output":"\n  1.2.3 (abc)\nsecond line \n\n"}})");
        EXPECT_EQ(versionBy(row.version, executable(row.program)), "1.2.3 (abc)\nsecond line") << row.program;
    }
}

TEST_F(LocatorProbeTest, TheVersionHoldsBothStreamsAndTheStatusDoesNotMatter)
{
    for (const VersionRow& row : versionRows) {
        commands(row.program, R"({"--version":{"output":"out ","error":"err","status":3}})");
        EXPECT_EQ(versionBy(row.version, executable(row.program)), "out err") << row.program;
    }
}

TEST_F(LocatorProbeTest, ThereIsNoVersionWithoutText)
{
    for (const VersionRow& row : versionRows) {
        commands(row.program, R"({"--version":{"output":" \n\t "}})");
        EXPECT_EQ(versionBy(row.version, executable(row.program)), std::nullopt) << row.program;
    }
}

TEST_F(LocatorProbeTest, ThereIsNoVersionWithoutUtf8)
{
    for (const VersionRow& row : versionRows) {
        commands(row.program, R"({"--version":{"steps":[{"raw":"1.2"},{"rawBase64":"/w=="}]}})");
        EXPECT_EQ(versionBy(row.version, executable(row.program)), std::nullopt) << row.program;
    }
}

TEST_F(LocatorProbeTest, ThereIsNoVersionOfAProgramThatDoesNotStart)
{
    for (const VersionRow& row : versionRows)
        EXPECT_EQ(versionBy(row.version, m_runtime.directory() + "/missing"), std::nullopt) << row.program;
}

TEST_F(LocatorProbeTest, AProbeSeesTheEnvironmentOfItsLocatorAndItsArguments)
{
    for (const VersionRow& row : versionRows)
        commands(row.program, R"({"--version":{"output":"1"},"auth list":{"output":"2"}})");
    versionBy(&GrokLocator::version, executable("grok"));
    versionBy(&KimiLocator::version, executable("kimi"));
    versionBy(&OpenCodeLocator::version, executable("opencode"));
    const auto environmentOf = [this](const char* program) { return startOf(program).at("environment").as_object(); };
    const auto asJson = [](const Environment& environment) {
        JsonObject object;
        for (const auto& [key, value] : environment)
            object[key] = value;
        return object;
    };
    EXPECT_EQ(environmentOf("grok"), asJson(GrokLocator::augmentedEnvironment(context())));
    EXPECT_EQ(environmentOf("kimi"), asJson(KimiLocator::subscriptionEnvironment(context())));
    EXPECT_EQ(environmentOf("opencode"), asJson(OpenCodeLocator::subscriptionEnvironment(context())));
    EXPECT_EQ(startOf("kimi").at("argv"), (JsonArray{ executable("kimi"), "--version" }));
    EXPECT_EQ(startOf("kimi").at("workingDirectory").as_string(), std::filesystem::current_path().string());
}

TEST_F(LocatorProbeTest, AStoppedProbeIsAskedToEndAndAnswersNothing)
{
    commands("codex", R"({"--version":{"steps":[{"waitForFile":"never"}]},"login status":{"output":"Logged in"}})");
    int answers = 0;
    CodexLocator::inspect(executable("codex"), context(), m_mainThread, [&answers](const auto&, auto) { ++answers; });
    ASSERT_TRUE(testing::waitUntil(m_mainThread, [this] { return m_runtime.hasStarted("codex-command"); }));
    stopProbes();
    ASSERT_TRUE(m_mainThread.waitAndDrain(testing::waitBound)) << "the end of the program";
    EXPECT_TRUE(m_runtime.hasRecorded("codex-command", "signal"));
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(m_runtime.hasStarted("codex-command", 2)) << "it is not asked for its sign-in any more";
}

TEST_F(LocatorProbeTest, TheAuthSummaryIsTheOutputOfItsOwnProbe)
{
    commands("opencode", R"({"auth list":{"output":" Z.AI Coding Plan\n","status":1}})");
    EXPECT_EQ(versionBy(&OpenCodeLocator::authSummary, executable("opencode")), "Z.AI Coding Plan");
    EXPECT_EQ(startOf("opencode").at("argv"), (JsonArray{ executable("opencode"), "auth", "list" }));
    commands("opencode", R"({"auth list":{}})");
    EXPECT_EQ(versionBy(&OpenCodeLocator::authSummary, executable("opencode")), std::nullopt);
}

TEST_F(LocatorProbeTest, AFloodDoesNotStopAProbeAndItsBeginningCounts)
{
    commands("grok", R"({"--version":{"steps":[{"fill":200000000,"with":"v"},{"stderr":"e"}]}})");
    const auto version = versionBy(&GrokLocator::version, executable("grok"));
    ASSERT_TRUE(version);
    EXPECT_EQ(*version, std::string(CommandGroup::outputLimit, 'v'));
}

TEST_F(LocatorProbeTest, WhatAFloodOfTheStatusRunSaysFirstAndItsStatusTellTheSignIn)
{
    const std::string flood = R"({"--version":{"output":"1"},"auth status":{"steps":[{"raw":"Not logged in "},)"
                              R"({"fill":100000000,"with":"x"},{"exit":2}]}})";
    commands("claude", flood);
    EXPECT_EQ(inspectedBy(&ClaudeLocator::inspect, executable("claude")), (Inspected{ "1", true })) << "as the order of the tests has it";
}

TEST_F(LocatorProbeTest, AGrandchildThatHoldsThePipeDoesNotHoldAProbe)
{
    commands("grok", R"({"--version":{"steps":[{"grandchild":"let go"},{"raw":"1.2.3"}]}})");
    EXPECT_EQ(versionBy(&GrokLocator::version, executable("grok")), "1.2.3");
    m_runtime.touch("let go");
}

struct InspectRow {
    const char* program;
    const char* statusCall;
    void (*inspect)(const std::string&, const RuntimeContext&, MainThread&, InspectCompletion);
};
const InspectRow inspectRows[]
    = { { "codex", "login status", &CodexLocator::inspect }, { "claude", "auth status", &ClaudeLocator::inspect } };

TEST_F(LocatorProbeTest, AnInspectionAsksForTheVersionAndThenForTheSignIn)
{
    for (const InspectRow& row : inspectRows) {
        commands(row.program,
            std::string(R"({"--version":{"output":" 1.2.3\n","status":4},")") + row.statusCall + R"(":{"output":"Logged in","status":0}})");
        EXPECT_EQ(inspectedBy(row.inspect, executable(row.program)), (Inspected{ "1.2.3", true })) << row.program;
        EXPECT_EQ(startOf(row.program, 1).at("argv").as_array().at(1), "--version");
        EXPECT_EQ(startOf(row.program, 2).at("argv").as_array().size(), 3U);
        EXPECT_EQ(startOf(row.program, 1).at("environment"), startOf(row.program, 2).at("environment"));
    }
    EXPECT_EQ(startOf("claude").at("environment").at("CLAUDE_CODE_ENTRYPOINT"), "tessarin");
}

TEST_F(LocatorProbeTest, TheSignInIsNotAskedForBeforeTheVersionHasCome)
{
    commands("codex", R"({"--version":{"steps":[{"touch":"asked"},{"waitForFile":"go"},{"raw":"1"}]},"login status":{}})");
    bool isDone = false;
    CodexLocator::inspect(executable("codex"), context(), m_mainThread, [&isDone](auto&&...) { isDone = true; });
    ASSERT_TRUE(testing::waitUntil(m_mainThread, [this] { return m_runtime.exists("asked"); }));
    EXPECT_FALSE(m_runtime.hasStarted("codex-command", 2));
    m_runtime.touch("go");
    EXPECT_TRUE(testing::waitUntil(m_mainThread, [&isDone] { return isDone; }));
}

struct SignInRow {
    const char* answer; // of the status call
    std::optional<bool> codex;
    std::optional<bool> claude;
};

TEST_F(LocatorProbeTest, TheSignInFollowsStatusAndTextOfTheStatusRun)
{
    const SignInRow rows[] = {
        { R"({"status":0})", true, true },
        { R"({"status":1})", std::nullopt, false },
        { R"({"status":2})", std::nullopt, std::nullopt },
        { R"({"error":"Not logged in\n","status":1})", true, true },
        { R"({"output":"Authenticated","status":2})", true, std::nullopt },
        { R"({"output":"run: codex login","status":2})", false, std::nullopt },
        { R"({"output":"authentication needed","status":2})", false, std::nullopt },
        { R"({"output":"not logged","status":2})", std::nullopt, false },
        { R"({"output":"{\"loggedIn\":true}","status":1})", std::nullopt, true },
        { R"({"output":"{\"loggedIn\":false}","status":2})", std::nullopt, false },
        { R"({"output":"{\n  \"loggedIn\": false\n}","status":2})", std::nullopt, std::nullopt },
        { R"({"output":"{\n  \"loggedIn\": false\n}","status":1})", std::nullopt, false },
        { R"({"steps":[{"raw":"logged in"},{"rawBase64":"/w=="},{"exit":2}]})", std::nullopt, std::nullopt },
    };
    for (const SignInRow& row : rows) {
        for (const InspectRow& who : inspectRows) {
            commands(who.program, std::string("{\"--version\":{\"output\":\"1\"},\"") + who.statusCall + "\":" + row.answer + "}");
            const std::optional<bool> expected = who.program == std::string("codex") ? row.codex : row.claude;
            EXPECT_EQ(inspectedBy(who.inspect, executable(who.program)), (Inspected{ "1", expected })) << who.program << " " << row.answer;
        }
    }
}

TEST_F(LocatorProbeTest, AnEmptyVersionOrOneThatIsNotUtf8IsNone)
{
    for (const InspectRow& row : inspectRows) {
        for (const char* version : { R"({"output":" \n"})", R"({"steps":[{"raw":"1"},{"rawBase64":"/w=="}]})" }) {
            commands(row.program, std::string("{\"--version\":") + version + ",\"" + row.statusCall + "\":{\"status\":0}}");
            EXPECT_EQ(inspectedBy(row.inspect, executable(row.program)), (Inspected{ std::nullopt, true })) << row.program;
        }
    }
}

TEST_F(LocatorProbeTest, TheTextOfAFailedStartShowsAsTheVersionAndTheSignInIsNotKnown)
{
    for (const InspectRow& row : inspectRows) {
        const Inspected inspected = inspectedBy(row.inspect, m_runtime.directory() + "/missing");
        ASSERT_TRUE(inspected.version) << row.program;
        EXPECT_NE(inspected.version->find("No such file or directory"), std::string::npos) << *inspected.version;
        EXPECT_EQ(inspected.signedIn, std::nullopt) << row.program;
    }
}

TEST_F(LocatorProbeTest, AProgramThatEndsBySignalGivesWhatItSaid)
{
    commands("claude", R"({"--version":{"steps":[{"raw":"2.0"},{"signal":9}]},"auth status":{"steps":[{"signal":9}]}})");
    EXPECT_EQ(inspectedBy(&ClaudeLocator::inspect, executable("claude")), (Inspected{ "2.0", std::nullopt }));
}

} // namespace
} // namespace tessarin
