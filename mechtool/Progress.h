#pragma once

// How far a play is: the record, the line that shows it, and the estimate of the time left. Nothing
// here looks at a clock or a terminal.

#include <QString>

#include <cstddef>
#include <optional>

/// Names in it are as they are shown.
struct progress_t {
    std::size_t done = 0; ///< goals of the driver
    std::size_t all = 0;
    std::optional<double> secondsLeft = {};
    std::size_t proved = 0;
    std::size_t refuted = 0;
    std::size_t failed = 0; ///< jobs
    QString mechanism = {};
    QString driver = {};
    QString longest = {}; ///< a goal of the job that runs longest; null: none runs
    double longestSeconds = 0;
    double jobsPerSecond = 0;
};

/// The line, of at most `width` columns. What matters most comes first; a part that does not fit in
/// its shortest form is left out whole. A job is named once it runs for a second.
QString progressLine(const progress_t& progress, int width);

/// How often something happens. Old times count less and less: half a minute ago, or half of all
/// the time that has passed, whichever is longer, counts a third.
class Pace
{
public:
    /// `seconds` have passed, in which it happened `count` times.
    void pass(double seconds, double count);

    /// 0 as long as it never happened.
    double perSecond() const;

private:
    double elapsed = 0;
    double time = 0;
    double times = 0;
};

/// The time left, from the goals still to run and the pace so far. The estimate runs down like a
/// clock, and what the last moments say changes it by and by only.
class TimeLeft
{
public:
    /// `seconds` have passed, in which `run` goals were run; `left` are still to run.
    void pass(double seconds, double run, double left);

    /// Another driver has begun, at a pace of its own: until that is known, the estimate only runs
    /// down.
    void driverBegins();

    /// Nothing as long as no pace is known: in the first two seconds, and until some goal was run.
    std::optional<double> seconds() const
    {
        return estimate;
    }

private:
    Pace pace;
    double elapsed = 0;
    std::optional<double> estimate;
};
