#pragma once

#include "Services/SessionUpdate.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Turns what Claude Code streams in the course of one turn into session updates. With partial messages on, a text comes twice, piece by
// piece and again whole; this remembers what has come in pieces, so that it is told once. A new object stands for a new turn.
//
// An update takes its texts out of the event and lies in the event's memory. What is missing or has another type is left out without
// a word. Not thread-safe.
class ClaudeCodeTurn
{
public:
    ClaudeCodeTurn();

    // All text of one turn goes to one entry, however often the model speaks between tools.
    [[nodiscard]] const std::string& assistantMessageID() const { return m_assistantMessageID; }

    // The update of a `stream_event`: a piece of a text or of a thought, or the start of a tool.
    [[nodiscard]] std::optional<SessionUpdate> handleStreamEvent(JsonObject& event);
    // The update of a streamed piece of a text or of a thought. Absent when there is none: no value, no text, or an empty one.
    [[nodiscard]] std::optional<SessionUpdate> handleText(Json* piece);
    [[nodiscard]] std::optional<SessionUpdate> handleThinking(Json* piece);
    // The updates of an `assistant` event: texts and thoughts of which nothing was streamed, and every tool, now with its whole input.
    [[nodiscard]] std::vector<SessionUpdate> handleAssistant(JsonObject& event);

private:
    [[nodiscard]] std::optional<SessionUpdate> handleDelta(JsonObject& delta);
    [[nodiscard]] std::optional<SessionUpdate> handleBlock(JsonObject& block);

    std::string m_assistantMessageID;
    std::string m_thoughtMessageID;
    bool m_streamedTextThisTurn = false;
    bool m_streamedThinkingThisTurn = false;
};

// The update of a `system` event about a task that runs in the background; absent for any other event. It belongs to no turn.
[[nodiscard]] std::optional<SessionUpdate> claudeTaskUpdate(const JsonObject& event);

} // namespace tessarin
