#pragma once

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
// left out. The home folder is written "~", also in an address of a file, so that the name of the account need not go along.
[[nodiscard]] QString shown(std::string_view part, const QString& home);

// This program, the system and each runtime, a line each: "Codex     0.169.0, not signed in". What a program said of its version stands
// on that line too, as `shown` tells it and cut where it is long.
[[nodiscard]] QString versions(const AppModel& model, const QString& home);

// What a line of `versions` says of a runtime. `version` is what it said, absent while it is being asked.
enum class Finding { checking, missing, installed };
[[nodiscard]] QString finding(
    Finding finding, const std::optional<std::string>& version, std::optional<bool> signedIn, const QString& home);

} // namespace RuntimeLogRules

} // namespace tessarin
