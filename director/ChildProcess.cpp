#include "director/ChildProcess.h"

#include <QProcess>

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int START_LIMIT_MS = 30000;

/// A file in memory that a child can print into. A child's own children may keep it open without
/// keeping us.
class OutputFile
{
public:
    OutputFile() : fd(memfd_create("reader-output", MFD_CLOEXEC)) {}
    ~OutputFile()
    {
        if (fd >= 0) {
            ::close(fd);
        }
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool isOpen() const
    {
        return fd >= 0;
    }
    /// The name under which this process opens it once more.
    QString path() const
    {
        return QStringLiteral("/proc/self/fd/%1").arg(fd);
    }
    QByteArray content() const
    {
        QByteArray bytes;
        char block[65536];
        off_t offset = 0;
        ssize_t count = 0;
        while ((count = ::pread(fd, block, sizeof block, offset)) > 0 ||
               (count < 0 && errno == EINTR)) {
            if (count > 0) {
                bytes.append(block, static_cast<int>(count));
                offset += count;
            }
        }
        return bytes;
    }

private:
    int fd;
};

/// Waits until `child` has ended but leaves it unreaped, so that its process id stays its own.
/// Returns at once for a child that was never started.
void awaitEnd(const QProcess& child)
{
    const qint64 pid = child.processId();
    siginfo_t end = {};
    while (pid != 0 && ::waitid(P_PID, static_cast<id_t>(pid), &end, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
}

/// Waits for `child` to end, takes it out of the list and reaps it. True when it crashed.
bool finish(QProcess& child, ChildList& children)
{
    awaitEnd(child);
    children.remove(&child);
    child.waitForFinished(-1);
    return child.exitStatus() == QProcess::CrashExit;
}

void startProgram(QProcess& child, const Command& command)
{
    child.start(programOfPath(command.path), command.arguments);
}

/// A start that failed before there was a process: the system refused it, or the input is missing.
bool hasNoProcess(const QProcess& child)
{
    return child.state() == QProcess::NotRunning;
}

bool canRead(const QString& file)
{
    const int fd = ::open(file.toUtf8().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return errno == EMFILE || errno == ENFILE; // the file is not to blame
    }
    ::close(fd);
    return true;
}

} // namespace

QString programOfPath(const QString& path)
{
    const QChar quote = QLatin1Char('"');
    const bool wrapped = path.size() >= 2 && path.startsWith(quote) && path.endsWith(quote);
    const QString program = wrapped ? path.mid(1, path.size() - 2) : path;
    return program.contains(QLatin1Char('/')) ? program : QStringLiteral("./") + program;
}

bool ChildList::start(const std::function<void()>& start, const QList<QProcess*>& children)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (closed) {
        return false;
    }
    start();
    processes += children;
    return true;
}

void ChildList::remove(QProcess* child)
{
    const std::lock_guard<std::mutex> lock(mutex);
    processes.removeOne(child);
}

void ChildList::killAll()
{
    const std::lock_guard<std::mutex> lock(mutex);
    closed = true;
    for (QProcess* child : std::as_const(processes)) {
        child->kill();
    }
}

bool ChildList::isClosed() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return closed;
}

WriterEnd runWriter(const Command& writer, ChildList& children)
{
    QProcess child;
    child.setStandardInputFile(QProcess::nullDevice());
    child.setStandardOutputFile(QProcess::nullDevice());
    child.setStandardErrorFile(QProcess::nullDevice());
    if (!children.start([&] {
            startProgram(child, writer);
        })) {
        return WriterEnd::Stopped;
    }
    if (!child.waitForStarted(START_LIMIT_MS)) {
        child.kill();
        child.waitForFinished(-1);
        return WriterEnd::NotStarted;
    }
    child.waitForFinished(-1);
    return child.exitStatus() == QProcess::CrashExit ? WriterEnd::Crashed : WriterEnd::Exited;
}

PairResult runPair(const Command& prover, const QString& input, const Command& reader,
                   ChildList& children)
{
    const OutputFile output;
    if (!output.isOpen()) {
        return {PairEnd::Refused, {}, qt_error_string(errno)};
    }
    const QString inputFile = input.isEmpty() ? QProcess::nullDevice() : input;
    QProcess proving;
    QProcess reading;
    proving.setStandardInputFile(inputFile);
    proving.setStandardOutputProcess(&reading);
    proving.setStandardErrorFile(QProcess::nullDevice());
    reading.setStandardOutputFile(output.path());
    reading.setStandardErrorFile(QProcess::nullDevice());

    const auto start = [&] {
        startProgram(proving, prover);
        if (hasNoProcess(proving)) {
            // Nobody holds the pipe's other end: the reader must find its input at its end.
            reading.setStandardInputFile(QProcess::nullDevice());
        }
        startProgram(reading, reader);
    };
    if (!children.start(start, {&proving, &reading})) {
        return {PairEnd::Stopped, {}, {}};
    }
    const bool proverRefused = hasNoProcess(proving) && canRead(inputFile);
    const bool readerRefused = hasNoProcess(reading);
    if (proverRefused || readerRefused) {
        const QString refusal = (proverRefused ? proving : reading).errorString();
        proving.kill();
        reading.kill();
        finish(proving, children);
        finish(reading, children);
        return {PairEnd::Refused, {}, refusal};
    }
    if (finish(proving, children)) {
        reading.kill();
        finish(reading, children);
        return {PairEnd::ProverCrashed, {}, {}};
    }
    if (finish(reading, children)) {
        return {PairEnd::ReaderCrashed, {}, {}};
    }
    return {PairEnd::Read, output.content(), {}};
}
