#pragma once

// What a play has done so far, counted: by driver for the table at the end, and by goal for the
// progress. One thread at a time may use it.

#include "director/ProofDirectorObserver.h"

#include <QString>

#include <cstddef>
#include <map>
#include <vector>

/// What a driver has done. Goals count once a run; `seconds` is the time from the begin of the
/// driver to the end of its last job.
struct tally_t {
    QString mechanism = {};
    QString driver = {};
    std::size_t run = 0; ///< goals of jobs that were read
    std::size_t proved = 0;
    std::size_t refuted = 0;
    std::size_t unknown = 0;
    std::size_t failed = 0; ///< jobs in which something failed
    double seconds = 0;
};

class Score
{
public:
    void driverBegins(const driver_begins_t& driver);

    /// Counts a job that has ended, so many seconds after its driver began.
    void jobEnded(const job_ended_t& job, bool hasFailed, double seconds);

    /// In the order in which the drivers began. A driver that is played again adds to its numbers.
    const std::vector<tally_t>& tallies() const
    {
        return table;
    }

    /// Goals, each once a mechanism, whatever drivers ran it.
    struct goals_t {
        std::size_t all = 0; ///< those to run when the first driver of the mechanism began
        std::size_t done = 0;
        std::size_t proved = 0;
        std::size_t refuted = 0;
    };
    const goals_t& goals() const
    {
        return found;
    }

    /// Goals of the current driver: those to run, and those whose job has ended.
    std::size_t goalsOfDriver() const
    {
        return expected;
    }
    std::size_t goalsEnded() const
    {
        return driverEnded;
    }

    /// Jobs that have ended, those that failed in something, and the goals of the former, each once
    /// a run.
    struct runs_t {
        std::size_t jobs = 0;
        std::size_t failed = 0;
        std::size_t goals = 0;
    };
    const runs_t& runs() const
    {
        return ended;
    }

    /// The runs of goals that are probably still to come with this mechanism. Of those that later
    /// drivers may get, the current one takes away the share that it settles.
    double runsLeft() const;

private:
    void countVerdict(const std::pair<std::size_t, std::size_t>& goal, const QString& word);

    using marks_t = std::vector<std::vector<unsigned char>>;
    std::map<QString, marks_t> marks; ///< what is known of each goal, by mechanism
    marks_t* marked = nullptr;        ///< the marks of the current mechanism
    std::vector<tally_t> table;
    std::size_t current = 0;     ///< the current driver's tally
    double secondsBefore = 0;    ///< in it from earlier passes
    std::size_t expected = 0;    ///< goals of the current driver
    std::size_t later = 0;       ///< runs that later drivers may get
    std::size_t driverEnded = 0; ///< goals of the current driver, in this pass
    std::size_t driverSettled = 0;
    goals_t found;
    runs_t ended;
};
