#pragma once

#include <csignal>
#include <functional>
#include <optional>
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

// What a child process found wrong; empty for nothing. Absent when the system lets no test set up such a disk.
using Findings = std::optional<std::string>;

// Runs the steps in a child process with a file system of this many bytes at `folder`, which only the child sees.
Findings onADiskOf(std::size_t bytes, const std::string& folder, const std::function<std::string()>& steps);

// Runs the steps in a child process for which files have no second names: each link fails.
Findings onADiskWithoutLinks(const std::function<std::string()>& steps);

} // namespace tessarin
