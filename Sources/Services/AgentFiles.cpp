#include "Services/AgentFiles.h"

#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Services/WholeNumber.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <system_error>

namespace tessarin::AgentFiles
{

namespace
{

ACPClientError invalidRequest(std::string text)
{
    return { ACPClientError::Kind::invalidRequest, std::move(text) };
}

ACPClientError failure(std::string_view path, const std::string& text)
{
    return { ACPClientError::Kind::processFailed, std::string(path) + ": " + text };
}

ACPClientError failure(std::string_view path, int code)
{
    return failure(path, std::generic_category().message(code));
}

// The system cuts a path at a zero byte: another file than the one that was judged would be read or replaced.
bool isCutByTheSystem(std::string_view path)
{
    return path.find('\0') != std::string_view::npos;
}

// Why what stands there is no file to read or to replace, as an errno; 0 for a file.
int obstacle(const struct stat& status)
{
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    return S_ISREG(status.st_mode) ? 0 : ENOTSUP;
}

int obstacleToReading(const std::string& path)
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
        return errno;
    }
    return obstacle(status);
}

int obstacleToWriting(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? obstacle(status) : 0;
}

// The length of the newline character at the front of the text: LF, VT, FF, CR, NEL (U+0085), LS and PS (U+2028, U+2029); 0 for none.
std::size_t newlineLength(std::string_view text)
{
    if (text.front() >= '\n' && text.front() <= '\r') {
        return 1;
    }
    if (text.starts_with("\xC2\x85")) {
        return 2;
    }
    return text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9") ? 3 : 0;
}

// Takes one line off the front. False when it was the last one.
bool takeLine(std::string_view& rest, std::string_view& line)
{
    for (std::size_t position = 0; position < rest.size(); ++position) {
        if (const std::size_t length = newlineLength(rest.substr(position)); length > 0) {
            line = rest.substr(0, position);
            rest.remove_prefix(position + length);
            return true;
        }
    }
    line = std::exchange(rest, {});
    return false;
}

// What a link leads to, so that the link stays; the path itself for anything else, also for a link that leads nowhere.
std::string targetOf(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    return resolved ? std::string(resolved.get()) : path;
}

// Asked once, before there are threads: asking sets it for a moment.
const mode_t processMask = [] {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}();

// The access rights of the file that is there, else those of a new one.
unsigned modeFor(const std::string& path)
{
    constexpr mode_t accessRights = 07777;
    struct stat status;
    const bool exists = ::stat(path.c_str(), &status) == 0;
    return static_cast<unsigned>(exists ? status.st_mode & accessRights : 0666 & ~processMask);
}

std::string parentOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
}

} // namespace

Result<JsonObject, ACPClientError> readTextFile(const JsonObject& params)
{
    const auto path = textAt(params, "path");
    if (!path) {
        return Failure{ invalidRequest("fs/read_text_file is missing path") };
    }
    const std::string file(*path);
    if (isCutByTheSystem(file)) {
        return Failure{ failure(file, EINVAL) };
    }
    if (const int code = obstacleToReading(file); code != 0) {
        return Failure{ failure(file, code) };
    }
    const auto text = readFile(file, readLimit);
    if (!text) {
        return Failure{ failure(file, text.error().description()) };
    }
    if (!isValidUtf8(text.value())) {
        return Failure{ failure(file, EILSEQ) };
    }
    return JsonObject{ { "content", lines(text.value(), wholeNumberAt(params, "line").value_or(1), wholeNumberAt(params, "limit")) } };
}

std::string lines(std::string_view text, std::int64_t firstLine, std::optional<std::int64_t> limit)
{
    std::string joined;
    std::string_view line;
    const std::int64_t start = std::max<std::int64_t>(firstLine, 1) - 1;
    bool hasMore = true;
    for (std::int64_t index = 0; index < start && hasMore; ++index) {
        hasMore = takeLine(text, line);
    }
    const std::int64_t most = std::max<std::int64_t>(limit.value_or(INT64_MAX), 0);
    for (std::int64_t count = 0; count < most && hasMore; ++count) {
        hasMore = takeLine(text, line);
        joined.append(count > 0 ? "\n" : "").append(line);
    }
    return joined;
}

bool isInsideProject(std::string_view path, std::string_view workspacePath)
{
    const std::string root = standardizedPath(workspacePath);
    const std::string target = standardizedPath(path);
    return target == root || target.starts_with(root + "/");
}

Result<JsonObject, ACPClientError> writeTextFile(const JsonObject& params, const std::string& workspacePath)
{
    const auto path = textAt(params, "path");
    const auto content = textAt(params, "content");
    if (!path || !content) {
        return Failure{ invalidRequest("fs/write_text_file is missing path or content") };
    }
    if (!isInsideProject(*path, workspacePath)) {
        return Failure{ invalidRequest("tessarin only allows file writes inside the selected project.") };
    }
    const std::string file(*path);
    if (isCutByTheSystem(file)) {
        return Failure{ failure(file, EINVAL) };
    }
    constexpr unsigned newFolderMode = 0755;
    if (const auto made = createDirectories(parentOf(file), newFolderMode); !made) {
        return Failure{ failure(parentOf(file), made.error().description()) };
    }
    if (const int code = obstacleToWriting(file); code != 0) {
        return Failure{ failure(file, code) };
    }
    const std::string target = targetOf(file);
    if (const auto written = writeFileAtomically(target, ByteRope(std::string(*content)), modeFor(target)); !written) {
        return Failure{ failure(file, written.error().description()) };
    }
    return JsonObject();
}

} // namespace tessarin::AgentFiles
