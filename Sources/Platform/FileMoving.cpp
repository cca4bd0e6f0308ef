#include "Platform/FileMoving.h"

#include "Platform/Uuid.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace tessarin
{

namespace
{

namespace filesystem = std::filesystem;

FileError fileError(const std::error_code& code)
{
    return { code.message(), code.value() };
}

void removeTree(const std::string& path)
{
    // What can't be removed is a copy too many, and no reason to say that moving failed.
    std::error_code ignored;
    filesystem::remove_all(path, ignored);
}

Result<void, FileError> moveAcross(const std::string& from, const std::string& to)
{
    // Under a name of its own until it is whole, so that a program that is killed meanwhile leaves no half of it at the new place.
    const std::string copy = to + ".tessarin-" + Uuid::random().text();
    std::error_code error;
    filesystem::copy(from, copy, filesystem::copy_options::recursive | filesystem::copy_options::copy_symlinks, error);
    if (error) {
        removeTree(copy);
        return Failure{ fileError(error) };
    }
    // All of a tree at once; this is rare and not worth a walk of its own.
    ::sync();
    if (::rename(copy.c_str(), to.c_str()) != 0) {
        const FileError failure = lastFileError();
        removeTree(copy);
        return Failure{ failure };
    }
    removeTree(from);
    return {};
}

} // namespace

std::string parentPath(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

Result<void, FileError> moveItem(const std::string& from, const std::string& to)
{
    if (::rename(from.c_str(), to.c_str()) == 0) {
        return {};
    }
    return errno == EXDEV ? moveAcross(from, to) : Failure{ lastFileError() };
}

} // namespace tessarin
