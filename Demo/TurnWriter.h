#pragma once

#include "Demo/Capsule.h"
#include "Platform/Json.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace demo
{

// One thing that is shown, and how long it takes to come.
struct Beat {
    std::chrono::milliseconds before;
    tessarin::JsonObject update; // a session update
};

struct Turn {
    std::vector<Beat> beats;
    // The message of the error in which the turn ends; absent when it ends well.
    std::optional<std::string> failure;
};

struct ToolCall {
    std::string kind; // "read", "search", "edit", "execute"
    std::string title;
    tessarin::JsonObject input;
    std::string output; // stands beside the input once the call has ended; may be empty
    std::chrono::milliseconds duration;
};

// Writes the beats of a turn in the order in which they are shown. Texts come in pieces of a few words.
class TurnWriter
{
public:
    // `idPrefix` tells the ids of this turn from those of all others.
    explicit TurnWriter(std::string idPrefix) : m_idPrefix(std::move(idPrefix)) { }

    TurnWriter& thinks(std::string_view text);
    TurnWriter& says(std::string_view text);
    TurnWriter& plans(const std::vector<PlanStep>& steps);
    // All steps before `current` are completed, it is under way, those after it wait.
    TurnWriter& plansUpTo(std::size_t current, const std::vector<std::string>& steps);
    TurnWriter& calls(const ToolCall& call);
    // As the first beat of a replay: a message of the user.
    TurnWriter& hears(std::string_view text);

    [[nodiscard]] Turn ended() const { return { m_beats, std::nullopt }; }
    [[nodiscard]] Turn failed(std::string message) const { return { m_beats, std::move(message) }; }

private:
    void stream(const char* kind, std::string_view text, std::chrono::milliseconds pieceTime);
    [[nodiscard]] std::string nextID(const char* kind);

    const std::string m_idPrefix;
    std::vector<Beat> m_beats;
    int m_lastID = 0;
};

} // namespace demo
