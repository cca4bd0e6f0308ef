#include "Views/InstallModel.h"

#include "App/AppModel.h"
#include "App/ShellCommands.h"

namespace tessarin
{

InstallModel::InstallModel(QObject* parent)
    : QObject(parent), m_command(QString::fromUtf8(grokInstallCommand.data(), static_cast<qsizetype>(grokInstallCommand.size())))
{
}

void InstallModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
}

// The text stays while the sheet leaves.
void InstallModel::note(const ModelChange& change)
{
    if (change.kind != ModelChange::Kind::copiedCommand) {
        return;
    }
    const std::optional<std::string>& command = m_model->copiedCommand();
    m_hasCopiedCommand = command.has_value();
    if (command) {
        m_copiedCommand = QString::fromStdString(*command);
    }
    emit copiedCommandChanged();
}

void InstallModel::copyCommandAndOpenTerminal()
{
    m_model->copyInstallCommandAndOpenTerminal();
}

void InstallModel::dismissCopiedCommand()
{
    m_model->dismissCopiedCommand();
}

void InstallModel::checkAgain()
{
    m_model->refreshInstallStatus();
    m_model->refreshCodexInstallStatus();
    m_model->refreshKimiInstallStatus();
}

} // namespace tessarin
