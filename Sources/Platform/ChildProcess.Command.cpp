#include "Platform/ChildProcess.h"

#include "Platform/CommandGroup.h"
#include "Platform/MainThread.h"
#include "Platform/Utf8.h"

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace tessarin
{

// A command while it runs. It is held by the callbacks of its child, which go when the child has ended.
struct Command {
    using Kept = std::optional<CommandGroup::Kept>;

    explicit Command(Kept keptOutput) : kept(keptOutput) { }

    const Kept kept; // of what it prints; absent: all
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("com.local.tessarin.command");
    CommandOutcome outcome; // on the queue
    bool isCut = false; // the outcome lacks something; on the queue
    std::shared_ptr<ChildProcess> child; // set by who starts it, and asked on the queue
    bool isStopped = false; // of a group: main thread only
};

namespace
{

using CommandResult = Result<CommandOutcome, std::string>;

// Without the beginning of a character of which the rest does not follow.
void dropBrokenEnd(std::string& text)
{
    const std::size_t longest = std::min<std::size_t>(text.size(), 3);
    for (std::size_t length = 1; length <= longest; ++length) {
        const auto byte = static_cast<unsigned char>(text[text.size() - length]);
        const bool isContinuation = (byte & 0xC0) == 0x80;
        if (isContinuation)
            continue;
        if (utf8SequenceLength(text, text.size() - length) == 0)
            text.resize(text.size() - length);
        return;
    }
}

// Without the end of a character of which the beginning is missing.
void dropBrokenBeginning(std::string& text)
{
    std::size_t length = 0;
    while (length < std::min<std::size_t>(text.size(), 3) && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        ++length;
    text.erase(0, length);
}

void keepBeginning(Command& command, std::string_view chunk)
{
    std::string& output = command.outcome.output;
    if (command.isCut)
        return; // it would not follow what is kept
    const std::size_t room = CommandGroup::outputLimit - output.size();
    output += chunk.substr(0, room);
    command.isCut = chunk.size() > room;
    if (command.isCut)
        dropBrokenEnd(output);
}

void keepEnd(Command& command, std::string_view chunk)
{
    std::string& output = command.outcome.output;
    const std::size_t kept = std::min(chunk.size(), CommandGroup::outputLimit);
    const std::size_t room = CommandGroup::outputLimit - kept;
    command.isCut = command.isCut || kept < chunk.size() || output.size() > room;
    if (output.size() > room)
        output.erase(0, output.size() - room);
    output += chunk.substr(chunk.size() - kept);
}

void keepOutput(Command& command, std::string_view chunk)
{
    if (!command.kept)
        command.outcome.output += chunk;
    else if (command.kept == CommandGroup::Kept::beginning)
        keepBeginning(command, chunk);
    else
        keepEnd(command, chunk);
}

CommandOutcome takeOutcome(Command& command, ChildEnd end)
{
    if (command.kept == CommandGroup::Kept::end && command.isCut)
        dropBrokenBeginning(command.outcome.output);
    command.outcome.status = end.status;
    return std::move(command.outcome);
}

// `done` runs once: on the calling thread when the start fails, else on the queue of the command.
void startCommand(const std::shared_ptr<Command>& command, ChildLaunch launch, std::function<void(CommandResult)> done)
{
    launch.input = launch.inheritsOutput ? ChildInput::inherited : ChildInput::empty;
    launch.mergesErrorOutput = true;
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [command](std::string_view chunk) { keepOutput(*command, chunk); };
    callbacks.onEnd = [command, done](ChildEnd end) { done(takeOutcome(*command, end)); };
    auto child = ChildProcess::launch(launch, command->queue, std::move(callbacks));
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
    startCommand(std::make_shared<Command>(std::nullopt), launch, [&](CommandResult arrived) {
        // Notified under the lock: once the caller has the result, these objects are gone.
        const std::lock_guard lock(mutex);
        result = std::move(arrived);
        ended.notify_one();
    });
    std::unique_lock lock(mutex);
    ended.wait(lock, [&] { return result.has_value(); });
    return std::move(*result);
}

void CommandGroup::run(const ChildLaunch& launch, Kept kept, MainThread& mainThread, std::function<void(CommandResult)> done)
{
    std::erase_if(m_commands, [](const std::weak_ptr<Command>& command) { return command.expired(); });
    const auto command = std::make_shared<Command>(kept);
    m_commands.push_back(command);
    // The command is held until its end has been told: it may be stopped in between.
    startCommand(command, launch, [&mainThread, command, done = std::move(done)](CommandResult result) {
        mainThread.post([command, done, result = std::move(result)]() mutable {
            if (!command->isStopped)
                done(std::move(result));
        });
    });
}

void CommandGroup::stop()
{
    for (const std::weak_ptr<Command>& each : std::exchange(m_commands, {})) {
        const auto command = each.lock();
        if (!command)
            continue;
        command->isStopped = true;
        if (command->child)
            command->queue->sync([&child = *command->child] { child.terminate(); });
    }
}

} // namespace tessarin
