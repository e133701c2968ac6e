#pragma once

// What SIGINT, SIGTERM and SIGHUP do to a command that plays: the orderly stop. The handler only
// wakes a thread of its own, which stops the director, says how far the command came, removes the
// temporary folders, and ends the process with 128 and the signal's number, as shells count. A
// second SIGINT ends the process at once; the guards of the director end the tools then.
//
// A SIGHUP that whoever started the program ignores (nohup) stays ignored.

#include <QString>

#include <functional>

class ProofDirector;

/// Holds from its making to its end: after that the signals end the program as they end any, or are
/// already doing so, and then the end is never reached. There is at most one, and it belongs to the
/// main thread.
class Interruption
{
public:
    /// `tell` ends what else writes to standard error, and gives the last line; `saved` says
    /// whether the POS file holds what was done. It is called by the thread, once, while the
    /// workers have ended or are ending.
    explicit Interruption(std::function<QString(bool saved)> tell);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Runs `work` with this director as the one to stop.
    static void during(ProofDirector& director, const std::function<void()>& work);
};
