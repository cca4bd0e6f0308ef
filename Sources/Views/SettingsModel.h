#pragma once

#include "App/ModelChange.h"
#include "Views/FilePicker.h"
#include "Views/RoutingSettingsModel.h"
#include "Views/RuntimeSettingsModel.h"

#include <QObject>
#include <QVariant>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

// What the settings window shows of the routing and of the runtimes. Made when the settings are opened for the first time. Main thread
// only; owned by WindowModel.
class SettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its model of the settings")
    Q_PROPERTY(tessarin::RoutingSettingsModel* routing READ routing CONSTANT)
    Q_PROPERTY(QVariantList runtimes READ runtimes CONSTANT) // each a RuntimeSettingsModel, in the order of the automatic routing
    Q_PROPERTY(tessarin::FilePicker* filePicker READ filePicker CONSTANT)
public:
    // What the settings read and write besides the model; all of it outlives them.
    struct World {
        Preferences& preferences;
        Desktop& desktop;
        FilePicker& filePicker; // that the desktop falls back on
    };
    SettingsModel(const std::shared_ptr<AppModel>& model, const World& world);

    void note(const ModelChange& change);

    [[nodiscard]] RoutingSettingsModel* routing() { return &m_routing; }
    [[nodiscard]] QVariantList runtimes() const;
    [[nodiscard]] RuntimeSettingsModel* runtime(AgentProvider provider) const;
    [[nodiscard]] FilePicker* filePicker() { return &m_filePicker; }

private:
    RoutingSettingsModel m_routing;
    QList<RuntimeSettingsModel*> m_runtimes; // children of this object
    FilePicker& m_filePicker;
};

} // namespace tessarin
