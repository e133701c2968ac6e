#include "director/LimitedStart.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// The C library's own name for clone. A thread sanitizer that takes the place of the other one
// treats the child as a copy of this process, which it is not.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's own name
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);

namespace
{

/// What the child works with. It runs on the memory of this process, while the thread that starts
/// it waits.
struct Plan {
    const limited_start_t& start;
    sigset_t mask = {};
    rlimit64 limit = {};
    int error = 0;
};

/// How many bytes the system's own set of signals has.
constexpr std::size_t SIGNAL_BYTES = _NSIG / 8;

/// The system's own record of how a signal is taken, which is empty for the default. It has a
/// handler, flags, a way back, and a set.
constexpr unsigned long DEFAULT_ACTION[3 + SIGNAL_BYTES / sizeof(long)] = {};

// The child calls the system and nothing else: the C library, or a sanitizer in its place, would
// take down in the memory of this process what holds only for the child.

bool takeStream(int file, int stream)
{
    return file == stream ? ::syscall(SYS_fcntl, file, F_SETFD, 0) == 0
                          : ::syscall(SYS_dup3, file, stream, 0) == stream;
}

/// The signals are unblocked once none of them has a handler any more.
bool takeSignals(const Plan& plan)
{
    for (int signal = 1; signal < _NSIG; ++signal) {
        if (sigismember(plan.start.defaults, signal) == 1) {
            ::syscall(SYS_rt_sigaction, signal, DEFAULT_ACTION, nullptr, SIGNAL_BYTES);
        }
    }
    return ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &plan.mask, nullptr, SIGNAL_BYTES) == 0;
}

/// The limit comes last: until then the child shares the memory of this process, which may be
/// larger.
int runChild(void* given)
{
    Plan& plan = *static_cast<Plan*>(given);
    const limited_start_t& start = plan.start;
    if (::syscall(SYS_setpgid, 0, start.group) == 0 && takeStream(start.streams[0], STDIN_FILENO) &&
        takeStream(start.streams[1], STDOUT_FILENO) &&
        takeStream(start.streams[2], STDERR_FILENO) && ::syscall(SYS_close, start.dropped) == 0 &&
        takeSignals(plan) && ::syscall(SYS_prlimit64, 0, RLIMIT_AS, &plan.limit, nullptr) == 0) {
        ::syscall(SYS_execve, start.words[0], start.words, environ);
    }
    plan.error = errno;
    return 127;
}

} // namespace

int startLimited(const limited_start_t& start, pid_t& child) noexcept
{
    Plan plan = {start};
    ::getrlimit64(RLIMIT_AS, &plan.limit);
    plan.limit.rlim_max = std::min<rlim64_t>(plan.limit.rlim_max, start.bytes);
    plan.limit.rlim_cur = std::min<rlim64_t>(plan.limit.rlim_cur, start.bytes);

    // No handler of ours may run in the child, on our memory.
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &plan.mask);
    alignas(16) char stack[16384];
    const pid_t made =
        ::__clone(runChild, stack + sizeof stack, CLONE_VM | CLONE_VFORK | SIGCHLD, &plan);
    if (made < 0) {
        plan.error = errno;
    } else if (plan.error != 0) {
        while (::waitpid(made, nullptr, 0) < 0 && errno == EINTR) {
        }
    } else {
        child = made;
    }
    ::pthread_sigmask(SIG_SETMASK, &plan.mask, nullptr);
    return plan.error;
}
