#pragma once

#include "Models/Workspace.h"

#include <string>

namespace tessarin
{

// The JSON texts of the stored records, appended to `out`. A task is written in three steps, opening, entries separated by commas, and
// closing, and a project likewise around its tasks, so that a writer can put what it has kept in between.
// Those that return a boolean return false for an instant that is not finite; what they appended by then is of no use.

void openProject(std::string& out, const Workspace& workspace);
void closeProject(std::string& out);
void openTask(std::string& out, const ChatThread& thread);
[[nodiscard]] bool closeTask(std::string& out, const ChatThread& thread);
[[nodiscard]] bool appendEntry(std::string& out, const ChatEntry& entry);

} // namespace tessarin
