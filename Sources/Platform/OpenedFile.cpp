#include "Platform/OpenedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

Result<OpenedFile, FileError> OpenedFile::open(const std::string& path)
{
    // Without waiting, because opening a pipe that nobody writes to would wait for ever.
    Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0) {
        return Failure{ lastFileError() };
    }
    if (!S_ISREG(status.st_mode)) {
        return Failure{ FileError{ "Not a regular file", EINVAL } };
    }
    return OpenedFile(std::move(descriptor), static_cast<std::uint64_t>(status.st_size));
}

Result<void, FileError> OpenedFile::read(std::uint64_t offset, char* place, std::size_t count) const
{
    for (std::size_t done = 0; done < count;) {
        const ssize_t taken = ::pread(m_descriptor.get(), place + done, count - done, static_cast<off_t>(offset + done));
        if (taken < 0 && errno != EINTR) {
            return Failure{ lastFileError() };
        }
        if (taken == 0) {
            return Failure{ FileError{ "The file has become shorter", ENODATA } };
        }
        done += taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
    return {};
}

} // namespace tessarin
