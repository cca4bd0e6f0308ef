#include "Updates/ArchiveKeeping.h"

#include "Platform/FileMoving.h"

#include <algorithm>
#include <cerrno>

namespace tessarin::ArchiveKeeping
{

namespace
{

constexpr std::size_t nameLimit = 120;
constexpr int numberLimit = 1000;
constexpr unsigned fileMode = 0644;

bool isPlain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9')
        || std::string_view("._+-").find(character) != std::string_view::npos;
}

// Without characters that mean something to a shell or a file manager, and with the end of what is too long, where the ending is.
std::string plainName(std::string_view text)
{
    std::string name(text.substr(text.size() - std::min(text.size(), nameLimit)));
    std::replace_if(
        name.begin(), name.end(), [](char character) { return !isPlain(character); }, '-');
    name.erase(0, std::min(name.find_first_not_of(".-"), name.size()));
    return name;
}

std::string numbered(const std::string& name, int number)
{
    if (number == 1) {
        return name;
    }
    const auto ending = std::min(name.rfind('.'), name.size());
    return name.substr(0, ending) + '-' + std::to_string(number) + name.substr(ending);
}

} // namespace

std::string fileName(std::string_view url, std::string_view version)
{
    const std::string_view address = url.substr(0, std::min(url.find_first_of("?#"), url.size()));
    const auto host = address.find("://");
    const std::string_view path = host == std::string_view::npos ? std::string_view() : address.substr(host + 3);
    const auto slash = path.rfind('/');
    const std::string name = slash == std::string_view::npos ? "" : plainName(path.substr(slash + 1));
    return name.empty() ? "tessarin-" + plainName(version) : name;
}

Result<std::string, FileError> keep(const VerifiedArchive& archive, const std::string& folder, const std::string& name)
{
    if (const auto made = createDirectories(folder); !made) {
        return Failure{ made.error() };
    }
    for (int number = 1;; ++number) {
        const std::string path = folder + '/' + numbered(name, number);
        const auto written = writeNewFile(path, archive.bytes(), fileMode);
        if (written) {
            return path;
        }
        if (written.error().code != EEXIST || number == numberLimit) {
            return Failure{ written.error() };
        }
    }
}

} // namespace tessarin::ArchiveKeeping
