// Breakpad's ptrace dumper, changed to stop threads by PTRACE_INTERRUPT. It is compiled into
// oxBreakpad in place of linux_ptrace_dumper.cc.
//
// Breakpad stops a thread by PTRACE_ATTACH, which sends a SIGSTOP. If another signal reaches the
// thread at the same moment, Breakpad mistakes the stop by that signal for the SIGSTOP. The other
// signal is then lost, and the late SIGSTOP stops the whole process permanently. PTRACE_INTERRUPT
// stops the thread without a signal, and a pending signal is delivered when the thread continues.

#include "client/linux/minidump_writer/linux_ptrace_dumper.h"
#include "third_party/lss/linux_syscall_support.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

namespace
{

long attach(pid_t thread)
{
    // If this process hangs, the traced threads stay stopped. So the kernel kills this process
    // when its parent, which is the traced process, ends.
    sys_prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (sys_ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) != 0)
        return -1;
    return sys_ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr);
}

/// Returns the signal that the stopped thread was about to receive, or 0.
long pendingSignal(pid_t thread)
{
    siginfo_t stop{};
    bool const isStopped = sys_ptrace(PTRACE_GETSIGINFO, thread, nullptr, &stop) == 0;
    return isStopped && stop.si_code >> 8 != PTRACE_EVENT_STOP ? stop.si_signo : 0;
}

long trace(int request, pid_t thread, void * address, void * data)
{
    switch (request) {
    case PTRACE_ATTACH:
        return attach(thread);
    case PTRACE_DETACH:
        return sys_ptrace(request, thread, nullptr,
                          reinterpret_cast<void *>(pendingSignal(thread)));
    default:
        return sys_ptrace(request, thread, address, data);
    }
}

/// Waits until a thread has stopped, at most three seconds for all threads of a dump together. The
/// dump omits a thread that hangs in the kernel, for example in a read from an unreachable share.
pid_t waitForStop(pid_t thread, int * status, int options)
{
    constexpr timespec pause{0, 20'000};
    constexpr std::time_t timeoutSeconds = 3;
    static timespec end{}; // set once, since each dump has its own process
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    if (end.tv_sec == 0)
        end = {now.tv_sec + timeoutSeconds, now.tv_nsec};
    for (;;) {
        pid_t const stopped = sys_waitpid(thread, status, options | WNOHANG);
        if (stopped != 0)
            return stopped;
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec > end.tv_sec || (now.tv_sec == end.tv_sec && now.tv_nsec > end.tv_nsec)) {
            errno = ETIMEDOUT;
            return -1;
        }
        ::nanosleep(&pause, nullptr);
    }
}

} // namespace

#define sys_ptrace trace
#define sys_waitpid waitForStop
#include "client/linux/minidump_writer/linux_ptrace_dumper.cc" // NOLINT(bugprone-suspicious-include)
