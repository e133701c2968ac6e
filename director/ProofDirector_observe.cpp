// Observation. Makes the records of a play for the observer of the settings, and hands them over
// with no lock held. Without an observer no record is made: whoever would fill one finds none. A
// job's record is made when the job begins, filled by the worker that runs it, and taken away by
// whoever ends it, so that a job ends once.

#include "director/ProofDirectorObserver.h"

#include "director/ChildProcess.h"
#include "director/ProofDirector.h"
#include "director/ProofDirector_p.h"
#include "director/jobs.h"

#include <utility>

namespace
{

/// How much the two counts of this process's memory may differ by chance, in KiB.
constexpr std::int64_t PEAK_NOISE = 1024;

/// What is kept of the standard error of a job's tools, in bytes: a tool that prints without end
/// must not take the memory of the machine.
constexpr std::size_t ERRORS_KEPT = std::size_t(1) << 20;

tool_run_t runOf(const ChildEnd& end)
{
    tool_run_t run;
    run.started = end.started;
    run.error = end.error;
    run.signal = end.signal;
    run.status = end.status;
    run.processorSeconds = end.processorSeconds;
    run.peakKiB = end.peakKiB > end.lentKiB + PEAK_NOISE ? end.peakKiB : 0;
    return run;
}

tool_command_t commandOf(const QString& path, const QStringList& arguments)
{
    return {programOfPath(path), arguments};
}

double secondsSince(std::chrono::steady_clock::time_point begun)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

} // namespace

/// The driver is prepared, and none of its jobs has begun.
void ProofDirector::announceDriver(std::size_t index)
{
    if (settings.observer == nullptr) {
        return;
    }
    QStringList later;
    for (std::size_t i = index + 1; i < mechanism.drivers.size(); ++i) {
        if (isPlayed(mechanism.drivers[i])) {
            later.append(mechanism.drivers[i].name);
        }
    }
    driver_begins_t begins;
    begins.mechanism = QString::fromStdString(mechanism.name);
    begins.driver = driver.name;
    begins.timeout = driver.prover.timeout;
    begins.fedByFile = driver.prover.input == mechanism::input_t::standardInput;
    begins.jobs = proverData.size();
    for (const prover_data_t& job : proverData) {
        begins.goals += job.po_addresses.size();
    }
    const work_ahead_t ahead = workAhead(driversOfGoals(begins.goals, later), driver.name, later);
    begins.goalsLater = ahead.goalsLater;
    begins.goalsOpen = ahead.goalsOpen;
    settings.observer->driverBegins(begins);
}

/// The drivers still to run on each goal, the drivers of `later` among them.
std::vector<QStringList> ProofDirector::driversOfGoals(std::size_t goals,
                                                       const QStringList& later) const
{
    if (modelRun) { // each driver runs its goal, whatever the record says
        return {goals, later + QStringList(driver.name)};
    }
    std::vector<QStringList> drivers;
    const std::lock_guard<std::mutex> lock(domMutex);
    for (const auto& [name, records] : obligations) {
        for (const po_data_t& record : records) {
            drivers.push_back(record.drivers);
        }
    }
    return drivers;
}

/// Job `index` begins.
void ProofDirector::announceJob(std::size_t index, job_state_t& state)
{
    if (settings.observer == nullptr) {
        return;
    }
    const addresses_t& goals =
        index < proverData.size() ? proverData[index].po_addresses : writerData.at(index).positions;
    state.record.reset(new job_ended_t{index, goals});
    state.record->end = job_end_t::stopped; // until something else is known
    state.record->wanted = goals.size();
    state.record->secondaryFile = writerData.at(index).po2filename;
    settings.observer->jobBegins({index, goals});
}

/// How much of the standard error of a job's next tools is kept.
std::size_t ProofDirector::roomForErrors(const job_state_t& state) const
{
    return state.record && settings.keepErrorOutput
               ? ERRORS_KEPT - static_cast<std::size_t>(state.record->errorOutput.size())
               : 0;
}

void ProofDirector::recordErrors(const QByteArray& printed, job_state_t& state)
{
    if (state.record) {
        state.record->errorOutput += printed;
    }
}

void ProofDirector::recordWriter(const writer_data_t& run, const WriterResult& result, bool found,
                                 job_state_t& state)
{
    if (state.record) {
        state.record->writer = runOf(result.writer);
        state.record->writerCommand = commandOf(run.cmd, run.args);
        state.record->hasSecondaryFile = found;
        state.record->wallSeconds = secondsSince(state.begun);
    }
}

void ProofDirector::recordPair(const prover_data_t& job, const PairResult& result,
                               job_state_t& state)
{
    if (state.record) {
        state.record->prover = runOf(result.prover);
        state.record->proverCommand = commandOf(job.cmdp, job.argsp);
        state.record->reader = runOf(result.reader);
        state.record->readerCommand = commandOf(job.cmdr, job.argsr);
        state.record->reason = result.refusal;
        state.record->wallSeconds = secondsSince(state.begun);
        if (result.end == PairEnd::Read) {
            state.record->found = ReaderLines(result.output).count();
        }
    }
}

/// Tells the observer, if there is one, that job `index` has ended; false when it need not be told,
/// or was told before.
bool ProofDirector::endJob(std::size_t index)
{
    std::unique_ptr<job_ended_t> record;
    {
        const std::lock_guard<std::mutex> lock(jobMutex);
        if (index < jobStates.size()) {
            record = std::move(jobStates[index].record);
        }
    }
    if (!record) {
        return false;
    }
    if (record->end != job_end_t::read) {
        record->verdicts.clear();
        record->model.clear();
    }
    settings.observer->jobEnded(*record);
    return true;
}

/// Tells the observer that job `index` did not come to its end by itself. When all its verdicts are
/// merged, they count all the same.
bool ProofDirector::loseJob(std::size_t index, const job_end_t& end)
{
    {
        const std::lock_guard<std::mutex> lock(jobMutex);
        job_ended_t* const record =
            index < jobStates.size() ? jobStates[index].record.get() : nullptr;
        if (record != nullptr && record->end != job_end_t::read) {
            record->end = end;
        }
    }
    return endJob(index);
}

/// Tells the observer the end of the jobs that have begun and that nobody runs any more.
void ProofDirector::endAllJobs()
{
    if (settings.observer != nullptr) {
        for (std::size_t index = 0; index < jobStates.size(); ++index) {
            loseJob(index, job_end_t::stopped);
        }
    }
}
