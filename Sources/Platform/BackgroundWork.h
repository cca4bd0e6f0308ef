#pragma once

#include <functional>

namespace tessarin
{

// Runs work that waits for a disk on one of a few threads of lower priority, so that neither the main thread nor a queue has to wait.
// Any thread. Works that run at once may end in any order. The end of the program waits for none of them by itself.
void runInBackground(std::function<void()> work);
// Returns when all that was asked for before has been done. Requires: not called from such work.
void finishBackgroundWork();

} // namespace tessarin
