#include "Platform/Trash.h"

#include "Platform/FileMoving.h"
#include "Platform/PercentEncoding.h"
#include "Platform/Preferences.h"
#include "Platform/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr std::string_view plainInPaths = "-_.!~*'()/"; // beside letters and digits (RFC 2396, 2.3)

std::string homeTrash()
{
    return parentPath(StoreLocations::current().data) + "/Trash";
}

std::string localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    return { text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts) };
}

// Leaves room for a number and for ".trashinfo" within what a name may be long; the whole name is in the record.
std::string_view shortened(std::string_view name)
{
    constexpr std::size_t room = 32;
    if (name.size() <= NAME_MAX - room) {
        return name;
    }
    std::size_t end = 0;
    for (std::size_t next = 0; next <= NAME_MAX - room; next = end + std::max<std::size_t>(1, utf8SequenceLength(name, end))) {
        end = next;
    }
    return name.substr(0, end);
}

struct Trash {
    std::string folder;
    std::string recordedPath; // of the item, as this trash records it

    [[nodiscard]] std::string filesFolder() const { return folder + "/files"; }
    [[nodiscard]] std::string infoFolder() const { return folder + "/info"; }
};

Result<void, FileError> prepare(const Trash& trash)
{
    if (auto created = createDirectories(trash.filesFolder()); !created) {
        return created;
    }
    return createDirectories(trash.infoFolder());
}

// The record comes first: making it is what reserves the name among all programs that use the trash.
Result<void, FileError> put(const std::string& item, const Trash& trash)
{
    constexpr int nameLimit = 10000;
    const std::string record
        = "[Trash Info]\nPath=" + percentEncoded(trash.recordedPath, plainInPaths) + "\nDeletionDate=" + localTime() + "\n";
    const std::string base(shortened(lastPathComponent(item)));
    std::string name = base;
    for (int number = 2; number <= nameLimit; ++number) {
        const std::string info = trash.infoFolder() + "/" + name + ".trashinfo";
        const std::string place = trash.filesFolder() + "/" + name;
        auto reserved = writeNewFile(info, ByteRope(record));
        if (!reserved && reserved.error().code != EEXIST) {
            return reserved;
        }
        struct stat status;
        // A file without a record, left by a trash that was tampered with, isn't replaced either.
        if (reserved && ::lstat(place.c_str(), &status) != 0) {
            auto moved = moveItem(item, place);
            if (!moved) {
                ::unlink(info.c_str());
            }
            return moved;
        }
        if (reserved) {
            ::unlink(info.c_str());
        }
        name = base + "." + std::to_string(number);
    }
    return Failure{ FileError{ "Too many files of this name are in the trash", EEXIST } };
}

std::string resolvedParent(const std::string& item)
{
    const std::string parent = parentPath(item);
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(parent.c_str(), nullptr), &std::free);
    return resolved ? std::string(resolved.get()) : parent;
}

// Where the file system of the folder begins.
std::string topFolderOf(std::string folder, dev_t device)
{
    struct stat status;
    while (folder != "/" && ::stat(parentPath(folder).c_str(), &status) == 0 && status.st_dev == device) {
        folder = parentPath(folder);
    }
    return folder;
}

// A folder of our own and no link, which could lead the files of one person to another.
bool isOwnFolder(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::getuid();
}

bool isSharedTrash(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

// The trash of the file system's top folder, made where there is none; absent where that is not possible.
std::optional<Trash> trashAtTop(const std::string& item, dev_t device)
{
    const std::string parent = resolvedParent(item);
    const std::string top = topFolderOf(parent, device);
    const std::string prefix = top == "/" ? top : top + "/";
    const std::string recorded = (parent + "/" + lastPathComponent(item)).substr(prefix.size());
    const std::string user = std::to_string(::getuid());
    if (isSharedTrash(prefix + ".Trash")) {
        Trash trash{ prefix + ".Trash/" + user, recorded };
        if (prepare(trash) && isOwnFolder(trash.folder)) {
            return trash;
        }
    }
    Trash trash{ prefix + ".Trash-" + user, recorded };
    struct stat status;
    const bool isFree = ::lstat(trash.folder.c_str(), &status) != 0;
    if ((isFree || isOwnFolder(trash.folder)) && prepare(trash)) {
        return trash;
    }
    return std::nullopt;
}

} // namespace

Result<void, FileError> moveToTrash(const std::string& path)
{
    // Whatever is not said in full is not moved: it could be the working directory, or what stands before the zero byte.
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return Failure{ FileError{ std::generic_category().message(EINVAL), EINVAL } };
    }
    const std::string item = standardizedPath(path);
    struct stat status;
    if (::lstat(item.c_str(), &status) != 0) {
        return Failure{ lastFileError() };
    }
    const Trash home{ homeTrash(), item };
    auto prepared = prepare(home);
    struct stat homeStatus;
    const bool isAtHome = prepared && ::stat(home.filesFolder().c_str(), &homeStatus) == 0 && homeStatus.st_dev == status.st_dev;
    if (!isAtHome) {
        if (const auto trash = trashAtTop(item, status.st_dev)) {
            return put(item, *trash);
        }
    }
    if (!prepared) {
        return prepared;
    }
    return put(item, home);
}

} // namespace tessarin
