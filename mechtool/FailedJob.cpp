#include "mechtool/FailedJob.h"

#include "mechtool/Command.h"
#include "mechtool/Text.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A part of a folder's name is cut there.
constexpr int MOST_OF_NAME = 60;

QString endedBy(const QString& tool, const tool_run_t& run)
{
    return run.signal == 0
               ? QStringLiteral("the %1 crashed").arg(tool)
               : QStringLiteral("the %1 was ended by %2").arg(tool, signalName(run.signal));
}

/// What failed in the writer's turn.
QString failureOfWriter(const job_ended_t& job)
{
    const QString writer = QStringLiteral("writer");
    if (!job.writer.started) {
        return job.writer.error == 0 ? QString()
                                     : QStringLiteral("the writer could not be started: %1")
                                           .arg(qt_error_string(job.writer.error));
    }
    if (job.writer.signal != 0) {
        return endedBy(writer, job.writer);
    }
    return job.hasSecondaryFile
               ? QString()
               : QStringLiteral("the writer left no file %1, its exit status is %2")
                     .arg(shown(job.secondaryFile), QString::number(job.writer.status));
}

/// What the end says; null when it is no failure.
QString failureOfEnd(const job_ended_t& job)
{
    switch (job.end) {
    case job_end_t::read:
    case job_end_t::stopped:
        return {};
    case job_end_t::leftFile:
        return QStringLiteral("%1, left by an earlier run, cannot be removed%2")
            .arg(shown(job.secondaryFile),
                 job.reason.isEmpty() ? QString() : QStringLiteral(": ") + job.reason);
    case job_end_t::proverCrashed:
        return endedBy(QStringLiteral("prover"), job.prover);
    case job_end_t::readerCrashed:
        return endedBy(QStringLiteral("reader"), job.reader);
    case job_end_t::wrongCount:
        return QStringLiteral("the reader printed %1, expected %2")
            .arg(counted(job.found, QStringLiteral("line")), QString::number(job.wanted));
    case job_end_t::tooMuch:
        return QStringLiteral("the reader printed without end");
    case job_end_t::refused:
        return QStringLiteral("the system refused to start the prover or the reader: %1")
            .arg(job.reason);
    case job_end_t::timeLimit:
        return QStringLiteral("the prover or its reader reached the time limit");
    case job_end_t::memoryLimit:
        return QStringLiteral("the prover failed under the memory limit");
    case job_end_t::outOfMemory:
        return QStringLiteral("mechtool has no memory left for it");
    }
    return {};
}

QString failureOfStart(const QString& tool, const tool_run_t& run)
{
    return run.started || run.error == 0 ? QString()
                                         : QStringLiteral("the %1 could not be started: %2")
                                               .arg(tool, qt_error_string(run.error));
}

/// The words of a command, each as `quoted` makes it.
template <typename Quoted>
QString wordsOf(const tool_command_t& command, const QString& program, Quoted quoted)
{
    QString words = quoted(program);
    for (const QString& argument : command.arguments) {
        words += QLatin1Char(' ') + quoted(argument);
    }
    return words;
}

/// A bare name is a program in the current folder, and a shell is to see that.
QString programForShell(const QString& program)
{
    return program.contains(QLatin1Char('/')) ? program : QStringLiteral("./") + program;
}

/// `word` in the only quotes that every shell understands.
QString quotedForScript(const QString& word)
{
    return QLatin1Char('\'') + QString(word).replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
           QLatin1Char('\'');
}

/// `name` as a file can be called anywhere.
QString safeName(const QString& name)
{
    QString safe = name.left(MOST_OF_NAME);
    for (QChar& c : safe) {
        const bool isPlain =
            c.unicode() < 0x80 && (c.isLetterOrNumber() || QStringLiteral("_+-.").contains(c));
        c = isPlain ? c : QLatin1Char('_');
    }
    if (safe.startsWith(QLatin1Char('.')) || safe.startsWith(QLatin1Char('-'))) {
        safe[0] = QLatin1Char('_');
    }
    return safe;
}

/// The name under which the secondary file is kept: its own, with the extension whole.
QString keptName(const QString& secondaryFile)
{
    const QFileInfo info(secondaryFile);
    const QString base = safeName(info.completeBaseName());
    return info.suffix().isEmpty() ? base : base + QLatin1Char('.') + safeName(info.suffix());
}

int writeAll(int file, const char* text, std::size_t size)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = ::write(file, text + done, size - done);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return 0;
}

/// Makes the file in `folder` with what `fill` writes; a file that cannot be made whole is not left
/// behind. The reason otherwise.
template <typename Fill>
int makeFileIn(const Descriptor& folder, const QByteArray& name, mode_t mode, Fill fill)
{
    const Descriptor file(::openat(folder.number(), name.constData(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!file.isOpen()) {
        return errno;
    }
    const int error = fill(file.number());
    if (error != 0) {
        ::unlinkat(folder.number(), name.constData(), 0);
    }
    return error;
}

int makeFileOf(const Descriptor& folder, const char* name, mode_t mode, const QByteArray& text)
{
    return makeFileIn(folder, name, mode, [&](int file) {
        return writeAll(file, text.constData(), static_cast<std::size_t>(text.size()));
    });
}

int copyAll(int from, int to)
{
    std::vector<char> block(65536);
    for (;;) {
        const ssize_t count = ::read(from, block.data(), block.size());
        if (count == 0) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        const int error =
            count < 0 ? 0 : writeAll(to, block.data(), static_cast<std::size_t>(count));
        if (error != 0) {
            return error;
        }
    }
}

/// The regular file at `path`, to be read; not open when there is none.
Descriptor regularFile(const QString& path)
{
    Descriptor file(::open(path.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        file.close();
    }
    return file;
}

/// Fills the folder of a job; the reason when that does not go.
int keepIn(const Descriptor& folder, bool isFed, const QStringList& goals, const job_ended_t& job)
{
    QString kept;
    const Descriptor secondary = regularFile(job.secondaryFile);
    if (secondary.isOpen()) {
        kept = keptName(job.secondaryFile);
        const int error = makeFileIn(folder, kept.toUtf8(), 0666, [&](int file) {
            return copyAll(secondary.number(), file);
        });
        if (error != 0) {
            return error;
        }
    }
    const QByteArray script = scriptOf(job, isFed, goals, kept);
    int error = makeFileOf(folder, "errors.txt", 0666, job.errorOutput);
    if (error == 0 && !script.isEmpty()) {
        error = makeFileOf(folder, "run.sh", 0777, script);
    }
    return error;
}

} // namespace

QString signalName(int signal)
{
    const char* name = ::sigabbrev_np(signal);
    return name == nullptr ? QStringLiteral("signal %1").arg(signal)
                           : QStringLiteral("SIG") + QString::fromUtf8(name);
}

QString fewGoals(const QStringList& goals, std::size_t all)
{
    const QStringList few = goals.mid(0, NAMED_GOALS);
    const std::size_t more = all - static_cast<std::size_t>(few.size());
    return few.join(QStringLiteral(", ")) +
           (more == 0 ? QString() : QStringLiteral(" and %1 more").arg(more));
}

QString fewGoals(const QStringList& goals)
{
    return fewGoals(goals, static_cast<std::size_t>(goals.size()));
}

QString failureOf(const job_ended_t& job, const std::function<QString(std::size_t)>& nameOf)
{
    if (job.end == job_end_t::stopped) {
        return {};
    }
    QStringList failures = {failureOfWriter(job), failureOfEnd(job)};
    if (job.end != job_end_t::refused) {
        failures << failureOfStart(QStringLiteral("prover"), job.prover)
                 << failureOfStart(QStringLiteral("reader"), job.reader);
    }
    QStringList unanswered;
    for (int i = 0; i < job.verdicts.size(); ++i) {
        if (job.verdicts.at(i).isNull()) {
            unanswered << nameOf(static_cast<std::size_t>(i));
        }
    }
    if (!unanswered.isEmpty()) {
        failures << QStringLiteral("the reader gave no verdict on %1").arg(fewGoals(unanswered));
    }
    failures.removeAll(QString());
    return failures.isEmpty() ? QString() : failures.join(QStringLiteral("; "));
}

QString commandOf(const job_ended_t& job, bool isFed)
{
    // The folder of the file may be gone by then; whoever runs the command has one of his own.
    const QString file = QLatin1String("./") + job.secondaryFile.section(QLatin1Char('/'), -1);
    const auto words = [&](const tool_command_t& tool) {
        return wordsOf(tool, programForShell(tool.program), [&](QString word) {
            return quotedForShell(word.replace(job.secondaryFile, file));
        });
    };
    if (job.writerCommand.program.isEmpty()) {
        return {};
    }
    QString writer = words(job.writerCommand);
    if (job.proverCommand.program.isEmpty()) {
        return writer;
    }
    // The prover has its turn whatever the writer's exit status.
    const bool writes = job.writer.signal == 0 && job.writer.status == 0;
    return writer + (writes ? QStringLiteral(" && ") : QStringLiteral("; ")) +
           words(job.proverCommand) +
           (isFed ? QStringLiteral(" < ") + quotedForShell(file) : QString()) +
           QStringLiteral(" | ") + words(job.readerCommand);
}

QByteArray scriptOf(const job_ended_t& job, bool isFed, const QStringList& goals,
                    const QString& kept)
{
    if (job.proverCommand.program.isEmpty()) {
        return {};
    }
    const QString file = QStringLiteral("\"$here\"/") +
                         quotedForScript(kept.isNull() ? keptName(job.secondaryFile) : kept);
    const auto quoted = [&](const QString& word) {
        QStringList pieces;
        for (const QString& piece : word.split(job.secondaryFile)) {
            pieces << (piece.isEmpty() ? QString() : quotedForScript(piece));
        }
        const QString text = pieces.join(file);
        return text.isEmpty() ? quotedForScript(text) : text;
    };
    const auto words = [&](const tool_command_t& tool) {
        return wordsOf(tool, QDir::current().absoluteFilePath(tool.program), quoted);
    };
    QString script =
        QStringLiteral("#!/bin/sh\n"
                       "# Runs the job on %1 again, and prints what its reader prints.\n"
                       "here=$(CDPATH= cd -- \"$(dirname -- \"$0\")\" && pwd) || exit\n"
                       "cd -- %2 2>/dev/null || cd -- \"$here\" || exit\n")
            .arg(fewGoals(goals), quotedForScript(QDir::currentPath()));
    if (kept.isNull()) {
        script += words(job.writerCommand) + QStringLiteral(" </dev/null >&2\n");
    }
    script += words(job.proverCommand) + QStringLiteral(" <") +
              (isFed ? file : QStringLiteral("/dev/null")) + QStringLiteral(" |\n    ") +
              words(job.readerCommand) + QLatin1Char('\n');
    return script.toUtf8();
}

KeptJobs::KeptJobs(const QString& path)
    : name(path), folder(QDir().mkpath(path)
                             ? ::open(path.toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                             : -1)
{
    if (!folder.isOpen() || ::faccessat(folder.number(), ".", W_OK | X_OK, 0) != 0) {
        throw CannotAnswer(QStringLiteral("the folder %1 for failed jobs cannot be written: %2: "
                                          "name another")
                               .arg(shown(path), qt_error_string(errno)));
    }
}

Descriptor KeptJobs::makeFolder(const QString& wanted)
{
    const std::lock_guard<std::mutex> lock(mutex);
    for (;;) {
        const int count = ++counts[wanted];
        const QByteArray made =
            (count == 1 ? wanted : QStringLiteral("%1-%2").arg(wanted).arg(count)).toUtf8();
        if (::mkdirat(folder.number(), made.constData(), 0777) == 0) {
            return Descriptor(::openat(folder.number(), made.constData(),
                                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        }
        if (errno != EEXIST) {
            --counts[wanted];
            return Descriptor();
        }
    }
}

QString KeptJobs::keep(const driver_begins_t& driver, const QStringList& goals,
                       const job_ended_t& job)
{
    const Descriptor made =
        makeFolder(safeName(driver.mechanism) + QLatin1Char('_') + safeName(driver.driver) +
                   QLatin1Char('_') + safeName(goals.value(0)));
    const int error = made.isOpen() ? keepIn(made, driver.fedByFile, goals, job) : errno;
    const std::lock_guard<std::mutex> lock(mutex);
    if (error == 0 || hasFailed) {
        return {};
    }
    hasFailed = true;
    return QStringLiteral("a failed job cannot be kept in %1: %2: the play goes on")
        .arg(shown(name), qt_error_string(error));
}
