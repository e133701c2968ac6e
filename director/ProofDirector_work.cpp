// Work. Hands the jobs of the driver being played out, each to one worker and in increasing order,
// and runs them: on the thread that plays, on worker threads, or on threads of whoever calls the
// worker bodies. A job that memory does not suffice for is lost, and the others go on. What else a
// worker throws ends all of them and reaches the thread that plays. The counters are under
// `entryMutex`; no lock is held while a job runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ProcessGroups.h"
#include "director/ProofDirector_p.h"

#include <exception>
#include <new>
#include <sstream>
#include <thread>

namespace
{

/// Made at the start: there is no room to make it when it is needed.
const std::string OUT_OF_MEMORY =
    LOG_PREFIX + std::string("Out of memory: the results of a job are lost.\n");

} // namespace

/// The state of job `index`, which begins now unless it has before.
ProofDirector::job_state_t ProofDirector::beginJob(std::size_t index)
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    job_state_t& state = jobStates.at(index);
    if (state.begun == decltype(state.begun)()) {
        state.begun = std::chrono::steady_clock::now();
    }
    return state;
}

/// Progress line of a worker body about job `index`.
void ProofDirector::traceWriting(std::size_t index) const
{
    if (trace == TRACE_PROGRESS) {
        std::ostringstream line;
        line << WORKER_LOG_PREFIX << "Thread " << std::this_thread::get_id() << " writes entry "
             << index << ".\n";
        writeLog(line.str());
    }
}

void ProofDirector::traceProving(std::size_t index) const
{
    if (trace == TRACE_PROGRESS) {
        const prover_data_t& job = proverData.at(index);
        std::ostringstream line;
        line << WORKER_LOG_PREFIX << "Thread " << std::this_thread::get_id() << " proves entry ("
             << job.cmdp.toStdString() << ", " << job.inpath.toStdString() << ").\n";
        writeLog(line.str());
    }
}

/// Runs `job`. One that memory does not suffice for is lost like one whose tools fail, and the
/// others go on; what it had merged by then is in the next save.
void ProofDirector::attempt(const std::function<void()>& job)
{
    try {
        job();
    } catch (const std::bad_alloc&) {
        writeLog(OUT_OF_MEMORY);
    }
}

/// Takes the next job to write, if there is one, for the calling worker. With `proves` that worker
/// proves the job, too.
bool ProofDirector::takeJobToWrite(bool proves, std::size_t& index)
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    if (nextEntry >= jobStates.size()) {
        return false;
    }
    index = nextEntry++;
    jobStates[index].proofTaken = proves;
    traceWriting(index);
    return true;
}

/// Takes the next job that nobody has taken to prove, if there is one, for the calling worker.
bool ProofDirector::takeJobToProve(std::size_t& index)
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    while (nextProof < proverData.size() && jobStates.at(nextProof).proofTaken) {
        ++nextProof;
    }
    if (nextProof >= proverData.size()) {
        return false;
    }
    index = nextProof++;
    traceProving(index);
    return true;
}

/// Nobody takes another job of the current driver.
void ProofDirector::abandonJobs()
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    nextEntry = jobStates.size();
    nextProof = jobStates.size();
}

/// The worker bodies: runs jobs until there is none left. `job` takes one and runs it, and returns
/// whether there was any.
void ProofDirector::runJobs(const std::function<bool()>& job)
{
    bool more = true;
    while (more && !processes->isClosed()) {
        attempt([&] {
            more = job();
        });
    }
}

void ProofDirector::writeJob()
{
    runJobs([this] {
        std::size_t index = 0;
        const bool taken = takeJobToWrite(false, index);
        if (taken) {
            writeEntry(index);
        }
        return taken;
    });
}

void ProofDirector::proveJob()
{
    runJobs([this] {
        std::size_t index = 0;
        const bool taken = takeJobToProve(index);
        if (taken) {
            proveEntry(index);
        }
        return taken;
    });
}

void ProofDirector::writeAndProveJob()
{
    runJobs([this] {
        std::size_t index = 0;
        const bool taken = takeJobToWrite(true, index);
        if (taken) {
            writeEntry(index);
            traceProving(index);
            proveEntry(index);
        }
        return taken;
    });
}

/// Runs the jobs one after the other on this thread.
void ProofDirector::runInline()
{
    for (std::size_t i = 0; i < writerData.size() && !processes->isClosed(); ++i) {
        attempt([&] {
            writeEntry(i);
            proveEntry(i);
        });
    }
}

/// Runs the jobs on `concurrency` workers, whatever the number of jobs, and waits for them. With a
/// concurrency of 0 no job runs. The first exception of a worker ends all of them and reaches the
/// caller.
void ProofDirector::runWorkers()
{
    std::vector<std::thread> workers;
    std::exception_ptr failure;
    const auto work = [&] {
        try {
            writeAndProveJob();
        } catch (...) {
            abandonJobs();
            const std::lock_guard<std::mutex> lock(entryMutex);
            failure = failure ? failure : std::current_exception();
        }
    };
    try {
        workers.reserve(concurrency);
        for (unsigned int i = 0; i < concurrency; ++i) {
            workers.emplace_back(work);
        }
    } catch (const std::exception& error) {
        // Fewer workers do the same jobs; without any, this thread does them.
        writeLog(LOG_PREFIX + std::string("Cannot start another worker thread: ") + error.what() +
                 "\n");
        if (workers.empty()) {
            work();
        }
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}
