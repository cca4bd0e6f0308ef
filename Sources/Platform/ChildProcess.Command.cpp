#include "Platform/ChildProcess.h"

#include "Platform/MainThread.h"

#include <cassert>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tessarin
{

namespace
{

using CommandResult = Result<CommandOutcome, std::string>;

// A command while it runs. It is held by the callbacks of its child, which go when the child has ended.
struct Command {
    std::shared_ptr<ChildProcess> child;
    CommandOutcome outcome;
};

// `done` runs once: on the calling thread when the start fails, else on a queue of the command's own.
void startCommand(ChildLaunch launch, std::function<void(CommandResult)> done)
{
    launch.input = launch.inheritsOutput ? ChildInput::inherited : ChildInput::empty;
    launch.mergesErrorOutput = true;
    const auto command = std::make_shared<Command>();
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [command](std::string_view chunk) { command->outcome.output += chunk; };
    callbacks.onEnd = [command, done](ChildEnd end) {
        command->outcome.status = end.status;
        done(std::move(command->outcome));
    };
    auto child = ChildProcess::launch(launch, std::make_shared<SerialQueue>("com.local.tessarin.command"), std::move(callbacks));
    if (!child)
        done(Failure{ child.error() });
    else
        command->child = std::move(child).value();
}

} // namespace

CommandResult runCommand(const ChildLaunch& launch)
{
    assert(!SerialQueue::isCallerOnAny());
    std::mutex mutex;
    std::condition_variable ended;
    std::optional<CommandResult> result;
    startCommand(launch, [&](CommandResult arrived) {
        // Notified under the lock: once the caller has the result, these objects are gone.
        const std::lock_guard lock(mutex);
        result = std::move(arrived);
        ended.notify_one();
    });
    std::unique_lock lock(mutex);
    ended.wait(lock, [&] { return result.has_value(); });
    return std::move(*result);
}

void runCommandInBackground(const ChildLaunch& launch, MainThread& mainThread, std::function<void(CommandResult)> done)
{
    startCommand(launch, [&mainThread, done = std::move(done)](CommandResult result) {
        mainThread.post([done, result = std::move(result)]() mutable { done(std::move(result)); });
    });
}

} // namespace tessarin
