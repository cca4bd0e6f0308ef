#pragma once

#include "Platform/Json.h"

#include <string>
#include <string_view>
#include <utility>

namespace tessarin::testing
{

// Puts together a script for the scripted runtime, step by step. Parameters named `json` are JSON texts.
class Scenario
{
public:
    // Any step as it stands.
    Scenario& step(std::string_view json)
    {
        m_steps.push_back(boost::json::parse(json));
        return *this;
    }
    Scenario& expect(std::string_view method)
    {
        m_steps.push_back(JsonObject{ { "expect", method } });
        return *this;
    }
    Scenario& expectResponse(std::int64_t id)
    {
        m_steps.push_back(JsonObject{ { "expect", JsonObject{ { "response", id } } } });
        return *this;
    }
    Scenario& reply(std::string_view json = "{}")
    {
        m_steps.push_back(JsonObject{ { "reply", boost::json::parse(json) } });
        return *this;
    }
    // For the last request of that method, which need not be the current one.
    Scenario& replyTo(std::string_view method, std::string_view json = "{}")
    {
        m_steps.push_back(JsonObject{ { "reply", boost::json::parse(json) }, { "to", method } });
        return *this;
    }
    Scenario& replyError(std::string_view message, std::int64_t code = -32000)
    {
        m_steps.push_back(JsonObject{ { "replyError", JsonObject{ { "code", code }, { "message", message } } } });
        return *this;
    }
    Scenario& update(std::string_view json)
    {
        m_steps.push_back(JsonObject{ { "update", boost::json::parse(json) } });
        return *this;
    }
    // A piece of assistant text.
    Scenario& chunk(std::string_view text)
    {
        const JsonObject content{ { "type", "text" }, { "text", text } };
        m_steps.push_back(JsonObject{ { "update", JsonObject{ { "sessionUpdate", "agent_message_chunk" }, { "content", content } } } });
        return *this;
    }
    Scenario& send(std::string_view json)
    {
        m_steps.push_back(JsonObject{ { "send", boost::json::parse(json) } });
        return *this;
    }
    // Bytes as they are; no newline is added.
    Scenario& raw(std::string_view text)
    {
        m_steps.push_back(JsonObject{ { "raw", text } });
        return *this;
    }
    Scenario& standardError(std::string_view text)
    {
        m_steps.push_back(JsonObject{ { "stderr", text } });
        return *this;
    }
    Scenario& waitForFile(std::string_view name)
    {
        m_steps.push_back(JsonObject{ { "waitForFile", name } });
        return *this;
    }
    Scenario& touch(std::string_view name)
    {
        m_steps.push_back(JsonObject{ { "touch", name } });
        return *this;
    }
    Scenario& exit(int status)
    {
        m_steps.push_back(JsonObject{ { "exit", status } });
        return *this;
    }
    Scenario& repeat(std::int64_t times, const Scenario& steps)
    {
        m_steps.push_back(JsonObject{ { "repeat", times }, { "steps", steps.m_steps } });
        return *this;
    }
    // The answers to `initialize` and `session/new`.
    Scenario& handshake(std::string_view sessionId = "session-1")
    {
        expect("initialize").reply();
        expect("session/new");
        m_steps.push_back(JsonObject{ { "reply", JsonObject{ { "sessionId", sessionId } } } });
        return *this;
    }
    // Whenever a request of that method comes and the current step does not expect it: a result.
    Scenario& always(std::string_view method, std::string_view json = "{}")
    {
        m_always[method] = JsonObject{ { "result", boost::json::parse(json) } };
        return *this;
    }
    // As `always`, but an error.
    Scenario& alwaysFail(std::string_view method, std::string_view message)
    {
        m_always[method] = JsonObject{ { "error", JsonObject{ { "code", -32600 }, { "message", message } } } };
        return *this;
    }
    // Answers carry no `jsonrpc`, as those of codex.
    Scenario& withoutVersion()
    {
        m_hasVersion = false;
        return *this;
    }
    // A call that is no session: its arguments joined by blanks, what it prints, its status.
    Scenario& command(std::string_view arguments, std::string_view output, int status = 0)
    {
        m_commands[arguments] = JsonObject{ { "output", output }, { "status", status } };
        return *this;
    }
    // The same, but it ends when the test has touched the file.
    Scenario& commandUntil(std::string_view file, std::string_view arguments, std::string_view output, int status = 0)
    {
        const JsonArray steps{ JsonObject{ { "waitForFile", file } } };
        m_commands[arguments] = JsonObject{ { "output", output }, { "status", status }, { "steps", steps } };
        return *this;
    }

    [[nodiscard]] std::string text() const
    {
        return boost::json::serialize(
            JsonObject{ { "commands", m_commands }, { "always", m_always }, { "steps", m_steps }, { "jsonrpc", m_hasVersion } });
    }

private:
    JsonObject m_commands;
    JsonObject m_always;
    JsonArray m_steps;
    bool m_hasVersion = true;
};

} // namespace tessarin::testing
