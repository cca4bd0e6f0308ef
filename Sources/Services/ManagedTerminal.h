#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Json.h"
#include "Services/TerminalOutput.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// One command that an agent runs: a plain child with pipes and a bounded buffer of its output, no pseudo-terminal.
// Any thread; `release` comes before the last reference goes, because dropping alone leaves the child running.
class ManagedTerminal : public std::enable_shared_from_this<ManagedTerminal>
{
public:
    struct Command {
        std::string command; // found through PATH
        std::vector<std::string> arguments;
        std::optional<std::string> currentDirectory; // absent: that of this process
        Environment environment;
        std::size_t outputByteLimit = 0;
    };

    // Called once, on a thread of the pool, with the status; absent when the terminal was released before its child ended.
    using ExitCompletion = std::function<void(std::optional<std::int32_t> exitCode)>;

    // Starts the child. A failure is the platform's text.
    [[nodiscard]] static Result<std::shared_ptr<ManagedTerminal>, std::string> start(const Command& command);

    struct Snapshot {
        std::string output; // UTF-8; invalid bytes are replaced
        bool wasTruncated = false;
        std::optional<std::int32_t> exitCode; // absent while the child runs
    };
    [[nodiscard]] Snapshot snapshot() const;
    // One SIGTERM; nothing when the child has ended.
    void kill();
    // Returns at once; `completion` comes when the child has ended, or soon if it has.
    void waitForExit(ExitCompletion completion);
    // Kills the child and reads no more of its output. Returns before that is done.
    void release();
    // After `release`: returns when the child has been asked to end. Not called from a queue.
    void finishRelease();

private:
    // The child and those who wait for its end. It outlives a released terminal until the child has ended.
    struct Exit;

    explicit ManagedTerminal(std::size_t outputByteLimit);
    void onQueue(std::function<void()> work);
    void append(std::string_view chunk);
    void noteEnd(std::int32_t exitCode);

    // Constant after the start.
    const std::shared_ptr<SerialQueue> m_queue;
    std::shared_ptr<Exit> m_exit;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    TerminalOutput m_output;
    std::optional<std::int32_t> m_exitCode;
};

} // namespace tessarin
