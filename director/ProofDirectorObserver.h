#pragma once

// What a program can see of a play while it runs: the drivers as they begin, and each job when it
// begins and when it has ended.
//
// The records tell what happened and hold no handle on the document. References in them are valid
// until the function returns. `driverBegins` is called by the thread that plays; the other two by
// the workers, several at once, with no lock of the director held. An observer keeps its workers
// waiting, so it should be quick. It must not raise, and may call of the director only `stop`.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// How a job ended. In all cases but `read` no record of its goals has changed (but memory that ran
/// out in the middle of a job's verdicts leaves those merged by then).
enum class job_end_t : int {
    read,     ///< the reader's lines were taken, one a goal
    leftFile, ///< what an earlier run left in the place of the secondary file cannot be removed
    proverCrashed,
    readerCrashed,
    wrongCount,  ///< more or fewer lines than goals
    tooMuch,     ///< the reader printed without end
    refused,     ///< the system had no room to start the prover or the reader
    timeLimit,   ///< prover and reader ran longer than the settings allow, and were killed
    memoryLimit, ///< the prover failed under the memory limit of the settings
    outOfMemory, ///< this process has no memory left for the job
    stopped, ///< by `stop`, or its driver was ended before it was proved, by an exception for one
};

/// What became of one tool of a job.
struct tool_run_t {
    bool started = false;
    int error = 0;               ///< why it was not started, an errno value; 0: its turn never came
    int signal = 0;              ///< the signal that ended it, 0 for none
    int status = 0;              ///< its exit status, when no signal ended it
    double processorSeconds = 0; ///< of the tool and of the children that it waited for
    /// The largest resident memory of one of them. 0 when it cannot be told: the system counts in
    /// the memory of this process, and a smaller tool does not show beside it.
    std::int64_t peakKiB = 0;
};

/// A program and its arguments, as it was started.
struct tool_command_t {
    QString program;
    QStringList arguments;
};

/// A driver that is going to be played.
struct driver_begins_t {
    QString mechanism;
    QString driver;
    int timeout = -1;           ///< of the prover in the mechanism file, in seconds; -1: none
    bool fedByFile = false;     ///< the prover gets the secondary file on its standard input
    std::size_t jobs = 0;       ///< of this driver
    std::size_t goals = 0;      ///< of this driver
    std::size_t goalsLater = 0; ///< at most so many runs of one goal come with the later drivers
    std::size_t goalsOpen = 0;  ///< goals that this driver or a later one has to run
};

/// A job that begins. It bears the same index in its driver when it ends.
struct job_begins_t {
    std::size_t index = 0;
    /// The goals: obligation and goal, both from 0, in document order.
    const std::vector<std::pair<std::size_t, std::size_t>>& goals;
};

/// A job that has ended: its verdicts are in the POS file, if that could be written.
struct job_ended_t {
    std::size_t index = 0;
    const std::vector<std::pair<std::size_t, std::size_t>>& goals;
    job_end_t end = job_end_t::read;
    /// A word a goal, "Proved", "Unknown" or "Disproved"; null where the reader's line was none of
    /// them. Empty unless the job was `read`.
    QStringList verdicts = {};
    QByteArray model = {};  ///< what the reader printed after the verdict, when one was asked for
    std::size_t found = 0;  ///< lines of the reader
    std::size_t wanted = 0; ///< one a goal
    QString reason = {};    ///< the system's words, where it refused something
    double wallSeconds = 0; ///< from the begin of the job to the end of its tools
    tool_run_t writer = {};
    tool_run_t prover = {};
    tool_run_t reader = {};
    tool_command_t writerCommand = {};
    tool_command_t proverCommand = {};
    tool_command_t readerCommand = {};
    QString secondaryFile = {};
    bool hasSecondaryFile = false; ///< whether it was there when the writer had ended
    QByteArray errorOutput = {};   ///< the tools' standard error, when the settings ask for it
};

/// The base of an observer. Each function does nothing unless it is overridden.
class ProofDirectorObserver
{
public:
    ProofDirectorObserver() = default;
    virtual ~ProofDirectorObserver() = default;
    ProofDirectorObserver(const ProofDirectorObserver&) = delete;
    ProofDirectorObserver& operator=(const ProofDirectorObserver&) = delete;

    virtual void driverBegins(const driver_begins_t& /*driver*/) {}
    virtual void jobBegins(const job_begins_t& /*job*/) {}
    virtual void jobEnded(const job_ended_t& /*job*/) {}
};
