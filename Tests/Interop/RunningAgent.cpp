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

std::vector<JsonObject> AgentFolder::received() const
{
    std::vector<JsonObject> messages;
    std::ifstream transcript(path("transcript.jsonl"));
    for (std::string line; std::getline(transcript, line);) {
        const std::optional<Json> entry = parseJson(line);
        if (!entry || !entry->is_object()) {
            ADD_FAILURE() << "the transcript holds " << line;
            continue;
        }
        if (const JsonObject* message = objectAt(entry->as_object(), "received")) {
            messages.push_back(*message);
        }
    }
    return messages;
}

std::vector<JsonObject> AgentFolder::received(const std::string& method) const
{
    std::vector<JsonObject> found;
    for (JsonObject& message : received()) {
        if (textAt(message, "method") == method) {
            found.push_back(std::move(message));
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
