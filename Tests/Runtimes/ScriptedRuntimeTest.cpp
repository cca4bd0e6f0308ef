#include "ScriptedRuntimeFixture.h"

#include <gtest/gtest.h>

namespace scripted
{
namespace
{

TEST_F(ScriptedRuntimeTest, AnswersTheExpectedMessageWithItsId)
{
    playSteps(R"({"expect":"initialize"},{"reply":{"ok":true}},{"expect":"next"},{"replyError":{"code":-32000,"message":"no"}})");
    const auto player = start();
    player->writeLine(R"({"jsonrpc":"2.0","id":0,"method":"initialize"})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":0,"result":{"ok":true}})"));
    player->writeLine(R"({"jsonrpc":"2.0","id":"text","method":"next"})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":"text","error":{"code":-32000,"message":"no"}})"));
    player->closeInput();
    EXPECT_EQ(player->waitForExit(), 0);
}

TEST_F(ScriptedRuntimeTest, AnswersAnEarlierRequestByItsName)
{
    playSteps(R"({"expect":"session/prompt"},{"expect":"session/cancel"},{"reply":{"stopReason":"cancelled"},"to":"session/prompt"})");
    const auto player = start();
    player->writeLine(R"({"id":3,"method":"session/prompt"})");
    player->writeLine(R"({"method":"session/cancel"})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":3,"result":{"stopReason":"cancelled"}})"));
}

TEST_F(ScriptedRuntimeTest, KeepsWhatCameBeforeItWasExpected)
{
    playSteps(R"({"expect":"second"},{"reply":2},{"expect":"first"},{"reply":1})");
    const auto player = start();
    player->write("{\"id\":10,\"method\":\"first\"}\n{\"id\":20,\"method\":\"second\"}\n");
    EXPECT_EQ(readMessage(*player).at("id"), 20);
    EXPECT_EQ(readMessage(*player).at("id"), 10);
}

TEST_F(ScriptedRuntimeTest, AlwaysAnswersWhatTheCurrentStepDoesNotExpect)
{
    write("grok.json", R"({"always":{"option":{"result":{"set":"${params.value}"}},"refused":{"error":{"code":1,"message":"m"}}},
        "steps":[{"expect":"prompt"},{"reply":{}},{"expect":"option"},{"reply":{"by":"step"}}]})");
    const auto player = start();
    player->write("{\"id\":1,\"method\":\"option\",\"params\":{\"value\":7}}\n{\"id\":2,\"method\":\"refused\"}\n");
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":1,"result":{"set":7}})"));
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":2,"error":{"code":1,"message":"m"}})"));
    player->write("{\"id\":3,\"method\":\"prompt\"}\n");
    EXPECT_EQ(readMessage(*player).at("id"), 3);
    player->write("{\"id\":4,\"method\":\"option\"}\n");
    EXPECT_EQ(readMessage(*player), parsed(R"({"jsonrpc":"2.0","id":4,"result":{"by":"step"}})"));
    player->write("{\"id\":5,\"method\":\"option\"}\n");
    EXPECT_EQ(readMessage(*player).at("id"), 5) << "the answers go on after the last step";
}

TEST_F(ScriptedRuntimeTest, WaitsForTheAnswerToARequestOfItsOwn)
{
    playSteps(R"({"send":{"id":7,"method":"fs/read_text_file"}},{"expect":{"response":7}},{"send":{"read":"${result.content}"}})");
    const auto player = start();
    EXPECT_EQ(readMessage(*player).at("id"), 7);
    player->writeLine(R"({"id":8,"result":{"content":"other"}})");
    player->writeLine(R"({"id":7,"method":"a request with that id"})");
    player->writeLine(R"({"id":7,"result":{"content":"text"}})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"read":"text"})"));
}

TEST_F(ScriptedRuntimeTest, AMessageThatIsKeptIsThereForLaterSteps)
{
    playSteps(R"({"expect":{"response":1},"as":"created"},{"expect":{"response":2}},)"
              R"({"send":{"id":"${created:result.terminalId}","text":"of ${created:id}, not ${id}","other":"${unknown:id}"}})");
    const auto player = start();
    player->writeLine(R"({"id":1,"result":{"terminalId":["T"]}})");
    player->writeLine(R"({"id":2,"result":{}})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"id":["T"],"text":"of 1, not 2","other":null})"));
}

TEST_F(ScriptedRuntimeTest, ExpectsByPatternWhereThereIsNoMethod)
{
    playSteps(R"({"expect":{"type":"user","message":{"role":"user"}}},{"send":{"type":"assistant","echo":"${message.content}"}})");
    const auto player = start("grok");
    player->writeLine(R"({"type":"user","message":{"role":"system","content":1}})");
    player->writeLine(R"({"type":"user","message":{"role":"user","content":[1,"two"]},"uuid":"u"})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"type":"assistant","echo":[1,"two"]})"));
}

TEST_F(ScriptedRuntimeTest, AnswersAControlRequestByAControlResponse)
{
    write("claude.json", R"({"always":{"control_request/set_model":{"result":{}}},"steps":[
        {"expect":"control_request/initialize"},{"reply":{"commands":[]}},{"expect":"control_request/interrupt"},{"replyError":"no turn"}]})");
    const auto player = start("claude");
    player->writeLine(R"({"type":"control_request","request_id":"m","request":{"subtype":"set_model"}})");
    EXPECT_EQ(
        readMessage(*player), parsed(R"({"type":"control_response","response":{"subtype":"success","request_id":"m","response":{}}})"));
    player->writeLine(R"({"type":"control_request","request_id":"r1","request":{"subtype":"initialize"}})");
    EXPECT_EQ(readMessage(*player),
        parsed(R"({"type":"control_response","response":{"subtype":"success","request_id":"r1","response":{"commands":[]}}})"));
    player->writeLine(R"({"type":"control_request","request_id":"r2","request":{"subtype":"interrupt"}})");
    EXPECT_EQ(
        readMessage(*player), parsed(R"({"type":"control_response","response":{"subtype":"error","request_id":"r2","error":"no turn"}})"));
}

TEST_F(ScriptedRuntimeTest, LeavesTheVersionOutOfAnswersWhereTheScriptSaysSo)
{
    write("codex.json", R"({"jsonrpc":false,"steps":[{"expect":"initialize"},{"reply":{}}]})");
    const auto player = start("codex");
    player->writeLine(R"({"id":1,"method":"initialize"})");
    EXPECT_EQ(readMessage(*player), parsed(R"({"id":1,"result":{}})"));
}

TEST_F(ScriptedRuntimeTest, UpdatesNameTheSessionThatWasOpenedLast)
{
    playSteps(R"({"expect":"session/new"},{"reply":{"sessionId":"opened"}},{"update":{"sessionUpdate":"plan"}},
        {"expect":"session/load"},{"update":{"sessionUpdate":"plan"}},{"update":{"sessionUpdate":"plan"},"sessionId":"given"})");
    const auto player = start();
    player->writeLine(R"({"id":1,"method":"session/new"})");
    player->readLine();
    EXPECT_EQ(readMessage(*player),
        parsed(R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"opened","update":{"sessionUpdate":"plan"}}})"));
    player->writeLine(R"({"id":2,"method":"session/load","params":{"sessionId":"stored"}})");
    EXPECT_EQ(readMessage(*player).at("params").at("sessionId"), "stored");
    EXPECT_EQ(readMessage(*player).at("params").at("sessionId"), "given");
}

TEST_F(ScriptedRuntimeTest, RepeatsCountTheirRoundsInTexts)
{
    playSteps(R"({"repeat":2,"steps":[{"send":{"outer":"{n}"}},{"repeat":2,"steps":[{"raw":"{n};"}]},{"send":{"again":"a{n}b"}}]})");
    const auto player = start();
    for (const char* line : { R"({"outer":"0"})", R"(0;1;{"again":"a0b"})", R"({"outer":"1"})", R"(0;1;{"again":"a1b"})" })
        EXPECT_EQ(player->readLine(), line);
}

TEST_F(ScriptedRuntimeTest, WritesBytesAsTheyAre)
{
    playSteps(
        R"({"raw":"{\"half\":"},{"rawBase64":"AP8K4oI="},{"fill":10,"with":"abc"},{"stderr":"said {n}\n"},{"stderrBase64":"/w=="},{"exit":0})");
    const auto player = start();
    const std::string expected = std::string("{\"half\":") + std::string("\0\xff\n\xe2\x82", 5) + "abcabcabca";
    EXPECT_EQ(player->readToEnd(), expected);
    EXPECT_EQ(player->errorOutput(), "said 0\n\xff");
}

TEST_F(ScriptedRuntimeTest, ReadsWhileItsOutputWaitsToBeRead)
{
    playSteps(R"({"fill":3000000,"with":"x"},{"expect":"last"},{"exit":0})");
    const auto player = start();
    // More than both pipes hold, before the first byte is read.
    player->writeLine("{\"text\":\"" + std::string(1000000, 'y') + "\"}");
    player->writeLine(R"({"method":"last"})");
    EXPECT_EQ(player->readToEnd().size(), 3000000U);
    EXPECT_EQ(player->waitForExit(), 0);
}

TEST_F(ScriptedRuntimeTest, MeetsTheTestAtFiles)
{
    playSteps(R"({"touch":"here"},{"waitForFile":"go"},{"send":{"gone":true}})");
    const auto player = start();
    waitUntil("the player touches its file", [this] { return m_folder.has("here"); });
    EXPECT_FALSE(player->endsWithin(std::chrono::milliseconds(20)));
    m_folder.write("go", "");
    EXPECT_EQ(readMessage(*player), parsed(R"({"gone":true})"));
}

TEST_F(ScriptedRuntimeTest, PlaysACommandWithItsOutputsAndStatus)
{
    write("claude.json", R"({"commands":{"auth status":{"output":"{\"loggedIn\":true}\n","error":"warning\n","status":2},
        "--version":{"steps":[{"fill":1000000,"with":"v"},{"exit":5}]}}})");
    const auto status = start("claude", { "auth", "status" });
    EXPECT_EQ(status->readToEnd(), "{\"loggedIn\":true}\n");
    EXPECT_EQ(status->errorOutput(), "warning\n");
    EXPECT_EQ(status->waitForExit(), 2);
    const auto version = start("claude", { "--version" });
    EXPECT_EQ(version->readToEnd().size(), 1000000U);
    EXPECT_EQ(version->waitForExit(), 5);
}

TEST_F(ScriptedRuntimeTest, RefusesAnUnlistedProbeWithoutPlayingASession)
{
    playSteps(R"({"send":"a session"})");
    const auto probe = start("grok", { "--version" });
    EXPECT_EQ(probe->readToEnd(), "");
    EXPECT_EQ(probe->waitForExit(), 64);
    EXPECT_FALSE(m_folder.has("grok.1.record.jsonl"));
    EXPECT_TRUE(m_folder.has("grok-command.1.record.jsonl"));
}

TEST_F(ScriptedRuntimeTest, EndsWhenItsInputClosesBeforeWhatItExpects)
{
    playSteps(R"({"expect":"never"},{"send":"not reached"})");
    const auto player = start();
    player->closeInput();
    EXPECT_EQ(player->waitForExit(), 0);
    EXPECT_EQ(player->readToEnd(), "");
    EXPECT_TRUE(recorded(R"({"unmet":"never"})"));
}

TEST_F(ScriptedRuntimeTest, SaysWhatIsWrongWithAScript)
{
    playSteps(R"({"expct":"initialize"})");
    const auto player = start();
    EXPECT_EQ(player->waitForExit(), 97);
    EXPECT_NE(player->errorOutput().find("expct"), std::string::npos);
    const auto scriptless = start("kimi");
    EXPECT_EQ(scriptless->waitForExit(), 96);
    EXPECT_NE(scriptless->errorOutput().find("no script"), std::string::npos);
}

} // namespace
} // namespace scripted
