#pragma once

#include "Platform/Files.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tessarin
{

// Files and folders that get a new name. None of these replaces what has that name already. All block while the disk works.

// What the last component stands in: "." for a bare name, "/" for what stands in the root.
[[nodiscard]] std::string parentPath(const std::string& path);

// A file of these bytes, which are on the disk when this returns. EEXIST when something has the name; on other failures nothing has it.
[[nodiscard]] Result<void, FileError> writeNewFile(const std::string& path, const ByteRope& bytes, unsigned mode = 0600);
// Asked between the parts of a copy, with the number of bytes that are missing yet: true ends it.
using CopyEnd = std::function<bool(std::uint64_t)>;
// The same with the bytes of a regular file, links followed: as many as it has when the copy begins, though it may grow meanwhile.
// Pipes, devices and folders are refused. ECANCELED when `isToEnd` said so.
[[nodiscard]] Result<void, FileError> copyFile(
    const std::string& from, const std::string& to, unsigned mode = 0600, const CopyEnd& isToEnd = {});

// Gives a file, a link or a folder with all that is in it another place, also on another file system: there it is copied, and removed
// here once the whole copy is on the disk. On failure it is where it was. Requires: nothing has the name `to`.
[[nodiscard]] Result<void, FileError> moveItem(const std::string& from, const std::string& to);

} // namespace tessarin
