#pragma once

#include "Services/RuntimeChild.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace tessarin
{

// Stands where the process of a RuntimeChild stands otherwise: the client reads what it is given here. On the client's queue only.
struct RuntimeChildPeer {
    // As a launch, but nothing is launched. What the client writes goes to `onLine`, or nowhere.
    static void connect(RuntimeChild& child, std::function<void(std::string line)> onLine = nullptr)
    {
        child.m_queue->assertCurrent();
        child.m_isConnected = true;
        child.m_input = std::move(onLine);
    }
    // One read.
    static void read(RuntimeChild& child, std::string_view chunk) { child.consume(chunk); }
    static void end(RuntimeChild& child) { child.processEnded({}); }
};

} // namespace tessarin
