#pragma once

#include "Platform/Files.h"

#include <string>

namespace tessarin
{

// Moves a file, a link (not what it leads to) or a folder to the desktop's trash, from where the person can bring it back. Any thread;
// blocks while the disk works. Fails for a path that is not absolute. On failure, also of what is already gone, it is where it was.
//
// On Linux as freedesktop.org describes the trash, version 1.0: to the trash in $XDG_DATA_HOME for what lies on the same file system, else
// to that of the file system's top folder, `.Trash/<uid>` or `.Trash-<uid>`; where neither can be used it is copied to the former.
[[nodiscard]] Result<void, FileError> moveToTrash(const std::string& path);

} // namespace tessarin
