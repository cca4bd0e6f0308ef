#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace demo
{

struct PlanStep {
    std::string content;
    std::string status; // "pending", "in_progress", "completed"
};

// What another runtime left behind, as the application tells it in the prompt after a handoff.
struct Capsule {
    std::string from;
    std::string request;
    std::vector<PlanStep> plan;
};

// Absent for a prompt that is no such briefing.
[[nodiscard]] std::optional<Capsule> readCapsule(std::string_view prompt);

} // namespace demo
