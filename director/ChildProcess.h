#pragma once

// Running the external tools: a writer alone, or a prover piped into a reader.
//
// A start goes through posix_spawn, which lends the child our memory until it runs its program: the
// cost of a start does not grow with the component, as that of a fork does, which copies the page
// tables. No stream of a child ends in a pipe of ours: standard input is a file or empty, output
// that nobody reads goes to the null device, and the reader's output goes to a file in memory. So
// whatever the children print, and in whatever order they end, nothing has to be drained and no
// pair of them can block the other.
//
// Nothing here prints; the callers turn the plain records into log lines. The functions may be
// called from several threads at once.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <shared_mutex>

#include <sys/types.h>

/// The children that a stop has to kill. Once killAll() was called no further child starts.
class ChildList
{
public:
    /// Runs `start`, which starts children and enters those to be killed, unless the list is
    /// closed; returns whether it did. Several starts may run at a time.
    bool start(const std::function<void()>& start);

    /// Moves `children` (0: no process) to the end of the list, where each stays until its
    /// remove(). To be called within start(). Takes no memory: a child that runs must not fail to
    /// be entered.
    void enter(std::list<pid_t>& children) noexcept;

    /// Takes `child` out of the list. To be called before the child is reaped: while it is in the
    /// list its process id must be its own.
    void remove(pid_t child);

    /// Kills every child in the list, in order, and closes the list for good.
    void killAll();

    /// True once killAll() was called.
    bool isClosed() const;

private:
    /// Held, shared, by whoever starts a child; killAll() waits for them.
    std::shared_mutex starting;
    std::atomic<bool> closed{false};
    std::mutex mutex;
    std::list<pid_t> processes; ///< guarded by `mutex`
};

/// A program as a mechanism names it (perhaps wrapped in double quotes), and its arguments.
struct Command {
    QString path;
    QStringList arguments;
};

enum class WriterEnd { Exited, Crashed, NotStarted, Stopped };

/// Runs `writer` to its end, without a time limit. Its standard input is empty and its output is
/// discarded. `NotStarted`: it cannot be executed, or the system had no room for it. `Stopped`:
/// `children` was closed and nothing was started.
WriterEnd runWriter(const Command& writer, ChildList& children);

enum class PairEnd {
    Read,          ///< both ended by themselves (or were programs that cannot be executed)
    ProverCrashed, ///< the reader was killed; there is no output
    ReaderCrashed, ///< there is no output
    Refused,       ///< the system had no room for another process or file; there is no output
    Stopped        ///< the list of children was closed before the start
};

struct PairResult {
    PairEnd end = PairEnd::Stopped;
    QByteArray output; ///< all that the reader printed on its standard output
    QString refusal;   ///< why the system refused a start
};

/// Runs `prover` with the file `input` on its standard input (empty input when `input` is empty)
/// and its output piped into `reader`, until both have ended, without a time limit. A prover whose
/// input cannot be opened counts as one that cannot be executed.
PairResult runPair(const Command& prover, const QString& input, const Command& reader,
                   ChildList& children);

/// The program that a tool's path means: without the double quotes that a path with a blank is
/// wrapped in, and never looked up along PATH (a bare name is one in the current directory).
QString programOfPath(const QString& path);
