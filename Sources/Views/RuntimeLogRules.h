#pragma once

#include "Models/AgentProvider.h"

#include <QString>

#include <optional>
#include <string>
#include <string_view>

// What a person sees of a runtime's log, and of the programs that may have written it.

namespace tessarin
{

class AppModel;

namespace RuntimeLogRules
{

// A part of the log as it is shown and copied. Whoever writes to it may want to deceive: what would be invisible, would change the order in
// which a line is read, or would act on a terminal that it is pasted into, is shown by its name. Sequences that only choose a colour are
// left out. The home folder is written "~", so that the name of the account need not go along: also in an address of a file, and where a
// program has made the name of a folder out of it, "%2Fhome%2Fada" or "-home-ada".
[[nodiscard]] QString shown(std::string_view part, const QString& home);

// This program, the system and each runtime, a line each: "Claude           2.1.329 (Claude Code), signed in". What a program said of its
// version stands on that line as `shown` tells it, cut where it is long.
[[nodiscard]] QString versions(const AppModel& model, const QString& home);

// What a line of `versions` says of a runtime. `version` is what it said, absent while it is being asked or when it said nothing. That
// Codex is signed in is left out: nobody knows that from what it says.
enum class Finding { checking, missing, installed };
[[nodiscard]] QString finding(
    AgentProvider provider, Finding finding, const std::optional<std::string>& version, std::optional<bool> signedIn, const QString& home);

} // namespace RuntimeLogRules

} // namespace tessarin
