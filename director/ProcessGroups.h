#pragma once

// The process groups in which the tools of a director run, so that nothing they start outlives the
// run: neither a stop, nor a driver that has come to its end, nor a kill of this process.
//
// A group is led by a guard: a shell that waits on a pipe whose writing end only this process
// holds, and that kills its group, itself included, once it reads the end of the pipe. A tool joins
// the group before its first instruction, and lets go of the pipe only after that; so a kill of
// this process cannot fall between the two. The guard blocks every signal that can be blocked,
// holds no other file, and is started like any tool: it costs the same however large the component
// is, and another can take its place at any time, should a tool have killed its own group.
//
// A tool that leaves its group (setsid, setpgid) leaves the guard's reach too.
//
// At any time each running writer or pair has a group of its own: a tool that signals its group
// meets no other running job. A group is used again; so what a job leaves behind in it shares the
// group with a later job. The functions may be called from any thread.

#include "base/Descriptor.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>

#include <sys/types.h>

/// The groups of one director. They are closed for good by a stop.
class ProcessGroups
{
public:
    ProcessGroups() = default;

    /// Kills what still lives in the groups. No group may be in use.
    ~ProcessGroups();
    ProcessGroups(const ProcessGroups&) = delete;
    ProcessGroups& operator=(const ProcessGroups&) = delete;

    /// Lets nothing start any more and kills every group. Waits for nothing: a start under way is
    /// left to awaitStarts().
    void closeAndKill();

    /// Waits until no start is under way any more, but no longer than `limit`, and kills what such
    /// starts still bring in. To be called after closeAndKill().
    void awaitStarts(std::chrono::milliseconds limit);

    /// True once closeAndKill() was called.
    bool isClosed() const;

    /// Kills what still lives in the groups, and gives them up. No group may be in use.
    void endIdle();

private:
    friend class GroupLease;

    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t UNLIMITED = static_cast<std::size_t>(-1);

    struct Group {
        pid_t id = 0; ///< of the guard, which is not reaped as long as the group is listed
        bool used = false;
    };
    using Groups = std::list<Group>;

    int takeGroup(pid_t& id);
    bool takeIdle(pid_t& id);
    bool mayMakeGroup();
    void limit();
    int makeGroup(std::unique_lock<std::mutex>& lock, pid_t& id);
    void handBack(pid_t id);
    bool discard(pid_t id, bool full);
    bool beginStart();
    void endStart(pid_t id);
    void killAll() const;

    /// Its reading end goes to the guards. Made with the first of them.
    Pipe lifeline;

    mutable std::mutex mutex;
    std::condition_variable changed;
    // Guarded by `mutex`.
    Groups groups;
    std::size_t making = 0;       ///< guards that are being started
    std::size_t starting = 0;     ///< starts of tools under way
    std::size_t most = UNLIMITED; ///< how many groups the system has room for, as far as is known
    Clock::time_point refused;    ///< when it last turned out to have less
    bool closed = false;
};

/// One job's use of a group, from the making of the object to its end. When the system has no room
/// for another group but some are in use, the making waits for one of these.
class GroupLease
{
public:
    explicit GroupLease(ProcessGroups& lender);
    ~GroupLease();
    GroupLease(const GroupLease&) = delete;
    GroupLease& operator=(const GroupLease&) = delete;

    /// Whether there is a group. Without one, error() is the system's reason, or 0 when the groups
    /// were closed.
    explicit operator bool() const
    {
        return group != 0;
    }
    int error() const
    {
        return refusal;
    }

    pid_t id() const
    {
        return group;
    }

    /// The file that a child must let go of once it is in the group.
    int lifeline() const;

    /// Runs `start`, which starts children in the group, unless the groups are closed; returns
    /// whether it did.
    template <typename Start>
    bool start(const Start& start) const
    {
        if (!groups.beginStart()) {
            return false;
        }
        start();
        groups.endStart(group);
        return true;
    }

    /// The system had no room for a tool: the room that the group takes is given back, and for some
    /// time no more groups are made than are left. Returns whether there are any: then another try
    /// with another lease may do better.
    bool giveUp();

    /// Kills all that lives in the group, whatever it makes of signals, and the guard with it: the
    /// group is given up, and nobody gets it again.
    void end();

private:
    ProcessGroups& groups;
    pid_t group = 0;
    int refusal = 0;
};
