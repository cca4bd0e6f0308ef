#include "Platform/FileSecretStore.h"

#include "Platform/Files.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessarin
{

namespace
{

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr mode_t foreignRights = 077;
constexpr std::size_t secretByteLimit = 65536;

// Whether what stands at the path is the person's own and nobody else's to read or write. A link isn't followed: it would say whose
// file is changed.
bool isPrivate(const std::string& path, mode_t type, mode_t mode)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0 || (status.st_mode & S_IFMT) != type || status.st_uid != ::geteuid()) {
        return false;
    }
    return (status.st_mode & foreignRights) == 0 || ::chmod(path.c_str(), mode) == 0;
}

} // namespace

FileSecretStore::FileSecretStore(std::string folder) : m_folder(std::move(folder)) { }

std::optional<std::string> FileSecretStore::load(const std::string& service, const std::string& account)
{
    const std::string file = path(service, account);
    if (!isPrivate(m_folder, S_IFDIR, folderMode) || !isPrivate(file, S_IFREG, fileMode)) {
        return std::nullopt;
    }
    auto bytes = readFile(file, secretByteLimit);
    return bytes ? std::optional(std::move(bytes).value()) : std::nullopt;
}

bool FileSecretStore::save(const std::string& service, const std::string& account, const std::string& secret)
{
    if (!createDirectories(m_folder, folderMode) || !isPrivate(m_folder, S_IFDIR, folderMode)) {
        return false;
    }
    return writeFileAtomically(path(service, account), ByteRope(secret), fileMode).isSuccess();
}

void FileSecretStore::remove(const std::string& service, const std::string& account)
{
    static_cast<void>(removeFile(path(service, account)));
}

std::string FileSecretStore::path(const std::string& service, const std::string& account) const
{
    return m_folder + "/" + service + "." + account;
}

} // namespace tessarin
