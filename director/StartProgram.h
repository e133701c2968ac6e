#pragma once

// Starting a program as a child of this process.
//
// A start goes through posix_spawn, or with a limit through startLimited(), which lend the child
// our memory until it runs its program: the cost of a start does not grow with the component. (A
// fork copies the page tables.) What takes memory (Arguments, Streams) is made
// beforehand: a start itself never throws, since a child that was started before it must not be
// forgotten.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

#include <spawn.h>
#include <sys/types.h>

/// A program as a mechanism names it (perhaps wrapped in double quotes), and its arguments.
struct Command {
    QString path;
    QStringList arguments;
};

/// The program that a tool's path means: without the double quotes that a path with a blank is
/// wrapped in, and never looked up along PATH (a bare name is one in the current directory).
QString programOfPath(const QString& path);

/// The words of a command in the form that the system takes.
class Arguments
{
public:
    explicit Arguments(const Command& command);

    char* const* list() const
    {
        return pointers.data();
    }

private:
    std::vector<QByteArray> words;
    std::vector<char*> pointers;
};

/// Which standard streams a child gets, and which of our files it must let go of before it runs its
/// program (for which closing on that occasion comes too late). None of the files is another
/// standard stream of ours. Memory that ran out on the way shows in error(): a child started all
/// the same would have some of our streams.
class Streams
{
public:
    Streams(int input, int output, int errors, int toDrop);
    ~Streams();
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    int error() const
    {
        return failure;
    }
    const int* numbers() const ///< three
    {
        return streams;
    }
    int dropped() const
    {
        return closed;
    }
    const posix_spawn_file_actions_t* actions() const
    {
        return &list;
    }

private:
    int streams[3];
    int closed;
    posix_spawn_file_actions_t list = {}; ///< the same in the form that posix_spawn takes
    int failure = 0;
};

/// How a child ended, and what it took.
struct ChildEnd {
    bool started = false;
    int error = 0;               ///< why it was not started; 0: nobody has tried
    bool crashed = false;        ///< a signal ended it, or nobody can tell any more how it ended
    int signal = 0;              ///< that signal; 0: none, or not known
    int status = 0;              ///< its exit status, when no signal ended it
    double processorSeconds = 0; ///< of the child and of the children that it waited for

    /// The largest resident memory of one of them. The system begins to count at the memory of this
    /// process, which the start lends the child.
    std::int64_t peakKiB = 0;
    std::int64_t lentKiB = 0; ///< the child's own peak is known only when clearly above this
};

/// A child process. At the end of the object the child is killed and reaped, unless that was done.
class Child
{
public:
    Child() = default;
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Starts a program with these standard streams, as a member of the process group `group` from
    /// before its first instruction; returns once it runs or cannot, with 0 or the reason. Unless
    /// `memoryLimit` is 0, no address space of the child or of what it starts exceeds so many
    /// bytes.
    int start(const Arguments& arguments, const Streams& streams, pid_t group,
              std::uint64_t memoryLimit = 0) noexcept;

    bool isRunning() const
    {
        return pid != 0;
    }
    pid_t id() const
    {
        return pid;
    }

    /// Waits until the child has ended, and tells how; again what it told, when that was before.
    const ChildEnd& reap() noexcept;

    /// The same of a child that need not come to its end by itself any more.
    const ChildEnd& killAndReap() noexcept;

private:
    pid_t pid = 0;
    ChildEnd end;
};

/// True when a start failed for want of room, which a later one may find; false when the program is
/// to blame.
bool isRefusal(int error);
