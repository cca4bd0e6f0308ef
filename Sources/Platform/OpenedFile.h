#pragma once

#include "Platform/Descriptor.h"
#include "Platform/Files.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessarin
{

// A regular file that is read in parts. It stays the file that was opened, whatever becomes of its name. Any thread, several at once.
class OpenedFile
{
public:
    // Pipes, devices and folders are refused; links are followed. Never waits for somebody who writes.
    [[nodiscard]] static Result<OpenedFile, FileError> open(const std::string& path);

    // As it was when the file was opened.
    [[nodiscard]] std::uint64_t size() const { return m_size; }
    // Fills the place with what stands from `offset` on. Fails when the file can't be read, and when it has no longer so many bytes.
    [[nodiscard]] Result<void, FileError> read(std::uint64_t offset, char* place, std::size_t count) const;

private:
    friend class ScratchFile;
    OpenedFile(Descriptor descriptor, std::uint64_t size) : m_descriptor(std::move(descriptor)), m_size(size) { }

    Descriptor m_descriptor;
    std::uint64_t m_size;
};

} // namespace tessarin
