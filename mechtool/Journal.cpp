#include "mechtool/Journal.h"

#include "mechtool/Command.h"
#include "mechtool/FailedJob.h"
#include "mechtool/Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cmath>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr int VERSION = 1;

/// Seconds in the journal, to a microsecond.
double rounded(double seconds)
{
    return std::round(seconds * 1e6) / 1e6;
}

/// What became of a tool; null when its turn never came.
QJsonValue valueOf(const tool_run_t& tool)
{
    if (!tool.started) {
        return tool.error == 0 ? QJsonValue()
                               : QJsonValue(QJsonObject{
                                     {QStringLiteral("error"), qt_error_string(tool.error)}});
    }
    QJsonObject object;
    object.insert(QStringLiteral("seconds"), rounded(tool.processorSeconds));
    if (tool.peakKiB > 0) {
        object.insert(QStringLiteral("memory"), static_cast<qint64>(tool.peakKiB));
    }
    if (tool.signal != 0) {
        object.insert(QStringLiteral("signal"), signalName(tool.signal));
    } else {
        object.insert(QStringLiteral("status"), tool.status);
    }
    return object;
}

/// Whether the file ends in the middle of a line, as far as that can be read.
bool endsTorn(const QString& name)
{
    const Descriptor file(::open(name.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    char last = '\n';
    return file.isOpen() && ::fstat(file.number(), &status) == 0 && status.st_size > 0 &&
           ::pread(file.number(), &last, 1, status.st_size - 1) == 1 && last != '\n';
}

} // namespace

QString wordOfEnd(job_end_t end)
{
    switch (end) {
    case job_end_t::read:
        return QStringLiteral("read");
    case job_end_t::leftFile:
        return QStringLiteral("left file");
    case job_end_t::proverCrashed:
        return QStringLiteral("prover crashed");
    case job_end_t::readerCrashed:
        return QStringLiteral("reader crashed");
    case job_end_t::wrongCount:
        return QStringLiteral("wrong count");
    case job_end_t::tooMuch:
        return QStringLiteral("too much");
    case job_end_t::refused:
        return QStringLiteral("refused");
    case job_end_t::timeLimit:
        return QStringLiteral("time limit");
    case job_end_t::memoryLimit:
        return QStringLiteral("memory limit");
    case job_end_t::outOfMemory:
        return QStringLiteral("out of memory");
    case job_end_t::stopped:
        return QStringLiteral("stopped");
    }
    return {};
}

QByteArray journalLine(const QString& component, const driver_begins_t& driver,
                       const QStringList& goals, const job_ended_t& job, const QDateTime& time)
{
    QJsonArray verdicts;
    for (const QString& word : job.verdicts) {
        verdicts.append(word.isNull() ? QJsonValue() : QJsonValue(word));
    }
    const QJsonObject object = {
        {QStringLiteral("version"), VERSION},
        {QStringLiteral("time"), time.toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("component"), component},
        {QStringLiteral("mechanism"), driver.mechanism},
        {QStringLiteral("driver"), driver.driver},
        {QStringLiteral("goals"), QJsonArray::fromStringList(goals)},
        {QStringLiteral("verdicts"), verdicts},
        {QStringLiteral("end"), wordOfEnd(job.end)},
        {QStringLiteral("seconds"), rounded(job.wallSeconds)},
        {QStringLiteral("writer"), valueOf(job.writer)},
        {QStringLiteral("prover"), valueOf(job.prover)},
        {QStringLiteral("reader"), valueOf(job.reader)},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

Journal::Journal(QString path)
    : name(std::move(path)),
      // Nothing waits here for the reader of a pipe.
      file(::open(name.toUtf8().constData(),
                  O_WRONLY | O_APPEND | O_CREAT | O_NOCTTY | O_NONBLOCK | O_CLOEXEC, 0666))
{
    if (!file.isOpen()) {
        throw CannotAnswer(QStringLiteral("the journal %1 cannot be written: %2: name another")
                               .arg(shown(name), qt_error_string(errno)));
    }
    isTorn = endsTorn(name);
}

QString Journal::append(const QByteArray& line)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const QString reason = write(line);
    lost += reason.isNull() ? 0 : 1;
    return reason.isNull() || lost != 1
               ? QString()
               : QStringLiteral("the journal %1 cannot be written: %2: the play goes on without")
                     .arg(shown(name), reason);
}

QString Journal::write(const QByteArray& line)
{
    struct stat status = {};
    if (::fstat(file.number(), &status) == 0 && status.st_nlink == 0) {
        return QStringLiteral("the file was removed");
    }
    const QByteArray text = isTorn ? '\n' + line : line;
    ssize_t count = -1;
    do {
        count = ::write(file.number(), text.constData(), static_cast<std::size_t>(text.size()));
    } while (count < 0 && errno == EINTR);
    if (count == text.size()) {
        isTorn = false;
        return {};
    }
    const int error = count < 0 ? errno : ENOSPC;
    isTorn = count > 0 ? text.at(static_cast<int>(count) - 1) != '\n' : isTorn;
    return qt_error_string(error);
}

QString Journal::loss() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return lost == 0 ? QString()
                     : QStringLiteral("the journal %1 lacks %2")
                           .arg(shown(name), counted(lost, QStringLiteral("line")));
}
