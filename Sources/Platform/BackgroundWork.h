#pragma once

#include <functional>

namespace tessarin
{

// Runs work that waits for a disk on one of a few threads of lower priority, so that neither the main thread nor a queue has to wait.
// Any thread. Works that run at once may end in any order. The end of the program waits for none of them by itself.
// `atEnd` says what endBackgroundWork does with work that has not begun.
enum class AtEnd { finished, dropped };
void runInBackground(std::function<void()> work, AtEnd atEnd = AtEnd::finished);
// Returns when all that was asked for before has been done. Requires: not called from such work.
void finishBackgroundWork();
// Drops what has not begun and may be dropped; returns when the rest has been done. Requires: not called from such work.
void endBackgroundWork();
// Any thread: whether endBackgroundWork waits. Long work asks, and gives up what would keep it waiting.
[[nodiscard]] bool isBackgroundWorkEnding();

} // namespace tessarin
