#pragma once

#include "Services/RuntimeChild.h"

#include <string_view>

namespace tessarin
{

// Stands where the process of a RuntimeChild stands otherwise: what the client writes goes nowhere, and it reads what it is given. On the
// client's queue only.
struct RuntimeChildPeer {
    // As a launch, but nothing is launched.
    static void connect(RuntimeChild& child)
    {
        child.m_queue->assertCurrent();
        child.m_isConnected = true;
    }
    // One read.
    static void read(RuntimeChild& child, std::string_view chunk) { child.consume(chunk); }
    static void end(RuntimeChild& child) { child.processEnded({}); }
};

} // namespace tessarin
