#include "Platform/Descriptor.h"
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

namespace tessarin
{

namespace
{

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

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

Result<void, FileError> fillNewFile(const std::string& path, const ByteRope& bytes, unsigned mode)
{
    Descriptor descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor.isOpen()) {
        return Failure{ lastFileError() };
    }
    // By name of the mode, not by what the process's mask leaves of it.
    if (::fchmod(descriptor.get(), static_cast<mode_t>(mode)) != 0) {
        return Failure{ lastFileError() };
    }
    if (const auto written = writePieces(descriptor.get(), bytes.pieces()); !written) {
        return written;
    }
    if (const auto synchronized = synchronize(descriptor.get()); !synchronized) {
        return synchronized;
    }
    // A full quota may be told only here. Not repeated after EINTR: the number is free by then and may be another thread's.
    if (::close(descriptor.release()) != 0 && errno != EINTR) {
        return Failure{ lastFileError() };
    }
    return {};
}

Result<void, FileError> copyToNewFile(const std::string& from, const std::string& to)
{
    auto bytes = readFile(from);
    if (!bytes) {
        return Failure{ bytes.error() };
    }
    auto filled = fillNewFile(to, ByteRope(std::move(bytes).value()), 0600);
    if (!filled && filled.error().code != EEXIST) {
        ::unlink(to.c_str());
    }
    return filled;
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
    if (const auto copied = copyToNewFile(path, name); copied || copied.error().code == EEXIST) {
        return copied;
    }
    return renameToFreeName(path, name);
}

} // namespace

Result<void, FileError> writeFileAtomically(const std::string& path, const ByteRope& bytes, unsigned mode)
{
    return writeFileAtomicallyThrough(folderOf(path) + "/.tessarin-" + Uuid::random().text(), path, bytes, mode);
}

Result<void, FileError> writeFileAtomicallyThrough(
    const std::string& temporaryPath, const std::string& path, const ByteRope& bytes, unsigned mode)
{
    if (const auto removed = removeFile(temporaryPath); !removed) {
        return removed;
    }
    auto outcome = fillNewFile(temporaryPath, bytes, mode);
    if (outcome && ::rename(temporaryPath.c_str(), path.c_str()) != 0) {
        outcome = Failure{ lastFileError() };
    }
    if (!outcome) {
        ::unlink(temporaryPath.c_str());
        return outcome;
    }
    return synchronizeFolder(folderOf(path));
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
        const auto kept = keepUnder(path, name);
        if (kept) {
            return synchronizeFolder(folderOf(name));
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
