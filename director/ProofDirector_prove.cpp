// Proving. Runs the prover of one job piped into its reader, takes one result line per goal, merges
// and reports them under `domMutex`, and comes back when a document that holds them is on disk. A
// job whose tools fail or whose lines do not match its goals changes nothing. May run on many
// threads at once; no lock is held while a child runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ChildProcess.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "director/verdict.h"

#include <algorithm>
#include <iostream>
#include <sstream>

namespace
{

/// What is held of a reader's output: a prover that goes on printing, and a reader that passes it
/// on, must not take the memory of the machine.
constexpr std::size_t OUTPUT_LIMIT = std::size_t(64) << 20;
constexpr std::size_t OUTPUT_LIMIT_PER_GOAL = 256;

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
    const job_state_t state = beginJob(index);
    if (state.failed) {
        return;
    }
    traceLine("Issuing proving command " + job.cmdp.toStdString() + " " +
              job.argsp.join(QLatin1Char(' ')).toStdString() + "\n and reading command " +
              job.cmdr.toStdString() + " " + job.argsr.join(QLatin1Char(' ')).toStdString());
    QByteArray output;
    if (!runProver(job, output)) {
        return;
    }
    traceLine("processing command output " + output.trimmed().toStdString());
    ResultLines lines(output);
    if (hasExpectedCount(job, lines.count())) {
        mergeResults(job, lines, state.begun);
    }
}

/// Runs the two tools; false, with the reason logged, when there is nothing to read.
bool ProofDirector::runProver(const prover_data_t& job, QByteArray& output)
{
    const bool fed = driver.prover.input == mechanism::input_t::standardInput;
    const std::size_t most = OUTPUT_LIMIT + job.po_addresses.size() * OUTPUT_LIMIT_PER_GOAL;
    PairResult result = runPair({job.cmdp, job.argsp}, fed ? job.inpath : QString(),
                                {job.cmdr, job.argsr}, most, *processes);
    switch (result.end) {
    case PairEnd::Read:
        output = std::move(result.output);
        return true;
    case PairEnd::ProverCrashed:
        writeLog("Driver prover crashed.\n");
        addError(QObject::tr("Driver %1 prover crashed.").arg(driver.name));
        return false;
    case PairEnd::ReaderCrashed:
        writeLog("Driver reader crashed.\n");
        addError(QObject::tr("Driver %1 reader crashed.").arg(driver.name));
        return false;
    case PairEnd::TooMuch:
        writeLog(LOG_PREFIX + ("Reader printed more than " + std::to_string(most)) +
                 " bytes: the results of a job are lost.\n");
        addError(QObject::tr("Driver %1 reader printed too much.").arg(driver.name));
        return false;
    case PairEnd::Refused:
        writeLog(LOG_PREFIX + ("Prover or reader refused: " + result.refusal.toStdString()) + "\n");
        addError(QObject::tr("Driver %1 prover or reader could not be started.").arg(driver.name));
        return false;
    case PairEnd::Stopped:
        return false;
    }
    return false;
}

/// One line per goal is the whole contract with a reader; anything else loses the job. With a goal
/// filter the lines after the first are a model.
bool ProofDirector::hasExpectedCount(const prover_data_t& job, std::size_t found)
{
    if (!goalFilter.isEmpty() || found == job.po_addresses.size()) {
        return true;
    }
    std::ostringstream line;
    line << "Unexpected number of results. Expected: " << job.po_addresses.size()
         << " Found: " << found << "\n";
    writeLog(line.str());
    addError(QObject::tr("Unexpected number of results from driver %1 reader.").arg(driver.name));
    return false;
}

/// Merges and reports the results of a job that began at `begun`, and waits until they are on disk.
void ProofDirector::mergeResults(const prover_data_t& job, ResultLines& lines,
                                 std::chrono::steady_clock::time_point begun)
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
            if (reportResults(job, lines, story)) {
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
        saves->wait(ticket, std::max(concurrency, 1U) - 1,
                    std::chrono::steady_clock::now() - begun);
    }
}

/// Writes what a job has to tell, in one piece: nobody can see its marks come one by one. Never
/// called with `domMutex` held: a stream that nobody reads must not keep a stop from saving.
void ProofDirector::tell(const story_t& story)
{
    if (!story.trace.empty()) {
        writeLog(story.trace);
    }
    std::cout << story.report << std::flush;
}

/// Applies the line of every goal and appends its mark to the report. Returns whether some line was
/// recognised. Called with `domMutex` held.
bool ProofDirector::reportResults(const prover_data_t& job, ResultLines& lines, story_t& story)
{
    std::string& report = story.report;
    bool changed = false;
    for (const address_t& address : job.po_addresses) {
        reportHeadings(address.first, report);
        const std::optional<verdict_t> verdict = verdictOfLine(lines.take());
        if (!verdict) {
            report += xml ? "<m/>" : "-";
            continue;
        }
        applyResult(address, *verdict, story.trace);
        const pos::status_t status = obligations.at(address.first).second.at(address.second).status;
        report += (xml ? xmlOfStatus : stringOfStatus).at(status);
        if (!goalFilter.isEmpty()) {
            report += xml ? "<model>\n" : "model:\n";
            while (!lines.atEnd()) {
                report += lines.take().toStdString() + "\n";
            }
            report += xml ? "</model>\n" : "\n";
        }
        changed = true;
    }
    return changed;
}

/// Appends the headings up to `obligation` that were not written yet. They only ever go forward: a
/// job that ends after one with higher obligations puts its marks under the last heading. Called
/// with `domMutex` held.
void ProofDirector::reportHeadings(std::size_t obligation, std::string& report)
{
    for (; doneCount <= obligation; ++doneCount) {
        if (doneCount != 0) {
            report += xml ? "</operation>\n" : "\n";
        }
        report += xml ? "\t\t<operation><name>" : "\t\t";
        report += obligations.at(doneCount).first;
        report += xml ? "</name>\n\t\t\t" : "\n\t\t\t";
    }
}

/// Called with `domMutex` held.
void ProofDirector::applyResult(const address_t& address, const verdict_t& verdict,
                                std::string& traced)
{
    if (trace == TRACE_PROGRESS) {
        std::ostringstream line;
        line << "updating proof status of proof obligation " << address.first << ","
             << address.second << " to " << strOfVerdict(verdict).toStdString() << " for driver "
             << driver.name.toStdString();
        traced += tracedLine(line.str());
    }
    // With a goal filter the run only looks for a model: the goal keeps its status.
    if (goalFilter.isEmpty()) {
        updateStatus(address, verdict);
    }
}
