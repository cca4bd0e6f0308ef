#include "Demo/TurnWriter.h"

#include <array>

namespace demo
{

using std::chrono::milliseconds;
using tessarin::JsonArray;
using tessarin::JsonObject;

// Cuts after so many blanks, or after a line, as a model's tokens come; the pieces together are the text.
static std::vector<std::string_view> pieces(std::string_view text)
{
    static constexpr std::array<int, 6> wordCounts = { 3, 2, 4, 1, 3, 2 };
    std::vector<std::string_view> result;
    std::size_t begin = 0;
    for (std::size_t at = 0, words = 0; at < text.size(); ++at) {
        if (text[at] == ' ')
            ++words;
        const bool isFull = words == static_cast<std::size_t>(wordCounts[result.size() % wordCounts.size()]);
        if (isFull || text[at] == '\n' || at + 1 == text.size()) {
            result.push_back(text.substr(begin, at + 1 - begin));
            begin = at + 1;
            words = 0;
        }
    }
    return result;
}

std::string TurnWriter::nextID(const char* kind)
{
    return m_idPrefix + kind + std::to_string(++m_lastID);
}

void TurnWriter::stream(const char* kind, std::string_view text, milliseconds pieceTime)
{
    const std::string messageID = nextID("-message-");
    milliseconds before = milliseconds(500); // A model thinks before its first word.
    for (const std::string_view piece : pieces(text)) {
        m_beats.push_back({ before,
            { { "sessionUpdate", kind }, { "messageId", messageID },
                { "content", JsonObject{ { "type", "text" }, { "text", piece } } } } });
        before = pieceTime + milliseconds(piece.size());
    }
}

TurnWriter& TurnWriter::thinks(std::string_view text)
{
    stream("agent_thought_chunk", text, milliseconds(25));
    return *this;
}

TurnWriter& TurnWriter::says(std::string_view text)
{
    stream("agent_message_chunk", text, milliseconds(30));
    return *this;
}

TurnWriter& TurnWriter::hears(std::string_view text)
{
    m_beats.push_back({ milliseconds(0),
        { { "sessionUpdate", "user_message_chunk" }, { "messageId", nextID("-message-") },
            { "content", JsonObject{ { "type", "text" }, { "text", text } } } } });
    return *this;
}

TurnWriter& TurnWriter::plans(const std::vector<PlanStep>& steps)
{
    JsonArray entries;
    for (const PlanStep& step : steps)
        entries.push_back(JsonObject{ { "content", step.content }, { "priority", "medium" }, { "status", step.status } });
    m_beats.push_back({ milliseconds(150), { { "sessionUpdate", "plan" }, { "entries", entries } } });
    return *this;
}

TurnWriter& TurnWriter::plansUpTo(std::size_t current, const std::vector<std::string>& steps)
{
    std::vector<PlanStep> plan;
    for (std::size_t i = 0; i < steps.size(); ++i)
        plan.push_back({ steps[i], i < current ? "completed" : i == current ? "in_progress" : "pending" });
    return plans(plan);
}

TurnWriter& TurnWriter::calls(const ToolCall& call)
{
    JsonObject update{ { "sessionUpdate", "tool_call" }, { "toolCallId", nextID("-call-") }, { "title", call.title }, { "kind", call.kind },
        { "status", "pending" }, { "rawInput", call.input } };
    m_beats.push_back({ milliseconds(400), update });
    update["sessionUpdate"] = "tool_call_update";
    update["status"] = "in_progress";
    m_beats.push_back({ milliseconds(120), update });
    update["status"] = "completed";
    if (!call.output.empty())
        update["rawInput"].as_object()["output"] = call.output;
    m_beats.push_back({ call.duration, update });
    return *this;
}

} // namespace demo
