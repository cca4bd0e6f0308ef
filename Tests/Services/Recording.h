#pragma once

#include "ScriptedRuntime.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin::testing
{

// A conversation that was recorded with a vendor's own program (Recordings/README.md): what the program said is said again, and what the
// client wrote then is what it has to write now.
class Recording
{
public:
    // `name` is that of the file without its ending. Paths in it are those of the runtime, and its project stands for the recorded one.
    Recording(const std::string& name, const ScriptedRuntime& runtime) : Recording(name, runtime, runtime.workspace()) { }
    // With another project.
    Recording(const std::string& name, const ScriptedRuntime& runtime, const std::string& project)
    {
        std::string encoded = project; // as Grok names a folder after it
        replaceAll(encoded, "/", "%2F");
        std::ifstream file(std::string(TESSARIN_RECORDINGS) + "/" + name + ".jsonl");
        EXPECT_TRUE(file.is_open()) << "no recording " << name;
        for (std::string line; std::getline(file, line);) {
            replaceAll(line, "{WS}", project);
            replaceAll(line, "{WS-enc}", encoded);
            replaceAll(line, "{HOME}", runtime.home());
            addLine(line);
        }
    }

    // A script that goes on when the client has written a message of the kind that it wrote then.
    [[nodiscard]] const Scenario& scenario() const { return m_scenario; }
    // What the client wrote then, in order.
    [[nodiscard]] const std::vector<Json>& written() const { return m_written; }
    // What it has written now: the same, but for the ids of terminals, which are fresh in every run.
    [[nodiscard]] std::vector<Json> writtenNow(const ScriptedRuntime& runtime, std::string_view program) const
    {
        std::vector<Json> messages = runtime.received(program);
        std::size_t terminals = 0;
        for (Json& message : messages) {
            if (Json* id = terminalIn(message); id && terminals < m_terminals.size())
                *id = m_terminals[terminals++];
        }
        return messages;
    }

    // The session that was resumed.
    [[nodiscard]] std::optional<std::string> storedSession() const
    {
        for (const Json& message : m_written) {
            if (isMethod(message, "session/load"))
                return std::string(message.at("params").at("sessionId").as_string());
            if (isMethod(message, "thread/resume"))
                return std::string(message.at("params").at("threadId").as_string());
            if (textAt(message.as_object(), "type") == "user")
                return std::string(message.at("session_id").as_string());
        }
        return std::nullopt;
    }
    // The first prompt.
    [[nodiscard]] std::string prompt() const
    {
        for (const Json& message : m_written) {
            if (isMethod(message, "session/prompt"))
                return std::string(message.at("params").at("prompt").at(0).at("text").as_string());
            if (isMethod(message, "turn/start"))
                return std::string(message.at("params").at("input").at(0).at("text").as_string());
            if (textAt(message.as_object(), "type") == "user")
                return std::string(message.at("message").at("content").as_string());
        }
        return {};
    }

private:
    static void replaceAll(std::string& text, std::string_view what, std::string_view with)
    {
        for (auto place = text.find(what); place != std::string::npos; place = text.find(what, place + with.size()))
            text.replace(place, what.size(), with);
    }
    [[nodiscard]] static bool isMethod(const Json& message, std::string_view method)
    {
        return textAt(message.as_object(), "method") == method;
    }
    // Where an answer names the terminal that was created.
    [[nodiscard]] static Json* terminalIn(Json& message)
    {
        Json* result = message.is_object() ? message.as_object().if_contains("result") : nullptr;
        return result && result->is_object() ? result->as_object().if_contains("terminalId") : nullptr;
    }

    void addLine(const std::string& text)
    {
        const JsonObject line = boost::json::parse(text).as_object();
        if (const Json* message = line.if_contains("out"))
            return addWritten(*message);
        if (const auto words = textAt(line, "text"))
            return void(m_scenario.raw(*words)); // no message: the bytes as they came, with their newline
        if (!line.contains("in"))
            return void(m_scenario.step(text)); // "stderr" and "exit" are steps
        std::string said = compactJson(line.at("in"));
        for (const std::string& terminal : m_terminals)
            replaceAll(said, '"' + terminal + '"', "\"${" + terminal + ":result.terminalId}\"");
        m_scenario.send(said);
    }
    void addWritten(Json message)
    {
        m_written.push_back(message);
        const JsonObject& object = message.as_object();
        if (const auto method = textAt(object, "method"))
            m_scenario.expect(*method);
        else if (const auto type = textAt(object, "type"))
            m_scenario.expect(controlName(object, *type));
        else
            addAnswer(message);
    }
    void addAnswer(Json& message)
    {
        const std::int64_t id = message.at("id").as_int64();
        const Json* terminal = terminalIn(message);
        if (!terminal)
            return void(m_scenario.expectResponse(id));
        m_terminals.emplace_back(terminal->as_string());
        m_scenario.step(compactJson(JsonObject{ { "expect", JsonObject{ { "response", id } } }, { "as", m_terminals.back() } }));
    }
    // As the scripted runtime calls the messages of Claude Code.
    [[nodiscard]] static std::string controlName(const JsonObject& message, std::string_view type)
    {
        const JsonObject* request = objectAt(message, "request");
        const auto subtype = request ? textAt(*request, "subtype") : std::nullopt;
        return std::string(type) + (subtype ? "/" + std::string(*subtype) : std::string());
    }

    Scenario m_scenario;
    std::vector<Json> m_written;
    std::vector<std::string> m_terminals; // their ids in the recording
};

} // namespace tessarin::testing
