// Writing. Removes what an earlier run has left in the place of a job's secondary file, runs the
// writer, and reports what went wrong; whatever the writer did, the prover has its turn next. May
// run on many threads at once; no lock is held while a writer runs.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/ChildProcess.h"
#include "director/ProofDirectorObserver.h"
#include "director/ProofDirector_p.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// True when there certainly is no file of that name.
bool isNowhere(const QByteArray& path)
{
    struct stat status = {};
    const bool found = ::lstat(path.constData(), &status) == 0;
    return !found &&
           (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == ELOOP);
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

    job_state_t& state = beginJob(index);
    if (!removeLeftFile(run.po2filename, state)) {
        endJob(index);
        return;
    }
    const WriterResult result = runWriter({{run.cmd, run.args}, roomForErrors(state)}, *processes);
    recordErrors(result.errors, state);
    const bool found = isThere(run.po2filename);
    recordWriter(run, result, found, state);
    judgeWriter(run, result.end, found);
}

/// Says what went wrong. Only the file counts, not the exit code.
void ProofDirector::judgeWriter(const writer_data_t& run, const WriterEnd& end, bool found)
{
    switch (end) {
    case WriterEnd::NotStarted:
        tellFailure(
            LOG_PREFIX + std::string("Writer had an error.\n"),
            QObject::tr("Error starting secondary proof obligation generation for driver %1."));
        break;
    case WriterEnd::Crashed:
        tellFailure(LOG_PREFIX + std::string("Writer crashed.\n"),
                    QObject::tr("Secondary proof obligation generation for driver %1 crashed."));
        break;
    case WriterEnd::Exited:
        if (!found) {
            tellFailure(
                LOG_PREFIX + ("Secondary po " + run.po2filename.toStdString()) + " not found.\n",
                QObject::tr("Secondary proof obligation for driver %1 not found in file %2."),
                run.po2filename);
        }
        break;
    case WriterEnd::Stopped:
        break;
    }
}

/// Removes the file found at the place of a job's secondary file: an earlier run that was killed
/// may have left it, and when the writer fails, the prover would take it for this job's file. False
/// when it cannot be removed: then the job has failed, and nobody proves it.
bool ProofDirector::removeLeftFile(const QString& file, job_state_t& state)
{
    const QByteArray path = file.toUtf8();
    const int error = ::unlink(path.constData()) == 0 ? 0 : errno;
    state.failed = error != 0 && !isNowhere(path);
    if (!state.failed) {
        return true;
    }
    const std::string reason = std::strerror(error);
    tellFailure(LOG_PREFIX + ("Cannot remove " + file.toStdString()) +
                    ", which is left from an earlier run: " + reason + "\n",
                QObject::tr("Driver %1 cannot write file %2."), file);
    if (state.record) {
        state.record->end = job_end_t::leftFile;
        state.record->reason = QString::fromStdString(reason);
    }
    return false;
}
