#include "Updates/AppImageInstall.h"

#include "Platform/FileMoving.h"
#include "Platform/Files.h"

#include <cerrno>
#include <filesystem>
#include <mutex>
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

// Of the names that the previous program may get.
constexpr int numberLimit = 1000;

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

struct AppImageInstall::Shared {
    explicit Shared(const std::string& recordPath) : record(recordPath) { }

    const InstallRecord record;
    std::mutex mutex; // held by the operation that is at work
    bool hasInstalled = false; // from then on what is kept is the program that runs; under the mutex
};

std::optional<AppImageInstall> AppImageInstall::at(const std::string& appImage, const std::string& recordPath)
{
    if (appImage.empty() || appImage.front() != '/') {
        return std::nullopt;
    }
    std::error_code error;
    const std::string path = std::filesystem::canonical(appImage, error).string();
    const auto status = error ? std::nullopt : statusOf(path);
    const bool isFile = status && S_ISREG(status->st_mode);
    return isFile ? std::optional(AppImageInstall(path, std::make_shared<Shared>(recordPath))) : std::nullopt;
}

std::optional<AppImageInstall> AppImageInstall::ofProgram(
    const std::string& appImage, const std::string& appDir, const std::string& executable, const std::string& recordPath)
{
    std::error_code error;
    const std::string folder = appDir.empty() || appDir.front() != '/' ? "" : std::filesystem::canonical(appDir, error).string();
    const std::string program = error || folder.empty() ? "" : std::filesystem::canonical(executable, error).string();
    const bool isWithin = !error && !program.empty() && program.rfind(folder + '/', 0) == 0;
    return isWithin ? at(appImage, recordPath) : std::nullopt;
}

std::string AppImageInstall::previousPath(int number) const
{
    return m_path + ".previous" + (number == 1 ? "" : '-' + std::to_string(number));
}

// A name that nobody else comes upon. Requires: one is noted.
std::string AppImageInstall::unfinishedPath(const InstallTraces& traces) const
{
    return parentPath(m_path) + "/.tessarin-update-" + traces.unfinished->text();
}

bool AppImageInstall::isKept(const InstallTraces& traces) const
{
    return traces.previous && NotedFile::at(previousPath(traces.previous->number)) == traces.previous->file;
}

Result<void, FileError> AppImageInstall::note(const InstallTraces& traces) const
{
    return m_shared->record.setTraces(m_path, traces);
}

Result<void, AppImageInstallError> AppImageInstall::install(const VerifiedArchive& archive) const
{
    const std::lock_guard lock(m_shared->mutex);
    if (!isAppImage(archive.bytes())) {
        return notReplaced("It is no AppImage");
    }
    const auto status = statusOf(m_path);
    if (!status || !S_ISREG(status->st_mode)) {
        return notReplaced("The program is no longer at " + m_path);
    }
    const unsigned mode = (status->st_mode & 0777U) | S_IXUSR;
    InstallTraces traces = m_shared->record.traces(m_path);
    if (const auto begun = beginAnew(traces); !begun) {
        return notReplaced(begun.error().description());
    }
    const auto kept = keepPrevious(traces, mode);
    if (!kept) {
        endNote(traces);
        return notReplaced("The program can't be kept beside it: " + kept.error().description());
    }
    const auto replaced = replace(archive, traces, mode);
    if (!replaced && kept.value()) {
        takeBack(status->st_ino, previousPath(traces.previous->number));
    }
    m_shared->hasInstalled = m_shared->hasInstalled || replaced;
    endNote(traces);
    return replaced ? Result<void, AppImageInstallError>() : notReplaced(replaced.error().description());
}

// What a program that was killed has left would not be known any more once there is something else to note.
Result<void, FileError> AppImageInstall::beginAnew(InstallTraces& traces) const
{
    if (traces.unfinished) {
        if (auto removed = removeFile(unfinishedPath(traces)); !removed) {
            return removed;
        }
    }
    traces.unfinished = Uuid::random();
    return {};
}

Result<bool, FileError> AppImageInstall::keepPrevious(InstallTraces& traces, unsigned mode) const
{
    if (isKept(traces)) {
        const auto noted = note(traces);
        return noted ? Result<bool, FileError>(false) : Failure{ noted.error() };
    }
    const auto program = NotedFile::at(m_path);
    if (!program) {
        return Failure{ FileError{ "It is no longer there", ENOENT } };
    }
    for (int number = 1; number <= numberLimit; ++number) {
        if (statusOf(previousPath(number))) {
            continue;
        }
        traces.previous = { number, *program };
        if (const auto noted = note(traces); !noted) {
            return Failure{ noted.error() };
        }
        const auto kept = keepAs(traces, previousPath(number), mode);
        if (kept) {
            return true;
        }
        if (kept.error().code != EEXIST) {
            return Failure{ kept.error() };
        }
    }
    return Failure{ FileError{ "Other files have its name", EEXIST } };
}

Result<void, FileError> AppImageInstall::keepAs(InstallTraces& traces, const std::string& name, unsigned mode) const
{
    if (::link(m_path.c_str(), name.c_str()) == 0) {
        return {};
    }
    if (errno == EEXIST) {
        return Failure{ lastFileError() };
    }
    // Not every file system has links. The copy gets its name when it is whole: half of one would count as what has proven to start.
    const std::string copy = unfinishedPath(traces);
    if (auto copied = copyFile(m_path, copy, mode); !copied) {
        return copied;
    }
    traces.previous->file = NotedFile::at(copy).value_or(NotedFile());
    auto outcome = note(traces);
    if (outcome && ::rename(copy.c_str(), name.c_str()) != 0) {
        outcome = Failure{ lastFileError() };
    }
    if (!outcome) {
        ::unlink(copy.c_str());
    }
    return outcome;
}

Result<void, FileError> AppImageInstall::replace(const VerifiedArchive& archive, const InstallTraces& traces, unsigned mode) const
{
    return writeFileAtomicallyThrough(unfinishedPath(traces), m_path, archive.bytes(), mode);
}

void AppImageInstall::takeBack(ino_t program, const std::string& previous) const
{
    const auto now = statusOf(m_path);
    if (now && now->st_ino == program) {
        ::unlink(previous.c_str());
    } else {
        // The new file has the name, but the disk would not say that it keeps it. When this fails too, both files are still there, and
        // the failure that is told is the first one.
        ::rename(previous.c_str(), m_path.c_str());
    }
}

// Nothing is unfinished any more. Where that can't be noted, what stays noted is the name of a file that is not there.
void AppImageInstall::endNote(InstallTraces traces) const
{
    traces.unfinished.reset();
    if (!isKept(traces)) {
        traces.previous.reset();
    }
    static_cast<void>(note(traces));
}

Result<void, AppImageInstallError> AppImageInstall::dropLeftOvers() const
{
    const std::lock_guard lock(m_shared->mutex);
    const InstallTraces traces = m_shared->record.traces(m_path);
    if (m_shared->hasInstalled || traces == InstallTraces()) {
        return {};
    }
    auto removed = traces.unfinished ? removeFile(unfinishedPath(traces)) : Result<void, FileError>();
    if (removed && isKept(traces)) {
        removed = removeFile(previousPath(traces.previous->number));
    }
    if (removed) {
        removed = note({});
    }
    if (!removed) {
        return Failure{ AppImageInstallError{ "What an update has left can't be removed: " + removed.error().description() + "." } };
    }
    return {};
}

} // namespace tessarin
