#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Json.h"
#include "Platform/MainThread.h"
#include "Scenario.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tessarin::testing
{

// How long a test waits for what has to happen: far longer than it takes, also under a sanitizer on a busy machine.
inline constexpr std::chrono::seconds waitBound{ 30 };

// Pumps the main thread until `condition` holds. False when it did not come to hold in time.
template <class Condition>
[[nodiscard]] bool waitUntil(MainThread& mainThread, Condition condition, std::chrono::milliseconds bound = waitBound)
{
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        mainThread.waitAndDrain(std::chrono::milliseconds(2));
    }
    return true;
}

// A folder of its own with scripts for the runtimes of Tests/Runtimes, a project folder and a home; all removed at the end.
// The programs themselves stand in binaryDirectory() under the vendors' names.
class ScriptedRuntime
{
public:
    ScriptedRuntime()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tessarin-runtime-XXXXXX").string();
        m_directory = std::filesystem::canonical(mkdtemp(pattern.data())).string();
        std::filesystem::create_directory(workspace());
        std::filesystem::create_directory(home());
    }
    ~ScriptedRuntime()
    {
        // A child that outlives its test may put its record there while this goes on.
        std::error_code error;
        const auto end = std::chrono::steady_clock::now() + waitBound;
        do {
            std::filesystem::remove_all(m_directory, error);
        } while (error == std::errc::directory_not_empty && std::chrono::steady_clock::now() < end);
    }
    ScriptedRuntime(const ScriptedRuntime&) = delete;
    ScriptedRuntime& operator=(const ScriptedRuntime&) = delete;

    [[nodiscard]] const std::string& directory() const { return m_directory; }
    [[nodiscard]] std::string workspace() const { return m_directory + "/project"; }
    [[nodiscard]] std::string home() const { return m_directory + "/home"; }
    [[nodiscard]] static std::string binaryDirectory() { return TESSARIN_SCRIPTED_RUNTIMES; }
    [[nodiscard]] static std::string executable(std::string_view program) { return binaryDirectory() + "/" + std::string(program); }
    // For a child that is started without a locator, or as the environment of this process in a locator's eyes.
    [[nodiscard]] Environment environment() const
    {
        return { { "SCENARIO_DIR", m_directory }, { "HOME", home() }, { "PATH", binaryDirectory() + ":/usr/bin:/bin" } };
    }

    // The script of every start of the program, or of the n-th alone.
    void script(std::string_view program, const Scenario& scenario) const { write(std::string(program) + ".json", scenario.text()); }
    void script(std::string_view program, int start, const Scenario& scenario) const
    {
        write(std::string(program) + "." + std::to_string(start) + ".json", scenario.text());
    }
    // Releases a `waitForFile` of a script.
    void touch(const std::string& name) const { write(name, ""); }
    [[nodiscard]] bool exists(const std::string& name) const { return std::filesystem::exists(m_directory + "/" + name); }

    // What the n-th start has recorded up to now, one object an event; only whole lines.
    [[nodiscard]] std::vector<JsonObject> record(std::string_view program, int start = 1) const
    {
        std::ifstream file(m_directory + "/" + std::string(program) + "." + std::to_string(start) + ".record.jsonl");
        std::ostringstream text;
        text << file.rdbuf();
        const std::string lines = text.str();
        std::vector<JsonObject> events;
        std::size_t begin = 0;
        for (auto end = lines.find('\n'); end != std::string::npos; begin = end + 1, end = lines.find('\n', begin))
            events.push_back(boost::json::parse(std::string_view(lines).substr(begin, end - begin)).as_object());
        return events;
    }
    // The messages among them, in order.
    [[nodiscard]] std::vector<Json> received(std::string_view program, int start = 1) const
    {
        std::vector<Json> messages;
        for (const JsonObject& event : record(program, start)) {
            if (const Json* message = event.if_contains("received"))
                messages.push_back(*message);
        }
        return messages;
    }
    // Those of one method.
    [[nodiscard]] std::vector<Json> received(std::string_view program, std::string_view method, int start = 1) const
    {
        std::vector<Json> messages;
        for (const Json& message : received(program, start)) {
            if (message.is_object() && textAt(message.as_object(), "method") == method)
                messages.push_back(message);
        }
        return messages;
    }
    // Whether an event with that key ("received", "stdinClosed", "signal", "exit") has been recorded.
    [[nodiscard]] bool hasRecorded(std::string_view program, std::string_view key, int start = 1) const
    {
        for (const JsonObject& event : record(program, start)) {
            if (event.contains(key))
                return true;
        }
        return false;
    }
    // What it was started with: `argv`, `environment`, `workingDirectory`, `pid`. Requires: it has started.
    [[nodiscard]] JsonObject startOf(std::string_view program, int start = 1) const
    {
        return record(program, start).at(0).at("start").as_object();
    }
    [[nodiscard]] bool hasStarted(std::string_view program, int start = 1) const { return !record(program, start).empty(); }
    [[nodiscard]] int processID(std::string_view program, int start = 1) const
    {
        return static_cast<int>(startOf(program, start).at("pid").as_int64());
    }

private:
    // A script or a meeting point appears whole: the runtime may be looking for it already.
    void write(const std::string& name, const std::string& text) const
    {
        const std::string path = m_directory + "/" + name;
        std::ofstream(path + ".new") << text;
        std::filesystem::rename(path + ".new", path);
    }

    std::string m_directory;
};

} // namespace tessarin::testing
