#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Json.h"
#include "Platform/Result.h"
#include "Services/AgentError.h"
#include "Services/ManagedTerminal.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessarin
{

// The terminals of one client, by id. Any thread. `releaseAll` comes last: a terminal that is merely dropped leaves its child running.
class TerminalManager
{
public:
    // `environment` is what every command starts from, whatever the provider; no key is removed from it.
    explicit TerminalManager(Environment environment);

    // The result of `terminal/wait_for_exit`: `exitCode`, null when the terminal was released first, and `signal`, always null.
    using ExitCompletion = std::function<void(JsonObject exitStatus)>;

    // From the parameters of `terminal/create`: `command`, `args`, `cwd`, `env`, `outputByteLimit`. Returns the id.
    [[nodiscard]] Result<std::string, ACPClientError> create(const JsonObject& params);

    // The following fail with "Unknown terminal: " and the id.

    // `output`, `truncated` and `exitStatus`, which is null while the child runs.
    [[nodiscard]] Result<JsonObject, ACPClientError> snapshot(const std::string& id) const;
    // The terminal stays in the table, its output readable.
    [[nodiscard]] Result<void, ACPClientError> kill(const std::string& id);
    // Returns at once; `completion` comes once, on a thread of the pool.
    [[nodiscard]] Result<void, ACPClientError> waitForExit(const std::string& id, ExitCompletion completion);
    // Kills the child and forgets the terminal with its output.
    [[nodiscard]] Result<void, ACPClientError> release(const std::string& id);

    void releaseAll();
    // After releaseAll, where nobody comes back to look: returns when every child, also one released before, has been asked to end. Not
    // called from a queue.
    void finishReleases();

private:
    [[nodiscard]] Result<std::shared_ptr<ManagedTerminal>, ACPClientError> terminal(const std::string& id) const;
    void release(const std::shared_ptr<ManagedTerminal>& terminal);

    // Constant after construction.
    const Environment m_environment;

    // Guarded by m_mutex, which is never held while a terminal is asked for anything.
    mutable std::mutex m_mutex;
    std::map<std::string, std::shared_ptr<ManagedTerminal>> m_terminals;
    std::vector<std::weak_ptr<ManagedTerminal>> m_released; // some may be gone
};

} // namespace tessarin
