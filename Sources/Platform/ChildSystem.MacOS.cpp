// Not yet compiled or run: there was no Mac to do it on. Whoever builds on one first runs ChildProcessTest.

#include "Platform/ChildSystem.h"

#include <array>
#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <utility>

namespace tessarin
{

namespace
{

struct EndWatch {
    pid_t child;
    std::shared_ptr<SerialQueue> queue;
    std::function<void()> onEnded;
    dispatch_source_t source;
    bool hasFired = false;

    // On the source's serial queue.
    void fire()
    {
        if (std::exchange(hasFired, true))
            return;
        queue->post(std::move(onEnded));
        dispatch_source_cancel(source);
    }
};

// A child that ended before the source was registered is not announced by every version of the system.
void checkForEarlierEnd(void* context)
{
    siginfo_t information{};
    auto* const watch = static_cast<EndWatch*>(context);
    if (waitid(P_PID, static_cast<id_t>(watch->child), &information, WEXITED | WNOHANG | WNOWAIT) == 0
        && information.si_pid == watch->child)
        watch->fire();
}

} // namespace

Pipe openPipe()
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return {};
    // There is no way to open both and mark them in one step; our own children are safe from the gap, they inherit nothing unnamed.
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    return { Descriptor(ends[0]), Descriptor(ends[1]) };
}

int inheritStandardStreamsOnly(posix_spawn_file_actions_t& actions, short& flags)
{
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    // Under that flag even a standard stream that no other action names has to be named.
    for (int stream = 0; stream < 3; ++stream) {
        if (fcntl(stream, F_GETFD) == -1)
            continue;
        if (const int error = posix_spawn_file_actions_addinherit_np(&actions, stream))
            return error;
    }
    return 0;
}

void callWhenEnded(pid_t child, const std::shared_ptr<SerialQueue>& queue, std::function<void()> onEnded)
{
    dispatch_queue_t events = dispatch_queue_create("com.local.tessarin.child-end", DISPATCH_QUEUE_SERIAL);
    dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(child), DISPATCH_PROC_EXIT, events);
    auto* const watch = new EndWatch{ child, queue, std::move(onEnded), source };
    dispatch_set_context(source, watch);
    dispatch_source_set_event_handler_f(source, [](void* context) { static_cast<EndWatch*>(context)->fire(); });
    dispatch_source_set_cancel_handler_f(source, [](void* context) {
        auto* const ended = static_cast<EndWatch*>(context);
        dispatch_release(ended->source);
        delete ended;
    });
    dispatch_source_set_registration_handler_f(source, &checkForEarlierEnd);
    dispatch_resume(source);
    dispatch_release(events);
}

} // namespace tessarin
