// Work. Hands the jobs of the driver being played out, each to one worker and in increasing order,
// and runs them: on the thread that plays, on worker threads, or on threads of whoever calls the
// worker bodies. When memory runs out in a job, this job is lost and the others go on. Any other
// exception of a worker ends all workers and reaches the thread that plays. The counters are under
// `jobMutex`; no lock is held while a job runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ProcessGroups.h"
#include "director/ProofDirectorObserver.h"
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

/// No job has this index.
constexpr std::size_t NO_JOB = static_cast<std::size_t>(-1);

} // namespace

/// The state of job `index`, which begins now unless it has before.
ProofDirector::job_state_t& ProofDirector::beginJob(std::size_t index)
{
    bool begins = false;
    job_state_t* state = nullptr;
    {
        const std::lock_guard<std::mutex> lock(jobMutex);
        state = &jobStates.at(index);
        begins = state->begun == decltype(state->begun)();
        if (begins) {
            state->begun = std::chrono::steady_clock::now();
        }
    }
    if (begins) {
        announceJob(index, *state);
    }
    return *state;
}

/// Progress line of a worker body about job `index`.
void ProofDirector::traceWriting(std::size_t index) const
{
    if (settings.traceLevel == TRACE_PROGRESS) {
        std::ostringstream line;
        line << WORKER_LOG_PREFIX << "Thread " << std::this_thread::get_id() << " writes entry "
             << index << ".\n";
        writeLog(line.str());
    }
}

void ProofDirector::traceProving(std::size_t index) const
{
    if (settings.traceLevel == TRACE_PROGRESS) {
        const prover_data_t& job = proverData.at(index);
        std::ostringstream line;
        line << WORKER_LOG_PREFIX << "Thread " << std::this_thread::get_id() << " proves entry ("
             << job.cmdp.toStdString() << ", " << job.inpath.toStdString() << ").\n";
        writeLog(line.str());
    }
}

/// Runs `job`, the work on job `index`. When memory runs out, this job is lost as when its tools
/// fail, and the others go on; the verdicts that it had merged by then are in the next save.
void ProofDirector::attempt(const std::size_t& index, const std::function<void()>& job)
{
    try {
        job();
    } catch (const std::bad_alloc&) {
        if (!loseJob(index, job_end_t::outOfMemory)) {
            writeLog(OUT_OF_MEMORY);
        }
    }
}

/// Takes the next job to write, if there is one, for the calling worker. With `proves` that worker
/// proves the job, too.
bool ProofDirector::takeJobToWrite(bool proves, std::size_t& index)
{
    const std::lock_guard<std::mutex> lock(jobMutex);
    if (nextToWrite >= jobStates.size()) {
        return false;
    }
    index = nextToWrite++;
    jobStates[index].proofTaken = proves;
    traceWriting(index);
    return true;
}

/// Takes the next job that nobody has taken to prove, if there is one, for the calling worker.
bool ProofDirector::takeJobToProve(std::size_t& index)
{
    const std::lock_guard<std::mutex> lock(jobMutex);
    while (nextToProve < proverData.size() && jobStates.at(nextToProve).proofTaken) {
        ++nextToProve;
    }
    if (nextToProve >= proverData.size()) {
        return false;
    }
    index = nextToProve++;
    traceProving(index);
    return true;
}

/// Nobody takes another job of the current driver.
void ProofDirector::abandonJobs()
{
    const std::lock_guard<std::mutex> lock(jobMutex);
    nextToWrite = jobStates.size();
    nextToProve = jobStates.size();
}

/// The worker bodies: takes jobs until there is none left, and runs each. `take` returns whether
/// there was any.
void ProofDirector::runJobs(const std::function<bool(std::size_t& index)>& take,
                            const std::function<void(std::size_t index)>& run)
{
    bool more = true;
    while (more && !processes->isClosed()) {
        std::size_t index = NO_JOB;
        attempt(index, [&] {
            more = take(index);
            if (more) {
                run(index);
            }
        });
    }
}

void ProofDirector::writeJob()
{
    runJobs(
        [this](std::size_t& index) {
            return takeJobToWrite(false, index);
        },
        [this](std::size_t index) {
            writeEntry(index);
        });
}

void ProofDirector::proveJob()
{
    runJobs(
        [this](std::size_t& index) {
            return takeJobToProve(index);
        },
        [this](std::size_t index) {
            proveEntry(index);
        });
}

void ProofDirector::writeAndProveJob()
{
    runJobs(
        [this](std::size_t& index) {
            return takeJobToWrite(true, index);
        },
        [this](std::size_t index) {
            writeEntry(index);
            traceProving(index);
            proveEntry(index);
        });
}

/// Runs the jobs one after the other on this thread.
void ProofDirector::runInline()
{
    for (std::size_t i = 0; i < writerData.size() && !processes->isClosed(); ++i) {
        attempt(i, [&] {
            writeEntry(i);
            proveEntry(i);
        });
    }
}

/// Runs the jobs on as many workers as the settings say, whatever the number of jobs, and waits for
/// them. Without a worker no job runs. The first exception of a worker ends all of them and reaches
/// the caller.
void ProofDirector::runWorkers()
{
    std::vector<std::thread> workers;
    std::exception_ptr failure;
    const auto work = [&] {
        try {
            writeAndProveJob();
        } catch (...) {
            abandonJobs();
            const std::lock_guard<std::mutex> lock(jobMutex);
            failure = failure ? failure : std::current_exception();
        }
    };
    try {
        workers.reserve(settings.workers);
        for (unsigned int i = 0; i < settings.workers; ++i) {
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
