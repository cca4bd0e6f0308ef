#include "ClaudeCodeClientPeer.h"
#include "FoldingCheck.h"
#include "FuzzTarget.h"
#include "Platform/MainThread.h"
#include "Platform/Text.h"

#include <algorithm>
#include <array>

namespace tessarin
{
namespace
{

using Lines = std::vector<std::string>;
using Text = std::optional<std::string_view>;

// What one client told and wrote in the course of one stream; ids that are random are left out.
struct Told {
    Lines events;
    Lines answers; // on the control channel
    int starts = 0;
    int turnEnds = 0;
    int terminations = 0;
};

std::string named(std::string_view kind, std::string_view text)
{
    return std::string(kind) + " " + std::string(text);
}

std::string toolEvent(std::string_view kind, std::string_view title, std::string_view status, const Json* rawInput)
{
    return named(kind, title) + " " + std::string(status) + " " + (rawInput ? compactJson(*rawInput) : "none");
}

// What a client has to tell and to write, told apart by the rules and not by the client.
class Oracle
{
public:
    explicit Oracle(bool allowsEverything) : m_allowsEverything(allowsEverything) { }

    void read(std::string_view output)
    {
        for (auto end = output.find('\n'); end != std::string_view::npos; end = output.find('\n')) {
            if (end > 0) {
                readLine(output.substr(0, end));
            }
            output.remove_prefix(end + 1);
        }
    }

    Lines events;
    Lines answers;

private:
    void readLine(std::string_view line)
    {
        const auto message = parseJson(line);
        if (message && message->is_object()) {
            readMessage(message->get_object());
        } else if (isValidUtf8(line)) {
            events.push_back(named("log", line) + "\n");
        }
    }

    void readMessage(const JsonObject& message)
    {
        const std::string_view type = textAt(message, "type").value_or("");
        if (type == "control_request" && textAt(message, "request_id") && objectAt(message, "request")) {
            readRequest(*textAt(message, "request_id"), *objectAt(message, "request"));
        } else if (type == "system") {
            readTask(message);
        } else if (type == "stream_event" && objectAt(message, "event")) {
            readStreamEvent(*objectAt(message, "event"));
        } else if (type == "assistant" && objectAt(message, "message")) {
            readAssistant(*objectAt(message, "message"));
        } else if (type == "rate_limit_event" && objectAt(message, "rate_limit_info")) {
            events.emplace_back(textAt(*objectAt(message, "rate_limit_info"), "status") == "rejected" ? "usage exhausted" : "usage left");
        }
    }

    void readRequest(std::string_view id, const JsonObject& request)
    {
        const JsonObject* input = objectAt(request, "input");
        JsonObject response{ { "subtype", "success" }, { "request_id", id } };
        if (textAt(request, "subtype") != "can_use_tool") {
            response["subtype"] = "error";
            response["error"] = "tessarin does not support this Claude control request.";
        } else if (m_allowsEverything) {
            response["response"] = JsonObject{ { "behavior", "allow" }, { "updatedInput", input ? *input : JsonObject() } };
        } else {
            events.push_back("permission " + std::to_string(m_nextPermissionID++));
            return;
        }
        answers.push_back(compactJson(JsonObject{ { "type", "control_response" }, { "response", response } }));
    }

    void readTask(const JsonObject& event)
    {
        const Text subtype = textAt(event, "subtype");
        const bool isStart = subtype == "task_started";
        if (isStart || subtype == "task_notification" || subtype == "task_updated") {
            events.push_back(
                toolEvent(isStart ? "tool_call" : "tool_call_update", textAt(event, "summary").value_or("Claude background task"),
                    textAt(event, "status").value_or(isStart ? "in_progress" : "completed"), nullptr));
        }
    }

    void readStreamEvent(const JsonObject& event)
    {
        const Text type = textAt(event, "type");
        const JsonObject* block = objectAt(event, "content_block");
        const JsonObject* delta = objectAt(event, "delta");
        if (type == "content_block_start" && block && textAt(*block, "type") == "tool_use") {
            addTool(*block);
        } else if (type == "content_block_delta" && delta && textAt(*delta, "type") == "text_delta") {
            m_streamedText = addText("agent_message_chunk", textAt(*delta, "text")) || m_streamedText;
        } else if (type == "content_block_delta" && delta && textAt(*delta, "type") == "thinking_delta") {
            m_streamedThinking = addText("agent_thought_chunk", textAt(*delta, "thinking")) || m_streamedThinking;
        }
    }

    void readAssistant(const JsonObject& message)
    {
        const JsonArray* content = arrayAt(message, "content");
        if (!content || !std::all_of(content->begin(), content->end(), [](const Json& block) { return block.is_object(); })) {
            return;
        }
        for (const Json& value : *content) {
            const JsonObject& block = value.get_object();
            const Text type = textAt(block, "type");
            if (type == "tool_use") {
                addTool(block);
            } else if (type == "text" && !m_streamedText) {
                addText("agent_message_chunk", textAt(block, "text"));
            } else if (type == "thinking" && !m_streamedThinking) {
                addText("agent_thought_chunk", textAt(block, "thinking"));
            }
        }
    }

    bool addText(std::string_view kind, Text text)
    {
        if (!text || text->empty()) {
            return false;
        }
        events.push_back(named(kind, *text));
        return true;
    }

    void addTool(const JsonObject& block)
    {
        const Json none = JsonObject();
        const Json* input = block.if_contains("input");
        events.push_back(toolEvent("tool_call", textAt(block, "name").value_or("Claude tool"), "in_progress", input ? input : &none));
    }

    const bool m_allowsEverything;
    int m_nextPermissionID = 100000;
    bool m_streamedText = false;
    bool m_streamedThinking = false;
};

// Into reads of this length, of twice this length, and so on: many cuts, few reads.
std::vector<std::string_view> cut(std::string_view output, std::size_t length)
{
    std::vector<std::string_view> pieces;
    while (!output.empty()) {
        pieces.push_back(output.substr(0, length * (pieces.size() + 1)));
        output.remove_prefix(pieces.back().size());
    }
    return pieces;
}

std::string eventOf(const SessionUpdate& update)
{
    const std::string_view kind = *textAt(update, "sessionUpdate");
    if (kind == "tool_call" || kind == "tool_call_update") {
        fuzzRequire(textAt(update, "toolCallId").has_value(), "a tool has an id");
        return toolEvent(kind, *textAt(update, "title"), *textAt(update, "status"), update.if_contains("rawInput"));
    }
    fuzzRequire(update.size() == 3 && textAt(update, "messageId").has_value(), "a text has its message's id");
    return named(kind, *textAt(*objectAt(update, "content"), "text"));
}

void listen(ClaudeCodeClient& client, Told& told, FoldingCheck& task)
{
    client.onSessionUpdate = [&](const SessionUpdate& update) {
        told.events.push_back(eventOf(update));
        task.fold(update);
    };
    client.onPermissionRequest = [&](const PermissionRequest& request) {
        fuzzRequire(request.options.size() == 2 && !request.detail.empty(), "a question can be read and answered");
        told.events.push_back("permission " + std::to_string(request.id));
    };
    client.onLog = [&](const std::string& text) { told.events.push_back(named("log", text)); };
    client.onUsageUpdate = [&](const ProviderUsage& usage) {
        fuzzRequire(!usage.compactLabel().empty(), "a report has a label");
        told.events.emplace_back(usage.exhausted ? "usage exhausted" : "usage left");
    };
    client.onUnexpectedTermination = [&](const std::string&) { ++told.terminations; };
}

Told play(const std::vector<std::string_view>& pieces, GrokPermissionMode mode)
{
    Told told;
    FoldingCheck task;
    MainThread mainThread;
    ClaudeCodeClient::Configuration configuration;
    configuration.permissionMode = mode;
    const auto client = ClaudeCodeClient::make(std::move(configuration), mainThread);
    listen(*client, told, task);
    ClaudeCodeClientPeer::Waiting waiting;
    waiting.started = [&](const auto&) { ++told.starts; };
    waiting.turnEnded = [&](const auto&) { ++told.turnEnds; };
    const auto onLine = [&](const std::string& line) {
        fuzzRequire(!line.empty() && line.find('\n') == line.size() - 1, "a message is one line");
        const auto message = parseJson(line.substr(0, line.size() - 1), {}, maximumJsonDepth + 8);
        fuzzRequire(message && message->is_object(), "a message is an object");
        if (textAt(message->get_object(), "type") == "control_response") {
            told.answers.push_back(line.substr(0, line.size() - 1));
        }
    };
    ClaudeCodeClientPeer::play(*client, std::move(waiting), onLine, pieces);
    mainThread.drain();
    client->stop();
    mainThread.drain();
    fuzzRequire(told.starts == 1, "a start completes once");
    fuzzRequire(told.turnEnds == 1, "a turn ends once");
    fuzzRequire(told.terminations == 1, "the end of the child is told once");
    return told;
}

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{
    R"(A{"type":"stream_event","event":{"type":"content_block_delta","delta":{"type":"text_delta","text":")", "\"}}}\n"
};

// What Claude Code writes, up to the task. The first byte says how the stream is cut into reads and how much is allowed; what arrives does
// not depend on the cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const std::size_t choice = size == 0 ? 0 : data[0];
    const std::string_view output = asText(data, size).substr(std::min<std::size_t>(size, 1));
    const auto mode = allGrokPermissionModes[choice / 65 % allGrokPermissionModes.size()];
    Oracle expected(mode == GrokPermissionMode::fullAccess);
    expected.read(output);
    const Told whole = play({ output }, mode);
    fuzzRequire(whole.events == expected.events, "each event arrives once and in order, and nothing else does");
    fuzzRequire(whole.answers == expected.answers, "each request is answered once, as the rules say");
    if (choice % 65 != 0) {
        const Told pieces = play(cut(output, choice % 65), mode);
        fuzzRequire(pieces.events == whole.events && pieces.answers == whole.answers, "the cut makes no difference");
    }
    return 0;
}
