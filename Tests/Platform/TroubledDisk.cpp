#include "TroubledDisk.h"

#include <cerrno>
#include <fstream>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

namespace tessarin
{

namespace
{

// What the steps find goes through a pipe: a test's expectations in a child are lost.
std::string inAChild(const std::function<std::string()>& steps)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        const std::string findings = steps();
        const bool isTold = write(ends[1], findings.data(), findings.size()) == static_cast<ssize_t>(findings.size());
        _exit(isTold ? 0 : 1);
    }
    close(ends[1]);
    std::string findings;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;) {
        findings.append(buffer, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        return "no child";
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? findings : findings + " The child did not end well.";
}

#if defined(__linux__)
// An account that is not root may mount in a space of its own, where it has to keep its ids to own files.
bool enterOwnSpace()
{
    if (geteuid() == 0) {
        return unshare(CLONE_NEWNS) == 0;
    }
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
    std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    return std::to_string(geteuid()) == user && std::to_string(getegid()) == group;
}

bool mountSmallDisk(std::size_t bytes, const std::string& folder)
{
    const std::string size = "size=" + std::to_string(bytes);
    return enterOwnSpace() && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
}

bool forbidLinks()
{
    constexpr auto number = static_cast<unsigned>(offsetof(seccomp_data, nr));
    sock_filter filter[]
        = { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number),
#if defined(SYS_link)
              BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_link, 1, 0),
#endif
              BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
              BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
              BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
          };
    sock_fprog program{ .len = static_cast<unsigned short>(std::size(filter)), .filter = filter };
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}
#else
bool mountSmallDisk(std::size_t, const std::string&)
{
    return false;
}

bool forbidLinks()
{
    return false;
}
#endif

} // namespace

std::string onADiskOf(std::size_t bytes, const std::string& folder, const std::function<std::string()>& steps)
{
    return inAChild([&] {
        std::unique_ptr<FileSizeLimit> limit;
        if (!mountSmallDisk(bytes, folder)) {
            limit = std::make_unique<FileSizeLimit>(bytes / 3 * 2);
        }
        return steps();
    });
}

std::string onADiskWithoutLinks(const std::function<std::string()>& steps)
{
    return inAChild([&] { return forbidLinks() ? steps() : "Links can't be forbidden here."; });
}

std::string asABoundAccount(const std::function<std::string()>& steps)
{
    constexpr uid_t nobody = 65534;
    return inAChild([&] { return geteuid() != 0 || setuid(nobody) == 0 ? steps() : "The account can't be changed."; });
}

} // namespace tessarin
