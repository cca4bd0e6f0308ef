#pragma once

#include "TalkingProcess.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace scripted
{

// Starts players on scripts in a folder of their own and reads their records.
class ScriptedRuntimeTest : public testing::Test
{
protected:
    void write(const std::string& name, const std::string& script) const { m_folder.write(name, script); }
    // A script for grok with these steps.
    void playSteps(const std::string& steps) const { write("grok.json", "{\"steps\":[" + steps + "]}"); }

    [[nodiscard]] std::unique_ptr<TalkingProcess> start(const std::string& program = "grok",
        std::vector<std::string> arguments = { "agent" }, std::map<std::string, std::string> environment = {}) const
    {
        environment.emplace("SCENARIO_DIR", m_folder.path());
        return std::make_unique<TalkingProcess>(
            TalkingProcess::Launch{ SCRIPTED_RUNTIME_FOLDER "/" + program, std::move(arguments), std::move(environment), "" });
    }

    [[nodiscard]] static boost::json::value parsed(const std::string& text) { return boost::json::parse(text); }
    [[nodiscard]] static boost::json::value readMessage(TalkingProcess& player) { return parsed(player.readLine()); }

    // The whole lines of a record, each parsed.
    [[nodiscard]] std::vector<boost::json::value> record(const std::string& name = "grok.1.record.jsonl") const
    {
        std::vector<boost::json::value> lines;
        std::istringstream text(m_folder.read(name));
        for (std::string line; std::getline(text, line);)
            lines.push_back(parsed(line));
        return lines;
    }
    [[nodiscard]] bool recorded(const std::string& line, const std::string& name = "grok.1.record.jsonl") const
    {
        for (const boost::json::value& entry : record(name))
            if (entry == parsed(line))
                return true;
        return false;
    }

    TemporaryFolder m_folder;
};

} // namespace scripted
