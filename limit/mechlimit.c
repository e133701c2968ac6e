// mechlimit: runs a command under limits of wall time and address space that hold.
//
// It is a subreaper: whatever the command leaves behind becomes a child of mechlimit once what
// stood between them has gone. A child stays a child until it is reaped, and nobody else reaps it,
// so no signal ever reaches a process that only has the number of a dead one.
//
// Its caller tells two ends apart. An ordinary end speaks for the command: it had its say, or a
// limit ended it, which the word on standard output tells. When mechlimit cannot speak for the
// command, because the command never started or the word could not be written, it ends by a signal.

#include <ctype.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static const char USAGE[] =
    "usage: mechlimit SECONDS MEBIBYTES COMMAND [ARGUMENT]...\n"
    "Runs COMMAND for at most SECONDS of wall time, each of its processes with at most MEBIBYTES\n"
    "of address space (0: no limit). When a limit ends it, all that it started is killed, and\n"
    "\"timeout\" or \"memout\" is printed on a line of its own.\n";

typedef struct {
    long long milliseconds; ///< 0: none
    rlim_t bytes;           ///< 0: none
} Limits;

typedef struct {
    pid_t pid;
    bool ended;
    int status;      ///< what waitpid tells, once it has ended
    int reason;      ///< the pipe on which it tells why it could not start
    rlim_t resident; ///< the peak of it and of each process it waited for, in bytes; in the end
    bool signalled;  ///< a signal was passed on to it
} Command;

typedef enum { ENDED, OUT_OF_TIME, ORPHANED } Outcome;

/// Ends like a process that the signal ended, without a core file of mechlimit itself.
_Noreturn static void endBy(int number)
{
    sigset_t set;
    prctl(PR_SET_DUMPABLE, 0);
    signal(number, SIG_DFL);
    sigemptyset(&set);
    sigaddset(&set, number);
    kill(getpid(), number);
    sigprocmask(SIG_UNBLOCK, &set, NULL);
    _exit(128 + number); // the first process of a container ignores its own signals
}

__attribute__((format(printf, 1, 2))) _Noreturn static void fail(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    fputs("mechlimit: ", stderr);
    vfprintf(stderr, format, values);
    fputc('\n', stderr);
    va_end(values);
    endBy(SIGABRT);
}

static long long millisecondsNow(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

/// Waits for one of the signals, but no longer than that; 0 when none came.
static int nextSignal(const sigset_t* set, long long milliseconds, siginfo_t* info)
{
    const struct timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    const int number = sigtimedwait(set, info, &time);
    return number > 0 ? number : 0;
}

/// Digits, with at most one point between them where `fraction` allows it.
static double numberOf(const char* word, bool fraction, double most)
{
    const char* const digits = "0123456789";
    size_t length = strspn(word, digits);
    if (fraction && length > 0 && word[length] == '.') {
        const size_t after = strspn(word + length + 1, digits);
        length = after > 0 ? length + 1 + after : 0;
    }
    if (length == 0 || word[length] != '\0' || strtod(word, NULL) > most) {
        fail("not a limit: '%s'\n%s", word, USAGE);
    }
    return strtod(word, NULL);
}

static Limits limitsOf(char* const words[])
{
    const double seconds = numberOf(words[0], true, 1e9);
    const double mebibytes = numberOf(words[1], false, 1e12);
    Limits limits = {(long long)(seconds * 1000), (rlim_t)mebibytes << 20};
    struct rlimit now;
    if (limits.milliseconds == 0 && seconds > 0) {
        limits.milliseconds = 1; // 0 would be no limit
    }
    if (limits.bytes > 0 && getrlimit(RLIMIT_AS, &now) == 0 && limits.bytes > now.rlim_cur) {
        limits.bytes = now.rlim_cur; // the tighter limit stays
    }
    return limits;
}

/// Looks for the program as a shell does; but a file that the system refuses is not given to a
/// shell.
static void execute(char* const words[])
{
    if (strchr(words[0], '/') != NULL) {
        execv(words[0], words);
        return;
    }
    const char* part = getenv("PATH");
    int reason = ENOENT;
    for (part = part == NULL ? "/usr/bin:/bin" : part; part != NULL;) {
        char file[PATH_MAX];
        const char* end = strchrnul(part, ':');
        const int length = snprintf(file, sizeof file, "%.*s%s%s", (int)(end - part), part,
                                    end == part ? "" : "/", words[0]);
        if (length >= 0 && (size_t)length < sizeof file) {
            execv(file, words);
            if (errno != ENOENT && errno != ENOTDIR) {
                reason = errno;
            }
            if (reason != ENOENT && reason != EACCES) {
                break;
            }
        }
        part = *end == ':' ? end + 1 : NULL;
    }
    errno = reason;
}

/// The child becomes the command, with the signals as mechlimit found them and its memory limited.
_Noreturn static void become(char* const words[], rlim_t bytes, pid_t parent, int reason,
                             const sigset_t* mask, const struct sigaction* onChild)
{
    const struct rlimit limit = {bytes, bytes};
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(127); // mechlimit had gone before
    }
    sigaction(SIGCHLD, onChild, NULL);
    sigprocmask(SIG_SETMASK, mask, NULL);
    if (bytes == 0 || setrlimit(RLIMIT_AS, &limit) == 0) {
        execute(words);
    }
    const int error = errno;
    _exit(write(reason, &error, sizeof error) > 0 ? 127 : 126);
}

static Command start(char* const words[], rlim_t bytes, const sigset_t* watched)
{
    Command command = {0};
    int reason[2];
    sigset_t mask;
    struct sigaction onChild;
    const struct sigaction byDefault = {.sa_handler = SIG_DFL};
    const pid_t self = getpid();
    // Where it is ignored, the system would reap the children, and their numbers would be free.
    sigaction(SIGCHLD, &byDefault, &onChild);
    sigprocmask(SIG_BLOCK, watched, &mask);
    if (pipe2(reason, O_CLOEXEC) != 0 || (command.pid = fork()) < 0) {
        fail("cannot start %s: %s", words[0], strerror(errno));
    }
    if (command.pid == 0) {
        become(words, bytes, self, reason[1], &mask, &onChild);
    }
    close(reason[1]);
    if (reason[0] != STDIN_FILENO) {
        close(STDIN_FILENO); // who writes there learns when the command stops reading
    }
    command.reason = reason[0];
    return command;
}

/// Reaps all that has ended. Returns how many processes that were, or -1 when no child is left.
static int reap(Command* command)
{
    struct rusage usage;
    int status = 0;
    int reaped = 0;
    pid_t pid = 0;
    while ((pid = wait4(-1, &status, WNOHANG, &usage)) > 0) {
        ++reaped;
        if (pid == command->pid) {
            command->ended = true;
            command->status = status;
            command->resident = (rlim_t)usage.ru_maxrss << 10;
        }
    }
    return pid < 0 ? -1 : reaped;
}

/// What /proc tells of a process, as a text; false when the process is no more.
static bool readStat(const char* pid, char* text, size_t size)
{
    char path[PATH_MAX];
    snprintf(path, sizeof path, "/proc/%s/stat", pid);
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const ssize_t length = read(file, text, size - 1);
    close(file);
    text[length > 0 ? length : 0] = '\0';
    return length > 0;
}

static void killChildren(void)
{
    DIR* processes = opendir("/proc");
    if (processes == NULL) {
        return;
    }
    for (const struct dirent* entry = NULL; (entry = readdir(processes)) != NULL;) {
        char text[512];
        if (!isdigit((unsigned char)entry->d_name[0]) ||
            !readStat(entry->d_name, text, sizeof text)) {
            continue;
        }
        // "PID (NAME) STATE PARENT ...", and a name may hold anything.
        const char* state = strrchr(text, ')');
        const long pid = strtol(entry->d_name, NULL, 10);
        if (state != NULL && pid > 1 && strtol(state + 3, NULL, 10) == getpid()) {
            kill((pid_t)pid, SIGKILL);
        }
    }
    closedir(processes);
}

/// Kills all descendants. Each round takes the children; their own children become ours by that.
/// Gives up when nothing has ended for some seconds: what runs as another user cannot be killed.
static void killAll(Command* command)
{
    sigset_t child;
    siginfo_t info;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    if (!command->ended) {
        kill(command->pid, SIGKILL);
    }
    const long long patience = 10000;
    long long end = millisecondsNow() + patience;
    for (int reaped = 0; (reaped = reap(command)) >= 0;) {
        const long long now = millisecondsNow();
        if (reaped > 0) {
            end = now + patience;
        } else if (now > end) {
            fputs("mechlimit: a process that the command left cannot be killed\n", stderr);
            return;
        }
        killChildren();
        nextSignal(&child, 10, &info);
    }
}

/// Passes signals on until the command has ended, its time is over, or the parent has gone.
static Outcome watch(Command* command, Limits limits, pid_t parent, const sigset_t* watched)
{
    const long long never = LLONG_MAX;
    const long long end = limits.milliseconds > 0 ? millisecondsNow() + limits.milliseconds : never;
    for (;;) {
        siginfo_t info;
        reap(command);
        if (command->ended) {
            return ENDED;
        }
        if (getppid() != parent) {
            return ORPHANED;
        }
        const long long now = millisecondsNow();
        if (now >= end) {
            return OUT_OF_TIME;
        }
        const int number = nextSignal(watched, end - now < 3600000 ? end - now : 3600000, &info);
        // A terminal sends its signals to the whole group, and so to the command, too.
        if (number > 0 && number != SIGCHLD && info.si_code <= 0) {
            command->signalled = true;
            kill(command->pid, number);
        }
    }
}

/// All signals except three kinds: a process cannot wait for some, others tell of its own faults,
/// and others belong to job control.
static sigset_t watchedSignals(void)
{
    const int others[] = {SIGKILL, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGCONT,
                          SIGSEGV, SIGBUS,  SIGFPE,  SIGILL,  SIGTRAP, SIGABRT};
    sigset_t set;
    sigfillset(&set);
    for (size_t i = 0; i < sizeof others / sizeof others[0]; ++i) {
        sigdelset(&set, others[i]);
    }
    return set;
}

/// Without certain knowledge: the command failed as programs do that get no more memory, and what
/// was resident makes that the likely reason. Address space is no evidence: some programs reserve
/// gigabytes before they read their arguments, and then reject them. A table that is doubled is
/// refused at half of the limit. A crash may be a fault of the command, which must not pass for an
/// answer, so it takes more; all of the limit is never resident, for code and stacks take some. Any
/// program may have a dozen MiB resident when it fails at once, and so that much is no evidence.
static bool ranOutOfMemory(const Command* command, rlim_t bytes)
{
    const rlim_t little = 32U << 20;
    const int status = command->status;
    if (bytes == 0 || command->signalled || command->resident < little) {
        return false;
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (code <= 128) {
        return code != 0 && command->resident >= bytes / 2;
    }
    const int number = code - 128; // also where a shell tells so of the last thing that it started
    return (number == SIGABRT || number == SIGSEGV) && command->resident >= bytes / 3 * 2;
}

/// Prints the word on a line of its own: the command may have left half a line behind.
_Noreturn static void say(const char* word)
{
    char text[32];
    const char* rest = text;
    int left = snprintf(text, sizeof text, "\n%s\n", word);
    while (left > 0) {
        struct pollfd output = {STDOUT_FILENO, POLLOUT, 0};
        const ssize_t written = write(STDOUT_FILENO, rest, (size_t)left);
        if (written >= 0) {
            rest += written;
            left -= (int)written;
        } else if (errno == EAGAIN) {
            poll(&output, 1, -1); // the command may have left the stream so
        } else if (errno != EINTR) {
            fail("cannot write '%s': %s", word, strerror(errno));
        }
    }
    _exit(0);
}

int main(int argc, char** argv)
{
    if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
        return fputs(USAGE, stdout) < 0;
    }
    if (argc == 2 && strcmp(argv[1], "--version") == 0) {
        return puts("mechlimit " MECHLIMIT_VERSION) < 0;
    }
    if (argc < 4) {
        fail("two limits and a command are needed\n%s", USAGE);
    }
    const Limits limits = limitsOf(argv + 1);
    char** words = argv + 3;
    const pid_t parent = getppid();
    const sigset_t watched = watchedSignals();
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 || prctl(PR_SET_PDEATHSIG, SIGTERM) != 0) {
        fail("cannot watch over %s: %s", words[0], strerror(errno));
    }
    Command command = start(words, limits.bytes, &watched);
    const Outcome outcome = watch(&command, limits, parent, &watched);
    killAll(&command);

    int reason = 0;
    if (read(command.reason, &reason, sizeof reason) == (ssize_t)sizeof reason) {
        fail("cannot start %s: %s", words[0], strerror(reason));
    }
    if (outcome == ORPHANED) {
        endBy(SIGTERM);
    }
    if (outcome == OUT_OF_TIME) {
        say("timeout");
    }
    if (ranOutOfMemory(&command, limits.bytes)) {
        say("memout");
    }
    if (WIFSIGNALED(command.status)) {
        endBy(WTERMSIG(command.status));
    }
    return WEXITSTATUS(command.status);
}
