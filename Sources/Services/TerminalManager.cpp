#include "Services/TerminalManager.h"

#include "Platform/Files.h"
#include "Platform/Uuid.h"
#include "Services/WholeNumber.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace tessarin
{

namespace
{

constexpr std::int64_t defaultOutputByteLimit = 1'000'000;

ACPClientError invalidRequest(std::string text)
{
    return { .kind = ACPClientError::Kind::invalidRequest, .text = std::move(text) };
}

ACPClientError unknownTerminal(const std::string& id)
{
    return invalidRequest("Unknown terminal: " + id);
}

// All of them, or none when one is no text: an array of another type counts as absent.
std::vector<std::string> argumentsOf(const JsonObject& params)
{
    const JsonArray* values = arrayAt(params, "args");
    if (values == nullptr || !std::all_of(values->begin(), values->end(), [](const Json& value) { return value.is_string(); })) {
        return {};
    }
    std::vector<std::string> arguments;
    for (const Json& value : *values) {
        arguments.emplace_back(value.get_string());
    }
    return arguments;
}

// Lays the entries of `env` over the environment, later ones winning. An array that holds anything but maps counts as absent.
void overlay(Environment& environment, const JsonObject& params)
{
    const JsonArray* entries = arrayAt(params, "env");
    if (entries == nullptr || !std::all_of(entries->begin(), entries->end(), [](const Json& entry) { return entry.is_object(); })) {
        return;
    }
    for (const Json& entry : *entries) {
        const auto name = textAt(entry.get_object(), "name");
        const auto value = textAt(entry.get_object(), "value");
        if (name && value) {
            environment.insert_or_assign(std::string(*name), std::string(*value));
        }
    }
}

std::size_t outputByteLimitOf(const JsonObject& params)
{
    const std::int64_t limit = wholeNumberAt(params, "outputByteLimit").value_or(defaultOutputByteLimit);
    return static_cast<std::size_t>(std::max<std::int64_t>(limit, 0));
}

// Whether the child finds a program of this whole name: by its path from the child's folder, else in the folders of its PATH.
bool namesAProgram(const ManagedTerminal::Command& launch)
{
    const auto isProgram = [&launch](const std::string& path) {
        const std::string found = path.starts_with('/') || !launch.currentDirectory ? path : *launch.currentDirectory + "/" + path;
        return isExecutableFile(found) && !isDirectory(found);
    };
    if (launch.command.find('/') != std::string::npos) {
        return isProgram(launch.command);
    }
    const auto path = launch.environment.find("PATH");
    std::istringstream folders(path != launch.environment.end() ? path->second : std::string());
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (isProgram((folder.empty() ? "." : folder) + "/" + launch.command)) {
            return true;
        }
    }
    return false;
}

// Grok sends whole lines for a shell as the command. `env` would not find them, and it takes whatever has a "=" in it for an assignment
// and prints the whole environment, which then goes to the model. A program whose name looks like such a line is run as it is.
void letTheShellRunALine(ManagedTerminal::Command& launch)
{
    if (!launch.arguments.empty() || launch.command.find_first_of(" \t\n\v\f\r=") == std::string::npos) {
        return;
    }
    const bool isProgram = namesAProgram(launch);
    const std::string line = launch.command;
    if (!isProgram) {
        launch.command = "/bin/sh";
        launch.arguments = { "-c", line };
    } else if (line.find('=') != std::string::npos) {
        launch.command = "/bin/sh";
        launch.arguments = { "-c", "exec \"$0\"", line };
    }
}

JsonObject exitMap(std::optional<std::int32_t> exitCode)
{
    return { { "exitCode", exitCode ? Json(*exitCode) : Json(nullptr) }, { "signal", nullptr } };
}

} // namespace

TerminalManager::TerminalManager(Environment environment) : m_environment(std::move(environment)) { }

Result<std::string, ACPClientError> TerminalManager::create(const JsonObject& params)
{
    const auto command = textAt(params, "command");
    if (!command || command->empty()) {
        return Failure{ invalidRequest("terminal/create is missing command") };
    }
    ManagedTerminal::Command launch{ .command = std::string(*command),
        .arguments = argumentsOf(params),
        .currentDirectory = std::nullopt,
        .environment = m_environment,
        .outputByteLimit = outputByteLimitOf(params) };
    if (const auto directory = textAt(params, "cwd"); directory && !directory->empty()) {
        launch.currentDirectory = std::string(*directory);
    }
    overlay(launch.environment, params);
    letTheShellRunALine(launch);
    auto started = ManagedTerminal::start(launch);
    if (!started) {
        return Failure{ ACPClientError{
            .kind = ACPClientError::Kind::processFailed, .text = "Could not run " + std::string(*command) + ": " + started.error() } };
    }
    const std::string id = Uuid::random().text();
    const std::lock_guard lock(m_mutex);
    m_terminals.emplace(id, std::move(started).value());
    return id;
}

Result<std::shared_ptr<ManagedTerminal>, ACPClientError> TerminalManager::terminal(const std::string& id) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_terminals.find(id);
    if (found == m_terminals.end()) {
        return Failure{ unknownTerminal(id) };
    }
    return found->second;
}

Result<JsonObject, ACPClientError> TerminalManager::snapshot(const std::string& id) const
{
    const auto found = terminal(id);
    if (!found) {
        return Failure{ found.error() };
    }
    const ManagedTerminal::Snapshot snapshot = found.value()->snapshot();
    return JsonObject{ { "output", snapshot.output }, { "truncated", snapshot.wasTruncated },
        { "exitStatus", snapshot.exitCode ? Json(exitMap(snapshot.exitCode)) : Json(nullptr) } };
}

Result<void, ACPClientError> TerminalManager::kill(const std::string& id)
{
    const auto found = terminal(id);
    if (!found) {
        return Failure{ found.error() };
    }
    found.value()->kill();
    return {};
}

Result<void, ACPClientError> TerminalManager::waitForExit(const std::string& id, ExitCompletion completion)
{
    const auto found = terminal(id);
    if (!found) {
        return Failure{ found.error() };
    }
    found.value()->waitForExit(
        [completion = std::move(completion)](std::optional<std::int32_t> exitCode) { completion(exitMap(exitCode)); });
    return {};
}

Result<void, ACPClientError> TerminalManager::release(const std::string& id)
{
    std::shared_ptr<ManagedTerminal> released;
    {
        const std::lock_guard lock(m_mutex);
        auto node = m_terminals.extract(id);
        if (node.empty()) {
            return Failure{ unknownTerminal(id) };
        }
        released = std::move(node.mapped());
    }
    release(released);
    return {};
}

void TerminalManager::release(const std::shared_ptr<ManagedTerminal>& terminal)
{
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_released, [](const std::weak_ptr<ManagedTerminal>& each) { return each.expired(); });
        m_released.push_back(terminal);
    }
    terminal->release();
}

void TerminalManager::releaseAll()
{
    std::map<std::string, std::shared_ptr<ManagedTerminal>> released;
    {
        const std::lock_guard lock(m_mutex);
        released.swap(m_terminals);
    }
    for (const auto& [id, terminal] : released) {
        release(terminal);
    }
}

void TerminalManager::finishReleases()
{
    std::vector<std::weak_ptr<ManagedTerminal>> released;
    {
        const std::lock_guard lock(m_mutex);
        released.swap(m_released);
    }
    for (const std::weak_ptr<ManagedTerminal>& each : released) {
        if (const auto terminal = each.lock()) {
            terminal->finishRelease();
        }
    }
}

} // namespace tessarin
