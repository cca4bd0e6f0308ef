#include "App/ProviderSelection.h"

#include <algorithm>
#include <vector>

namespace tessarin::ProviderSelection
{

namespace
{

std::vector<AgentProvider> candidates(const Situation& situation, const std::set<AgentProvider>& excluded)
{
    if (const auto pinned = preferredProvider(situation.routingMode)) {
        return { *pinned };
    }
    std::vector<AgentProvider> order(allAgentProviders.begin(), allAgentProviders.end());
    const auto active = situation.activeProvider;
    if (active && !excluded.contains(*active) && !isExhausted(*active, situation.usage, situation.now)) {
        std::erase(order, *active);
        order.insert(order.begin(), *active);
    }
    return order;
}

} // namespace

bool isExhausted(AgentProvider provider, Usage& usage, Instant now)
{
    const auto found = usage.find(provider);
    if (found == usage.end() || !found->second.exhausted) {
        return false;
    }
    if (found->second.resetsAt && *found->second.resetsAt <= now) {
        usage.erase(found);
        return false;
    }
    return true;
}

std::optional<AgentProvider> providerForNextTurn(const Situation& situation, const std::set<AgentProvider>& excluded)
{
    const std::vector<AgentProvider> order = candidates(situation, excluded);
    for (const AgentProvider candidate : order) {
        if (!excluded.contains(candidate) && situation.isAvailable(candidate) && !isExhausted(candidate, situation.usage, situation.now)) {
            return candidate;
        }
    }
    if (situation.routingMode == ProviderRoutingMode::automatic) {
        return std::nullopt;
    }
    // The runtime gets the chance to say no itself.
    for (const AgentProvider candidate : order) {
        if (!excluded.contains(candidate) && situation.isAvailable(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::optional<AgentProvider> nextAutomaticProvider(
    AgentProvider after, const std::set<AgentProvider>& attempted, const Situation& situation)
{
    for (const AgentProvider candidate : allAgentProviders) {
        if (candidate != after && !attempted.contains(candidate) && situation.isAvailable(candidate)
            && !isExhausted(candidate, situation.usage, situation.now)) {
            return candidate;
        }
    }
    return std::nullopt;
}

} // namespace tessarin::ProviderSelection
