#include "mechtool/Watch.h"

#include "base/LogLine.h"
#include "mechtool/FailedJob.h"
#include "mechtool/Journal.h"
#include "mechtool/Progress.h"
#include "mechtool/StatusLine.h"
#include "mechtool/Text.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace
{

using time_point_t = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds REDRAW_PERIOD{100};
constexpr std::chrono::milliseconds LOOK_PERIOD{1000};

/// A job that runs.
struct running_t {
    time_point_t begun;
    std::vector<address_t> first; ///< the goals that a line names
    std::size_t goals = 0;
    bool isReported = false;
};

time_point_t now()
{
    return std::chrono::steady_clock::now();
}

double secondsBetween(time_point_t begin, time_point_t end)
{
    return std::chrono::duration<double>(end - begin).count();
}

/// Nothing of an observer may throw: what there is no memory for is not shown.
template <typename Step>
void guarded(Step step)
{
    try {
        step();
    } catch (const std::bad_alloc&) {
        std::cerr << "mechtool: out of memory: a job is not counted, or not reported\n";
    }
}

} // namespace

struct Watch::State {
    explicit State(const watch_settings_t& given);

    QString nameOf(const address_t& goal) const;
    QStringList namesOf(const std::vector<address_t>& goals) const;
    void say(const QString& text) const;
    void report(const driver_begins_t& of, const job_ended_t& job, const QStringList& names,
                const QString& failure);
    void look(time_point_t time);
    QStringList slowJobs(time_point_t time);
    QString progressText() const;
    std::string textFor(int columns);

    const watch_settings_t settings;
    const bool isDrawn;
    std::unique_ptr<Journal> journal;
    std::unique_ptr<KeptJobs> keptJobs;
    QString component;
    QStringList obligations; ///< as shown

    mutable std::mutex mutex; // guards what follows
    driver_begins_t driver;
    time_point_t driverBegun;
    Score score;
    std::unordered_map<std::size_t, running_t> running;
    Score::runs_t seen; ///< at the last look
    time_point_t looked = now();
    time_point_t plainDue = now() + settings.plainPeriod;
    TimeLeft timeLeft;
    Pace jobPace;
    progress_t progress; ///< as of the last look
    bool hasEnded = false;

    std::unique_ptr<StatusLine> line; ///< its thread uses the rest, so it goes first
};

Watch::State::State(const watch_settings_t& given)
    : settings(given), isDrawn(given.progress != progress_mode_t::never && canDrawLine())
{
    if (!settings.journal.isEmpty()) {
        journal = std::make_unique<Journal>(settings.journal);
    }
    if (!settings.keepFailed.isEmpty()) {
        keptJobs = std::make_unique<KeptJobs>(settings.keepFailed);
    }
}

QString Watch::State::nameOf(const address_t& goal) const
{
    return obligations.value(static_cast<int>(goal.first)) + QLatin1Char('.') +
           QString::number(goal.second + 1);
}

QStringList Watch::State::namesOf(const std::vector<address_t>& goals) const
{
    QStringList names;
    names.reserve(static_cast<int>(goals.size()));
    for (const address_t& goal : goals) {
        names << nameOf(goal);
    }
    return names;
}

/// Writes a line; null for none. Never called with the lock held.
void Watch::State::say(const QString& text) const
{
    if (!text.isNull()) {
        writeLog(QStringLiteral("mechtool %1: %2\n").arg(settings.command, text).toStdString());
    }
}

/// Writes what there is to write about a job that has ended, in the place of each.
void Watch::State::report(const driver_begins_t& of, const job_ended_t& job,
                          const QStringList& names, const QString& failure)
{
    if (journal) {
        say(journal->append(
            journalLine(component, of, names, job, QDateTime::currentDateTimeUtc())));
    }
    if (failure.isNull()) {
        return;
    }
    if (keptJobs) {
        say(keptJobs->keep(of, names, job));
    }
    if (!settings.quiet) {
        const QString command = commandOf(job, of.fedByFile);
        say(QStringLiteral("%1/%2: %3: %4, after %5")
                .arg(shown(of.mechanism), shown(of.driver), fewGoals(names), failure,
                     duration(job.wallSeconds)) +
            (command.isEmpty() ? command : QStringLiteral("; by hand: ") + command));
    }
}

/// Brings the progress up to date.
void Watch::State::look(time_point_t time)
{
    const double passed = secondsBetween(looked, time);
    const Score::runs_t& runs = score.runs();
    timeLeft.pass(passed, double(runs.goals - seen.goals), score.runsLeft());
    jobPace.pass(passed, double(runs.jobs - seen.jobs));
    looked = time;
    seen = runs;
    const Score::goals_t& goals = score.goals();
    // Those of the driver: over all drivers nobody knows how many runs there will be.
    progress.done = score.goalsEnded();
    progress.all = score.goalsOfDriver();
    progress.proved = goals.proved;
    progress.refuted = goals.refuted;
    progress.failed = runs.failed;
    progress.secondsLeft = timeLeft.seconds();
    progress.jobsPerSecond = jobPace.perSecond();
    progress.longest = QString();
    const auto longest =
        std::min_element(running.begin(), running.end(), [](const auto& one, const auto& other) {
            return one.second.begun < other.second.begun;
        });
    if (longest != running.end() && !longest->second.first.empty()) {
        progress.longest = nameOf(longest->second.first.front());
        progress.longestSeconds = secondsBetween(longest->second.begun, time);
    }
}

/// What is to be said about jobs that have become slow since the last call.
QStringList Watch::State::slowJobs(time_point_t time)
{
    QStringList sentences;
    for (auto& [index, job] : running) {
        const double seconds = secondsBetween(job.begun, time);
        if (settings.quiet || driver.timeout <= 0 || job.isReported ||
            seconds < settings.slow * driver.timeout) {
            continue;
        }
        job.isReported = true;
        sentences << QStringLiteral("%1/%2: %3: has run for %4, and still does; its prover's "
                                    "timeout is %5 s")
                         .arg(shown(driver.mechanism), shown(driver.driver),
                              fewGoals(namesOf(job.first), job.goals), duration(seconds),
                              QString::number(driver.timeout));
    }
    return sentences;
}

/// The progress for a line that may be as long as it likes.
QString Watch::State::progressText() const
{
    return progressLine(progress, std::numeric_limits<int>::max());
}

/// What the thread of the line shows for so many columns. It has the slow jobs reported, too.
std::string Watch::State::textFor(int columns)
{
    QStringList slow;
    QString text;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const time_point_t time = now();
        look(time);
        slow = slowJobs(time);
        const bool isDue = isDrawn || time >= plainDue;
        if (isDue && settings.progress != progress_mode_t::never && progress.all != 0) {
            text = isDrawn ? progressLine(progress, columns)
                           : QStringLiteral("mechtool %1: ").arg(settings.command) + progressText();
        }
        plainDue = time >= plainDue ? time + settings.plainPeriod : plainDue;
    }
    for (const QString& sentence : std::as_const(slow)) {
        say(sentence);
    }
    return text.toStdString();
}

Watch::Watch(const watch_settings_t& settings) : state(std::make_unique<State>(settings))
{
    if (!settings.quiet) {
        const auto period =
            state->isDrawn ? REDRAW_PERIOD : std::min(LOOK_PERIOD, settings.plainPeriod);
        state->line = std::make_unique<StatusLine>(state->isDrawn, period, [this](int columns) {
            return state->textFor(columns);
        });
    }
}

Watch::~Watch()
{
    end();
}

void Watch::setComponent(const component_t& component)
{
    state->component = component.name;
    state->obligations.clear();
    for (const obligation_t& obligation : component.obligations) {
        state->obligations << shown(obligation.name);
    }
}

void Watch::driverBegins(const driver_begins_t& driver)
{
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->look(now());
    state->driver = driver;
    state->driverBegun = now();
    state->running.clear();
    state->score.driverBegins(driver);
    state->timeLeft.driverBegins();
    state->jobPace = Pace();
    state->progress.mechanism = shown(driver.mechanism);
    state->progress.driver = shown(driver.driver);
}

void Watch::jobBegins(const job_begins_t& job)
{
    guarded([&] {
        running_t running;
        running.begun = now();
        running.goals = job.goals.size();
        const std::size_t named = std::min(running.goals, std::size_t(NAMED_GOALS));
        running.first.assign(job.goals.begin(), job.goals.begin() + std::ptrdiff_t(named));
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->running[job.index] = std::move(running);
    });
}

void Watch::jobEnded(const job_ended_t& job)
{
    guarded([&] {
        const QString failure = failureOf(job, [&](std::size_t index) {
            return state->nameOf(job.goals.at(index));
        });
        driver_begins_t driver;
        {
            const std::lock_guard<std::mutex> lock(state->mutex);
            state->running.erase(job.index);
            state->score.jobEnded(job, !failure.isNull(),
                                  secondsBetween(state->driverBegun, now()));
            driver = state->driver;
        }
        if (state->journal || !failure.isNull()) {
            state->report(driver, job, state->namesOf(job.goals), failure);
        }
    });
}

std::vector<tally_t> Watch::tallies() const
{
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->score.tallies();
}

std::size_t Watch::goalsDone() const
{
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->score.goals().done;
}

std::size_t Watch::goalsAll() const
{
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->score.goals().all;
}

void Watch::end()
{
    bool isFirst = false;
    QString last;
    {
        const std::lock_guard<std::mutex> lock(state->mutex);
        isFirst = !std::exchange(state->hasEnded, true);
        state->look(now());
        const watch_settings_t& settings = state->settings;
        if (settings.progress == progress_mode_t::always && !settings.quiet && !state->isDrawn &&
            state->progress.all != 0) {
            last = state->progressText();
        }
    }
    if (isFirst) {
        state->say(last);
        state->say(state->journal ? state->journal->loss() : QString());
    }
    if (state->line) {
        state->line->end();
    }
}
