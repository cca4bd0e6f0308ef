#include "Platform/Files.h"

#include "Platform/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tessarin
{

namespace
{

std::string workingDirectory()
{
    std::vector<char> buffer(4096);
    while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        if (errno != ERANGE) {
            return "/"; // it was deleted, or may not be read
        }
        buffer.resize(2 * buffer.size());
    }
    return buffer.data();
}

std::string accountHomeDirectory()
{
    std::vector<char> buffer(16384);
    passwd record;
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &record, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(2 * buffer.size());
    }
    return found && found->pw_dir ? found->pw_dir : "/";
}

FileError tooLarge()
{
    return { std::generic_category().message(EFBIG), EFBIG };
}

// The size is a hint: a file of /proc has none, and a file may grow meanwhile. One byte more shows the end at once.
Result<std::string, FileError> readAll(const Descriptor& descriptor, std::size_t size, std::size_t byteLimit)
{
    constexpr std::size_t leastRoom = 4096;
    std::string bytes;
    bytes.resize(std::max(leastRoom, size + 1));
    std::size_t used = 0;
    while (true) {
        const ssize_t count = ::read(descriptor.get(), bytes.data() + used, bytes.size() - used);
        if (count < 0 && errno != EINTR) {
            return Failure{ lastFileError() };
        }
        if (count == 0) {
            break;
        }
        used += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (used > byteLimit) {
            return Failure{ tooLarge() };
        }
        if (used == bytes.size()) {
            bytes.resize(2 * bytes.size());
        }
    }
    bytes.resize(used);
    return bytes;
}

} // namespace

FileError lastFileError()
{
    const int code = errno;
    return { std::generic_category().message(code), code };
}

bool fileExists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

bool isDirectory(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isExecutableFile(const std::string& path)
{
    return ::access(path.c_str(), X_OK) == 0;
}

std::string homeDirectory()
{
    const char* home = std::getenv("HOME");
    return home && *home ? home : accountHomeDirectory();
}

std::string expandedTilde(std::string_view path, std::string_view home)
{
    if (path != "~" && !path.starts_with("~/")) {
        return std::string(path);
    }
    std::string expanded(home);
    expanded += path.substr(1);
    return expanded;
}

std::string lastPathComponent(std::string_view path)
{
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    if (path == "/") {
        return "/";
    }
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string standardizedPath(std::string_view path)
{
    std::string absolute(path);
    if (!path.starts_with('/')) {
        absolute = workingDirectory() + "/" + absolute;
    }
    std::vector<std::string_view> components;
    for (std::size_t start = 0; start < absolute.size();) {
        const std::size_t end = std::min(absolute.find('/', start), absolute.size());
        const std::string_view component = std::string_view(absolute).substr(start, end - start);
        if (component == ".." && !components.empty()) {
            components.pop_back();
        } else if (!component.empty() && component != "." && component != "..") {
            components.push_back(component);
        }
        start = end + 1;
    }
    std::string result;
    for (const std::string_view component : components) {
        result += '/';
        result += component;
    }
    return result.empty() ? "/" : result;
}

Result<std::string, FileError> readFile(const std::string& path, std::size_t byteLimit)
{
    // Without waiting, because opening a pipe that nobody writes to would wait for ever.
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0) {
        return Failure{ lastFileError() };
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return Failure{ FileError{ "Not a regular file", EINVAL } };
    }
    if (static_cast<std::size_t>(status.st_size) > byteLimit) {
        return Failure{ tooLarge() };
    }
    return readAll(descriptor, static_cast<std::size_t>(status.st_size), byteLimit);
}

Result<void, FileError> createDirectories(const std::string& path, unsigned mode)
{
    if (isDirectory(path)) {
        return {};
    }
    const std::string standard = standardizedPath(path);
    for (std::size_t end = standard.find('/', 1);; end = standard.find('/', end + 1)) {
        const std::string folder = standard.substr(0, end);
        if (::mkdir(folder.c_str(), static_cast<mode_t>(mode)) != 0) {
            const FileError error = lastFileError();
            if (!isDirectory(folder)) {
                return Failure{ error };
            }
        }
        if (end == std::string::npos) {
            return {};
        }
    }
}

} // namespace tessarin
