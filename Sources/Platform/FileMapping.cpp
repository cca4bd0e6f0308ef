#include "Platform/FileMapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

std::shared_ptr<const FileMapping> FileMapping::ofSameBytes(const std::string& path, std::string_view bytes)
{
    const int descriptor = bytes.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return nullptr;
    }
    // Taken first: what is written into the file while it is compared counts as a change.
    const Stamp stamp = stampOf(descriptor);
    void* address = stamp.size == static_cast<std::int64_t>(bytes.size())
        ? ::mmap(nullptr, bytes.size(), PROT_READ, MAP_PRIVATE, descriptor, 0)
        : MAP_FAILED;
    if (address == MAP_FAILED) {
        ::close(descriptor);
        return nullptr;
    }
    const std::string_view mapped(static_cast<const char*>(address), bytes.size());
    std::shared_ptr<const FileMapping> mapping(new FileMapping(descriptor, mapped, stamp));
    if (mapped != bytes || !mapping->isUnchanged()) {
        return nullptr;
    }
    mapping->release();
    return mapping;
}

FileMapping::~FileMapping()
{
    ::munmap(const_cast<char*>(m_bytes.data()), m_bytes.size());
    ::close(m_descriptor);
}

bool FileMapping::isUnchanged() const
{
    return stampOf(m_descriptor) == m_stamp;
}

void FileMapping::release() const
{
    ::madvise(const_cast<char*>(m_bytes.data()), m_bytes.size(), MADV_DONTNEED);
}

FileMapping::Stamp FileMapping::stampOf(int descriptor)
{
    struct stat status {
    };
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return { 0, 0, -1 };
    }
#if defined(__APPLE__)
    const timespec& changed = status.st_mtimespec;
#else
    const timespec& changed = status.st_mtim;
#endif
    return { changed.tv_sec, changed.tv_nsec, status.st_size };
}

} // namespace tessarin
