#pragma once

#include "Demo/TurnWriter.h"

#include <string>
#include <string_view>

namespace demo
{

// The turns that the demonstration knows. All play on one small project whose columns are wrong after a tab.

// Looks, mends, tests and reports.
[[nodiscard]] Turn workingTurn(const std::string& idPrefix, std::string_view prompt);
// Begins and ends in the end of the allowance, in words that the application recognises.
[[nodiscard]] Turn limitedTurn(const std::string& idPrefix, const std::string& runtime);
// Goes on with the steps of the capsule's plan that are not completed, or with a review of its own.
[[nodiscard]] Turn continuedTurn(const std::string& idPrefix, const Capsule& capsule);
// A review of what was done, for a prompt after the first.
[[nodiscard]] Turn reviewingTurn(const std::string& idPrefix, std::string_view prompt);
// A stored conversation, short.
[[nodiscard]] Turn replayedTurn(const std::string& idPrefix);

} // namespace demo
