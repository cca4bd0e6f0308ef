#pragma once

#include "Platform/MainThread.h"
#include "Platform/Preferences.h"

#include <functional>
#include <memory>

namespace tessarin
{

// Two programs never write one store: the first start holds a lock beside the stores, a second one asks it to raise its window and ends.
// The lock is a locked file `instance.lock` in the data folder and goes with the process, however it ends; the question is a
// message to the socket `instance.socket` beside it, which only the person's own account may use.
// Main thread only.
class InstanceLock
{
public:
    // Absent when another process holds the stores; it has then been asked to raise its window.
    // `onRaise` runs on the main thread whenever a later start asks, once for questions that come faster than it runs.
    // A folder that cannot hold the lock does not keep the program from starting: there is nothing to protect in it.
    [[nodiscard]] static std::unique_ptr<InstanceLock> acquire(
        const StoreLocations& locations, MainThread& mainThread, std::function<void()> onRaise);
    // Gives the stores free. `onRaise` does not run any more.
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

private:
    struct Implementation;
    explicit InstanceLock(std::shared_ptr<Implementation> implementation);
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
