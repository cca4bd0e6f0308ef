#pragma once

#include "Updates/SoftwareUpdater.h"
#include "Views/UpdateFlow.h"

namespace tessarin
{

class MainThread;

// What an update means on this machine: the version that runs, the key that this program was built with, where it runs from, and the
// folders of the person. The references outlive it.
[[nodiscard]] UpdateFlow::Surroundings systemUpdateSurroundings(Preferences& preferences, MainThread& mainThread, Desktop& desktop);

// Makes the updater of this system: Sparkle's on macOS, which has windows of its own, elsewhere ours, which shows itself by the flow.
[[nodiscard]] SoftwareUpdaterFactory systemUpdater(Preferences& preferences, MainThread& mainThread, UpdateFlow& flow);

} // namespace tessarin
