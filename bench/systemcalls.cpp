// SPDX-License-Identifier: MIT
#include "systemcalls.h"

#include <csignal>
#include <cstdio>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int callsBefore = 20;
// A system call that marks the beginning and the end of counting, and that no benchmark makes otherwise.
constexpr long mark = SYS_getppid;

[[noreturn]] void runTraced(const std::function<void()>& work, int count)
{
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        _exit(1);
    }
    raise(SIGSTOP);
    for (int i = 0; i < callsBefore; ++i) {
        work();
    }
    syscall(mark);
    for (int i = 0; i < count; ++i) {
        work();
    }
    syscall(mark);
    _exit(0);
}

} // namespace

double systemCallsOf(const std::function<void()>& work, int count)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        runTraced(work, count);
    }
    int status = 0;
    int marks = 0;
    long calls = 0;
    bool traced = waitpid(child, &status, 0) == child && WIFSTOPPED(status) &&
                  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0;
    int signal = 0;
    while (traced && marks < 2) {
        ptrace(PTRACE_SYSCALL, child, nullptr, signal);
        traced = waitpid(child, &status, 0) == child && WIFSTOPPED(status);
        signal = 0;
        if (!traced) {
            break;
        }
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
            signal = WSTOPSIG(status);
            continue;
        }
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 &&
            info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            marks += static_cast<long>(info.entry.nr) == mark ? 1 : 0;
            calls += marks == 1 && static_cast<long>(info.entry.nr) != mark ? 1 : 0;
        }
    }
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    return traced ? static_cast<double>(calls) / count : -1;
}
