#include "ACPClientFixture.h"

#include <array>
#include <fstream>
#include <map>
#include <random>

namespace tessarin::testing
{

namespace
{

constexpr int messageCount = 2000;
constexpr std::int64_t firstID = 1000; // ours begin at 1 and must not be answered by chance
constexpr std::int64_t firstFence = 1'000'000;
constexpr std::int64_t secondFence = firstFence + 1;

// Makes what an agent might send: every method with ids and parameters of every JSON type. What it names is harmless.
class RandomAgent
{
public:
    RandomAgent(unsigned seed, std::string file) : m_random(seed), m_file(std::move(file)) { }

    JsonObject message(std::int64_t number)
    {
        JsonObject message{ { "jsonrpc", "2.0" } };
        if (!oneIn(20)) {
            message["id"] = id(number);
        }
        if (!oneIn(20)) {
            message["method"] = oneIn(20) ? scalar() : Json(pick(methods));
        }
        if (!oneIn(10)) {
            message["params"] = oneIn(10) ? scalar() : Json(parameters());
        }
        return message;
    }

private:
    static constexpr std::array<const char*, 11> methods{ "session/request_permission", "fs/read_text_file", "fs/write_text_file",
        "terminal/create", "terminal/output", "terminal/kill", "terminal/release", "terminal/wait_for_exit", "terminal/none",
        "session/update", "" };
    static constexpr std::array<const char*, 15> keys{ "path", "content", "line", "limit", "command", "args", "cwd", "env",
        "outputByteLimit", "terminalId", "toolCall", "options", "update", "sessionId", "rawInput" };

    bool oneIn(unsigned count) { return m_random() % count == 0; }
    template <class Choices>
    typename Choices::value_type pick(const Choices& choices)
    {
        return choices[m_random() % choices.size()];
    }
    // Different numbers stay different also when their fractions are cut off.
    Json id(std::int64_t number)
    {
        switch (m_random() % 8) {
        case 0:
            return -number;
        case 1:
            return static_cast<double>(number) + 0.25;
        case 2:
            return static_cast<double>(-number) - 0.25;
        case 3:
            return oneIn(2) ? Json(std::to_string(number)) : Json(JsonArray{ number });
        default:
            return number;
        }
    }
    Json scalar()
    {
        const std::array<Json, 12> values{ nullptr, true, 0, -1, 2, 1.5, 1e300, "", "true", Json(m_file), Json(std::string_view("a\0b", 3)),
            JsonArray{ "x", 5 } };
        return pick(values);
    }
    JsonObject option()
    {
        constexpr std::array kinds{ "allow_once", "allow_always", "reject_once", "other" };
        return { { oneIn(9) ? "id" : "optionId", oneIn(9) ? scalar() : Json("choice") }, { "name", oneIn(9) ? scalar() : Json("Choice") },
            { "kind", pick(kinds) } };
    }
    JsonObject parameters()
    {
        JsonObject params;
        for (const char* key : keys) {
            if (oneIn(2)) {
                params[key] = scalar();
            }
        }
        if (oneIn(2)) {
            params["options"] = JsonArray{ option(), option() };
        }
        if (oneIn(3)) {
            params["toolCall"] = JsonObject{ { "title", scalar() }, { "rawInput", scalar() } };
        }
        return params;
    }

    std::mt19937 m_random;
    const std::string m_file;
};

class ACPClientRandomRequestsTest : public ACPClientTest
{
protected:
    static std::string fence(std::int64_t id) { return compactJson(JsonObject{ { "id", id }, { "method", "fence" } }); }

    // Plays the messages, cancels, and waits until all that the client had to say has arrived.
    void play(const std::vector<JsonObject>& messages, AgentProvider provider, GrokPermissionMode mode)
    {
        Scenario scenario;
        scenario.handshake().expect("session/prompt");
        for (const JsonObject& message : messages) {
            scenario.send(compactJson(message));
        }
        scenario.send(fence(firstFence)).expectResponse(firstFence).expect("session/cancel");
        scenario.send(fence(secondFence)).expectResponse(secondFence).replyTo("session/prompt");
        scenario.always("session/set_config_option");
        runtime.script(programOf(provider), scenario);
        ACPClient::Configuration settings = configuration(provider);
        settings.permissionMode = mode;
        settings.terminalEnvironment = { { "PATH", "/usr/bin:/bin" } };
        make(std::move(settings));
        start();
        ASSERT_TRUE(waitForEvent("started")) << report();
        prompt();
        ASSERT_TRUE(waitForAnswer(firstFence).has_value());
        client->cancel();
        ASSERT_TRUE(waitForEvent("turn")) << report();
    }
    // How often each number was answered, with a result or an error but never both.
    std::map<std::int64_t, int> answers() const
    {
        std::map<std::int64_t, int> counts;
        for (const Json& message : runtime.received(program)) {
            const JsonObject& object = message.as_object();
            if (!object.contains("method")) {
                EXPECT_NE(object.contains("result"), object.contains("error")) << compactJson(message);
                ++counts[object.at("id").as_int64()];
            }
        }
        return counts;
    }
    void expectOneAnswerToEachRequest(unsigned seed, AgentProvider provider, GrokPermissionMode mode)
    {
        std::ofstream(runtime.workspace() + "/file") << "text\n";
        RandomAgent agent(seed, runtime.workspace() + "/file");
        // What no counting reaches: 0, a boolean, the largest and the smallest number.
        std::vector<JsonObject> messages;
        for (const Json& id : { Json(0), Json(true), Json(INT64_MAX), Json(INT64_MIN) }) {
            messages.push_back({ { "id", id }, { "method", "session/request_permission" } });
        }
        for (std::int64_t number = firstID; number < firstID + messageCount; ++number) {
            messages.push_back(agent.message(number));
        }
        std::map<std::int64_t, int> expected{ { firstFence, 1 }, { secondFence, 1 } };
        for (const JsonObject& message : messages) {
            if (const auto id = integerAt(message, "id"); id && textAt(message, "method")) {
                expected[*id] = 1;
            }
        }
        play(messages, provider, mode);
        EXPECT_EQ(answers(), expected);
        EXPECT_EQ(count("terminated"), 0);
    }
};

TEST_F(ACPClientRandomRequestsTest, EachIsAnsweredOnceAndWhatIsNoRequestNever)
{
    expectOneAnswerToEachRequest(1, AgentProvider::grok, GrokPermissionMode::ask);
}

TEST_F(ACPClientRandomRequestsTest, EachIsAnsweredOnceAlsoWhereTheClientApprovesByItself)
{
    expectOneAnswerToEachRequest(2, AgentProvider::glm, GrokPermissionMode::fullAccess);
}

} // namespace

} // namespace tessarin::testing
