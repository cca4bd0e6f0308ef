#pragma once

#include "TalkingProcess.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace scripted
{

namespace json = boost::json;

inline std::string asText(const json::value& value)
{
    return value.as_string().c_str();
}

// A conversation with one of the demonstration's programs, in the client's part.
class Conversation
{
public:
    explicit Conversation(const std::string& program, const std::string& pace = "0")
        : m_process({ DEMO_RUNTIME_FOLDER "/" + program,
            program == "kimi" ? std::vector<std::string>{ "acp" }
                              : std::vector<std::string>{ "agent", "--permission-mode", "default", "stdio" },
            { { "TESSARIN_DEMO_PACE", pace } }, "/" })
    {
    }

    int send(const std::string& method, json::object params)
    {
        const int id = m_nextID++;
        m_process.writeLine(
            json::serialize(json::object{ { "jsonrpc", "2.0" }, { "id", id }, { "method", method }, { "params", params } }));
        return id;
    }
    void notify(const std::string& method)
    {
        m_process.writeLine(
            json::serialize(json::object{ { "jsonrpc", "2.0" }, { "method", method }, { "params", { { "sessionId", m_sessionId } } } }));
    }
    // Reads until the answer with that id has come; updates on the way are kept.
    json::object answerTo(int id)
    {
        for (;;) {
            json::object message = readMessage();
            if (message.contains("id")) {
                EXPECT_EQ(message.at("id"), id);
                EXPECT_EQ(message.at("jsonrpc"), "2.0");
                return message;
            }
        }
    }
    json::object readMessage()
    {
        json::object message = json::parse(m_process.readLine()).as_object();
        if (const json::value* method = message.if_contains("method"); method && *method == "session/update") {
            EXPECT_EQ(asText(message.at("params").at("sessionId")), m_sessionId);
            m_updates.push_back(message.at("params").at("update").as_object());
        }
        return message;
    }
    json::object ask(const std::string& method, json::object params = {}) { return answerTo(send(method, std::move(params))); }
    void open()
    {
        ask("initialize", { { "protocolVersion", 1 } });
        const json::object opened = ask("session/new", { { "cwd", "/" }, { "mcpServers", json::array() } });
        m_sessionId = asText(opened.at("result").at("sessionId"));
    }
    int sendPrompt(const std::string& text)
    {
        m_updates.clear();
        const json::object block{ { "type", "text" }, { "text", text } };
        return send("session/prompt", { { "sessionId", m_sessionId }, { "prompt", json::array{ block } } });
    }
    json::object prompt(const std::string& text) { return answerTo(sendPrompt(text)); }

    // The texts of one kind of the last prompt, put together by message.
    [[nodiscard]] std::vector<std::string> texts(const std::string& kind) const
    {
        std::vector<std::string> result;
        json::value last;
        for (const json::object& update : updates(kind)) {
            if (result.empty() || update.at("messageId") != last)
                result.emplace_back();
            last = update.at("messageId");
            result.back() += asText(update.at("content").at("text"));
        }
        return result;
    }
    [[nodiscard]] std::vector<json::object> updates(const std::string& kind) const
    {
        std::vector<json::object> result;
        for (const json::object& update : m_updates)
            if (update.at("sessionUpdate") == json::string(kind))
                result.push_back(update);
        return result;
    }

    TalkingProcess m_process;
    std::vector<json::object> m_updates;
    std::string m_sessionId;

private:
    int m_nextID = 0;
};

} // namespace scripted
