#include "App/AppModel.h"

#include "App/ShellCommands.h"
#include "Platform/ChildProcess.h"
#include "Platform/Text.h"
#include "Services/Locators.h"

#include <utility>

// What is known of the runtimes, and signing in to them. The vendors' programs do the signing in; this program only starts them, or hands
// the person a command.

namespace tessarin
{

template <class Status>
void AppModel::setInstallStatus(Status& field, Status status)
{
    publish(field, std::move(status), ModelChange::Kind::installStatus);
}

// The steps of all refreshes. `probe` is the locator's question to the program at `path`.
template <class Status, class Probe>
void AppModel::refreshRuntime(AgentProvider provider, Status AppModel::*field, const std::optional<std::string>& path, Probe probe)
{
    if (!path) {
        return setInstallStatus<Status>(this->*field, Missing());
    }
    typename Status::Found found;
    found.path = *path;
    setInstallStatus<Status>(this->*field, std::move(found));
    m_probes.run({ provider, *path }, [weak = weak_from_this(), provider, field, path = *path, probe] {
        if (const auto model = weak.lock()) {
            model->startProbe(provider, field, path, probe);
        }
    });
}

template <class Status, class Probe>
void AppModel::startProbe(AgentProvider provider, Status AppModel::*field, const std::string& path, Probe probe)
{
    // The locators that know of signing in answer with one thing more.
    probe(path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), provider, field, path](const std::optional<std::string>& version, auto... signedIn) {
            if (const auto model = weak.lock()) {
                model->finishProbe<Status>(provider, field, typename Status::Found{ path, version, signedIn... });
            }
        });
}

// The last answer stays, also one of a program that is no longer the one that is found.
template <class Status>
void AppModel::finishProbe(AgentProvider provider, Status AppModel::*field, typename Status::Found answer)
{
    const ProbeLimit::Program program{ provider, answer.path };
    setInstallStatus<Status>(this->*field, std::move(answer));
    m_probes.end(program);
}

void AppModel::refreshInstallStatus()
{
    refreshRuntime(
        AgentProvider::grok, &AppModel::m_installStatus, GrokLocator::findExecutable(m_surroundings.runtimes), &GrokLocator::version);
}

void AppModel::refreshCodexInstallStatus()
{
    refreshRuntime(AgentProvider::codex, &AppModel::m_codexInstallStatus, CodexLocator::findExecutable(m_surroundings.runtimes),
        &CodexLocator::inspect);
}

void AppModel::refreshKimiInstallStatus()
{
    refreshRuntime(
        AgentProvider::kimi, &AppModel::m_kimiInstallStatus, KimiLocator::findExecutable(m_surroundings.runtimes), &KimiLocator::version);
}

void AppModel::refreshOpenCodeInstallStatus()
{
    refreshRuntime(AgentProvider::glm, &AppModel::m_openCodeInstallStatus, OpenCodeLocator::findExecutable(m_surroundings.runtimes),
        &OpenCodeLocator::version);
}

void AppModel::refreshClaudeInstallStatus()
{
    refreshRuntime(AgentProvider::claude, &AppModel::m_claudeInstallStatus, ClaudeLocator::findExecutable(m_surroundings.runtimes),
        &ClaudeLocator::inspect);
}

void AppModel::logIn()
{
    const auto path = GrokLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<GrokInstallStatus>(m_installStatus, Missing());
    }
    m_isSigningIn = !isTurnUnderWay();
    publish(m_connectionState, ConnectionState(ConnectionState::Kind::connecting), ModelChange::Kind::connectionState);
    ChildLaunch launch;
    launch.executable = *path;
    launch.arguments = { "login" };
    launch.environment = GrokLocator::augmentedEnvironment(m_surroundings.runtimes);
    m_signIns.run(launch, CommandGroup::Kept::end, m_surroundings.mainThread,
        [weak = weak_from_this()](const Result<CommandOutcome, std::string>& result) {
            if (const auto model = weak.lock()) {
                model->finishLogIn(result);
            }
        });
}

void AppModel::finishLogIn(const Result<CommandOutcome, std::string>& result)
{
    if (!result) {
        return fail(result.error(), result.error());
    }
    if (result.value().status == 0) {
        setConnectionState(ConnectionState::Kind::idle);
        return setErrorMessage(std::nullopt);
    }
    // What the program said, also when it said nothing; the fixed text stands only for what can't be read.
    const std::string& output = result.value().output;
    const std::string text = isValidUtf8(output) ? std::string(trimmed(output)) : "Grok login failed.";
    fail(text, text);
}

void AppModel::logInCodex()
{
    const auto path = CodexLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<CodexInstallStatus>(m_codexInstallStatus, Missing());
    }
    runLogIn(*path, CodexLocator::subscriptionEnvironment(m_surroundings.runtimes), &AppModel::refreshCodexInstallStatus,
        "Codex login did not complete.");
}

void AppModel::logInKimi()
{
    const auto path = KimiLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<KimiInstallStatus>(m_kimiInstallStatus, Missing());
    }
    runLogIn(*path, KimiLocator::subscriptionEnvironment(m_surroundings.runtimes), &AppModel::refreshKimiInstallStatus,
        "Kimi login did not complete.");
}

// The connection state is left alone: a turn may be under way on another runtime.
void AppModel::runLogIn(const std::string& executable, Environment environment, void (AppModel::*refresh)(), std::string failureText)
{
    ChildLaunch launch;
    launch.executable = executable;
    launch.arguments = { "login" };
    launch.environment = std::move(environment);
    launch.inheritsOutput = true;
    m_signIns.run(launch, CommandGroup::Kept::end, m_surroundings.mainThread,
        [weak = weak_from_this(), refresh, failureText = std::move(failureText)](const Result<CommandOutcome, std::string>& result) {
            const auto model = weak.lock();
            if (!model) {
                return;
            }
            if (!result) {
                return model->setErrorMessage(result.error());
            }
            (model.get()->*refresh)();
            if (result.value().status != 0) {
                model->setErrorMessage(failureText);
            }
        });
}

void AppModel::setUpOpenCodeGLM()
{
    const auto path = OpenCodeLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<OpenCodeInstallStatus>(m_openCodeInstallStatus, Missing());
    }
    copyCommandAndOpenTerminal(shellQuoted(*path) + " auth login --provider zai-coding-plan");
}

void AppModel::logInClaude()
{
    const auto path = ClaudeLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<ClaudeInstallStatus>(m_claudeInstallStatus, Missing());
    }
    copyCommandAndOpenTerminal(shellQuoted(*path) + " auth login");
}

void AppModel::copyInstallCommandAndOpenTerminal()
{
    copyCommandAndOpenTerminal(std::string(grokInstallCommand));
}

void AppModel::copyCommandAndOpenTerminal(std::string command)
{
    m_surroundings.desktop.copyToPasteboard(command);
    publish(m_copiedCommand, std::optional<std::string>(), ModelChange::Kind::copiedCommand);
    m_surroundings.desktop.openTerminal([weak = weak_from_this(), command = std::move(command)](bool wasOpened) {
        const auto model = weak.lock();
        if (model && !wasOpened) {
            model->publish(model->m_copiedCommand, std::optional(command), ModelChange::Kind::copiedCommand);
        }
    });
}

void AppModel::dismissCopiedCommand()
{
    publish(m_copiedCommand, std::optional<std::string>(), ModelChange::Kind::copiedCommand);
}

} // namespace tessarin
