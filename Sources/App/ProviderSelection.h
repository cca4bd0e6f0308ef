#pragma once

#include "Models/ProviderRoutingMode.h"
#include "Models/ProviderUsage.h"

#include <functional>
#include <map>
#include <optional>
#include <set>

namespace tessarin
{

// Which provider takes a turn. Pure, but for one thing: asking about an allowance drops a report whose renewal has come.
namespace ProviderSelection
{

using Usage = std::map<AgentProvider, ProviderUsage>;

struct Situation {
    ProviderRoutingMode routingMode = ProviderRoutingMode::automatic;
    std::optional<AgentProvider> activeProvider;
    Usage& usage;
    std::function<bool(AgentProvider)> isAvailable; // asked anew for each candidate, since it looks at the disk
    Instant now;
};

// Whether the allowance is used up by the latest report. A report whose `resetsAt` has come is removed from `usage`; one without
// `resetsAt` holds until another replaces it.
[[nodiscard]] bool isExhausted(AgentProvider provider, Usage& usage, Instant now);

// For a prompt. In `automatic` the active provider comes first, so that a task stays where it is; a pinned provider is taken although it
// is exhausted, since the person chose it. Absent: nothing can take the turn.
[[nodiscard]] std::optional<AgentProvider> providerForNextTurn(const Situation& situation, const std::set<AgentProvider>& excluded = {});

// For a turn whose provider has run out. Does not look at the routing mode.
[[nodiscard]] std::optional<AgentProvider> nextAutomaticProvider(
    AgentProvider after, const std::set<AgentProvider>& attempted, const Situation& situation);

} // namespace ProviderSelection

} // namespace tessarin
