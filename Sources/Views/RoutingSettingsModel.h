#pragma once

#include "App/ModelChange.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// How prompts find their runtime, in the settings. Main thread only; owned by SettingsModel.
class RoutingSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its model of the routing")
    Q_PROPERTY(QStringList choices MEMBER m_choices CONSTANT)
    Q_PROPERTY(int current MEMBER m_current NOTIFY changed) // which of the choices
    Q_PROPERTY(QString detail MEMBER m_detail NOTIFY changed) // what the current choice means
    Q_PROPERTY(bool canChange MEMBER m_canChange NOTIFY changed)
public:
    explicit RoutingSettingsModel(std::shared_ptr<AppModel> model, QObject* parent = nullptr);

    void note(const ModelChange& change);

    // Nothing happens while it can't be changed.
    Q_INVOKABLE void choose(int choice);

signals:
    void changed();

private:
    void read();

    const std::shared_ptr<AppModel> m_model;
    QStringList m_choices;
    int m_current = 0;
    QString m_detail;
    bool m_canChange = false;
};

} // namespace tessarin
