#pragma once

// A job in which something failed: what it was, in words; the command to run it by hand; and the
// files that are kept of it.

#include "base/Descriptor.h"
#include "director/ProofDirectorObserver.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>
#include <mutex>

/// "SIGSEGV"; "signal 40" for one without a name.
QString signalName(int signal);

/// What failed in a job, "; " between several things; null when nothing did. A job that was stopped
/// has not failed. `nameOf` makes the name of one of its goals, as shown.
QString failureOf(const job_ended_t& job, const std::function<QString(std::size_t)>& nameOf);

/// So many goals a line names.
constexpr int NAMED_GOALS = 3;

/// The first of the names, and how many more goals there are; `all` counts all of them.
QString fewGoals(const QStringList& goals, std::size_t all);
QString fewGoals(const QStringList& goals);

/// A job's tools as a shell takes them, as far as they had their turn. `isFed`: the prover gets the
/// secondary file on its standard input.
QString commandOf(const job_ended_t& job, bool isFed);

/// A script that runs a job from the folder in which the script stands, on the secondary file
/// `kept` there. Without a kept file (null) the writer makes one first. Empty when the prover never
/// had its turn.
QByteArray scriptOf(const job_ended_t& job, bool isFed, const QStringList& goals,
                    const QString& kept);

/// The folder of what is kept: a folder in it for each job that failed, which holds its secondary
/// file, what its tools printed on standard error (errors.txt), and a script (run.sh). Nothing that
/// is there is overwritten, and no link is followed out of it. May be used from several threads.
class KeptJobs
{
public:
    /// Makes the folder when it is not there. Throws CannotAnswer when it cannot be written.
    explicit KeptJobs(const QString& path);

    /// Keeps a job. Returns what is to be said: null, unless this is the first that cannot be kept.
    QString keep(const driver_begins_t& driver, const QStringList& goals, const job_ended_t& job);

private:
    /// Makes a folder for a job; not open, with the reason in `errno`, when that does not go.
    Descriptor makeFolder(const QString& wanted);

    const QString name;
    Descriptor folder;
    std::mutex mutex;           // guards what follows
    QHash<QString, int> counts; ///< the number that the last folder of a name bears
    bool hasFailed = false;
};
