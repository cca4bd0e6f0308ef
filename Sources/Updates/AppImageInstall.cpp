#include "Updates/AppImageInstall.h"

#include "Platform/FileMoving.h"
#include "Platform/Files.h"

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

// What stands at the start of an AppImage: an ELF file whose padding holds "AI" and the type (the AppImage project's "Image format").
constexpr std::string_view elfMagic = "\177ELF";
constexpr std::size_t appImageMagicOffset = 8;
constexpr std::string_view type1Magic("AI\1", 3);
constexpr std::string_view type2Magic("AI\2", 3);

bool isAppImage(const ByteRope& bytes)
{
    const std::string_view start = bytes.pieces().empty() ? std::string_view() : bytes.pieces().front().bytes;
    if (start.size() < appImageMagicOffset + type1Magic.size() || start.substr(0, elfMagic.size()) != elfMagic) {
        return false;
    }
    const std::string_view magic = start.substr(appImageMagicOffset, type1Magic.size());
    return magic == type1Magic || magic == type2Magic;
}

std::optional<struct stat> statusOf(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

Failure<AppImageInstallError> notReplaced(const std::string& reason)
{
    return { AppImageInstallError{ "The update was not installed. " + reason + "." } };
}

} // namespace

std::optional<AppImageInstall> AppImageInstall::at(const std::string& appImage)
{
    if (appImage.empty() || appImage.front() != '/') {
        return std::nullopt;
    }
    std::error_code error;
    const std::string path = std::filesystem::canonical(appImage, error).string();
    const auto status = error ? std::nullopt : statusOf(path);
    return status && S_ISREG(status->st_mode) ? std::optional(AppImageInstall(path)) : std::nullopt;
}

std::optional<AppImageInstall> AppImageInstall::ofProgram(
    const std::string& appImage, const std::string& appDir, const std::string& executable)
{
    std::error_code error;
    const std::string folder = appDir.empty() || appDir.front() != '/' ? "" : std::filesystem::canonical(appDir, error).string();
    const std::string program = error || folder.empty() ? "" : std::filesystem::canonical(executable, error).string();
    const bool isWithin = !error && !program.empty() && program.rfind(folder + '/', 0) == 0;
    return isWithin ? at(appImage) : std::nullopt;
}

Result<void, AppImageInstallError> AppImageInstall::install(const VerifiedArchive& archive) const
{
    if (!isAppImage(archive.bytes())) {
        return notReplaced("It is no AppImage");
    }
    const auto status = statusOf(m_path);
    if (!status || !S_ISREG(status->st_mode)) {
        return notReplaced("The program is no longer at " + m_path);
    }
    const unsigned mode = (status->st_mode & 0777U) | S_IXUSR;
    const auto kept = keepPrevious(mode);
    if (!kept) {
        return notReplaced("The program can't be kept beside it: " + kept.error().description());
    }
    const auto replaced = replace(archive, mode);
    if (replaced) {
        return {};
    }
    if (kept.value()) {
        takeBack(status->st_ino);
    }
    return notReplaced(replaced.error().description());
}

Result<bool, FileError> AppImageInstall::keepPrevious(unsigned mode) const
{
    if (::link(m_path.c_str(), previousPath().c_str()) == 0) {
        return true;
    }
    if (const auto status = statusOf(previousPath())) {
        return S_ISREG(status->st_mode) ? Result<bool, FileError>(false) : Failure{ FileError{ "Something else has the name", EEXIST } };
    }
    // Not every file system has links. The copy gets its name when it is whole: half of one would count as what has proven to start.
    if (auto removed = removeFile(temporaryPath()); !removed) {
        return Failure{ removed.error() };
    }
    if (auto copied = copyFile(m_path, temporaryPath(), mode); !copied) {
        return Failure{ copied.error() };
    }
    if (::rename(temporaryPath().c_str(), previousPath().c_str()) != 0) {
        const FileError failure = lastFileError();
        ::unlink(temporaryPath().c_str());
        return Failure{ failure };
    }
    return true;
}

// Of a fixed name, so that a program that was killed meanwhile leaves one such file at most, which the next update replaces.
std::string AppImageInstall::temporaryPath() const
{
    return parentPath(m_path) + "/." + lastPathComponent(m_path) + ".update";
}

Result<void, FileError> AppImageInstall::replace(const VerifiedArchive& archive, unsigned mode) const
{
    return writeFileAtomicallyThrough(temporaryPath(), m_path, archive.bytes(), mode);
}

void AppImageInstall::takeBack(ino_t program) const
{
    const auto now = statusOf(m_path);
    if (now && now->st_ino == program) {
        ::unlink(previousPath().c_str());
    } else {
        // The new file has the name, but the disk would not say that it keeps it. When this fails too, both files are still there, and
        // the failure that is told is the first one.
        ::rename(previousPath().c_str(), m_path.c_str());
    }
}

Result<void, AppImageInstallError> AppImageInstall::removePrevious() const
{
    const auto status = statusOf(previousPath());
    if (!status || !S_ISREG(status->st_mode)) {
        return {};
    }
    const auto removed = removeFile(previousPath());
    if (!removed) {
        return Failure{ AppImageInstallError{ "The previous version can't be removed: " + removed.error().description() + "." } };
    }
    return {};
}

} // namespace tessarin
