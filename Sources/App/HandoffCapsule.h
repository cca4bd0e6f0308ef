#pragma once

#include "Models/ChatEntry.h"
#include "Models/PlanEntry.h"

#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// The written briefing that a receiving runtime gets when a task moves to it, and the Git state that goes into it. Main thread; the Git
// commands block it while they run.
namespace HandoffCapsule
{

struct Contents {
    AgentProvider from;
    AgentProvider to;
    std::string originalPrompt;
    const std::vector<ChatEntry>& entries;
    const std::vector<PlanEntry>& plan;
    std::string workspacePath;
    std::optional<std::string> repositorySnapshot; // absent: taken now
};

// At most the last 40 visible entries, and of these the last 24000 characters.
inline constexpr std::size_t entryLimit = 40;
inline constexpr std::size_t characterLimit = 24000;

inline constexpr const char* gitExecutable = "/usr/bin/git";

[[nodiscard]] std::string build(const Contents& contents);
// `git status` and both `git diff --stat` of the folder; empty where there is no repository. A command that does not start, fails or
// prints nothing usable is left out.
[[nodiscard]] std::string repositoryState(const std::string& path, const std::string& git = gitExecutable);

} // namespace HandoffCapsule

} // namespace tessarin
