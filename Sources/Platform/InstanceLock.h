#pragma once

#include "Platform/MainThread.h"
#include "Platform/Preferences.h"

#include <functional>
#include <memory>

namespace tessarin
{

// Two programs never write one store: the first start holds a lock beside the stores, a second one asks it to raise its window and ends.
// The lock goes with the process, however it ends.
class InstanceLock
{
public:
    // Absent when another process holds the stores; it has then been asked to raise its window.
    // `onRaise` runs on the main thread whenever a later start asks.
    [[nodiscard]] static std::unique_ptr<InstanceLock> acquire(const StoreLocations& locations, MainThread& mainThread, std::function<void()> onRaise);
    ~InstanceLock();

private:
    struct Implementation;
    explicit InstanceLock(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
