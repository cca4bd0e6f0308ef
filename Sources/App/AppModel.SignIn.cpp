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

void AppModel::refreshInstallStatus()
{
    const auto path = GrokLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<GrokInstallStatus>(m_installStatus, Missing());
    }
    setInstallStatus<GrokInstallStatus>(m_installStatus, Installed{ *path, std::nullopt });
    GrokLocator::version(*path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), path = *path](const std::optional<std::string>& version) {
            if (const auto model = weak.lock()) {
                model->setInstallStatus<GrokInstallStatus>(model->m_installStatus, Installed{ path, version });
            }
        });
}

void AppModel::refreshKimiInstallStatus()
{
    const auto path = KimiLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<KimiInstallStatus>(m_kimiInstallStatus, Missing());
    }
    setInstallStatus<KimiInstallStatus>(m_kimiInstallStatus, Installed{ *path, std::nullopt });
    KimiLocator::version(*path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), path = *path](const std::optional<std::string>& version) {
            if (const auto model = weak.lock()) {
                model->setInstallStatus<KimiInstallStatus>(model->m_kimiInstallStatus, Installed{ path, version });
            }
        });
}

void AppModel::refreshOpenCodeInstallStatus()
{
    const auto path = OpenCodeLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<OpenCodeInstallStatus>(m_openCodeInstallStatus, Missing());
    }
    setInstallStatus<OpenCodeInstallStatus>(m_openCodeInstallStatus, Installed{ *path, std::nullopt });
    OpenCodeLocator::version(*path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), path = *path](const std::optional<std::string>& version) {
            if (const auto model = weak.lock()) {
                model->setInstallStatus<OpenCodeInstallStatus>(model->m_openCodeInstallStatus, Installed{ path, version });
            }
        });
}

void AppModel::refreshCodexInstallStatus()
{
    const auto path = CodexLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<CodexInstallStatus>(m_codexInstallStatus, Missing());
    }
    setInstallStatus<CodexInstallStatus>(m_codexInstallStatus, InstalledWithSignIn{ *path, std::nullopt, std::nullopt });
    CodexLocator::inspect(*path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), path = *path](const std::optional<std::string>& version, std::optional<bool> signedIn) {
            if (const auto model = weak.lock()) {
                model->setInstallStatus<CodexInstallStatus>(model->m_codexInstallStatus, InstalledWithSignIn{ path, version, signedIn });
            }
        });
}

void AppModel::refreshClaudeInstallStatus()
{
    const auto path = ClaudeLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<ClaudeInstallStatus>(m_claudeInstallStatus, Missing());
    }
    setInstallStatus<ClaudeInstallStatus>(m_claudeInstallStatus, InstalledWithSignIn{ *path, std::nullopt, std::nullopt });
    ClaudeLocator::inspect(*path, m_surroundings.runtimes, m_surroundings.mainThread,
        [weak = weak_from_this(), path = *path](const std::optional<std::string>& version, std::optional<bool> signedIn) {
            if (const auto model = weak.lock()) {
                model->setInstallStatus<ClaudeInstallStatus>(model->m_claudeInstallStatus, InstalledWithSignIn{ path, version, signedIn });
            }
        });
}

void AppModel::logIn()
{
    const auto path = GrokLocator::findExecutable(m_surroundings.runtimes);
    if (!path) {
        return setInstallStatus<GrokInstallStatus>(m_installStatus, Missing());
    }
    setConnectionState(ConnectionState::Kind::connecting);
    ChildLaunch launch;
    launch.executable = *path;
    launch.arguments = { "login" };
    launch.environment = GrokLocator::augmentedEnvironment(m_surroundings.runtimes);
    runCommandInBackground(launch, m_surroundings.mainThread, [weak = weak_from_this()](const Result<CommandOutcome, std::string>& result) {
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
    runCommandInBackground(launch, m_surroundings.mainThread,
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
