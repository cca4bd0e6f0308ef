#include "RunningAgent.h"

#include "Platform/ChildProcess.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tessarin
{

AgentFolder::AgentFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "interop-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_path = pattern;
    for (const char* name : { "project", "home", "sessions", "bin" }) {
        std::filesystem::create_directory(path(name));
    }
}

AgentFolder::~AgentFolder()
{
    // An agent that has just been told to end may still write its transcript; what cannot be removed is left to the system.
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::map<std::string, std::string> AgentFolder::environment() const
{
    const Environment own = processEnvironment();
    const auto searchPath = own.find("PATH");
    return {
        { "PATH", searchPath == own.end() ? "/usr/bin:/bin" : searchPath->second },
        { "HOME", path("home") },
        { "AGENT_STATE", path("sessions") },
        { "AGENT_TRANSCRIPT", path("transcript.jsonl") },
    };
}

void AgentFolder::install(const std::string& program, const std::map<std::string, std::string>& settings) const
{
    const std::string file = path("bin/" + program);
    std::ofstream script(file);
    script << "#!/bin/sh\n";
    for (const auto& [name, value] : settings) {
        script << "export " << name << "='" << value << "'\n";
    }
    script << "exec '" << INTEROP_AGENT << "' \"$@\"\n";
    script.close();
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

std::vector<JsonObject> AgentFolder::transcript() const
{
    std::vector<JsonObject> entries;
    std::ifstream file(path("transcript.jsonl"));
    for (std::string line; std::getline(file, line);) {
        const std::optional<Json> entry = parseJson(line);
        if (entry && entry->is_object()) {
            entries.push_back(entry->get_object());
        } else {
            ADD_FAILURE() << "the transcript holds " << line;
        }
    }
    return entries;
}

std::vector<JsonObject> AgentFolder::received(const std::string& method) const
{
    std::vector<JsonObject> found;
    for (const JsonObject& entry : transcript()) {
        const JsonObject* message = objectAt(entry, "received");
        if (message && textAt(*message, "method") == method) {
            found.push_back(*message);
        }
    }
    return found;
}

std::vector<std::string> AgentFolder::complaints() const
{
    std::vector<std::string> found;
    for (const JsonObject& entry : transcript()) {
        if (const auto text = textAt(entry, "invalid")) {
            found.emplace_back(*text);
        }
    }
    return found;
}

void pumpUntil(MainThread& mainThread, const std::string& what, const std::function<bool()>& isDone, std::chrono::seconds bound)
{
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!isDone()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            FAIL() << "waited in vain for " << what;
        }
        mainThread.waitAndDrain(left);
    }
}

} // namespace tessarin
