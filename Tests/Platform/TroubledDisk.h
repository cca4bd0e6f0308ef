#pragma once

#include <csignal>
#include <cstddef>
#include <functional>
#include <string>
#include <sys/resource.h>

namespace tessarin
{

// While it lives no file of this process grows beyond the limit: a write that would fails, as on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(std::size_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

// Runs the steps in a child process with a file system of about this many bytes at `folder`, which only the child sees. Where the system
// lets no test mount one, files may grow to two thirds of it instead. Returns what the steps find wrong, empty for nothing.
std::string onADiskOf(std::size_t bytes, const std::string& folder, const std::function<std::string()>& steps);

// Runs the steps in a child process for which files have no second names: each link fails. On Linux only.
std::string onADiskWithoutLinks(const std::function<std::string()>& steps);

// Runs the steps in a child process whose account is bound by access rights, which root is not: as root it becomes nobody first.
std::string asABoundAccount(const std::function<std::string()>& steps);

} // namespace tessarin
