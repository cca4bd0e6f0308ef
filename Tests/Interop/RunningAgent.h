#pragma once

#include "Platform/Json.h"
#include "Platform/MainThread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tessarin
{

// A folder of its own for one test, with all that the agent on the official library needs: a project, a home, its sessions, and the
// transcript of every message in both directions. Goes away with the test.
class AgentFolder
{
public:
    AgentFolder();
    ~AgentFolder();
    AgentFolder(const AgentFolder&) = delete;
    AgentFolder& operator=(const AgentFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return m_path + "/" + name; }
    [[nodiscard]] std::string project() const { return path("project"); }
    // What the agent is started with: our PATH, a home in this folder, and where its sessions and its transcript go.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    // A program of this name that starts the agent, with these settings in its environment besides.
    void install(const std::string& program, const std::map<std::string, std::string>& settings = {}) const;

    // The messages of one method that the agent received, in order, over all of its starts.
    [[nodiscard]] std::vector<JsonObject> received(const std::string& method) const;
    // What the library, or its schema, had against messages, over all starts.
    [[nodiscard]] std::vector<std::string> complaints() const;

private:
    [[nodiscard]] std::vector<JsonObject> transcript() const;

    std::string m_path;
};

// Runs what is posted until `isDone`; fails the test when that takes longer than the bound, with what was waited for.
void pumpUntil(MainThread& mainThread, const std::string& what, const std::function<bool()>& isDone,
    std::chrono::seconds bound = std::chrono::seconds(30));

} // namespace tessarin
