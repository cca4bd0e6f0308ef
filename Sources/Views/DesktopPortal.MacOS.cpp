#include "Views/DesktopPortal.h"

#include <QProcess>

namespace tessarin
{

// macOS has its own ways: Qt follows its appearance, and its file manager is asked by `open`.

DesktopPortal::DesktopPortal(QObject* parent) : QObject(parent) { }

void DesktopPortal::readSetting(const QString&, const QString&, SettingRead done)
{
    done(std::nullopt);
}

void DesktopPortal::choosePath(const PathDialog&, std::function<void(PathAnswer)> done)
{
    done({});
}

void DesktopPortal::showInFileManager(const QString& path, std::function<void(bool)> done)
{
    done(QProcess::startDetached(QStringLiteral("/usr/bin/open"), { QStringLiteral("-R"), path }));
}

} // namespace tessarin
