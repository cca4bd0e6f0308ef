#pragma once

#include "Services/Locators.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The steps that all locators have in common: the order of a search, the front of PATH, a probe of the program found.

namespace tessarin
{

// Where Homebrew links programs on this system.
[[nodiscard]] std::string homebrewFolder(LocatorPlatform platform);

// The text stored under the key without white space around it; absent when nothing is left.
[[nodiscard]] std::optional<std::string> settingText(const RuntimeContext& context, const char* key);

// The path stored under `customPathKey` with its tilde expanded, then `fixed`, then `program` in each folder of PATH.
[[nodiscard]] std::vector<std::string> searchOrder(
    const RuntimeContext& context, const char* customPathKey, std::vector<std::string> fixed, std::string_view program);

// Whether a path that comes a second time in one search is tested again.
enum class Repeats { skipped, tested };
[[nodiscard]] std::optional<std::string> firstAccepted(
    const std::vector<std::string>& candidates, Repeats repeats, const std::function<bool(const std::string& path)>& accepts);
// Exists, is no folder, may be executed.
[[nodiscard]] bool isExecutableProgram(const std::string& path);

// The environment of the context with `folders` in front of PATH, which counts as `missingPath` where it is not set.
[[nodiscard]] Environment environmentWithFolders(
    const RuntimeContext& context, const std::vector<std::string>& folders, const std::string& missingPath = "");

// What a probe said: both its streams as one text without white space around it, absent when that is not UTF-8.
struct ProbeAnswer {
    std::optional<std::string> text;
    int status = 0;
};
// The failure is the platform's text of a start that failed.
using ProbeResult = Result<ProbeAnswer, std::string>;

// Runs the program to its end without blocking; `done` runs once on the main thread, unless the probe is stopped. Of a text that is
// longer than CommandGroup::outputLimit the beginning counts.
void probe(const std::string& executable, std::vector<std::string> arguments, const Environment& environment, MainThread& mainThread,
    std::function<void(ProbeResult)> done);
// The same for a program whose text alone counts: absent when it is empty or not UTF-8, or the program did not start.
void probeText(const std::string& executable, std::vector<std::string> arguments, const Environment& environment, MainThread& mainThread,
    VersionCompletion completion);
// Every probe of this process that is under way is asked to end, once; what it was asked for is never answered. Main thread only.
void stopProbes();

// Asks for the version and then for the sign-in, one after the other.
struct InspectionPlan {
    std::string executable;
    Environment environment;
    std::vector<std::string> statusArguments;
    std::optional<bool> (*signedIn)(int status, std::string_view text) = nullptr;
};
void inspectProgram(InspectionPlan plan, MainThread& mainThread, InspectCompletion completion);

} // namespace tessarin
