#include "director/StartProgram.h"

#include "director/LimitedStart.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// The signals that a child takes as the system gives them: all but those that we were told to
/// ignore, by nohup for one. Two are reset in any case: a tool expects that writing into a closed
/// pipe ends it, and that it can wait for its own children, whatever this process has chosen for
/// itself. Naming all of them spares a start a question to the system for each.
const sigset_t& defaultSignals()
{
    static const sigset_t reset = [] {
        sigset_t set;
        sigfillset(&set);
        for (int signal = 1; signal <= SIGRTMAX; ++signal) {
            struct sigaction action = {};
            if (signal != SIGPIPE && signal != SIGCHLD &&
                ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
                sigdelset(&set, signal);
            }
        }
        return set;
    }();
    return reset;
}

double secondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Starts a program without a limit; 0 and the number of the child, or the reason why there is
/// none.
int spawn(const Arguments& arguments, const Streams& streams, pid_t group, pid_t& child)
{
    if (streams.error() != 0) {
        return streams.error();
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaultSignals());
    posix_spawnattr_setpgroup(&attributes, group);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    const int error = ::posix_spawn(&child, arguments.list()[0], streams.actions(), &attributes,
                                    arguments.list(), environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

/// The largest memory that this process has had so far.
std::int64_t ownPeakKiB()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

QString programOfPath(const QString& path)
{
    const QChar quote = QLatin1Char('"');
    const bool wrapped = path.size() >= 2 && path.startsWith(quote) && path.endsWith(quote);
    const QString program = wrapped ? path.mid(1, path.size() - 2) : path;
    return program.contains(QLatin1Char('/')) ? program : QStringLiteral("./") + program;
}

Arguments::Arguments(const Command& command)
{
    words.push_back(programOfPath(command.path).toUtf8());
    for (const QString& argument : command.arguments) {
        words.push_back(argument.toUtf8());
    }
    for (QByteArray& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
}

Streams::Streams(int input, int output, int errors, int toDrop)
    : streams{input, output, errors}, closed(toDrop)
{
    posix_spawn_file_actions_init(&list);
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO && failure == 0; ++stream) {
        failure = posix_spawn_file_actions_adddup2(&list, streams[stream], stream);
    }
    if (failure == 0) {
        failure = posix_spawn_file_actions_addclose(&list, closed);
    }
}

Streams::~Streams()
{
    posix_spawn_file_actions_destroy(&list);
}

Child::~Child()
{
    killAndReap();
}

int Child::start(const Arguments& arguments, const Streams& streams, pid_t group,
                 std::uint64_t memoryLimit) noexcept
{
    pid_t started = 0;
    if (memoryLimit == 0) {
        end.error = spawn(arguments, streams, group, started);
    } else {
        end.error = startLimited({arguments.list(), streams.numbers(), streams.dropped(), group,
                                  &defaultSignals(), memoryLimit},
                                 started);
    }
    end.started = end.error == 0;
    if (end.started) {
        pid = started;
        end.lentKiB = ownPeakKiB();
    }
    return end.error;
}

const ChildEnd& Child::reap() noexcept
{
    if (pid == 0) {
        return end;
    }
    int status = 0;
    rusage usage = {};
    pid_t reaped = 0;
    do {
        reaped = ::wait4(pid, &status, 0, &usage);
    } while (reaped < 0 && errno == EINTR);
    // Where the process ignores SIGCHLD, the system keeps no record of how a child ended: that is
    // never taken for an ordinary end.
    const bool known = std::exchange(pid, 0) == reaped;
    end.crashed = !known || WIFSIGNALED(status);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    end.processorSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
    end.peakKiB = usage.ru_maxrss;
    return end;
}

const ChildEnd& Child::killAndReap() noexcept
{
    if (pid != 0) {
        ::kill(pid, SIGKILL);
    }
    return reap();
}

bool isRefusal(int error)
{
    return error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE;
}
