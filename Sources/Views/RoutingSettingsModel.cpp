#include "Views/RoutingSettingsModel.h"

#include "App/AppModel.h"
#include "Views/ModelChanges.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tessarin
{

RoutingSettingsModel::RoutingSettingsModel(std::shared_ptr<AppModel> model, QObject* parent) : QObject(parent), m_model(std::move(model))
{
    for (const ProviderRoutingMode mode : allProviderRoutingModes) {
        m_choices.append(QString::fromUtf8(label(mode)));
    }
    read();
}

void RoutingSettingsModel::note(const ModelChange& change)
{
    using Kind = ModelChange::Kind;
    if (isOneOf(change.kind, { Kind::modes, Kind::connectionState, Kind::imagineState, Kind::permissionRequest })) {
        read();
    }
}

void RoutingSettingsModel::read()
{
    const ProviderRoutingMode mode = m_model->routingMode();
    m_current = static_cast<int>(std::distance(allProviderRoutingModes.begin(), std::ranges::find(allProviderRoutingModes, mode)));
    m_detail = QString::fromUtf8(detail(mode));
    m_canChange = m_model->canChangeRoutingMode();
    emit changed();
}

void RoutingSettingsModel::choose(int choice)
{
    if (choice >= 0 && choice < m_choices.size()) {
        m_model->setRoutingMode(allProviderRoutingModes[static_cast<std::size_t>(choice)]);
    }
}

} // namespace tessarin
