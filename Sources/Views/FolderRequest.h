#pragma once

#include "Views/DesktopPortal.h"

#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

namespace tessarin
{

// One question to the desktop's folder dialog, from the call to the answer. It deletes itself when it has been answered.
class FolderRequest : public QObject
{
    Q_OBJECT
public:
    FolderRequest(DesktopPortal::FolderDialog dialog, std::function<void(DesktopPortal::FolderAnswer)> done, QObject* parent);

    // The steps, in their order. `done` is called exactly once.
    void askVersion();

private:
    void open();
    void follow(const QDBusObjectPath& path);
    Q_SLOT void onResponse(uint code, const QVariantMap& results);
    void finish(DesktopPortal::FolderAnswer answer);

    DesktopPortal::FolderDialog m_dialog;
    std::function<void(DesktopPortal::FolderAnswer)> m_done;
    QString m_path;
};

} // namespace tessarin
