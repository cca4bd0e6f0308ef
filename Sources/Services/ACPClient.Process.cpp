#include "Services/ACPClient.h"

#include "Platform/Files.h"
#include "Services/GrokArguments.h"

#include <utility>

// The child of an ACPClient: launching, what it writes, its end, stopping it.

namespace tessarin
{

Result<void, ACPClientError> ACPClient::launchProcess()
{
    if (!isExecutableFile(m_configuration.executable))
        return Failure{ ACPClientError{ ACPClientError::Kind::executableMissing, m_runtimeName } };
    ChildLaunch launch;
    launch.executable = m_configuration.executable;
    launch.arguments = m_arguments;
    launch.workingDirectory = m_configuration.workspacePath;
    launch.environment = m_configuration.processEnvironment;
    if (const auto launched = m_child->launch(launch); !launched)
        return Failure{ ACPClientError{ ACPClientError::Kind::processFailed, launched.error() } };
    return {};
}

// The end of the child, which comes soon, answers what waits.
void ACPClient::writeFailed(const SystemError&) { }

void ACPClient::childEnded(ChildEnd end)
{
    m_queue->assertCurrent();
    if (launchesAgain())
        return;
    failPending(ACPClientError{ ACPClientError::Kind::disconnected, {} });
    m_child->reportTermination(m_child->lastWords(end));
}

// A version of Grok that wants the mode in front of "agent" is given it there, once: rearranged arguments do not begin with "agent". The
// next client tries the first order again: the program may have been replaced by then, and it refuses before it does anything else.
bool ACPClient::launchesAgain()
{
    const bool awaitsInitialize = !m_isInitialized && !m_pending.isEmpty();
    if (m_configuration.provider != AgentProvider::grok || !awaitsInitialize || !refusesPermissionModeArgument(m_child->errorOutput()))
        return false;
    auto arguments = withPermissionModeInFront(m_arguments);
    if (!arguments)
        return false;
    m_arguments = std::move(*arguments);
    if (const auto launched = launchProcess(); !launched)
        return false;
    for (PendingRequests::Handler& handler : m_pending.takeAll()) // `initialize` alone
        sendInitialize(std::move(handler));
    return true;
}

void ACPClient::stopOnQueue()
{
    m_terminals.releaseAll();
    m_child->stop();
    failPending(ACPClientError{ ACPClientError::Kind::disconnected, {} });
}

void ACPClient::failPending(const AgentError& error)
{
    for (const PendingRequests::Handler& handler : m_pending.takeAll())
        handler(Failure{ error });
}

} // namespace tessarin
