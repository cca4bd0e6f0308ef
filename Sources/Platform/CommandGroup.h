#pragma once

#include "Platform/ChildProcess.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessarin
{

class MainThread;
struct Command;

// Commands in the background of which nobody needs the rest: what they print is bounded, and they are ended together. A group that is
// dropped leaves its commands running. Main thread only.
class CommandGroup
{
public:
    // Of what a command prints this much is kept, cut at a whole character of UTF-8; the rest is read and forgotten, so that the command
    // can come to its end.
    static constexpr std::size_t outputLimit = std::size_t{ 64 } * 1024; // bytes
    // An answer is looked for at the beginning; what a command has to tell a person stands at its end.
    enum class Kept { beginning, end };

    // As runCommand without blocking: `done` runs once on the main thread, never before this returns, and never for a command that has
    // been stopped.
    void run(const ChildLaunch& launch, Kept kept, MainThread& mainThread, std::function<void(Result<CommandOutcome, std::string>)> done);
    // One SIGTERM for each that runs, sent when this returns; nobody waits for their ends.
    void stop();

private:
    std::vector<std::weak_ptr<Command>> m_commands; // some may be over
};

} // namespace tessarin
