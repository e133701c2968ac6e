// Writing. Runs the writer of one job and says what went wrong; whatever that is, the prover has
// its turn next. Also the loop by which the worker bodies take jobs from the shared counter. May
// run on many threads at once; no lock is held while a writer runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ChildProcess.h"
#include "director/ProofDirector_p.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

/// Made at the start: there is no room to make it when it is needed.
const std::string OUT_OF_MEMORY =
    LOG_PREFIX + std::string("Out of memory: the results of a job are lost.\n");

/// True when there certainly is no file of that name. Leaves `errno` as it is.
bool isNowhere(const QByteArray& path)
{
    const int error = errno;
    struct stat status = {};
    const bool found = ::lstat(path.constData(), &status) == 0;
    const bool nowhere =
        !found && (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == ELOOP);
    errno = error;
    return nowhere;
}

bool isThere(const QString& file)
{
    struct stat status = {};
    return ::stat(file.toUtf8().constData(), &status) == 0;
}

} // namespace

void ProofDirector::writeEntry(const std::size_t& index)
{
    const writer_data_t& run = writerData.at(index);
    traceLine("Issuing writing command " + run.cmd.toStdString() + " " +
              run.args.join(QLatin1Char(' ')).toStdString() + "\n" + LOG_PREFIX + "to generate " +
              run.po2filename.toStdString());

    beginJob(index);
    if (!removeLeftFile(index)) {
        return;
    }
    switch (runWriter({run.cmd, run.args}, *processes)) {
    case WriterEnd::NotStarted:
        writeLog(LOG_PREFIX + std::string("Writer had an error.\n"));
        addError(QObject::tr("Error starting secondary proof obligation generation for driver %1.")
                     .arg(driver.name));
        break;
    case WriterEnd::Crashed:
        writeLog(LOG_PREFIX + std::string("Writer crashed.\n"));
        addError(QObject::tr("Secondary proof obligation generation for driver %1 crashed.")
                     .arg(driver.name));
        break;
    case WriterEnd::Exited:
        // Only the file counts, not the exit code.
        if (!isThere(run.po2filename)) {
            writeLog(LOG_PREFIX + ("Secondary po " + run.po2filename.toStdString()) +
                     " not found.\n");
            addError(QObject::tr("Secondary proof obligation for driver %1 not found in file %2.")
                         .arg(driver.name, run.po2filename));
        }
        break;
    case WriterEnd::Stopped:
        break;
    }
}

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

/// Removes what stands in the place of the secondary file of job `index`: an earlier run that was
/// killed may have left it, and should the writer fail, the prover would take it for this job's.
/// False when that does not go: then the job has failed, and is not proved either.
bool ProofDirector::removeLeftFile(std::size_t index)
{
    const QString& file = writerData.at(index).po2filename;
    const QByteArray path = file.toUtf8();
    if (::unlink(path.constData()) == 0 || isNowhere(path)) {
        return true;
    }
    const int reason = errno;
    {
        const std::lock_guard<std::mutex> lock(entryMutex);
        jobStates.at(index).failed = true;
    }
    writeLog(LOG_PREFIX + ("Cannot remove " + file.toStdString()) +
             ", which is left from an earlier run: " + std::strerror(reason) + "\n");
    addError(QObject::tr("Driver %1 cannot write file %2.").arg(driver.name, file));
    return false;
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
