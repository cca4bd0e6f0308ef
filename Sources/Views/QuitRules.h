#pragma once

#include "Models/AgentProvider.h"

#include <QString>

#include <optional>

namespace tessarin
{

// What a quit would cut short.
struct UnfinishedWork {
    std::optional<QString> taskTitle; // of the task that an agent works in; absent when none does
    std::optional<AgentProvider> provider; // who works there
    bool isGenerating = false; // in Imagine
    bool operator==(const UnfinishedWork&) const = default;
};

namespace QuitRules
{

// What a person has to know before quitting; empty when there is nothing to ask.
[[nodiscard]] QString question(const UnfinishedWork& work);

} // namespace QuitRules

} // namespace tessarin
