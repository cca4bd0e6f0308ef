#include "Platform/ScratchFile.h"

#include "Platform/Uuid.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace tessarin
{

Result<ScratchFile, FileError> ScratchFile::make(const std::string& folder)
{
    if (const auto made = createDirectories(folder); !made) {
        return Failure{ made.error() };
    }
    // Not every file system has files that never had a name. A program that is killed just here leaves an empty one.
    const std::string path = folder + "/." + Uuid::random().text();
    Descriptor descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor.isOpen() || ::unlink(path.c_str()) != 0) {
        return Failure{ lastFileError() };
    }
    return ScratchFile(std::move(descriptor));
}

void ScratchFile::removeLeftOvers(const std::string& folder)
{
    namespace fs = std::filesystem;
    constexpr std::chrono::minutes leastAge{ 1 }; // the one that is just being made is not taken away from its maker
    std::error_code ignored;
    const auto newest = fs::file_time_type::clock::now() - leastAge;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end; entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        const bool isOurs = name.starts_with('.') && Uuid::parse(name.substr(1)) && fs::is_regular_file(entry->symlink_status(ignored))
            && entry->file_size(ignored) == 0 && entry->last_write_time(ignored) < newest;
        if (isOurs) {
            fs::remove(entry->path(), ignored);
        }
    }
}

Result<void, FileError> ScratchFile::append(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_descriptor.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return Failure{ lastFileError() };
        }
        const std::size_t count = written > 0 ? static_cast<std::size_t>(written) : 0;
        bytes.remove_prefix(count);
        m_size += count;
    }
    return {};
}

OpenedFile ScratchFile::finished() &&
{
    return OpenedFile(std::move(m_descriptor), m_size);
}

} // namespace tessarin
