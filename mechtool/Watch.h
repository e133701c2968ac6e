#pragma once

// Everything that is seen while a play runs: the progress line on a terminal, or plain lines every
// half minute elsewhere; a line for each failed job; the journal; the files that are kept of failed
// jobs; and the counts for the table at the end.
//
// Lines about jobs, and whatever else is written to std::cerr and std::clog while a watch lives,
// are handed to a thread of the watch, which writes them (StatusLine). So an error stream that
// nobody reads holds no worker. Standard output is not looked after: a command that prints there
// during the play, on the terminal that has the progress line, sets `progress` to `never`.
//
// `driverBegins`, `jobBegins` and `jobEnded` may be called by many threads at once, and never
// throw; so may `end`, `goalsDone` and `goalsAll`, by a thread that stops the play, too. No lock is
// held while something is written but the journal's line.

#include "director/ProofDirectorObserver.h"
#include "mechtool/Component.h"
#include "mechtool/Score.h"

#include <QString>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

enum class progress_mode_t : int {
    automatic, ///< the line on a terminal that can show it; plain lines elsewhere, now and then
    always,    ///< the same, and a last plain line at the end where there is no progress line
    never,
};

struct watch_settings_t {
    QString command = {}; ///< "play": begins its lines
    progress_mode_t progress = progress_mode_t::automatic;
    bool quiet = false;      ///< no progress, no lines about failed or slow jobs: errors only
    QString journal = {};    ///< the file to append to; empty: none
    QString keepFailed = {}; ///< the folder for what is kept of failed jobs; empty: none
    std::chrono::milliseconds plainPeriod{30000}; ///< from one plain line to the next
    /// A job that runs so many times as long as its prover's timeout is reported.
    double slow = 10;
};

class Watch : public ProofDirectorObserver
{
public:
    /// Throws CannotAnswer when the journal or the folder cannot be made.
    explicit Watch(const watch_settings_t& settings);
    ~Watch() override;

    /// The names of the goals; before the play.
    void setComponent(const component_t& component);

    void driverBegins(const driver_begins_t& driver) override;
    void jobBegins(const job_begins_t& job) override;
    void jobEnded(const job_ended_t& job) override;

    /// In the order in which the drivers began. A driver that is played again adds to its numbers.
    std::vector<tally_t> tallies() const;

    /// The goals with a job that was read, and the goals that there were to run when the first
    /// driver of a mechanism began; each counts once a mechanism.
    std::size_t goalsDone() const;
    std::size_t goalsAll() const;

    /// Removes the progress line, writes what is still to be written, and says what was lost of the
    /// journal. From then on the streams are written directly. Harmless twice.
    void end();

private:
    struct State;
    const std::unique_ptr<State> state;
};
