// Writing. Runs the writer of one job and says what went wrong; whatever that is, the prover has
// its turn next. Also the loop by which the worker bodies take jobs from the shared counter. May
// run on many threads at once; no lock is held while a writer runs.

#include "director/ProofDirector.h"

#include "app/LogLine.h"
#include "director/ChildProcess.h"
#include "director/ProofDirector_p.h"

#include <new>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace
{

/// Made at the start: there is no room to make it when it is needed.
const std::string OUT_OF_MEMORY =
    LOG_PREFIX + std::string("Out of memory: the results of a job are lost.\n");

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

    switch (runWriter({run.cmd, run.args}, *processes)) {
    case WriterEnd::NotStarted:
        writeLog(LOG_PREFIX + std::string("Writer had an error.\n"));
        addError(QObject::tr("Error starting secondary proof obligation generation for driver %1.")
                     .arg(driver.name));
        break;
    case WriterEnd::Crashed:
        writeLog(LOG_PREFIX + std::string("Writer crashed.\n"));
        addError(
            tr("Secondary proof obligation generation for driver %1 crashed.").arg(driver.name));
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

/// Takes the next job, if there is one, for the calling worker.
bool ProofDirector::takeJob(bool write, std::size_t& index)
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    if (nextEntry >= (write ? writerData.size() : proverData.size())) {
        return false;
    }
    index = nextEntry++;
    write ? traceWriting(index) : traceProving(index);
    return true;
}

/// The worker bodies: takes jobs, each by one thread and in increasing order, until none is left.
void ProofDirector::runJobs(bool write, bool prove)
{
    bool more = true;
    while (more && !processes->isClosed()) {
        attempt([&] {
            std::size_t index = 0;
            more = takeJob(write, index);
            if (more && write) {
                writeEntry(index);
            }
            if (more && write && prove) {
                traceProving(index);
            }
            if (more && prove) {
                proveEntry(index);
            }
        });
    }
}

void ProofDirector::writeJob()
{
    runJobs(true, false);
}

void ProofDirector::proveJob()
{
    runJobs(false, true);
}

void ProofDirector::writeAndProveJob()
{
    runJobs(true, true);
}
