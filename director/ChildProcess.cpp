#include "director/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// An open file, closed at the end; negative when opening it failed. No child inherits it. It is
/// never one of the three standard streams, even when those of this process are closed: giving a
/// child its streams one after the other would overwrite it.
class Descriptor
{
public:
    explicit Descriptor(int number) : fd(number)
    {
        if (fd >= 0 && fd <= STDERR_FILENO) {
            fd = ::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            const int error = errno;
            ::close(number);
            errno = error;
        }
    }
    ~Descriptor()
    {
        close();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const
    {
        return fd;
    }
    void close()
    {
        if (fd >= 0) {
            ::close(fd);
        }
        fd = -1;
    }

private:
    int fd;
};

/// The outcome of a start: a process, or the reason why there is none.
struct Child {
    pid_t pid = 0;
    int error = 0;
};

/// True when a start failed for want of room, which a later one may find; false when the program is
/// to blame.
bool isRefusal(int error)
{
    return error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE;
}

/// The words of a command in the form that the system takes.
class Arguments
{
public:
    explicit Arguments(const Command& command)
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
    char* const* list() const
    {
        return pointers.data();
    }

private:
    std::vector<QByteArray> words;
    std::vector<char*> pointers;
};

/// Which standard streams a child gets. Memory that ran out on the way shows in error(): a child
/// started all the same would have some of ours.
class Streams
{
public:
    Streams(int input, int output, int errors)
    {
        posix_spawn_file_actions_init(&list);
        const int numbers[] = {input, output, errors};
        for (int stream = STDIN_FILENO; stream <= STDERR_FILENO && failure == 0; ++stream) {
            failure = posix_spawn_file_actions_adddup2(&list, numbers[stream], stream);
        }
    }
    ~Streams()
    {
        posix_spawn_file_actions_destroy(&list);
    }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    int error() const
    {
        return failure;
    }
    const posix_spawn_file_actions_t* actions() const
    {
        return &list;
    }

private:
    posix_spawn_file_actions_t list = {};
    int failure = 0;
};

/// The signals that a child takes as the system gives them: all but those that we were told to
/// ignore, by nohup for one. A pipe that nobody reads is ignored by ourselves, perhaps, but a tool
/// expects to be ended by it. Naming all of them spares a start a question to the system for each.
const sigset_t& defaultSignals()
{
    static const sigset_t reset = [] {
        sigset_t set;
        sigfillset(&set);
        for (int signal = 1; signal <= SIGRTMAX; ++signal) {
            struct sigaction action = {};
            if (signal != SIGPIPE && ::sigaction(signal, nullptr, &action) == 0 &&
                action.sa_handler == SIG_IGN) {
                sigdelset(&set, signal);
            }
        }
        return set;
    }();
    return reset;
}

/// Starts a program with these standard streams; returns once it runs or cannot. Never throws: a
/// child that was started before it must not be forgotten.
Child startProgram(const Arguments& arguments, const Streams& streams) noexcept
{
    Child child;
    child.error = streams.error();
    if (child.error != 0) {
        return child;
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaultSignals());
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    child.error = ::posix_spawn(&child.pid, arguments.list()[0], streams.actions(), &attributes,
                                arguments.list(), environ);
    if (child.error != 0) {
        child.pid = 0;
    }
    posix_spawnattr_destroy(&attributes);
    return child;
}

/// Reaps `child` when it has ended. True when it ended by a signal.
bool reap(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status);
}

/// Waits for `child` (0: none) to end, takes it out of the list and reaps it. True when it ended
/// by a signal.
bool finish(pid_t child, ChildList& children)
{
    if (child == 0) {
        return false;
    }
    siginfo_t end = {};
    while (::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT) < 0 &&
           errno == EINTR) {
    }
    children.remove(child);
    return reap(child);
}

/// Kills `child`, which has not been reaped.
void kill(pid_t child)
{
    if (child != 0) {
        ::kill(child, SIGKILL);
    }
}

/// All that stands in the file, wherever its position is.
QByteArray contentOf(int fd)
{
    QByteArray bytes;
    char block[65536];
    ssize_t count = 0;
    while ((count = ::pread(fd, block, sizeof block, bytes.size())) > 0 ||
           (count < 0 && errno == EINTR)) {
        bytes.append(block, static_cast<int>(std::max<ssize_t>(count, 0)));
    }
    return bytes;
}

int openNull()
{
    return ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

/// Opens what a prover reads. Never waits for the other end of a pipe that stands in its place.
int openInput(const QString& file)
{
    const int fd = ::open(file.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd >= 0) {
        ::fcntl(fd, F_SETFL, 0);
    }
    return fd;
}

PairResult refused(int error)
{
    return {PairEnd::Refused, {}, qt_error_string(error)};
}

/// Waits for both children (0: none) and tells how they ended.
PairEnd awaitPair(pid_t prover, pid_t reader, ChildList& children)
{
    if (finish(prover, children)) {
        kill(reader);
        finish(reader, children);
        return PairEnd::ProverCrashed;
    }
    return finish(reader, children) ? PairEnd::ReaderCrashed : PairEnd::Read;
}

} // namespace

QString programOfPath(const QString& path)
{
    const QChar quote = QLatin1Char('"');
    const bool wrapped = path.size() >= 2 && path.startsWith(quote) && path.endsWith(quote);
    const QString program = wrapped ? path.mid(1, path.size() - 2) : path;
    return program.contains(QLatin1Char('/')) ? program : QStringLiteral("./") + program;
}

bool ChildList::start(const std::function<void()>& start)
{
    const std::shared_lock<std::shared_mutex> lock(starting);
    if (closed) {
        return false;
    }
    start();
    return true;
}

void ChildList::enter(std::list<pid_t>& children) noexcept
{
    children.remove(0);
    const std::lock_guard<std::mutex> lock(mutex);
    processes.splice(processes.end(), children);
}

void ChildList::remove(pid_t child)
{
    const std::lock_guard<std::mutex> lock(mutex);
    processes.remove(child);
}

void ChildList::killAll()
{
    closed = true; // before the wait: no start begins while those that run come to their end
    const std::unique_lock<std::shared_mutex> wait(starting);
    const std::lock_guard<std::mutex> lock(mutex);
    for (const pid_t child : processes) {
        kill(child);
    }
}

bool ChildList::isClosed() const
{
    return closed;
}

WriterEnd runWriter(const Command& writer, ChildList& children)
{
    const Descriptor null(openNull());
    const Streams streams(null.number(), null.number(), null.number());
    const Arguments arguments(writer);
    Child child;
    const bool open = children.start([&] {
        child = startProgram(arguments, streams);
    });
    if (!open) {
        return WriterEnd::Stopped;
    }
    if (child.pid == 0) {
        return WriterEnd::NotStarted;
    }
    return reap(child.pid) ? WriterEnd::Crashed : WriterEnd::Exited;
}

PairResult runPair(const Command& prover, const QString& input, const Command& reader,
                   ChildList& children)
{
    const Descriptor null(openNull());
    // A file that no other process can keep us waiting with, by holding it open.
    const Descriptor output(::memfd_create("reader-output", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (null.number() < 0 || output.number() < 0 || ::pipe2(ends, O_CLOEXEC) != 0) {
        return refused(errno);
    }
    Descriptor fromProver(ends[0]);
    Descriptor toReader(ends[1]);
    const Descriptor file(input.isEmpty() ? openNull() : openInput(input));
    Child proving{0, file.number() < 0 ? errno : 0};
    Child reading;

    // All that takes memory is made before the first child, which a failure would leave behind.
    const Streams proverStreams(file.number(), toReader.number(), null.number());
    const Streams readerStreams(fromProver.number(), output.number(), null.number());
    const Arguments proverWords(prover);
    const Arguments readerWords(reader);
    std::list<pid_t> started = {0, 0};
    const auto start = [&] {
        if (proving.error == 0) {
            proving = startProgram(proverWords, proverStreams);
        }
        if (!isRefusal(proving.error)) {
            reading = startProgram(readerWords, readerStreams);
        }
        started.front() = proving.pid;
        started.back() = reading.pid;
        children.enter(started);
    };
    if (!children.start(start)) {
        return {};
    }
    toReader.close();
    fromProver.close();
    const int refusal = isRefusal(proving.error) ? proving.error : reading.error;
    if (isRefusal(refusal)) {
        kill(proving.pid);
        finish(proving.pid, children);
        return refused(refusal);
    }
    const PairEnd end = awaitPair(proving.pid, reading.pid, children);
    return {end, end == PairEnd::Read ? contentOf(output.number()) : QByteArray(), {}};
}
