#include "Services/ManagedTerminal.h"

#include <utility>

namespace tessarin
{

// On the terminal's queue alone. The child's callbacks hold it, so it lives until the child has ended.
struct ManagedTerminal::Exit {
    std::weak_ptr<ManagedTerminal> terminal; // constant once the child runs
    std::shared_ptr<ChildProcess> child; // while it runs
    bool isReleased = false;
    bool hasEnded = false;
    std::optional<std::int32_t> exitCode; // absent when the terminal was gone by then
    std::vector<ExitCompletion> waiting;

    void noteEnd(std::int32_t status)
    {
        if (const auto held = terminal.lock(); held && !isReleased) {
            exitCode = status;
            held->noteEnd(status);
        }
        hasEnded = true;
        child.reset();
        for (const ExitCompletion& completion : std::exchange(waiting, {})) {
            completion(exitCode);
        }
    }
};

ManagedTerminal::ManagedTerminal(std::size_t outputByteLimit)
    : m_queue(std::make_shared<SerialQueue>("com.local.tessarin.terminal")), m_exit(std::make_shared<Exit>()), m_output(outputByteLimit)
{
}

Result<std::shared_ptr<ManagedTerminal>, std::string> ManagedTerminal::start(const Command& command)
{
    const std::shared_ptr<ManagedTerminal> terminal(new ManagedTerminal(command.outputByteLimit));
    ChildLaunch launch{ .executable = "/usr/bin/env",
        .arguments = { command.command },
        .workingDirectory = command.currentDirectory,
        .environment = command.environment,
        .input = ChildInput::inherited };
    launch.arguments.insert(launch.arguments.end(), command.arguments.begin(), command.arguments.end());

    const std::weak_ptr<ManagedTerminal> weak = terminal;
    const auto append = [weak](std::string_view chunk) {
        if (const auto held = weak.lock()) {
            held->append(chunk);
        }
    };
    const std::shared_ptr<Exit> exit = terminal->m_exit;
    exit->terminal = weak;
    auto child = ChildProcess::launch(launch, terminal->m_queue,
        { .onOutput = append, .onErrorOutput = append, .onEnd = [exit](ChildEnd end) { exit->noteEnd(end.status); } });
    if (!child) {
        return Failure{ child.error() };
    }
    // Its end may have been handled by the time this runs.
    terminal->m_queue->post([exit, running = std::move(child).value()] {
        if (!exit->hasEnded) {
            exit->child = running;
        }
    });
    return terminal;
}

// The queue lives until the work has run: a released terminal answers those who wait.
void ManagedTerminal::onQueue(std::function<void()> work)
{
    m_queue->post([queue = m_queue, work = std::move(work)] { work(); });
}

void ManagedTerminal::append(std::string_view chunk)
{
    const std::lock_guard lock(m_mutex);
    m_output.append(chunk);
}

void ManagedTerminal::noteEnd(std::int32_t exitCode)
{
    const std::lock_guard lock(m_mutex);
    m_exitCode = exitCode;
}

ManagedTerminal::Snapshot ManagedTerminal::snapshot() const
{
    const std::lock_guard lock(m_mutex);
    return { .output = m_output.text(), .wasTruncated = m_output.wasTruncated(), .exitCode = m_exitCode };
}

void ManagedTerminal::kill()
{
    onQueue([exit = m_exit] {
        if (exit->child) {
            exit->child->terminate();
        }
    });
}

void ManagedTerminal::waitForExit(ExitCompletion completion)
{
    onQueue([exit = m_exit, completion = std::move(completion)] {
        if (exit->hasEnded) {
            completion(exit->exitCode);
        } else {
            exit->waiting.push_back(completion);
        }
    });
}

void ManagedTerminal::release()
{
    // Held until it is done, so that finishRelease can be called by whoever has kept it weakly.
    onQueue([terminal = shared_from_this(), exit = m_exit] {
        exit->isReleased = true;
        if (exit->child) {
            exit->child->terminate();
            exit->child->closeStreams();
        }
    });
}

void ManagedTerminal::finishRelease()
{
    m_queue->sync([] {}); // behind the work above
}

} // namespace tessarin
