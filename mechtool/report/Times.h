#pragma once

// What journals say about the goals of some components: how long each driver took over each goal,
// and which jobs failed. Of several jobs of a driver on a goal the last one counts.

#include "mechtool/Component.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace report
{

/// A goal of one of the components.
struct place_t {
    std::size_t component = 0;
    address_t address;

    bool operator<(const place_t& other) const
    {
        return component != other.component ? component < other.component : address < other.address;
    }
};

/// A job that has ended, as its line tells.
struct job_t {
    QString time;
    std::size_t driver = 0;
    std::vector<place_t> goals; ///< those that are there
    double seconds = 0;         ///< of the whole job
    std::size_t size = 1;       ///< its goals, with those that are not there
    QString end;
    QString reason; ///< what became of the tools, when it failed

    bool hasFailed() const;

    /// The share of each goal.
    double share() const
    {
        return seconds / double(size);
    }
};

/// A driver's last job on a goal.
struct run_t {
    std::size_t job = 0;
    QString verdict; ///< null for none

    bool isSolved() const;
};

struct driver_times_t {
    QString mechanism;
    QString driver;
    std::map<place_t, run_t> runs;

    QString name() const; ///< as it is shown
};

struct times_t {
    std::vector<job_t> jobs;
    std::vector<driver_times_t> drivers; ///< by name
    std::vector<std::size_t> failed;     ///< jobs that nothing has made up for
    std::size_t lines = 0;
    std::size_t unreadable = 0; ///< lines that are torn, or of another version
    std::size_t foreign = 0;    ///< lines of other components, or of goals that are gone

    /// The seconds of all drivers' last jobs on a goal; nothing when none ran.
    std::optional<double> secondsOf(const place_t& place) const;
};

/// Reads the journals. A line that cannot be read, and one of another component, is counted and
/// left out. Where several components have one name, the first that has the goals is meant.
/// Throws CannotAnswer for a file that cannot be read.
times_t timesOf(const QStringList& journals, const std::vector<const component_t*>& components);

} // namespace report
