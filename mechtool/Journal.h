#pragma once

// The journal of plays: a line of JSON for each job that has ended, appended to a file. Several
// plays may write to one file. docs/formats.md has the fields.

#include "base/Descriptor.h"
#include "director/ProofDirectorObserver.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <mutex>

/// The journal's word for an end.
QString wordOfEnd(job_end_t end);

/// The line of a job that ended at `time`, with its line end.
QByteArray journalLine(const QString& component, const driver_begins_t& driver,
                       const QStringList& goals, const job_ended_t& job, const QDateTime& time);

/// The file. Its functions may be called from several threads at once.
class Journal
{
public:
    /// Makes the file when it is not there. Throws CannotAnswer when it cannot be written.
    explicit Journal(QString path);

    /// Appends a line, in one piece. Where an earlier line has no end, it gets one first. Returns
    /// what is to be said: null, unless this is the first line that is lost.
    QString append(const QByteArray& line);

    /// What is to be said at the end: how many lines are lost; null for none.
    QString loss() const;

private:
    /// Why the line was not written; null when it was.
    QString write(const QByteArray& line);

    const QString name;
    Descriptor file;
    mutable std::mutex mutex; // guards what follows
    bool isTorn = false;      ///< the last line has no end
    std::size_t lost = 0;
};
