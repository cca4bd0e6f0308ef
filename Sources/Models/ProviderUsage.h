#pragma once

#include "Models/AgentProvider.h"
#include "Platform/Instant.h"

#include <string>

namespace tessarin
{

// The latest allowance report of one provider.
struct ProviderUsage {
    AgentProvider provider = AgentProvider::grok;
    std::optional<double> primaryUsedPercent; // of the main allowance period
    std::optional<double> secondaryUsedPercent; // of the second allowance period
    std::optional<Instant> resetsAt;
    std::optional<std::string> planType; // as the runtime words it
    bool exhausted = false;

    // One line for a status pill.
    [[nodiscard]] std::string compactLabel() const;
    bool operator==(const ProviderUsage&) const = default;
};

} // namespace tessarin
