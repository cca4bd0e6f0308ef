#include "Views/PermissionModel.h"

#include "App/AppModel.h"
#include "Views/PermissionRules.h"

#include <algorithm>

namespace tessarin
{

void PermissionModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    readRequest();
    readMode();
}

void PermissionModel::note(const ModelChange& change)
{
    // What takes the place of another request has to be seen before it is answered.
    if (change.kind == ModelChange::Kind::permissionRequest && m_model->permissionRequest()) {
        ++m_arrivals;
        emit requestArrived();
    }
    if (change.kind == ModelChange::Kind::permissionRequest || change.kind == ModelChange::Kind::connectionState
        || change.kind == ModelChange::Kind::imagineState || change.kind == ModelChange::Kind::activeProvider) {
        readRequest();
        readMode();
    } else if (change.kind == ModelChange::Kind::modes) {
        readMode();
    }
}

// The texts stay while the sheet leaves, so that it does not shrink on its way out.
void PermissionModel::readRequest()
{
    const std::optional<PermissionRequest>& request = m_model->permissionRequest();
    m_isAsked = request.has_value();
    if (request) {
        m_heading = PermissionRules::heading(m_model->activeProvider());
        m_subject = QString::fromStdString(request->title);
        m_detail = StyledRuns::fromText(QString::fromStdString(request->detail));
        m_note = PermissionRules::note(m_model->isPermissionHeard());
        m_choices.clear();
        m_hasDefaultChoice = false;
        for (const PermissionOption& option : PermissionRules::offered(*request)) {
            const bool isDefault = !m_hasDefaultChoice && PermissionRules::isDefault(option);
            m_choices.append({ QString::fromStdString(option.id), QString::fromStdString(option.name), isDefault, m_arrivals });
            if (isDefault) {
                m_hasDefaultChoice = true;
                m_defaultChoice = QString::fromStdString(option.id);
            }
        }
    }
    emit requestChanged();
}

void PermissionModel::readMode()
{
    const GrokPermissionMode current = m_model->permissionMode();
    m_modeLabel = QString::fromUtf8(label(current));
    m_modeSymbol = QString::fromUtf8(systemImage(current));
    m_modeHelp = PermissionRules::help(current, m_model->activeProvider(), m_model->routingMode());
    m_isFullAccess = PermissionRules::modeTint(current) == Tint::Orange;
    m_canChangeMode = m_model->canChangePermissionMode();
    m_modeChoices.clear();
    for (const GrokPermissionMode mode : allGrokPermissionModes) {
        m_modeChoices.append({ static_cast<int>(mode), PermissionRules::menuTitle(mode, current), QString::fromUtf8(systemImage(mode)),
            mode == current, mode == GrokPermissionMode::fullAccess });
    }
    emit modeChanged();
}

void PermissionModel::respond(const QString& optionID)
{
    m_model->respondToPermission(optionID.toStdString());
}

void PermissionModel::reject()
{
    m_model->rejectPermission();
}

void PermissionModel::setMode(int mode)
{
    const auto chosen = std::find_if(allGrokPermissionModes.begin(), allGrokPermissionModes.end(),
        [mode](GrokPermissionMode candidate) { return static_cast<int>(candidate) == mode; });
    // Full access is entered by the confirmation alone.
    if (chosen != allGrokPermissionModes.end() && *chosen != GrokPermissionMode::fullAccess) {
        m_model->setPermissionMode(*chosen);
    }
}

void PermissionModel::enableFullAccess()
{
    m_model->setPermissionMode(GrokPermissionMode::fullAccess);
}

} // namespace tessarin
