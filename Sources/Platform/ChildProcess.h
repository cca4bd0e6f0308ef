#pragma once

#include "Platform/Result.h"
#include "Platform/SerialQueue.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// The whole environment of a process: name to value.
using Environment = std::map<std::string, std::string>;
[[nodiscard]] Environment processEnvironment();

// What a child reads from as its standard input.
enum class ChildInput {
    pipe, // from us: write() and closeInput()
    inherited, // from where this process reads
    empty,
};

struct ChildLaunch {
    std::string executable = {}; // absolute path
    std::vector<std::string> arguments = {}; // without the program's own name
    std::optional<std::string> workingDirectory = std::nullopt; // absent: that of this process
    Environment environment = {}; // the child sees this and nothing else
    bool inheritsOutput = false; // both output streams are those of this process; nothing is read
    bool mergesErrorOutput = false; // both streams on the output pipe; onErrorOutput is never called
    ChildInput input = ChildInput::pipe;
};

// How a child ended.
struct ChildEnd {
    int status = 0; // the exit status, or the number of the signal that ended it
    bool wasSignalled = false;
};

// A running child with pipes on its standard streams. All callbacks run on the queue given at launch.
// The child starts with default signal handling and an empty signal mask, and inherits no descriptor of ours but its three streams.
// The object may be dropped at any time: that closes our ends of the pipes and leaves the child running; its end is still
// collected, so that no zombie stays. No callback begins after a drop on the queue; callbacks are released by then, or after onEnd.
class ChildProcess
{
public:
    struct Callbacks {
        // One chunk as it was read. The text lives as long as the call. Unset callbacks discard.
        std::function<void(std::string_view chunk)> onOutput = {};
        std::function<void(std::string_view chunk)> onErrorOutput = {};
        // Fires at most once, when bytes cannot be written because the child no longer reads: the platform's text. May fire within
        // write().
        std::function<void(const std::string& reason)> onInputFailed = {};
        // Fires exactly once, after everything that the child wrote before its end has gone through the two callbacks above,
        // also when a grandchild keeps a pipe open. Fires after closeStreams() too.
        std::function<void(ChildEnd end)> onEnd = {};
    };

    // Starts the child. A failure is the platform's text, after the path that it is about: "/bin/none: No such file or directory".
    // Nothing is left behind then. Callable from any thread; callbacks may begin before it returns.
    [[nodiscard]] static Result<std::shared_ptr<ChildProcess>, std::string> launch(
        const ChildLaunch& launch, std::shared_ptr<SerialQueue> queue, Callbacks callbacks);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The following are called on the queue.

    // Queues bytes for the child's standard input and returns at once. Bytes that the child does not take are dropped when it ends or
    // the stream is closed. While more than `unwrittenLimit` wait behind the first of them no more output is read: a child that goes on
    // asking and takes no answer has to wait too.
    void write(std::string bytes);
    static constexpr std::size_t unwrittenLimit = 16 * 1024 * 1024; // bytes
    // Closes the child's standard input once what is queued has been written.
    void closeInput();
    // Closes our ends of the three pipes; what was not written or read is dropped.
    void closeStreams();
    // One SIGTERM; nothing when the child has ended.
    void terminate();
    // While paused no more output is read, and the child waits when its pipe is full. The end of the child is reported all the same,
    // after what it wrote. The error stream is never paused.
    void pauseOutput();
    void resumeOutput();
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] int processID() const;

    struct Implementation;

private:
    explicit ChildProcess(std::shared_ptr<Implementation> implementation);
    std::shared_ptr<Implementation> m_implementation;
};

// What a command printed and how it ended.
struct CommandOutcome {
    std::string output;
    int status = 0; // as in ChildEnd
};

// Runs a command to its end on the calling thread, with an empty standard input and both outputs in one pipe that is read while
// waiting, or with all three streams of this process where the launch inherits its output; no time limit. It is over when the command has
// ended, whoever else keeps the pipe open. A failure is the platform's text of the failed start. Requires: not called from a queue.
[[nodiscard]] Result<CommandOutcome, std::string> runCommand(const ChildLaunch& launch);

} // namespace tessarin
