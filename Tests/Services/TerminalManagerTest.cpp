#include "Services/TerminalManager.h"

#include "HeldChild.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <set>
#include <signal.h>
#include <system_error>
#include <thread>

using namespace tessarin;
using namespace std::chrono_literals;

namespace
{

constexpr auto bound = 20s;

// Collects the answers of terminals from whatever thread they come on.
class Answers
{
public:
    TerminalManager::ExitCompletion expectOne()
    {
        const std::lock_guard lock(m_mutex);
        const std::size_t number = m_answers.size();
        m_answers.emplace_back();
        return [this, number](JsonObject exitStatus) {
            const std::lock_guard answering(m_mutex);
            m_answers[number].push_back(std::move(exitStatus));
            m_arrived.notify_all();
        };
    }
    // All answers to the n-th expectation once there is one.
    std::vector<JsonObject> wait(std::size_t number)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, bound, [&] { return !m_answers[number].empty(); });
        return m_answers[number];
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<std::vector<JsonObject>> m_answers;
};

class TerminalManagerTest : public ::testing::Test
{
protected:
    TerminalManagerTest() { std::filesystem::create_directories(m_folder); }
    ~TerminalManagerTest() override
    {
        m_manager.releaseAll();
        std::error_code ignored; // a command that ends late may still be writing there
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::string create(const JsonObject& params)
    {
        auto id = m_manager.create(params);
        EXPECT_TRUE(id) << id.error().description();
        return id ? id.value() : std::string();
    }
    std::string shell(const std::string& line) { return create({ { "command", "sh" }, { "args", { "-c", line } } }); }
    JsonObject waitForExit(const std::string& id)
    {
        const auto asked = m_manager.waitForExit(id, m_answers.expectOne());
        EXPECT_TRUE(asked);
        const auto answers = m_answers.wait(m_asked++);
        EXPECT_EQ(answers.size(), 1U);
        return answers.empty() ? JsonObject() : answers.front();
    }
    JsonObject snapshot(const std::string& id)
    {
        const auto result = m_manager.snapshot(id);
        EXPECT_TRUE(result);
        return result ? result.value() : JsonObject();
    }
    std::string outputOf(const std::string& id) { return std::string(snapshot(id).at("output").as_string()); }
    std::string file(const std::string& name) const { return (m_folder / name).string(); }

    static bool isGone(int processID) { return ::kill(processID, 0) != 0; }
    template <class Condition>
    static bool becomes(Condition condition)
    {
        for (const auto end = std::chrono::steady_clock::now() + bound; std::chrono::steady_clock::now() < end;) {
            if (condition()) {
                return true;
            }
            std::this_thread::yield();
        }
        return false;
    }

    const std::filesystem::path m_folder = std::filesystem::temp_directory_path() / ("tessarin-terminals-" + std::to_string(::getpid()));
    Answers m_answers;
    std::size_t m_asked = 0;
    TerminalManager m_manager{ { { "PATH", "/usr/bin:/bin" }, { "OPENAI_API_KEY", "kept" }, { "NAME", "outer" } } };
};

} // namespace

TEST_F(TerminalManagerTest, RunsACommandAndKeepsItsOutputReadableAfterItsEnd)
{
    const std::string id = create({ { "command", "printf" }, { "args", { "%s-%s", "a b", "c" } } });
    EXPECT_EQ(waitForExit(id), (JsonObject{ { "exitCode", 0 }, { "signal", nullptr } }));
    EXPECT_EQ(snapshot(id),
        (JsonObject{ { "output", "a b-c" }, { "truncated", false }, { "exitStatus", { { "exitCode", 0 }, { "signal", nullptr } } } }));
}

TEST_F(TerminalManagerTest, IdsAreFreshUpperCaseUuids)
{
    const std::string first = create({ { "command", "true" } });
    const std::string second = create({ { "command", "true" } });
    EXPECT_NE(first, second);
    ASSERT_EQ(first.size(), 36U);
    EXPECT_EQ(first.find_first_not_of("0123456789ABCDEF-"), std::string::npos);
}

TEST_F(TerminalManagerTest, ErrorOutputJoinsTheSameBufferInOrderOfArrival)
{
    // Each of the two streams writes after the other one's text has arrived.
    const std::string id = shell("echo one >&2; until [ -e " + file("go") + " ]; do sleep 0.01; done; echo two");
    ASSERT_TRUE(becomes([&] { return outputOf(id) == "one\n"; }));
    std::ofstream(file("go")) << "";
    waitForExit(id);
    EXPECT_EQ(outputOf(id), "one\ntwo\n");
}

TEST_F(TerminalManagerTest, ExitStatusIsNullWhileTheChildRuns)
{
    const std::string id = shell("until [ -e " + file("go") + " ]; do sleep 0.01; done; exit 7");
    EXPECT_EQ(snapshot(id).at("exitStatus"), Json(nullptr));
    std::ofstream(file("go")) << "";
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(7));
}

TEST_F(TerminalManagerTest, ASecondWaitOnAnExitedTerminalAnswersToo)
{
    const std::string id = shell("exit 3");
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(3));
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(3));
}

TEST_F(TerminalManagerTest, AMissingOrEmptyCommandIsRefused)
{
    for (const JsonObject& params : { JsonObject{}, JsonObject{ { "command", "" } }, JsonObject{ { "command", 5 } } }) {
        const auto result = m_manager.create(params);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, ACPClientError::Kind::invalidRequest);
        EXPECT_EQ(result.error().description(), "terminal/create is missing command");
    }
}

TEST_F(TerminalManagerTest, ACommandThatDoesNotExistEndsWithTheStatusOfEnv)
{
    const std::string id = create({ { "command", "no-such-command-here" } });
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(127));
}

TEST_F(TerminalManagerTest, ALineForAShellIsGivenToTheShell)
{
    const std::string piped = create({ { "command", "echo one $NAME | tr a-z A-Z; exit 4" } });
    EXPECT_EQ(waitForExit(piped).at("exitCode"), Json(4));
    EXPECT_EQ(outputOf(piped), "ONE OUTER\n");
    const std::string withoutArguments = create({ { "command", "echo\tone" }, { "args", JsonArray() } });
    waitForExit(withoutArguments);
    EXPECT_EQ(outputOf(withoutArguments), "one\n");
    const std::string unknown = create({ { "command", "no-such-command-here --flag" } });
    EXPECT_EQ(waitForExit(unknown).at("exitCode"), Json(127));
}

TEST_F(TerminalManagerTest, ALineWithAnAssignmentNeverPrintsTheEnvironment)
{
    const std::string assignment = create({ { "command", "NAME=inner" } });
    EXPECT_EQ(waitForExit(assignment).at("exitCode"), Json(0));
    EXPECT_EQ(outputOf(assignment), "");
    const std::string inFront = create({ { "command", "NAME=inner printenv NAME" } });
    waitForExit(inFront);
    EXPECT_EQ(outputOf(inFront), "inner\n");
}

TEST_F(TerminalManagerTest, AProgramWithABlankInItsNameIsRunAsItIs)
{
    std::ofstream(file("two words")) << "#!/bin/sh\necho run\n";
    std::filesystem::permissions(file("two words"), std::filesystem::perms::owner_all);
    const JsonArray path{ { { "name", "PATH" }, { "value", "/bin:" + m_folder.string() } } };
    for (const JsonObject& params :
        { JsonObject{ { "command", file("two words") } }, JsonObject{ { "command", "./two words" }, { "cwd", m_folder.string() } },
            JsonObject{ { "command", "two words" }, { "env", path } } }) {
        const std::string id = create(params);
        EXPECT_EQ(waitForExit(id).at("exitCode"), Json(0)) << compactJson(params);
        EXPECT_EQ(outputOf(id), "run\n");
    }
}

TEST_F(TerminalManagerTest, AProgramWithAnEqualsSignInItsNameIsRunAsItIs)
{
    const std::filesystem::path folder = m_folder / "a=b";
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "x=y") << "#!/bin/sh\necho run\n";
    std::filesystem::permissions(folder / "x=y", std::filesystem::perms::owner_all);
    const JsonArray path{ { { "name", "PATH" }, { "value", "/bin:" + folder.string() } } };
    for (const JsonObject& params : { JsonObject{ { "command", (folder / "x=y").string() } },
             JsonObject{ { "command", "./x=y" }, { "cwd", folder.string() } }, JsonObject{ { "command", "x=y" }, { "env", path } } }) {
        const std::string id = create(params);
        EXPECT_EQ(waitForExit(id).at("exitCode"), Json(0)) << compactJson(params);
        EXPECT_EQ(outputOf(id), "run\n") << compactJson(params);
    }
}

TEST_F(TerminalManagerTest, AFolderOrAFileThatMayNotBeExecutedIsNoProgram)
{
    std::filesystem::create_directory(file("a folder"));
    std::ofstream(file("a file")) << "#!/bin/sh\necho run\n";
    for (const std::string name : { "./a folder", "./a file" }) {
        const std::string id = create({ { "command", name }, { "cwd", m_folder.string() } });
        EXPECT_NE(waitForExit(id).at("exitCode"), Json(0)) << name;
        EXPECT_NE(outputOf(id).find("./a"), std::string::npos) << "the shell has looked for the first word";
    }
}

TEST_F(TerminalManagerTest, ACommandWithArgumentsIsNeverALineForAShell)
{
    const std::string id = create({ { "command", "echo one" }, { "args", { "two" } } });
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(127));
}

TEST_F(TerminalManagerTest, AChildThatCannotBeStartedSaysWhy)
{
    for (const std::string command : { "true", "true; true" }) {
        const auto result = m_manager.create({ { "command", command }, { "cwd", file("missing") } });
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, ACPClientError::Kind::processFailed);
        EXPECT_EQ(result.error().description(), "Could not run " + command + ": " + file("missing") + ": No such file or directory");
    }
}

TEST_F(TerminalManagerTest, RunsInTheGivenFolderAndElseInOurs)
{
    const std::string given = create({ { "command", "pwd" }, { "cwd", m_folder.string() } });
    waitForExit(given);
    EXPECT_EQ(outputOf(given), std::filesystem::canonical(m_folder).string() + "\n");
    for (const Json& cwd : { Json(""), Json(5) }) {
        const std::string ours = create({ { "command", "pwd" }, { "cwd", cwd } });
        waitForExit(ours);
        EXPECT_EQ(outputOf(ours), std::filesystem::current_path().string() + "\n");
    }
}

TEST_F(TerminalManagerTest, EntriesOfEnvLieOverTheEnvironmentAndLaterOnesWin)
{
    const std::string id = create({ { "command", "env" },
        { "env",
            { { { "name", "NAME" }, { "value", "first" } }, { { "name", "NAME" }, { "value", "second" } },
                { { "name", "NUMBER" }, { "value", 5 } }, { { "value", "nameless" } }, { { "name", "EMPTY" }, { "value", "" } } } } });
    waitForExit(id);
    std::multiset<std::string> lines;
    std::istringstream stream(outputOf(id));
    for (std::string line; std::getline(stream, line);) {
        lines.insert(line);
    }
    EXPECT_EQ(lines, (std::multiset<std::string>{ "EMPTY=", "NAME=second", "OPENAI_API_KEY=kept", "PATH=/usr/bin:/bin" }));
}

TEST_F(TerminalManagerTest, ArgumentsAndEnvironmentOfAnotherTypeCountAsAbsent)
{
    const std::string id = create({ { "command", "echo" }, { "args", "text" }, { "env", { { "NAME", "x" } } } });
    waitForExit(id);
    EXPECT_EQ(outputOf(id), "\n");
    const std::string mixed = create({ { "command", "echo" }, { "args", { "a", 5 } } });
    waitForExit(mixed);
    EXPECT_EQ(outputOf(mixed), "\n");
}

TEST_F(TerminalManagerTest, AMillionBytesAreKeptUnlessTheAgentSaysOtherwise)
{
    for (const Json& limit : { Json(nullptr), Json("5"), Json(2.5) }) {
        const std::string whole
            = create({ { "command", "sh" }, { "args", { "-c", "head -c 1000000 /dev/zero | tr '\\0' x" } }, { "outputByteLimit", limit } });
        waitForExit(whole);
        EXPECT_EQ(outputOf(whole).size(), 1'000'000U);
        EXPECT_EQ(snapshot(whole).at("truncated"), Json(false));
    }
    const std::string more = shell("printf y; head -c 1000000 /dev/zero | tr '\\0' x");
    waitForExit(more);
    EXPECT_EQ(outputOf(more), std::string(1'000'000, 'x'));
    EXPECT_EQ(snapshot(more).at("truncated"), Json(true));
}

TEST_F(TerminalManagerTest, ALimitWrittenAsAFractionIsAWholeNumber)
{
    const std::string id = create({ { "command", "echo" }, { "args", { "text" } }, { "outputByteLimit", 3.0 } });
    waitForExit(id);
    EXPECT_EQ(outputOf(id), "xt\n");
}

TEST_F(TerminalManagerTest, ANegativeLimitCountsAsZero)
{
    const std::string id = create({ { "command", "echo" }, { "args", { "text" } }, { "outputByteLimit", -5 } });
    waitForExit(id);
    EXPECT_EQ(outputOf(id), "");
    EXPECT_EQ(snapshot(id).at("truncated"), Json(true));
}

TEST_F(TerminalManagerTest, HalfACharacterAtTheEndIsShownReplaced)
{
    const std::string id = shell("printf 'a\\342'");
    waitForExit(id);
    EXPECT_EQ(outputOf(id), "a\xEF\xBF\xBD");
}

TEST_F(TerminalManagerTest, KillSendsOneTerminationSignalAndKeepsTheOutput)
{
    const std::string id = shell("trap 'echo asked; exit 5' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(becomes([&] { return outputOf(id) == "ready\n"; }));
    EXPECT_TRUE(m_manager.kill(id));
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(5));
    EXPECT_EQ(outputOf(id), "ready\nasked\n");
}

TEST_F(TerminalManagerTest, AnEndBySignalReportsItsNumberAsTheExitCode)
{
    const std::string id = shell("kill -KILL $$");
    EXPECT_EQ(waitForExit(id), (JsonObject{ { "exitCode", SIGKILL }, { "signal", nullptr } }));
}

TEST_F(TerminalManagerTest, KillingAnExitedTerminalSucceeds)
{
    const std::string id = shell("exit 0");
    waitForExit(id);
    EXPECT_TRUE(m_manager.kill(id));
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(0));
}

TEST_F(TerminalManagerTest, AnUnknownTerminalFailsEveryOperation)
{
    const std::string text = "Unknown terminal: X";
    EXPECT_EQ(m_manager.snapshot("X").error().description(), text);
    EXPECT_EQ(m_manager.kill("X").error().description(), text);
    EXPECT_EQ(m_manager.release("X").error().description(), text);
    const auto waiting = m_manager.waitForExit("X", [](const JsonObject&) { FAIL() << "answered"; });
    EXPECT_EQ(waiting.error().description(), text);
    EXPECT_EQ(waiting.error().kind, ACPClientError::Kind::invalidRequest);
}

TEST_F(TerminalManagerTest, AReleasedTerminalIsUnknownAndItsChildEnds)
{
    const std::string id = shell("echo $$; while :; do sleep 0.01; done");
    ASSERT_TRUE(becomes([&] { return outputOf(id).ends_with("\n"); }));
    const int processID = std::stoi(outputOf(id));
    EXPECT_TRUE(m_manager.release(id));
    EXPECT_FALSE(m_manager.release(id));
    EXPECT_FALSE(m_manager.snapshot(id));
    EXPECT_TRUE(becomes([&] { return isGone(processID); }));
}

TEST_F(TerminalManagerTest, AWaitThatIsOpenAtTheReleaseIsAnsweredWithoutACode)
{
    const std::string id = shell("while :; do sleep 0.01; done");
    ASSERT_TRUE(m_manager.waitForExit(id, m_answers.expectOne()));
    EXPECT_TRUE(m_manager.release(id));
    const auto answers = m_answers.wait(0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers.front(), (JsonObject{ { "exitCode", nullptr }, { "signal", nullptr } }));
}

TEST_F(TerminalManagerTest, AChildThatSurvivesTheOneSignalOfItsReleaseIsLeftAlone)
{
    const std::string id = shell("trap 'echo > " + file("asked") + "' TERM; echo $$; while :; do sleep 0.01; done");
    ASSERT_TRUE(becomes([&] { return outputOf(id).ends_with("\n"); }));
    const int processID = std::stoi(outputOf(id));
    m_manager.releaseAll();
    EXPECT_TRUE(becomes([&] { return std::filesystem::exists(file("asked")); }));
    EXPECT_FALSE(isGone(processID));
    ::kill(processID, SIGKILL);
    EXPECT_TRUE(becomes([&] { return isGone(processID); }));
}

TEST_F(TerminalManagerTest, TheInputOfACommandIsOurs)
{
    const std::string id = create({ { "command", "readlink" }, { "args", { "/proc/self/fd/0" } } });
    EXPECT_EQ(waitForExit(id).at("exitCode"), Json(0));
    EXPECT_EQ(outputOf(id), std::filesystem::read_symlink("/proc/self/fd/0").string() + "\n");
}

TEST_F(TerminalManagerTest, TerminalsRunSideBySide)
{
    // Each ends only once the other one has begun.
    const auto line = [this](const std::string& mine, const std::string& other) {
        return "echo > " + file(mine) + "; until [ -e " + file(other) + " ]; do sleep 0.01; done";
    };
    const std::string first = shell(line("a", "b"));
    const std::string second = shell(line("b", "a"));
    EXPECT_EQ(waitForExit(first).at("exitCode"), Json(0));
    EXPECT_EQ(waitForExit(second).at("exitCode"), Json(0));
}

TEST_F(TerminalManagerTest, WhenTheReleasesAreFinishedEveryChildHasBeenAskedToEnd)
{
    std::vector<std::unique_ptr<tessarin::testing::HeldChild>> children;
    std::string first;
    // More of them than there are threads for queues.
    for (int n = 0; n < 20; ++n) {
        const std::string id = shell("echo $$; exec sleep 600");
        ASSERT_TRUE(becomes([&] { return outputOf(id).ends_with("\n"); }));
        children.push_back(std::make_unique<tessarin::testing::HeldChild>(std::stoi(outputOf(id))));
        first = first.empty() ? id : first;
    }
    EXPECT_TRUE(m_manager.release(first));
    m_manager.releaseAll();
    m_manager.finishReleases();
    for (const auto& child : children) {
        EXPECT_TRUE(child->isSent(SIGTERM));
    }
}

TEST_F(TerminalManagerTest, ReleaseAllEndsEveryChild)
{
    std::vector<int> processes;
    for (int n = 0; n < 5; ++n) {
        const std::string id = shell("echo $$; while :; do sleep 0.01; done");
        ASSERT_TRUE(becomes([&] { return outputOf(id).ends_with("\n"); }));
        processes.push_back(std::stoi(outputOf(id)));
    }
    m_manager.releaseAll();
    for (const int process : processes) {
        EXPECT_TRUE(becomes([&] { return isGone(process); }));
    }
}
