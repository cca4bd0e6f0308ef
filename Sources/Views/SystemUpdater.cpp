#include "Views/SystemUpdater.h"

#include "Platform/Preferences.h"
#include "Views/TlsTrust.h"

#include <QCoreApplication>
#include <QStandardPaths>

namespace tessarin
{

UpdateFlow::Surroundings systemUpdateSurroundings(Preferences& preferences, MainThread& mainThread, Desktop& desktop)
{
    const std::string ownFolder = preferences.locations().data + "/updates";
    const std::string incoming = ownFolder + "/incoming";
    const std::string downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation).toStdString();
    return { preferences, desktop, mainThread,
        [&mainThread, incoming] {
            return UpdateFetch::Surroundings{ mainThread, incoming, UpdateKey::builtIn(), tlsTrust() };
        },
        QCoreApplication::applicationVersion().toStdString(), UpdateSystem::current(),
        AppImageInstall::ofProgram(qEnvironmentVariable("APPIMAGE").toStdString(), qEnvironmentVariable("APPDIR").toStdString(),
            QCoreApplication::applicationFilePath().toStdString(), ownFolder + "/installed.json"),
        { downloads, ownFolder }, incoming };
}

} // namespace tessarin
