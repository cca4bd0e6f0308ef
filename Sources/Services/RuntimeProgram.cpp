#include "Services/RuntimeProgram.h"

#include "Platform/CommandGroup.h"
#include "Platform/Files.h"
#include "Platform/MainThread.h"
#include "Platform/Text.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

namespace tessarin
{

std::string homebrewFolder(LocatorPlatform platform)
{
    return platform == LocatorPlatform::macOS ? "/opt/homebrew/bin" : "/home/linuxbrew/.linuxbrew/bin";
}

std::optional<std::string> settingText(const RuntimeContext& context, const char* key)
{
    const auto stored = context.preference ? context.preference(key) : std::nullopt;
    const std::string text{ stored ? trimmed(*stored) : std::string_view() };
    return text.empty() ? std::nullopt : std::optional(text);
}

static std::vector<std::string> pathFolders(const Environment& environment)
{
    std::vector<std::string> folders;
    const auto path = environment.find("PATH");
    std::string_view rest = path != environment.end() ? std::string_view(path->second) : std::string_view();
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (!folder.empty())
            folders.emplace_back(folder);
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    }
    return folders;
}

std::vector<std::string> searchOrder(
    const RuntimeContext& context, const char* customPathKey, std::vector<std::string> fixed, std::string_view program)
{
    std::vector<std::string> candidates = std::move(fixed);
    if (const auto custom = settingText(context, customPathKey))
        candidates.insert(candidates.begin(), expandedTilde(*custom, context.home));
    for (const std::string& folder : pathFolders(context.environment))
        candidates.push_back(folder + "/" + std::string(program));
    return candidates;
}

std::optional<std::string> firstAccepted(
    const std::vector<std::string>& candidates, Repeats repeats, const std::function<bool(const std::string& path)>& accepts)
{
    std::set<std::string_view> seen;
    for (const std::string& candidate : candidates) {
        const bool isNew = seen.insert(candidate).second;
        if ((isNew || repeats == Repeats::tested) && accepts(candidate))
            return candidate;
    }
    return std::nullopt;
}

bool isExecutableProgram(const std::string& path)
{
    return fileExists(path) && !isDirectory(path) && isExecutableFile(path);
}

Environment environmentWithFolders(const RuntimeContext& context, const std::vector<std::string>& folders, const std::string& missingPath)
{
    Environment environment = context.environment;
    const auto path = environment.find("PATH");
    std::vector<std::string> parts = folders;
    parts.push_back(path != environment.end() ? path->second : missingPath);
    environment["PATH"] = joined(parts, ":");
    return environment;
}

static ProbeResult probeResult(Result<CommandOutcome, std::string> outcome)
{
    if (!outcome)
        return Failure{ outcome.error() };
    const std::string& output = outcome.value().output;
    ProbeAnswer answer;
    if (isValidUtf8(output))
        answer.text = std::string(trimmed(output));
    answer.status = outcome.value().status;
    return answer;
}

// Those under way, of the whole process.
static CommandGroup& runningProbes()
{
    static CommandGroup group;
    return group;
}

void probe(const std::string& executable, std::vector<std::string> arguments, const Environment& environment, MainThread& mainThread,
    std::function<void(ProbeResult)> done)
{
    ChildLaunch launch;
    launch.executable = executable;
    launch.arguments = std::move(arguments);
    launch.environment = environment;
    runningProbes().run(launch, CommandGroup::Kept::beginning, mainThread,
        [done = std::move(done)](Result<CommandOutcome, std::string> outcome) { done(probeResult(std::move(outcome))); });
}

void stopProbes()
{
    runningProbes().stop();
}

static std::optional<std::string> textOf(const ProbeResult& result)
{
    if (!result || !result.value().text || result.value().text->empty())
        return std::nullopt;
    return result.value().text;
}

void probeText(const std::string& executable, std::vector<std::string> arguments, const Environment& environment, MainThread& mainThread,
    VersionCompletion completion)
{
    probe(executable, std::move(arguments), environment, mainThread,
        [completion = std::move(completion)](const ProbeResult& result) { completion(textOf(result)); });
}

namespace
{

// One inspection under way; kept alive by the probe that runs.
class Inspection : public std::enable_shared_from_this<Inspection>
{
public:
    Inspection(InspectionPlan plan, MainThread& mainThread, InspectCompletion completion)
        : m_plan(std::move(plan)), m_mainThread(mainThread), m_completion(std::move(completion))
    {
    }

    void askForVersion()
    {
        probe(m_plan.executable, { "--version" }, m_plan.environment, m_mainThread,
            [self = shared_from_this()](const ProbeResult& result) { self->askForSignIn(result); });
    }

private:
    // The text of a failed start stands in the place of what the program would have said, with a status that no program has.
    static std::pair<std::string, int> textAndStatus(const ProbeResult& result)
    {
        if (!result)
            return { result.error(), -1 };
        return { result.value().text.value_or(""), result.value().status };
    }

    void askForSignIn(const ProbeResult& version)
    {
        const std::string text = textAndStatus(version).first;
        if (!text.empty())
            m_version = text;
        probe(m_plan.executable, m_plan.statusArguments, m_plan.environment, m_mainThread,
            [self = shared_from_this()](const ProbeResult& result) { self->finish(result); });
    }

    void finish(const ProbeResult& signIn)
    {
        const auto [text, status] = textAndStatus(signIn);
        m_completion(m_version, m_plan.signedIn(status, text));
    }

    // Constant after construction.
    const InspectionPlan m_plan;
    MainThread& m_mainThread;
    const InspectCompletion m_completion;

    // Main thread only.
    std::optional<std::string> m_version;
};

} // namespace

void inspectProgram(InspectionPlan plan, MainThread& mainThread, InspectCompletion completion)
{
    std::make_shared<Inspection>(std::move(plan), mainThread, std::move(completion))->askForVersion();
}

} // namespace tessarin
