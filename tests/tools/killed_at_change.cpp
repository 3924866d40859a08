#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <iostream>

// killed_at_change NUMBER COMMAND...: runs the command, and kills it before the system call with
// this number, from 0 on, among those that change files. Exits with status 0 if it was killed, with
// 1 if it had ended before, and with 77 if processes cannot be traced here.

namespace {

constexpr int cannotTrace = 77;

bool changes_files(std::uint64_t call) {
    static const std::array<std::uint64_t, 17> calls{
        SYS_write,     SYS_pwrite64,  SYS_writev,    SYS_pwritev, SYS_fsync,
        SYS_fdatasync, SYS_ftruncate, SYS_fallocate, SYS_mkdirat, SYS_unlinkat,
        SYS_flock,     SYS_renameat2, SYS_fchmodat,
#ifdef SYS_mkdir
        SYS_mkdir,     SYS_rename,    SYS_unlink,    SYS_rmdir
#endif
    };
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

/// Whether the process, which has stopped, is about to change a file.
bool is_before_change(pid_t process) {
    __ptrace_syscall_info info{};
    return ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) > 0 &&
           info.op == PTRACE_SYSCALL_INFO_ENTRY && changes_files(info.entry.nr);
}

int kill_at(pid_t process, long number) {
    int status = 0;
    waitpid(process, &status, 0);
    if (!WIFSTOPPED(status) || ptrace(PTRACE_SETOPTIONS, process, nullptr,
                                      PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD) != 0) {
        return cannotTrace;
    }
    while (ptrace(PTRACE_SYSCALL, process, nullptr, nullptr) == 0 &&
           waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
        if (is_before_change(process) && number-- == 0) {
            kill(process, SIGKILL);
            waitpid(process, &status, 0);
            return 0;
        }
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    const pid_t process = fork();
    if (process == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
            execv(argv[2], argv + 2);
        }
        _exit(cannotTrace);
    }
    return kill_at(process, std::strtol(argv[1], nullptr, 10));
}
