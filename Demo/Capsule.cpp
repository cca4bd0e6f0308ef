#include "Demo/Capsule.h"

#include "Platform/Text.h"

namespace demo
{

// The text between the two, or up to the end without the second; empty without the first.
static std::string_view between(std::string_view text, std::string_view begin, std::string_view end)
{
    const std::size_t at = text.find(begin);
    if (at == std::string_view::npos)
        return {};
    text.remove_prefix(at + begin.size());
    return text.substr(0, text.find(end));
}

static std::vector<PlanStep> readPlan(std::string_view text)
{
    std::vector<PlanStep> plan;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
        const std::string_view status = between(line, "- [", "] ");
        if (line.starts_with("- [") && !status.empty())
            plan.push_back({ std::string(line.substr(line.find("] ") + 2)), std::string(status) });
    }
    return plan;
}

std::optional<Capsule> readCapsule(std::string_view prompt)
{
    constexpr std::string_view opening = "Continue this coding task after an automatic provider handoff from ";
    if (!prompt.starts_with(opening))
        return std::nullopt;
    Capsule capsule;
    capsule.from = between(prompt, opening, " to ");
    capsule.request = tessarin::trimmed(between(prompt, "\nORIGINAL USER REQUEST\n", "\n\nACTIVE PLAN\n"));
    capsule.plan = readPlan(between(prompt, "\nACTIVE PLAN\n", "\n\nRECENT VISIBLE CONVERSATION\n"));
    return capsule;
}

} // namespace demo
