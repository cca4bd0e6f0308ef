#include "Views/SystemUpdater.h"

#include "Views/AppcastUpdater.h"

#include <memory>

namespace tessarin
{

SoftwareUpdaterFactory systemUpdater(Preferences& preferences, MainThread& mainThread, UpdateFlow& flow)
{
    return [&preferences, &mainThread, &flow](SoftwareUpdaterDelegate& delegate) {
        return std::make_unique<AppcastUpdater>(delegate, AppcastUpdater::Surroundings{ preferences, mainThread, flow });
    };
}

} // namespace tessarin
