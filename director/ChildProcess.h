#pragma once

// Running the external tools: a writer alone, or a prover piped into a reader.
//
// Standard input is a file or empty, and output that nobody reads goes to the null device. Only the
// reader's output comes to us, and standard error when it is asked for, through pipes that are
// emptied while the children run. So whatever the children print, and in whatever order they end,
// no pair of them can block the other. What comes to us is what was printed up to their end: a
// process that they leave behind with its output open is not waited for.
//
// Nothing here prints; the callers turn the plain records into log lines. The functions may be
// called from several threads at once.

#include "director/ProcessGroups.h"
#include "director/StartProgram.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstddef>
#include <cstdint>

enum class WriterEnd { Exited, Crashed, NotStarted, Stopped };

/// What to run as a writer.
struct WriterRun {
    Command writer;
    std::size_t errors = 0; ///< bytes of its standard error that are kept; 0: nobody reads it
};

struct WriterResult {
    WriterEnd end = WriterEnd::Stopped;
    ChildEnd writer;
    QByteArray errors; ///< the first that it printed on its standard error
};

/// Runs a writer to its end, without a time limit. Its standard input is empty and its output is
/// discarded. `NotStarted`: it cannot be executed, or the system had no room for it. `Stopped`:
/// `groups` was closed and nothing was started.
WriterResult runWriter(const WriterRun& run, ProcessGroups& groups);

enum class PairEnd {
    Read,          ///< both ended by themselves (or were programs that cannot be executed)
    ProverCrashed, ///< the reader was killed; there is no output
    ReaderCrashed, ///< there is no output
    TimeLimit,     ///< the two ran too long, and the group was killed; there is no output
    TooMuch,       ///< the reader printed too much, and both were killed; there is no output
    Refused,       ///< the system had no room for another process or file; there is no output
    Stopped        ///< the groups were closed before the start
};

/// What to run as a prover and its reader.
struct PairRun {
    Command prover;
    QString input; ///< the file on the prover's standard input; empty: an empty input
    Command reader;
    std::size_t most = 0;   ///< bytes that the reader may print
    std::size_t errors = 0; ///< as for a writer, for both

    std::chrono::milliseconds timeLimit{0}; ///< of both, from their start; 0: none
    std::uint64_t memoryLimit = 0;          ///< of the prover's address space, in bytes; 0: none
};

struct PairResult {
    PairEnd end = PairEnd::Stopped;
    QByteArray output; ///< all that the reader printed on its standard output
    QString refusal;   ///< why the system refused a start
    ChildEnd prover;
    ChildEnd reader;
    QByteArray errors; ///< the first that both printed on their standard error, however they ended
};

/// Runs the prover with its output piped into the reader, until both have ended. When one of them
/// still runs at the limit, all that lives in the group is killed: a prover may have ended and left
/// a child that holds up the reader. A prover whose input cannot be opened counts as a program that
/// cannot be executed. A reader that prints more than `most` bytes is killed.
PairResult runPair(const PairRun& run, ProcessGroups& groups);
