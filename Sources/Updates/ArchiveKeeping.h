#pragma once

#include "Updates/UpdateSignature.h"

#include <string>
#include <string_view>

namespace tessarin::ArchiveKeeping
{

// The name that an archive from this address gets in a folder of the person: the last part of the address's path with nothing in it but
// ASCII letters, digits and "._+-", not hidden and not long; where nothing of it is left, one of the version. Pure.
[[nodiscard]] std::string fileName(std::string_view url, std::string_view version);

// Writes the verified bytes into a new file of that name in the folder, which is made if needed, and never over another: a taken name
// gets a number. The file cannot be run as it is. The path of the file; on failure nothing is left behind. Blocks while the disk works.
[[nodiscard]] Result<std::string, FileError> keep(const VerifiedArchive& archive, const std::string& folder, const std::string& name);

} // namespace tessarin::ArchiveKeeping
