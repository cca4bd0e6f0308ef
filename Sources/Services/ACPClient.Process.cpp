#include "Services/ACPClient.h"

#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Services/GrokArguments.h"

#include <utility>

// The child of an ACPClient: launching, what it writes, its end, stopping it.

namespace tessarin
{

Result<void, ACPClientError> ACPClient::launchProcess()
{
    if (!isExecutableFile(m_configuration.executable))
        return Failure{ ACPClientError{ ACPClientError::Kind::executableMissing, m_runtimeName } };
    m_isStopping = false;
    m_errorOutput.clear();
    ChildLaunch launch;
    launch.executable = m_configuration.executable;
    launch.arguments = m_arguments;
    launch.workingDirectory = m_configuration.workspacePath;
    launch.environment = m_configuration.processEnvironment;
    auto launched = ChildProcess::launch(launch, m_queue, callbacks());
    if (!launched)
        return Failure{ ACPClientError{ ACPClientError::Kind::processFailed, launched.error() } };
    m_process = std::move(launched).value();
    m_isConnected = true;
    return {};
}

ChildProcess::Callbacks ACPClient::callbacks()
{
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [weak = weak_from_this()](std::string_view chunk) {
        if (const auto client = weak.lock())
            client->consume(chunk);
    };
    callbacks.onErrorOutput = [weak = weak_from_this()](std::string_view chunk) {
        if (const auto client = weak.lock())
            client->consumeErrorOutput(chunk);
    };
    callbacks.onEnd = [weak = weak_from_this()](ChildEnd end) {
        if (const auto client = weak.lock())
            client->processEnded(end);
    };
    return callbacks;
}

void ACPClient::consume(std::string_view chunk)
{
    m_queue->assertCurrent();
    m_outbox.expect(chunk.size());
    m_lines.read(chunk, [this](std::string_view line) {
        m_queue->assertCurrent();
        handleLine(line);
    });
    flush();
}

void ACPClient::consumeErrorOutput(std::string_view chunk)
{
    m_queue->assertCurrent();
    // A chunk that cuts a character in two is lost whole: diagnostics are not worth a decoder with a memory.
    if (isValidUtf8(chunk)) {
        m_errorOutput.append(chunk);
        notify([text = std::string(chunk)](AgentClient& client) {
            if (client.onLog)
                client.onLog(text);
        });
    }
    flush();
}

void ACPClient::processEnded(ChildEnd end)
{
    m_queue->assertCurrent();
    if (!m_isStopping && launchesAgain())
        return flush();
    m_isConnected = false;
    failPending(ACPClientError{ ACPClientError::Kind::disconnected, {} });
    if (!m_isStopping)
        reportTermination(end);
    flush();
}

// A version of Grok that wants the mode in front of "agent" is given it there, once: rearranged arguments do not begin with "agent".
bool ACPClient::launchesAgain()
{
    if (m_configuration.provider != AgentProvider::grok || m_isInitialized || !refusesPermissionModeArgument(m_errorOutput))
        return false;
    auto arguments = withPermissionModeInFront(m_arguments);
    if (!arguments)
        return false;
    m_arguments = std::move(*arguments);
    m_lines.reset();
    if (const auto launched = launchProcess(); !launched)
        return false;
    for (PendingRequests::Handler& handler : m_pending.takeAll()) // `initialize` alone
        sendInitialize(std::move(handler));
    return true;
}

void ACPClient::reportTermination(ChildEnd end)
{
    std::string text(trimmed(m_errorOutput));
    if (text.empty())
        text = m_runtimeName + " exited with status " + std::to_string(end.status) + ".";
    notify([text = std::move(text), gate = m_gate](AgentClient& client) {
        if (gate->isOpen() && client.onUnexpectedTermination)
            client.onUnexpectedTermination(text);
    });
}

void ACPClient::resumeReading()
{
    m_queue->post([weak = weak_from_this()] {
        if (const auto client = weak.lock())
            client->continueReading();
    });
}

void ACPClient::continueReading()
{
    m_queue->assertCurrent();
    // What was read in the meantime may have filled the gate again.
    if (m_process && !m_gate->isFull())
        m_process->resumeOutput();
}

void ACPClient::stopOnQueue()
{
    m_isStopping = true;
    m_isConnected = false;
    m_terminals.releaseAll();
    if (m_process) {
        m_process->closeStreams();
        m_process->terminate();
        m_process.reset();
    }
    failPending(ACPClientError{ ACPClientError::Kind::disconnected, {} });
}

void ACPClient::failPending(const AgentError& error)
{
    for (const PendingRequests::Handler& handler : m_pending.takeAll())
        handler(Failure{ error });
}

} // namespace tessarin
