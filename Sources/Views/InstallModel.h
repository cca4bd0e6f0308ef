#pragma once

#include "App/ModelChange.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// How a person without a runtime gets one. Main thread only; owned by WindowModel.
class InstallModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its install model")
    Q_PROPERTY(QString command MEMBER m_command CONSTANT)
    Q_PROPERTY(bool hasCopiedCommand MEMBER m_hasCopiedCommand NOTIFY copiedCommandChanged)
    Q_PROPERTY(QString copiedCommand MEMBER m_copiedCommand NOTIFY copiedCommandChanged)
public:
    explicit InstallModel(QObject* parent = nullptr);

    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

    Q_INVOKABLE void copyCommandAndOpenTerminal();
    Q_INVOKABLE void dismissCopiedCommand();
    // Looks again for the runtimes.
    Q_INVOKABLE void checkAgain();

signals:
    void copiedCommandChanged();

private:
    std::shared_ptr<AppModel> m_model;
    QString m_command;
    QString m_copiedCommand;
    bool m_hasCopiedCommand = false;
};

} // namespace tessarin
