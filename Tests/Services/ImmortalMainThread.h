#pragma once

#include "Platform/MainThread.h"

#include <memory>
#include <vector>

namespace tessarin::testing
{

// A main thread of its own for each test. `stop` returns before its work is done, and that work posts, to be run by nobody when the test
// is over: the way to the main thread stays for good.
inline MainThread& immortalMainThread()
{
    static auto& all = *new std::vector<std::unique_ptr<MainThread>>;
    return *all.emplace_back(std::make_unique<MainThread>());
}

} // namespace tessarin::testing
