#include "Views/RuntimeSettingsModel.h"

#include "App/AppModel.h"
#include "Platform/Desktop.h"
#include "Platform/Preferences.h"
#include "Views/ModelChanges.h"
#include "Views/ProviderStatusRules.h"

#include <QPointer>

#include <utility>

namespace tessarin
{

RuntimeSettingsModel::RuntimeSettingsModel(
    AgentProvider provider, std::shared_ptr<AppModel> model, Preferences& preferences, Desktop& desktop, QObject* parent)
    : QObject(parent)
    , m_provider(provider)
    , m_words(RuntimeSettingsRules::words(provider))
    , m_keys(RuntimeSettingsRules::keys(provider))
    , m_model(std::move(model))
    , m_preferences(preferences)
    , m_desktop(desktop)
{
    readStored();
    readState();
}

void RuntimeSettingsModel::note(const ModelChange& change)
{
    if (isOneOf(change.kind, { ModelChange::Kind::installStatus, ModelChange::Kind::providerUsage })) {
        readState();
    }
}

void RuntimeSettingsModel::readStored()
{
    m_path = QString::fromStdString(m_preferences.text(m_keys.path).value_or(""));
    if (m_keys.model != nullptr) {
        const std::string name = m_preferences.text(m_keys.model).value_or(m_keys.defaultModel);
        m_modelName = QString::fromStdString(name);
        m_isModelAccepted = RuntimeSettingsRules::isModelAccepted(m_provider, name);
    }
    emit storedChanged();
}

RuntimeSettingsRules::State RuntimeSettingsModel::state() const
{
    switch (m_provider) {
    case AgentProvider::grok:
        return RuntimeSettingsRules::stateOf(m_model->installStatus());
    case AgentProvider::codex:
        return RuntimeSettingsRules::stateOf(m_model->codexInstallStatus());
    case AgentProvider::kimi:
        return RuntimeSettingsRules::stateOf(m_model->kimiInstallStatus());
    case AgentProvider::glm:
        return RuntimeSettingsRules::stateOf(m_model->openCodeInstallStatus());
    case AgentProvider::claude:
        return RuntimeSettingsRules::stateOf(m_model->claudeInstallStatus());
    }
    return {};
}

void RuntimeSettingsModel::readState()
{
    const RuntimeSettingsRules::State known = state();
    m_statusLabel = RuntimeSettingsRules::statusLabel(m_provider, known);
    m_statusSymbol = RuntimeSettingsRules::statusSymbol(known);
    m_statusTint = RuntimeSettingsRules::statusTint(known);
    m_canSignIn = known.kind == RuntimeSettingsRules::State::Kind::installed;
    const auto report = m_model->providerUsage().find(m_provider);
    const bool isReported = RuntimeSettingsRules::showsUsage(m_provider) && report != m_model->providerUsage().end();
    m_usageText = isReported ? QString::fromStdString(report->second.compactLabel()) : QString();
    m_usageTint = ProviderStatusRules::usageTint(isReported ? &report->second : nullptr);
    emit stateChanged();
}

void RuntimeSettingsModel::setPath(const QString& path)
{
    if (path == m_path) {
        return;
    }
    m_preferences.setText(m_keys.path, path.toStdString());
    readStored();
    askForProgram();
}

void RuntimeSettingsModel::setModelName(const QString& name)
{
    if (m_keys.model == nullptr || name == m_modelName) {
        return;
    }
    m_preferences.setText(m_keys.model, name.toStdString());
    readStored();
}

void RuntimeSettingsModel::choosePath()
{
    m_desktop.chooseFile({ m_words.chooserTitle.toStdString() }, [weak = QPointer(this)](const std::optional<std::string>& path) {
        if (weak && path) {
            weak->setPath(QString::fromStdString(*path));
        }
    });
}

void RuntimeSettingsModel::refresh()
{
    readStored();
    askForProgram();
}

void RuntimeSettingsModel::askForProgram()
{
    switch (m_provider) {
    case AgentProvider::grok:
        return m_model->refreshInstallStatus();
    case AgentProvider::codex:
        return m_model->refreshCodexInstallStatus();
    case AgentProvider::kimi:
        return m_model->refreshKimiInstallStatus();
    case AgentProvider::glm:
        return m_model->refreshOpenCodeInstallStatus();
    case AgentProvider::claude:
        return m_model->refreshClaudeInstallStatus();
    }
}

void RuntimeSettingsModel::signIn()
{
    switch (m_provider) {
    case AgentProvider::grok:
        return m_model->logIn();
    case AgentProvider::codex:
        return m_model->logInCodex();
    case AgentProvider::kimi:
        return m_model->logInKimi();
    case AgentProvider::glm:
        return m_model->setUpOpenCodeGLM();
    case AgentProvider::claude:
        return m_model->logInClaude();
    }
}

} // namespace tessarin
