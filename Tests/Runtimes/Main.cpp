#include "Player.h"
#include "Signals.h"

#include <boost/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <unistd.h>

namespace scripted
{

namespace json = boost::json;

[[noreturn]] static void refuse(const std::string& reason)
{
    std::fprintf(stderr, "scripted-runtime: %s\n", reason.c_str());
    std::_Exit(96);
}

// Absent when there is no such file.
static std::optional<json::object> readScript(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    const std::string text{ std::istreambuf_iterator<char>(file), {} };
    json::parse_options options;
    options.max_depth = 4096;
    json::error_code error;
    json::value script = json::parse(text, error, {}, options);
    if (error || !script.is_object())
        refuse(path + " is no script: " + error.message());
    return std::move(script.get_object());
}

static std::string joinedArguments(int argumentCount, char** arguments)
{
    std::string text;
    for (int i = 1; i < argumentCount; ++i)
        text += (i > 1 ? " " : "") + std::string(arguments[i]);
    return text;
}

// Calls that no vendor's program takes for the start of a session, so that a probe never uses up the script of one.
static bool isNeverSession(const std::string& call)
{
    const std::string first = call.substr(0, call.find(' '));
    return first == "--version" || first == "login" || first == "logout" || first == "auth";
}

static const json::array& stepsOf(const json::object& script)
{
    static const json::array none;
    const json::value* steps = script.if_contains("steps");
    return steps && steps->is_array() ? steps->get_array() : none;
}

static const json::object* commandFor(const json::object& script, const std::string& call)
{
    const json::value* commands = script.if_contains("commands");
    if (!commands || !commands->is_object())
        return nullptr;
    const json::value* command = commands->get_object().if_contains(call);
    return command ? command->if_object() : nullptr;
}

[[noreturn]] static void runCommand(const json::object& script, const json::object* command, const std::string& folder, Record& record)
{
    static const json::object notListed{ { "error", "scripted-runtime: the script has no such command\n" }, { "status", 64 } };
    const json::object& listed = command ? *command : notListed;
    json::array steps;
    if (const json::value* output = listed.if_contains("output"))
        steps.push_back(json::object{ { "raw", *output } });
    if (const json::value* error = listed.if_contains("error"))
        steps.push_back(json::object{ { "stderr", *error } });
    Player player(script, folder, record);
    player.play(steps);
    player.play(stepsOf(listed));
    const json::value* status = listed.if_contains("status");
    player.exitWith(status && status->is_int64() ? static_cast<int>(status->get_int64()) : 0);
}

[[noreturn]] static void runSession(const std::string& folder, const std::string& name, Record& record)
{
    auto script = readScript(folder + "/" + name + "." + std::to_string(record.number()) + ".json");
    if (!script)
        script = readScript(folder + "/" + name + ".json");
    if (!script)
        refuse("no script for start " + std::to_string(record.number()) + " of " + name + " in " + folder);
    Player player(*script, folder, record);
    player.play(stepsOf(*script));
    player.playOut();
    player.exitWith(0);
}

} // namespace scripted

int main(int argumentCount, char** arguments)
{
    using namespace scripted;
    const char* folder = std::getenv("SCENARIO_DIR");
    if (!folder || !*folder)
        refuse("SCENARIO_DIR is not set");
    const std::string path = argumentCount > 0 ? arguments[0] : "scripted-runtime";
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string call = joinedArguments(argumentCount, arguments);

    auto listing = readScript(std::string(folder) + "/" + name + ".json");
    if (!listing)
        listing = readScript(std::string(folder) + "/" + name + ".1.json");
    const json::object* command = listing ? commandFor(*listing, call) : nullptr;
    const bool isCommand = command || isNeverSession(call);

    Record record(folder, isCommand ? name + "-command" : name);
    installSignals(record);
    record.write(startLine(argumentCount, arguments));
    if (isCommand)
        runCommand(listing.value_or(json::object()), command, folder, record);
    runSession(folder, name, record);
}
