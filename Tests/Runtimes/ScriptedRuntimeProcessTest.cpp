#include "ScriptedRuntimeFixture.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <set>

namespace scripted
{
namespace
{

TEST_F(ScriptedRuntimeTest, RecordsItsStartBeforeAnythingElse)
{
    playSteps("");
    TalkingProcess player(
        { SCRIPTED_RUNTIME_FOLDER "/grok", { "agent", "two words" }, { { "SCENARIO_DIR", m_folder.path() }, { "KEY", "a=b" } }, "/" });
    player.closeInput();
    EXPECT_EQ(player.waitForExit(), 0);
    boost::json::value start = record().front().at("start");
    EXPECT_EQ(start.at("argv"), parsed(R"([")" SCRIPTED_RUNTIME_FOLDER R"(/grok","agent","two words"])"));
    EXPECT_EQ(start.at("environment").as_object().size(), 2U);
    EXPECT_EQ(start.at("environment").at("KEY"), "a=b");
    EXPECT_EQ(start.at("workingDirectory"), "/");
    EXPECT_EQ(start.at("pid"), player.processID());
}

TEST_F(ScriptedRuntimeTest, RecordsWhateverComesIn)
{
    playSteps("");
    const auto player = start();
    player->write("{\"a\":1}\nno json\n\xff\n\n[2]\nunfinished");
    player->closeInput();
    player->waitForExit();
    std::vector<boost::json::value> lines = record();
    lines.erase(lines.begin());
    std::vector<boost::json::value> expected;
    for (const char* line :
        { R"({"received":{"a":1}})", R"({"receivedText":"no json"})", R"({"receivedTextBase64":"/w=="})", R"({"receivedText":""})",
            R"({"received":[2]})", R"({"receivedText":"unfinished"})", R"({"stdinClosed":true})", R"({"exit":0})" })
        expected.push_back(parsed(line));
    EXPECT_EQ(lines, expected);
}

TEST_F(ScriptedRuntimeTest, ARecordMayBeReadAtAnyTimeAndHasWholeLines)
{
    playSteps("");
    const auto player = start();
    const std::string text(3000, 'z');
    for (int i = 0; i < 50; ++i) {
        player->writeLine("{\"text\":\"" + text + "\"}");
        const std::string soFar = m_folder.read("grok.1.record.jsonl");
        EXPECT_TRUE(soFar.empty() || soFar.back() == '\n');
    }
    waitUntil("everything is recorded while the player runs", [this] { return record().size() == 51; });
}

TEST_F(ScriptedRuntimeTest, TheNthStartPlaysTheNthScript)
{
    write("grok.json", R"({"steps":[{"send":"any"}]})");
    write("grok.2.json", R"({"steps":[{"send":"second"}]})");
    for (const char* expected : { "\"any\"", "\"second\"", "\"any\"" })
        EXPECT_EQ(start()->readLine(), expected);
}

TEST_F(ScriptedRuntimeTest, CommandsDoNotCountAsStarts)
{
    write("grok.1.json", R"({"commands":{"--version":{"output":"1"}},"steps":[{"send":"first"}]})");
    EXPECT_EQ(start("grok", { "--version" })->readToEnd(), "1");
    EXPECT_EQ(start("grok", { "--version" })->readToEnd(), "1");
    EXPECT_EQ(start()->readLine(), "\"first\"");
    EXPECT_TRUE(m_folder.has("grok-command.2.record.jsonl"));
}

TEST_F(ScriptedRuntimeTest, StartsAtTheSameMomentGetNumbersOfTheirOwn)
{
    constexpr int count = 24;
    for (int i = 1; i <= count; ++i)
        write("grok." + std::to_string(i) + ".json", "{\"steps\":[{\"send\":" + std::to_string(i) + "},{\"expect\":\"end\"}]}");
    std::vector<std::unique_ptr<TalkingProcess>> players;
    for (int i = 0; i < count; ++i)
        players.push_back(start());
    std::set<std::string> numbers;
    for (const auto& player : players)
        numbers.insert(player->readLine());
    EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
    EXPECT_FALSE(m_folder.has("grok." + std::to_string(count + 1) + ".record.jsonl"));
}

TEST_F(ScriptedRuntimeTest, SurvivesAReaderThatWentAway)
{
    playSteps(R"({"expect":"go"},{"send":"nobody reads this"},{"stderr":"nor this"},{"expect":"end"},{"exit":4})");
    const auto player = start();
    player->closeOutput();
    player->closeErrorOutput();
    player->writeLine(R"({"method":"go"})");
    player->writeLine(R"({"method":"end"})");
    EXPECT_EQ(player->waitForExit(), 4);
    EXPECT_TRUE(recorded(R"({"writeFailed":"stdout"})"));
    EXPECT_TRUE(recorded(R"({"writeFailed":"stderr"})"));
}

TEST_F(ScriptedRuntimeTest, DiesOfTermAtOnceWhileItWaits)
{
    playSteps(R"({"send":"ready"},{"expect":"never"})");
    const auto player = start();
    player->readLine();
    player->signal(SIGTERM);
    EXPECT_EQ(player->waitForSignal(), SIGTERM);
    EXPECT_TRUE(recorded(R"({"signal":15})"));
    EXPECT_FALSE(recorded(R"({"exit":0})"));
}

TEST_F(ScriptedRuntimeTest, DiesOfTermAtOnceWhileNobodyReads)
{
    playSteps(R"({"touch":"filling"},{"fill":10000000})");
    const auto player = start();
    waitUntil("the player fills the pipe", [this] { return m_folder.has("filling"); });
    player->signal(SIGTERM);
    EXPECT_EQ(player->waitForSignal(), SIGTERM);
    EXPECT_TRUE(recorded(R"({"signal":15})"));
}

TEST_F(ScriptedRuntimeTest, SurvivesTermWhereTheScriptIgnoresIt)
{
    playSteps(R"({"ignoreTerm":true},{"send":"ready"},{"expect":"go"},{"exit":0})");
    const auto player = start();
    player->readLine();
    player->signal(SIGTERM);
    waitUntil("the signal is recorded", [this] { return recorded(R"({"signal":15})"); });
    player->writeLine(R"({"method":"go"})");
    EXPECT_EQ(player->waitForExit(), 0);
}

TEST_F(ScriptedRuntimeTest, AnswersTermByAStatusWhereTheScriptNamesOne)
{
    for (const int status : { 0, 1, 143 }) {
        const TemporaryFolder folder;
        folder.write("grok.json", "{\"steps\":[{\"exitOnTerm\":" + std::to_string(status) + "},{\"send\":\"ready\"}]}");
        const auto player = start("grok", { "agent" }, { { "SCENARIO_DIR", folder.path() } });
        player->readLine();
        player->signal(SIGTERM);
        EXPECT_EQ(player->waitForExit(), status);
        const std::string text = folder.read("grok.1.record.jsonl");
        const std::string last = text.substr(text.rfind('{'));
        EXPECT_EQ(parsed(last).at("exit"), status);
    }
}

TEST_F(ScriptedRuntimeTest, EndsAsTheScriptSays)
{
    write("grok.1.json", R"({"steps":[{"exit":3}]})");
    write("grok.2.json", R"({"steps":[{"signal":9}]})");
    write("grok.3.json", R"({"steps":[{"signal":15}]})");
    EXPECT_EQ(start()->waitForExit(), 3);
    EXPECT_EQ(start()->waitForSignal(), SIGKILL);
    EXPECT_EQ(start()->waitForSignal(), SIGTERM);
    EXPECT_TRUE(recorded(R"({"exit":3})"));
    EXPECT_TRUE(recorded(R"({"signal":9})", "grok.2.record.jsonl"));
    EXPECT_TRUE(recorded(R"({"signal":15})", "grok.3.record.jsonl"));
}

TEST_F(ScriptedRuntimeTest, AGrandchildKeepsTheStreamsOpenUntilItsFileComes)
{
    playSteps(R"({"grandchild":"let go"},{"send":"last"},{"exit":0})");
    const auto player = start();
    EXPECT_EQ(player->waitForExit(), 0);
    EXPECT_EQ(player->readLine(), "\"last\"");
    EXPECT_FALSE(player->endsWithin(std::chrono::milliseconds(50)));
    m_folder.write("let go", "");
    EXPECT_TRUE(player->endsWithin(TalkingProcess::bound));
}

TEST_F(ScriptedRuntimeTest, ClosesTheStreamsThatTheScriptNames)
{
    playSteps(
        R"({"send":"before"},{"closeStdout":true},{"send":"lost"},{"expect":"go"},{"closeStderr":true},{"closeStdin":true},{"touch":"closed"})");
    const auto player = start();
    EXPECT_EQ(player->readToEnd(), "\"before\"\n");
    player->writeLine(R"({"method":"go"})");
    EXPECT_EQ(player->errorOutput(), "");
    waitUntil("the input is closed", [this] { return m_folder.has("closed"); });
    EXPECT_FALSE(player->writeLine("{}")) << "the pipe is broken";
    player->signal(SIGTERM);
    EXPECT_EQ(player->waitForSignal(), SIGTERM) << "it stays until it is ended";
}

TEST_F(ScriptedRuntimeTest, StandsUnderTheNameOfEachProgram)
{
    for (const char* program : { "grok", "codex", "kimi", "opencode", "claude" }) {
        write(std::string(program) + ".json", std::string("{\"steps\":[{\"send\":\"") + program + "\"}]}");
        EXPECT_EQ(start(program)->readLine(), "\"" + std::string(program) + "\"");
    }
}

} // namespace
} // namespace scripted
