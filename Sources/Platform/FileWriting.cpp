#include "Platform/Descriptor.h"
#include "Platform/FileMoving.h"
#include "Platform/Files.h"
#include "Platform/Uuid.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{

namespace
{

// Fewer than any system's limit of buffers in one call, and far fewer bytes than its limit of those.
constexpr std::size_t buffersPerCall = 512;

// Writes the pieces in as few calls as possible, also when a call writes less than it was given.
Result<void, FileError> writePieces(int descriptor, const std::vector<ByteRope::Piece>& pieces)
{
    std::array<iovec, buffersPerCall> buffers;
    std::size_t piece = 0;
    std::size_t offset = 0; // in the first piece that is not written whole
    while (piece < pieces.size()) {
        std::size_t count = 0;
        for (std::size_t next = piece; next < pieces.size() && count < buffers.size(); ++next, ++count) {
            const std::size_t skipped = next == piece ? offset : 0;
            buffers[count] = { const_cast<char*>(pieces[next].bytes.data()) + skipped, pieces[next].bytes.size() - skipped };
        }
        const ssize_t written = ::writev(descriptor, buffers.data(), static_cast<int>(count));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return Failure{ lastFileError() };
        }
        offset += static_cast<std::size_t>(written);
        while (piece < pieces.size() && offset >= pieces[piece].bytes.size()) {
            offset -= pieces[piece].bytes.size();
            ++piece;
        }
    }
    return {};
}

Result<void, FileError> synchronize(int descriptor)
{
#if defined(__APPLE__)
    // There fsync leaves the bytes in the drive's cache.
    const int outcome = ::fcntl(descriptor, F_FULLFSYNC);
#else
    const int outcome = ::fsync(descriptor);
#endif
    if (outcome != 0) {
        return Failure{ lastFileError() };
    }
    return {};
}

// So that the new name survives a loss of power, not only the new file.
Result<void, FileError> synchronizeFolder(const std::string& folder)
{
    const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen()) {
        return Failure{ lastFileError() };
    }
    // Some network file systems can't do this for a folder and say so; the file itself is safe by then.
    if (::fsync(descriptor.get()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        return Failure{ lastFileError() };
    }
    return {};
}

// Fills a file that nobody has yet; what could not be filled is removed.
template <class Fill>
Result<void, FileError> makeNewFile(const std::string& path, unsigned mode, const Fill& fill)
{
    Descriptor descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor.isOpen()) {
        return Failure{ lastFileError() };
    }
    // By name of the mode, not by what the process's mask leaves of it.
    Result<void, FileError> outcome;
    if (::fchmod(descriptor.get(), static_cast<mode_t>(mode)) != 0) {
        outcome = Failure{ lastFileError() };
    }
    if (outcome) {
        outcome = fill(descriptor.get());
    }
    if (outcome) {
        outcome = synchronize(descriptor.get());
    }
    // A full quota may be told only here. Not repeated after EINTR: the number is free by then and may be another thread's.
    if (::close(descriptor.release()) != 0 && errno != EINTR && outcome) {
        outcome = Failure{ lastFileError() };
    }
    if (!outcome) {
        ::unlink(path.c_str());
    }
    return outcome;
}

Result<void, FileError> writeAll(int descriptor, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno != EINTR) {
            return Failure{ lastFileError() };
        }
        const std::size_t count = written > 0 ? static_cast<std::size_t>(written) : 0;
        bytes += count;
        size -= count;
    }
    return {};
}

// Not to the end of the file, which may grow as fast as it is copied.
Result<void, FileError> copyBytes(int from, int to, std::uint64_t missing, const CopyEnd& isToEnd)
{
    std::vector<char> buffer(std::size_t{ 256 } * 1024);
    while (missing > 0) {
        if (isToEnd && isToEnd(missing)) {
            return Failure{ FileError{ "The copy was ended", ECANCELED } };
        }
        const ssize_t count = ::read(from, buffer.data(), static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), missing)));
        if (count < 0 && errno != EINTR) {
            return Failure{ lastFileError() };
        }
        if (count == 0) {
            return {}; // it has become shorter
        }
        if (count > 0) {
            missing -= static_cast<std::uint64_t>(count);
            if (auto written = writeAll(to, buffer.data(), static_cast<std::size_t>(count)); !written) {
                return written;
            }
        }
    }
    return {};
}

// Requires: nothing has the name `to`; another program that takes it in between would lose its file.
Result<void, FileError> renameToFreeName(const std::string& from, const std::string& to)
{
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0) {
        return Failure{ FileError{ "File exists", EEXIST } };
    }
    if (::rename(from.c_str(), to.c_str()) != 0) {
        return Failure{ lastFileError() };
    }
    return {};
}

Result<void, FileError> keepUnder(const std::string& path, const std::string& name)
{
    if (::link(path.c_str(), name.c_str()) == 0) {
        return {};
    }
    if (errno == EEXIST || errno == ENOENT) {
        return Failure{ lastFileError() };
    }
    if (auto copied = copyFile(path, name); copied || copied.error().code == EEXIST) {
        return copied;
    }
    return renameToFreeName(path, name);
}

} // namespace

Result<void, FileError> writeNewFile(const std::string& path, const ByteRope& bytes, unsigned mode)
{
    return makeNewFile(path, mode, [&](int descriptor) { return writePieces(descriptor, bytes.pieces()); });
}

Result<void, FileError> copyFile(const std::string& from, const std::string& to, unsigned mode, const CopyEnd& isToEnd)
{
    // Without waiting, because opening a pipe that nobody writes to would wait for ever.
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!source.isOpen() || ::fstat(source.get(), &status) != 0) {
        return Failure{ lastFileError() };
    }
    if (!S_ISREG(status.st_mode)) {
        return Failure{ FileError{ "Not a regular file", EINVAL } };
    }
    return makeNewFile(
        to, mode, [&](int descriptor) { return copyBytes(source.get(), descriptor, static_cast<std::uint64_t>(status.st_size), isToEnd); });
}

Result<void, FileError> writeFileAtomically(const std::string& path, const ByteRope& bytes, unsigned mode)
{
    return writeFileAtomicallyThrough(parentPath(path) + "/.tessarin-" + Uuid::random().text(), path, bytes, mode);
}

Result<void, FileError> writeFileAtomicallyThrough(
    const std::string& temporaryPath, const std::string& path, const ByteRope& bytes, unsigned mode)
{
    if (auto removed = removeFile(temporaryPath); !removed) {
        return removed;
    }
    if (auto written = writeNewFile(temporaryPath, bytes, mode); !written) {
        return written;
    }
    if (::rename(temporaryPath.c_str(), path.c_str()) != 0) {
        const FileError error = lastFileError();
        ::unlink(temporaryPath.c_str());
        return Failure{ error };
    }
    return synchronizeFolder(parentPath(path));
}

Result<void, FileError> removeFile(const std::string& path)
{
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        return Failure{ lastFileError() };
    }
    return {};
}

Result<void, FileError> keepFileAside(const std::string& path, const std::string& asidePath)
{
    constexpr int nameLimit = 1000;
    std::string name = asidePath;
    for (int number = 2; number <= nameLimit; ++number) {
        auto kept = keepUnder(path, name);
        if (kept) {
            return synchronizeFolder(parentPath(name));
        }
        if (kept.error().code == ENOENT) {
            return {};
        }
        if (kept.error().code != EEXIST) {
            return kept;
        }
        name = asidePath + "-" + std::to_string(number);
    }
    return Failure{ FileError{ "Too many files were kept aside already", EEXIST } };
}

} // namespace tessarin
