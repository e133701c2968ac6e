// Playing. Loads the document and plays the drivers in file order: for each a report line, the
// selection of its goals, its jobs on this thread or on workers, and the removal of its secondary
// files. Also the stop, which may come from another thread at any moment of all this.

#include "director/ProofDirector.h"

#include "director/ProcessGroups.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"

#include <chrono>
#include <unistd.h>

namespace
{

/// How long a stop waits for starts under way, which as a rule take a millisecond.
constexpr std::chrono::seconds START_LIMIT(5);

} // namespace

void ProofDirector::play()
{
    traceLine("Start loading POS file.");
    const bool registered = loadPosFile();
    traceLine("Loading POS file completed.");
    traceLine(registered ? "Registering mechanism in POS file."
                         : "Mechanism already registered in POS file.");
    if (registered) {
        saves->wait(saves->join({false, true}));
    }
    playDrivers();
}

void ProofDirector::replay()
{
    traceLine("Start loading POS file.");
    if (reloadPosFile()) {
        traceLine("Loading POS file completed.");
        playDrivers();
        return;
    }
    traceLine("Loading POS file failed.");
    report((xml ? "<error>Error " : "Error ") + settings.component + " .pos" +
           (xml ? "</error>\n" : "\n"));
}

/// Whether the settings leave a driver to be played.
bool ProofDirector::isPlayed(const mechanism::driver_t& candidate) const
{
    return (driverFilter.isEmpty() || driverFilter == candidate.name) &&
           (!settings.onlyFast || candidate.fast);
}

void ProofDirector::playDrivers()
{
    for (std::size_t i = 0; i < mechanism.drivers.size() && !processes->isClosed(); ++i) {
        driver = mechanism.drivers[i];
        if (isPlayed(driver)) {
            playDriver(i);
        }
    }
}

void ProofDirector::playDriver(std::size_t index)
{
    const std::string playing =
        "Playing " + std::to_string(index) + "-th driver (" + driver.name.toStdString() + ")";
    traceLine(playing);
    // No worker runs here, so the counters stand still; what `stop` needs is not held.
    report((xml ? "<proofPass>\tProof driver " : "\tProof driver ") + driver.name.toStdString() +
           ", still " + std::to_string(unprovedCount) + " unproved PO" +
           (xml ? "</proofPass>\n" : "\n"));
    traceLine(playing); // twice, on purpose
    if (!modelRun) {
        if (!hasWork()) {
            traceLine("Driver cannot improve proof status.");
            return;
        }
        traceLine("Driver has proof obligations to process.");
    }
    prepareDriver(index);
    try {
        settings.workers == 1 ? runInline() : runWorkers();
    } catch (...) {
        finishDriver();
        throw;
    }
    report("\n");
    if (doneCount != 0) {
        report(xml ? "</operation>\n" : "\n");
    }
    finishDriver();
}

void ProofDirector::prepareDriver(std::size_t index)
{
    finishDriver();
    driver = mechanism.drivers.at(index);
    std::vector<addresses_t> batches;
    selectForDriver(batches);
    traceLine("Driver producing writer data");
    produceWriterData(dir, pog, batches);
    traceLine("Driver producing prover data");
    produceProverData();
    {
        const std::lock_guard<std::mutex> lock(domMutex);
        doneCount = 0;
    }
    announceDriver(index);
}

void ProofDirector::finishDriver()
{
    processes->endIdle(); // before the files: what still lives may write them
    removeSecondaryFiles();
    endAllJobs();
    proverData.clear();
    const std::lock_guard<std::mutex> lock(fileMutex);
    writerData.clear();
}

void ProofDirector::removeSecondaryFiles()
{
    const std::lock_guard<std::mutex> lock(fileMutex);
    for (const writer_data_t& run : writerData) {
        ::unlink(run.po2filename.toUtf8().constData()); // whether it is there or not
    }
}

void ProofDirector::stop()
{
    processes->closeAndKill();
    removeSecondaryFiles();
    SaveGroup::Ticket ticket;
    {
        // What is merged by now is in this save; nothing more will be.
        const std::lock_guard<std::mutex> lock(domMutex);
        stopped = true;
        ticket = saves->join({true, true}); // in a hurry: no job ends any more
    }
    saves->wait(ticket);
    // Only now: a start that the system does not finish must not keep the verdicts from the disk.
    processes->awaitStarts(START_LIMIT);
    removeSecondaryFiles();
}
