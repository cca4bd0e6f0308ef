#pragma once

// For the sources of this folder alone.

#include "Platform/ChildProcess.h"
#include "Platform/Descriptor.h"
#include "Platform/Result.h"

#include <string>
#include <sys/types.h>

namespace tessarin
{

// The two sides of a child's standard streams. A stream that a launch has no pipe for is not open on our side.
struct ChildStreams {
    struct {
        Descriptor input, output, errorOutput;
    } child;
    // Non-blocking and close-on-exec.
    struct {
        Descriptor input, output, errorOutput;
    } ours;
};

// Failure: the platform's text.
[[nodiscard]] Result<ChildStreams, std::string> openChildStreams(const ChildLaunch& launch);

// Starts the child on its side of the streams. Returns its process id once the program has been found to run;
// a failure is the platform's text after the path that it is about.
[[nodiscard]] Result<pid_t, std::string> spawnChild(const ChildLaunch& launch, const ChildStreams& streams);

} // namespace tessarin
