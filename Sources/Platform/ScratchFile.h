#pragma once

#include "Platform/OpenedFile.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tessarin
{

// A new file without a name, for bytes that this program alone needs for a while: nobody can open it, replace it or lead it elsewhere, and
// what it holds is gone with it, also when the program is killed. Any thread, one at a time; giving it up may take as long as the disk
// does.
class ScratchFile
{
public:
    // On the disk of this folder, which is made if needed.
    [[nodiscard]] static Result<ScratchFile, FileError> make(const std::string& folder);
    // A program that is killed while it makes one may leave its empty file: such are removed unless they are new. What is anything else
    // stays, and what can't be removed too.
    static void removeLeftOvers(const std::string& folder);

    // Blocks while the disk works. On failure a part of them may have been written.
    [[nodiscard]] Result<void, FileError> append(std::string_view bytes);
    // All that was appended, to be read.
    [[nodiscard]] OpenedFile finished() &&;

private:
    explicit ScratchFile(Descriptor descriptor) : m_descriptor(std::move(descriptor)) { }

    Descriptor m_descriptor;
    std::uint64_t m_size = 0;
};

} // namespace tessarin
