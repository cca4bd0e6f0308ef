#pragma once

#include "App/EntryIndex.h"
#include "App/ModelChange.h"
#include "Models/ChatThread.h"
#include "Models/PlanEntry.h"
#include "Services/SessionUpdate.h"

#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// The ids of streamed text that carries no `messageId`; drawn anew for every prompt, so that each turn has entries of its own.
struct FallbackMessageIDs {
    std::string message;
    std::string thought; // "thought-" and the id above

    [[nodiscard]] static FallbackMessageIDs random();
};

// Folds what a runtime reports into a task and into the plan. Pure and forgiving: an update that it cannot use changes nothing.
namespace SessionUpdateReducer
{

struct Target {
    ChatThread* thread; // the selected task; null: only a plan is taken
    EntryIndex& index; // of the entries of `thread`
    std::vector<PlanEntry>& plan;
};

struct Situation {
    bool isReplaying = false; // messages of the user count only then
    const FallbackMessageIDs& fallbackIDs;
    std::optional<AgentProvider> activeProvider; // becomes that of a new entry
    Instant now;
};

// What an observer is told; absent: nothing was changed. Everything but a plan also makes the task's `updatedAt` now.
[[nodiscard]] std::optional<ModelChange> fold(const SessionUpdate& update, const Target& target, const Situation& situation);

} // namespace SessionUpdateReducer

} // namespace tessarin
