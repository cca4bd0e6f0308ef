#include "TroubledDisk.h"

#if defined(__linux__)

#include <cerrno>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr int cannotSetUp = 77;

// What the steps find goes through a pipe: a test's expectations in a child are lost.
Findings inAChild(const std::function<bool()>& setUp, const std::function<std::string()>& steps)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        if (!setUp()) {
            _exit(cannotSetUp);
        }
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
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannotSetUp) {
        return std::nullopt;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? findings : findings + " The child did not end well.";
}

} // namespace

Findings onADiskOf(std::size_t bytes, const std::string& folder, const std::function<std::string()>& steps)
{
    const auto mountIt = [&] {
        const int spaces = geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER;
        const std::string size = "size=" + std::to_string(bytes);
        return unshare(spaces) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            && mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
    };
    return inAChild(mountIt, steps);
}

Findings onADiskWithoutLinks(const std::function<std::string()>& steps)
{
    const auto forbidLinks = [] {
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
    };
    return inAChild(forbidLinks, steps);
}

} // namespace tessarin

#else

namespace tessarin
{

Findings onADiskOf(std::size_t, const std::string&, const std::function<std::string()>&)
{
    return std::nullopt;
}

Findings onADiskWithoutLinks(const std::function<std::string()>&)
{
    return std::nullopt;
}

} // namespace tessarin

#endif
