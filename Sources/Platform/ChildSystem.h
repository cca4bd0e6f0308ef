#pragma once

// For the sources of this folder alone: what about children differs between systems. One source a system.

#include "Platform/Descriptor.h"
#include "Platform/SerialQueue.h"

#include <functional>
#include <memory>
#include <spawn.h>
#include <sys/types.h>

namespace tessarin
{

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};
// Both ends are close-on-exec. Not open, with errno set, when the system has none left.
[[nodiscard]] Pipe openPipe();

// Makes the child inherit the descriptors 0, 1 and 2 and nothing else, whoever opened it and however. An error number, or 0.
[[nodiscard]] int inheritStandardStreamsOnly(posix_spawn_file_actions_t& actions, short& flags);

// Runs `onEnded` once on the queue when the child has ended, and leaves it to be collected.
// Requires: the child is ours and not collected before that.
void callWhenEnded(pid_t child, const std::shared_ptr<SerialQueue>& queue, std::function<void()> onEnded);

} // namespace tessarin
