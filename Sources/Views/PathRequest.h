#pragma once

#include "Views/DesktopPortal.h"

#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

namespace tessarin
{

// One question to the desktop's dialog for a path, from the call to the answer. It deletes itself when it has been answered.
class PathRequest : public QObject
{
    Q_OBJECT
public:
    PathRequest(DesktopPortal::PathDialog dialog, std::function<void(DesktopPortal::PathAnswer)> done, QObject* parent);

    // The steps, in their order. `done` is called exactly once: a portal that does not say what it can within two seconds offers nothing,
    // and the end of one is the end of its dialog.
    void askVersion();

private:
    void watchPortal();
    void open();
    void follow(const QDBusObjectPath& path);
    Q_SLOT void onResponse(uint code, const QVariantMap& results);
    void finish(DesktopPortal::PathAnswer answer);

    DesktopPortal::PathDialog m_dialog;
    std::function<void(DesktopPortal::PathAnswer)> m_done;
    QString m_path;
};

} // namespace tessarin
