#pragma once

// Running the external tools: a writer alone, or a prover piped into a reader.
//
// Standard input is a file or empty, and output that nobody reads goes to the null device. Only the
// reader's output comes to us, through a pipe that is emptied while the pair runs. So whatever the
// children print, and in whatever order they end, no pair of them can block the other.
//
// Nothing here prints; the callers turn the plain records into log lines. The functions may be
// called from several threads at once.

#include "director/ProcessGroups.h"
#include "director/StartProgram.h"

#include <QByteArray>
#include <QString>

#include <cstddef>

enum class WriterEnd { Exited, Crashed, NotStarted, Stopped };

/// Runs `writer` to its end, without a time limit. Its standard input is empty and its output is
/// discarded. `NotStarted`: it cannot be executed, or the system had no room for it. `Stopped`:
/// `groups` was closed and nothing was started.
WriterEnd runWriter(const Command& writer, ProcessGroups& groups);

enum class PairEnd {
    Read,          ///< both ended by themselves (or were programs that cannot be executed)
    ProverCrashed, ///< the reader was killed; there is no output
    ReaderCrashed, ///< there is no output
    TooMuch,       ///< the reader printed too much, and both were killed; there is no output
    Refused,       ///< the system had no room for another process or file; there is no output
    Stopped        ///< the groups were closed before the start
};

struct PairResult {
    PairEnd end = PairEnd::Stopped;
    QByteArray output; ///< all that the reader printed on its standard output
    QString refusal;   ///< why the system refused a start
};

/// Runs `prover` with the file `input` on its standard input (empty input when `input` is empty)
/// and its output piped into `reader`, until both have ended, without a time limit. A prover whose
/// input cannot be opened counts as one that cannot be executed. The reader's output is what was
/// printed up to its end: a process that it leaves behind with its output open is not waited for.
/// A reader that prints more than `most` bytes is killed.
PairResult runPair(const Command& prover, const QString& input, const Command& reader,
                   std::size_t most, ProcessGroups& groups);
