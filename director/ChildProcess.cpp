#include "director/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

extern "C" { // which this header leaves out
#include <sys/pidfd.h>
}

namespace
{

int openNull()
{
    return ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

/// Opens what a prover reads. Never waits for the other end of a pipe that stands in its place.
int openInput(const QString& file)
{
    const int fd = ::open(file.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd >= 0) {
        ::fcntl(fd, F_SETFL, 0);
    }
    return fd;
}

/// What children print, taken from their pipe as it comes. The first `limit` bytes are kept.
class Output
{
public:
    Output(Descriptor from, std::size_t limit) : pipe(std::move(from)), most(limit)
    {
        ::fcntl(pipe.number(), F_SETFL, O_NONBLOCK);
    }

    /// Negative once the pipe has ended, or when there was none.
    int number() const
    {
        return pipe.number();
    }
    bool isTooMuch() const
    {
        return more;
    }
    const QByteArray& text() const
    {
        return bytes;
    }

    /// Takes some of what is in the pipe, and never waits for more. Returns how many bytes.
    int take(std::size_t size = BLOCK)
    {
        char block[BLOCK];
        const ssize_t count = ::read(pipe.number(), block, std::min(size, BLOCK));
        if (count > 0) {
            keep(block, static_cast<std::size_t>(count));
        } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            pipe.close();
        }
        return static_cast<int>(std::max<ssize_t>(count, 0));
    }

    /// Takes what is in the pipe now, and nothing that is written from now on.
    void takeRest()
    {
        int left = 0;
        if (!pipe.isOpen() || ::ioctl(pipe.number(), FIONREAD, &left) != 0) {
            return;
        }
        int taken = 1;
        while (left > 0 && taken > 0) {
            taken = take(static_cast<std::size_t>(left));
            left -= taken;
        }
    }

private:
    static constexpr std::size_t BLOCK = 65536;

    void keep(const char* block, std::size_t count)
    {
        const std::size_t room = most - static_cast<std::size_t>(bytes.size());
        more = more || count > room;
        bytes.append(block, static_cast<int>(std::min(count, room)));
    }

    Descriptor pipe;
    std::size_t most;
    QByteArray bytes;
    bool more = false;
};

/// The pipes from the children of a run.
struct Printed {
    Output output; ///< the standard output of the reader
    Output errors; ///< the standard error of all
};

/// The pipe for the standard error of a run that keeps so many bytes of it. It is not open when
/// that is none, or when the system has no room for it: nothing is lost then but these words.
Pipe openErrors(std::size_t most)
{
    Pipe errors;
    if (most != 0) {
        errors.open();
    }
    return errors;
}

PairResult refused(int error)
{
    return {PairEnd::Refused, {}, qt_error_string(error), {}, {}, {}};
}

/// Counts the time of a wait from its own making.
class Limit
{
public:
    /// No time is no limit.
    explicit Limit(std::chrono::milliseconds allowed) : most(allowed) {}

    /// What is left, in the terms of poll: -1 without a limit, 0 when it has passed.
    int left() const
    {
        using std::chrono::milliseconds;
        if (most.count() <= 0) {
            return -1;
        }
        const auto passed = std::chrono::steady_clock::now() - begun;
        const milliseconds rest = most - std::chrono::duration_cast<milliseconds>(passed);
        return static_cast<int>(
            std::clamp<milliseconds::rep>(rest.count(), 0, std::numeric_limits<int>::max()));
    }

private:
    std::chrono::milliseconds most;
    std::chrono::steady_clock::time_point begun = std::chrono::steady_clock::now();
};

enum class Wait { Over, Late, Refused };

/// Waits for `child` to end, or for too much output, or for the limit, and empties the pipes.
/// `Refused`, with the reason in `errno`, when the system has no room for that.
Wait awaitEnd(const Child& child, Printed& printed, const Limit& limit)
{
    if (!child.isRunning()) {
        return Wait::Over;
    }
    const Descriptor end(::pidfd_open(child.id(), 0));
    if (!end.isOpen()) {
        // ESRCH: it has ended, and the system keeps no record of it
        return errno == ESRCH ? Wait::Over : Wait::Refused;
    }
    pollfd polled[] = {{end.number(), POLLIN, 0}, {-1, POLLIN, 0}, {-1, POLLIN, 0}};
    while (polled[0].revents == 0 && !printed.output.isTooMuch()) {
        const int left = limit.left();
        polled[1].fd = printed.output.number();
        polled[2].fd = printed.errors.number();
        const bool any = ::poll(polled, 3, left) > 0;
        if (any && polled[1].revents != 0) {
            printed.output.take();
        }
        if (any && polled[2].revents != 0) {
            printed.errors.take();
        }
        if (left == 0 && polled[0].revents == 0) {
            return Wait::Late;
        }
    }
    return Wait::Over;
}

/// How a pair ended when one of the two was not waited for to its end.
PairEnd endWithout(Wait wait)
{
    return wait == Wait::Late ? PairEnd::TimeLimit : PairEnd::Refused;
}

/// Waits for both children and tells how they ended together; with `Refused` the reason is in
/// `errno`.
PairEnd awaitPair(Child& prover, Child& reader, Printed& printed, std::chrono::milliseconds allowed)
{
    const Limit limit(allowed);
    const Wait proving = awaitEnd(prover, printed, limit);
    if (proving != Wait::Over) {
        return endWithout(proving);
    }
    if (!printed.output.isTooMuch() && prover.reap().crashed) {
        return PairEnd::ProverCrashed;
    }
    const Wait reading = awaitEnd(reader, printed, limit);
    if (reading != Wait::Over) {
        return endWithout(reading);
    }
    if (!printed.output.isTooMuch()) {
        if (reader.reap().crashed) {
            return PairEnd::ReaderCrashed;
        }
        printed.output.takeRest();
    }
    return printed.output.isTooMuch() ? PairEnd::TooMuch : PairEnd::Read;
}

/// Whether this signal has ended a child. It may have been sent to the whole group: then the guard
/// is about to end too, and nobody must get the group meanwhile.
bool wasKilled(Child& child)
{
    return !child.isRunning() && child.reap().signal == SIGKILL;
}

/// Waits for a pair that was started, and leaves neither of the two. `starting` is why one of them
/// was not started.
PairResult finishPair(Child& prover, Child& reader, Printed& printed, const PairRun& run,
                      GroupLease& group, int starting)
{
    PairResult result;
    int error = starting;
    if (isRefusal(error)) {
        result.end = PairEnd::Refused;
    } else {
        result.end = awaitPair(prover, reader, printed, run.timeLimit);
        error = errno;
    }
    if (result.end == PairEnd::TimeLimit || wasKilled(prover) || wasKilled(reader)) {
        group.end();
    }
    result.prover = prover.killAndReap();
    result.reader = reader.killAndReap();
    if (result.end == PairEnd::Refused) {
        result.refusal = qt_error_string(error);
    } else if (result.end == PairEnd::Read) {
        result.output = printed.output.text();
    }
    printed.errors.takeRest();
    result.errors = printed.errors.text();
    return result;
}

/// Waits for a writer that was started, if it was. Without a pipe to empty there is nothing to do
/// meanwhile.
WriterResult finishWriter(Child& writer, Printed& printed, GroupLease& group)
{
    WriterResult result;
    const Limit none(std::chrono::milliseconds(0));
    if (printed.errors.number() >= 0 && awaitEnd(writer, printed, none) == Wait::Refused) {
        const int error = errno;
        writer.killAndReap();
        result.end = WriterEnd::NotStarted;
        result.writer.error = error;
        return result;
    }
    result.writer = writer.reap();
    if (wasKilled(writer)) {
        group.end();
    }
    result.end = !result.writer.started  ? WriterEnd::NotStarted
                 : result.writer.crashed ? WriterEnd::Crashed
                                         : WriterEnd::Exited;
    printed.errors.takeRest();
    result.errors = printed.errors.text();
    return result;
}

WriterResult runWriterIn(GroupLease& group, const Arguments& arguments, std::size_t kept)
{
    WriterResult result;
    const Descriptor null(openNull());
    if (!null.isOpen()) {
        result.end = WriterEnd::NotStarted;
        result.writer.error = errno;
        return result;
    }
    Pipe errors = openErrors(kept);
    const Streams streams(null.number(), null.number(),
                          errors.isOpen() ? errors.toWrite.number() : null.number(),
                          group.lifeline());
    Printed printed = {Output(Descriptor(), 0), Output(std::move(errors.toRead), kept)};
    Child child;
    const bool open = group.start([&] {
        child.start(arguments, streams, group.id());
    });
    if (!open) {
        return result;
    }
    errors.close();
    return finishWriter(child, printed, group);
}

PairResult runPairIn(GroupLease& group, const Arguments& prover, const Arguments& reader,
                     const PairRun& run)
{
    const Descriptor null(openNull());
    Pipe between;
    Pipe answers;
    if (!null.isOpen() || !between.open() || !answers.open()) {
        return refused(errno);
    }
    const Descriptor file(run.input.isEmpty() ? openNull() : openInput(run.input));
    int proving = file.isOpen() ? 0 : errno;
    int reading = 0;
    Pipe errors = openErrors(run.errors);

    // All that takes memory is made before the first child.
    const int lifeline = group.lifeline();
    const int failing = errors.isOpen() ? errors.toWrite.number() : null.number();
    const Streams proverStreams(file.number(), between.toWrite.number(), failing, lifeline);
    const Streams readerStreams(between.toRead.number(), answers.toWrite.number(), failing,
                                lifeline);
    Printed printed = {Output(std::move(answers.toRead), run.most),
                       Output(std::move(errors.toRead), run.errors)};
    Child provers;
    Child readers;
    const bool open = group.start([&] {
        if (proving == 0) {
            proving = provers.start(prover, proverStreams, group.id(), run.memoryLimit);
        }
        if (!isRefusal(proving)) {
            reading = readers.start(reader, readerStreams, group.id());
        }
    });
    if (!open) {
        return {};
    }
    between.close();
    answers.close();
    errors.close();
    PairResult result =
        finishPair(provers, readers, printed, run, group, isRefusal(proving) ? proving : reading);
    result.prover.error = proving; // also when its input was to blame
    return result;
}

} // namespace

WriterResult runWriter(const WriterRun& run, ProcessGroups& groups)
{
    const Arguments arguments(run.writer);
    for (;;) {
        GroupLease group(groups);
        if (!group) {
            WriterResult none;
            none.end = group.error() == 0 ? WriterEnd::Stopped : WriterEnd::NotStarted;
            none.writer.error = group.error();
            return none;
        }
        WriterResult result = runWriterIn(group, arguments, run.errors);
        if (result.end != WriterEnd::NotStarted || !isRefusal(result.writer.error) ||
            !group.giveUp()) {
            return result;
        }
    }
}

PairResult runPair(const PairRun& run, ProcessGroups& groups)
{
    const Arguments prover(run.prover);
    const Arguments reader(run.reader);
    for (;;) {
        GroupLease group(groups);
        if (!group) {
            return group.error() == 0 ? PairResult() : refused(group.error());
        }
        PairResult result = runPairIn(group, prover, reader, run);
        if (result.end != PairEnd::Refused || !group.giveUp()) {
            return result;
        }
    }
}
