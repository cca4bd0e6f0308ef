#pragma once

#include "Platform/BackgroundWork.h"
#include "Platform/MainThread.h"

#include <memory>
#include <utility>

namespace tessarin
{

// Runs `work` in the background and hands its outcome to `finish` on the main thread, unless `isWanted` is gone by then. What both hold
// besides is given up where it was used last. `mainThread` outlives both.
template <class Work, class Finish>
void runInBackgroundThen(MainThread& mainThread, std::weak_ptr<void> isWanted, Work work, Finish finish, AtEnd atEnd)
{
    runInBackground(
        [&mainThread, isWanted = std::move(isWanted), work = std::move(work), finish = std::move(finish)] {
            mainThread.post([isWanted, finish, outcome = work()] {
                if (!isWanted.expired()) {
                    finish(outcome);
                }
            });
        },
        atEnd);
}

} // namespace tessarin
