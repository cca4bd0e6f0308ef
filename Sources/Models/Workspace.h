#pragma once

#include "Models/ChatThread.h"

namespace tessarin
{

// One project folder.
struct Workspace {
    Uuid id;
    std::string name; // last component of the path, fixed at creation
    std::string path; // absolute, standardised
    std::vector<ChatThread> threads; // newest first
    bool operator==(const Workspace&) const = default;

    // With a fresh id and one new task.
    [[nodiscard]] static Workspace make(std::string path);
};

} // namespace tessarin
