// Proving. Runs the prover of one job piped into its reader, takes one line per goal, merges the
// verdicts and reports them under `domMutex`, and comes back when a document that holds them is on
// disk. A job whose tools fail or whose lines do not match its goals changes nothing. May run on
// many threads at once; no lock is held while a child runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ChildProcess.h"
#include "director/ProofDirectorObserver.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "director/job_end.h"
#include "director/verdict.h"

#include <algorithm>
#include <sstream>

namespace
{

/// What is held of a reader's output: a prover that goes on printing, and a reader that passes it
/// on, must not take the memory of the machine.
constexpr std::size_t OUTPUT_LIMIT = std::size_t(64) << 20;
constexpr std::size_t OUTPUT_LIMIT_PER_GOAL = 256;

/// Whether the first `goals` lines each decide their goal.
bool areDecisive(ReaderLines lines, std::size_t goals)
{
    bool decisive = true;
    for (std::size_t goal = 0; decisive && goal < goals; ++goal) {
        decisive = verdictOfLine(lines.take()).value_or(verdict_t::unknown) != verdict_t::unknown;
    }
    return decisive;
}

std::size_t outputLimit(const ProofDirector::prover_data_t& job)
{
    return OUTPUT_LIMIT + job.po_addresses.size() * OUTPUT_LIMIT_PER_GOAL;
}

} // namespace

const std::map<pos::status_t, const char*> stringOfStatus = {{pos::UNPROVED, "-"},
                                                             {pos::UNKNOWN, "-"},
                                                             {pos::UNRELIABLY_PROVED, "*"},
                                                             {pos::PROVED, "+"},
                                                             {pos::DISPROVED, "!"}};

const std::map<pos::status_t, const char*> xmlOfStatus = {{pos::UNPROVED, "<m/>"},
                                                          {pos::UNKNOWN, "<m/>"},
                                                          {pos::UNRELIABLY_PROVED, "<u/>"},
                                                          {pos::PROVED, "<p/>"},
                                                          {pos::DISPROVED, "<d/>"}};

void ProofDirector::proveEntry(const std::size_t& index)
{
    const prover_data_t& job = proverData.at(index);
    job_state_t& state = beginJob(index);
    if (state.failed) {
        return;
    }
    traceLine("Issuing proving command " + job.cmdp.toStdString() + " " +
              job.argsp.join(QLatin1Char(' ')).toStdString() + "\n and reading command " +
              job.cmdr.toStdString() + " " + job.argsr.join(QLatin1Char(' ')).toStdString());
    const PairResult result = runProver(job, state);
    recordPair(job, result, state);
    const job_end_t end = judgePair(job, result);
    if (end == job_end_t::read) {
        mergeVerdicts(job, result.output, state);
    } else if (state.record) {
        state.record->end = end;
    }
    endJob(index);
}

PairResult ProofDirector::runProver(const prover_data_t& job, job_state_t& state)
{
    const bool fed = driver.prover.input == mechanism::input_t::standardInput;
    PairRun run;
    run.prover = {job.cmdp, job.argsp};
    run.input = fed ? job.inpath : QString();
    run.reader = {job.cmdr, job.argsr};
    run.most = outputLimit(job);
    run.errors = roomForErrors(state);
    run.timeLimit = settings.timeLimit;
    run.memoryLimit = settings.memoryLimit;
    PairResult result = runPair(run, *processes);
    recordErrors(result.errors, state);
    return result;
}

/// How a job ends, given how its prover and reader ended. Reports what is wrong.
job_end_t ProofDirector::judgePair(const prover_data_t& job, const PairResult& result)
{
    const ReaderLines lines(result.output);
    pair_facts_t facts;
    facts.end = result.end;
    facts.prover = result.prover;
    facts.complete = modelRun || lines.count() == job.po_addresses.size();
    // What a stop has killed has not failed for want of memory.
    facts.memoryLimit = processes->isClosed() ? 0 : settings.memoryLimit;
    facts.decisive =
        facts.memoryLimit != 0 && areDecisive(lines, modelRun ? 1 : job.po_addresses.size());
    const job_end_t end = endOfJob(facts);
    if (result.end == PairEnd::Read) {
        traceLine("processing command output " + result.output.trimmed().toStdString());
    }
    tellEnd(end, job, result);
    const bool crashed = end == job_end_t::proverCrashed || end == job_end_t::readerCrashed;
    return crashed && processes->isClosed() ? job_end_t::stopped : end;
}

/// Says why a job is lost. One line per goal is the whole contract with a reader; in a model run
/// the lines after the first are a model.
void ProofDirector::tellEnd(const job_end_t& end, const prover_data_t& job,
                            const PairResult& result)
{
    switch (end) {
    case job_end_t::wrongCount:
        tellFailure(
            "Unexpected number of results. Expected: " + std::to_string(job.po_addresses.size()) +
                " Found: " + std::to_string(ReaderLines(result.output).count()) + "\n",
            QObject::tr("Unexpected number of results from driver %1 reader."));
        break;
    case job_end_t::proverCrashed:
        tellFailure("Driver prover crashed.\n", QObject::tr("Driver %1 prover crashed."));
        break;
    case job_end_t::readerCrashed:
        tellFailure("Driver reader crashed.\n", QObject::tr("Driver %1 reader crashed."));
        break;
    case job_end_t::timeLimit:
        tellFailure("Driver prover or reader killed at the time limit.\n",
                    QObject::tr("Driver %1 prover or reader ran into the time limit."));
        break;
    case job_end_t::memoryLimit:
        tellFailure("Driver prover failed under the memory limit.\n",
                    QObject::tr("Driver %1 prover ran into the memory limit."));
        break;
    case job_end_t::tooMuch:
        tellFailure(LOG_PREFIX + ("Reader printed more than " + std::to_string(outputLimit(job))) +
                        " bytes: the results of a job are lost.\n",
                    QObject::tr("Driver %1 reader printed too much."));
        break;
    case job_end_t::refused:
        tellFailure(LOG_PREFIX + ("Prover or reader refused: " + result.refusal.toStdString()) +
                        "\n",
                    QObject::tr("Driver %1 prover or reader could not be started."));
        break;
    default: // there is nothing to say
        break;
    }
}

/// Merges and reports the verdicts of a job, and waits until they are on disk. Does nothing once
/// the director is stopped.
void ProofDirector::mergeVerdicts(const prover_data_t& job, const QByteArray& output,
                                  job_state_t& state)
{
    SaveGroup::Ticket ticket;
    {
        const std::lock_guard<std::mutex> reportLock(reportMutex);
        story_t story;
        try {
            const std::lock_guard<std::mutex> lock(domMutex);
            if (stopped) {
                return;
            }
            if (reportVerdicts(job, ReaderLines(output), story, state.record.get())) {
                story.trace += tracedLine("Saving new DOM in POS file " + pos.toStdString());
                ticket = saves->join({false, true});
            }
        } catch (...) {
            tell(story); // what was due before an unusable address is still shown
            throw;
        }
        tell(story);
    }
    if (ticket) {
        saves->wait(ticket, std::max(settings.workers, 1U) - 1,
                    std::chrono::steady_clock::now() - state.begun);
    }
}

/// Writes what a job has to tell, in one piece: nobody can see its marks come one by one. Never
/// called with `domMutex` held: a stream that nobody reads must not keep a stop from saving.
void ProofDirector::tell(const story_t& story) const
{
    if (!story.trace.empty()) {
        writeLog(story.trace);
    }
    report(story.report);
}

/// Applies the line of every goal and appends its mark to the report. Returns whether some line was
/// recognised. Called with `domMutex` held.
bool ProofDirector::reportVerdicts(const prover_data_t& job, ReaderLines lines, story_t& story,
                                   job_ended_t* record)
{
    std::string& marks = story.report;
    bool changed = false;
    for (const address_t& address : job.po_addresses) {
        reportHeadings(address.first, marks);
        const std::optional<verdict_t> verdict = verdictOfLine(lines.take());
        if (record != nullptr) {
            record->verdicts.append(verdict ? strOfVerdict(*verdict) : QString());
        }
        if (!verdict) {
            marks += xml ? "<m/>" : "-";
            continue;
        }
        applyVerdict(address, *verdict, story.trace);
        const pos::status_t status = obligations.at(address.first).second.at(address.second).status;
        marks += (xml ? xmlOfStatus : stringOfStatus).at(status);
        if (modelRun) {
            const QByteArray model = lines.takeRest();
            marks += (xml ? "<model>\n" : "model:\n") + model.toStdString();
            marks += xml ? "</model>\n" : "\n";
            if (record != nullptr) {
                record->model = model;
            }
        }
        changed = true;
    }
    if (record != nullptr) {
        record->end = job_end_t::read;
    }
    return changed;
}

/// Appends the headings up to `obligation` that were not written yet. They only ever go forward: a
/// job that ends after one with higher obligations puts its marks under the last heading. Called
/// with `domMutex` held.
void ProofDirector::reportHeadings(std::size_t obligation, std::string& marks)
{
    for (; doneCount <= obligation; ++doneCount) {
        if (doneCount != 0) {
            marks += xml ? "</operation>\n" : "\n";
        }
        marks += xml ? "\t\t<operation><name>" : "\t\t";
        marks += obligations.at(doneCount).first;
        marks += xml ? "</name>\n\t\t\t" : "\n\t\t\t";
    }
}

/// Called with `domMutex` held.
void ProofDirector::applyVerdict(const address_t& address, const verdict_t& verdict,
                                 std::string& traced)
{
    if (settings.traceLevel == TRACE_PROGRESS) {
        std::ostringstream line;
        line << "updating proof status of proof obligation " << address.first << ","
             << address.second << " to " << strOfVerdict(verdict).toStdString() << " for driver "
             << driver.name.toStdString();
        traced += tracedLine(line.str());
    }
    if (!modelRun) { // which only looks for a model: the goal keeps its status
        updateStatus(address, verdict);
    }
}
