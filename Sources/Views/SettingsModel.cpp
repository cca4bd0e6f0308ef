#include "Views/SettingsModel.h"

namespace tessarin
{

SettingsModel::SettingsModel(const std::shared_ptr<AppModel>& model, const World& world) : m_routing(model), m_filePicker(world.filePicker)
{
    for (const AgentProvider provider : allAgentProviders) {
        m_runtimes.append(new RuntimeSettingsModel(provider, model, world.preferences, world.desktop, this));
    }
}

void SettingsModel::note(const ModelChange& change)
{
    m_routing.note(change);
    for (RuntimeSettingsModel* runtime : m_runtimes) {
        runtime->note(change);
    }
}

QVariantList SettingsModel::runtimes() const
{
    QVariantList all;
    for (RuntimeSettingsModel* runtime : m_runtimes) {
        all.append(QVariant::fromValue(runtime));
    }
    return all;
}

RuntimeSettingsModel* SettingsModel::runtime(AgentProvider provider) const
{
    return m_runtimes.at(static_cast<qsizetype>(provider));
}

} // namespace tessarin
