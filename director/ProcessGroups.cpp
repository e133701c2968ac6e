#include "director/ProcessGroups.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// How often a stop looks for what a start under way has brought in.
constexpr std::chrono::milliseconds LOOK_AGAIN(10);

/// After a refusal, how long the number of groups stays as it is before one more is tried.
constexpr std::chrono::seconds TRY_AGAIN(30);

/// The guard. It reads nothing but the end of the pipe, and then kills the group that it is in. The
/// last word is its name for whoever lists the processes. It has no environment: some shells run
/// what they find there.
constexpr const char* SHELL = "/bin/sh";
constexpr const char* GUARD[] = {"sh", "-c", "read -r end; kill -KILL 0", "mechrun-guard", nullptr};
constexpr const char* GUARD_ENVIRONMENT[] = {nullptr};

/// Starts a guard that holds `lifeline` as its standard input and nothing else; 0 or the reason why
/// there is none.
int startGuard(int lifeline, pid_t& guard)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int error = posix_spawn_file_actions_adddup2(&actions, lifeline, STDIN_FILENO);
    if (error == 0) {
        error = posix_spawn_file_actions_addclosefrom_np(&actions, STDIN_FILENO + 1);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &all);
    posix_spawnattr_setpgroup(&attributes, 0); // a group of its own
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    if (error == 0) {
        error = ::posix_spawn(&guard, SHELL, &actions, &attributes, const_cast<char* const*>(GUARD),
                              const_cast<char* const*>(GUARD_ENVIRONMENT));
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

bool isAlive(pid_t guard)
{
    siginfo_t end = {};
    return ::waitid(P_PID, static_cast<id_t>(guard), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           end.si_pid == 0;
}

void killGroup(pid_t id)
{
    if (id > 1) { // anything else would be this process's own group, or every process
        ::kill(-id, SIGKILL);
    }
}

/// Kills what lives in a group, and reaps its guard.
void endGroup(pid_t id)
{
    killGroup(id);
    while (::waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

ProcessGroups::~ProcessGroups()
{
    endIdle();
}

void ProcessGroups::closeAndKill()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        closed = true;
        killAll();
    }
    changed.notify_all();
}

void ProcessGroups::awaitStarts(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock<std::mutex> lock(mutex);
    while (starting != 0 && std::chrono::steady_clock::now() < end) {
        changed.wait_for(lock, LOOK_AGAIN);
        killAll();
    }
}

bool ProcessGroups::isClosed() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return closed;
}

void ProcessGroups::endIdle()
{
    Groups idle;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        idle.swap(groups);
        most = UNLIMITED;
    }
    for (const Group& group : idle) {
        killGroup(group.id); // all of them before the first wait
    }
    for (const Group& group : idle) {
        endGroup(group.id);
    }
}

/// Called with `mutex` held.
void ProcessGroups::killAll() const
{
    for (const Group& group : groups) {
        killGroup(group.id);
    }
}

/// A group for one job: `id` and 0, or the system's reason; 0 without an `id` once they are closed.
int ProcessGroups::takeGroup(pid_t& id)
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!closed) {
        if (takeIdle(id)) {
            return 0;
        }
        if (!mayMakeGroup()) {
            changed.wait_for(lock, TRY_AGAIN);
            continue;
        }
        const int error = makeGroup(lock, id);
        if (error == 0 || groups.size() + making == 0) {
            return error;
        }
        limit();
    }
    return 0;
}

/// Whether the system may have room for another group. Called with `mutex` held.
bool ProcessGroups::mayMakeGroup()
{
    if (most != UNLIMITED && Clock::now() - refused > TRY_AGAIN) {
        ++most;
        refused = Clock::now();
    }
    return groups.size() + making < most;
}

/// No more groups than there are, or will be in a moment. Called with `mutex` held.
void ProcessGroups::limit()
{
    most = std::max<std::size_t>(groups.size() + making, 1);
    refused = Clock::now();
}

/// Takes a group that is not in use. Called with `mutex` held.
bool ProcessGroups::takeIdle(pid_t& id)
{
    auto group = groups.begin();
    while (group != groups.end()) {
        if (group->used) {
            ++group;
        } else if (isAlive(group->id)) {
            group->used = true;
            id = group->id;
            return true;
        } else {
            endGroup(group->id); // a tool has killed its own group
            group = groups.erase(group);
        }
    }
    return false;
}

/// Makes a group, in use. The lock is let go of meanwhile: the start of a program may take its
/// time.
int ProcessGroups::makeGroup(std::unique_lock<std::mutex>& lock, pid_t& id)
{
    if (!lifeline.isOpen() && !lifeline.open()) {
        return errno;
    }
    Groups made(1); // a guard that runs must not fail to be entered
    ++making;
    lock.unlock();
    const int error = startGuard(lifeline.toRead.number(), made.front().id);
    lock.lock();
    --making;
    if (error == 0) {
        made.front().used = true;
        id = made.front().id;
        groups.splice(groups.end(), made);
    }
    changed.notify_all();
    return error;
}

void ProcessGroups::handBack(pid_t id)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (Group& group : groups) {
            group.used = group.used && group.id != id;
        }
    }
    changed.notify_one();
}

/// Ends a group that is in use. With `full` the system has no room for more. Returns whether there
/// are other groups.
bool ProcessGroups::discard(pid_t id, bool full)
{
    bool others = false;
    {
        // Nobody else signals the group from here on: once the guard is reaped, the number is free.
        const std::lock_guard<std::mutex> lock(mutex);
        groups.remove_if([id](const Group& group) {
            return group.id == id;
        });
        if (full) {
            limit();
        }
        others = groups.size() + making != 0;
    }
    endGroup(id);
    changed.notify_all();
    return others;
}

bool ProcessGroups::beginStart()
{
    const std::lock_guard<std::mutex> lock(mutex);
    starting += closed ? 0 : 1;
    return !closed;
}

void ProcessGroups::endStart(pid_t id)
{
    const std::lock_guard<std::mutex> lock(mutex);
    --starting;
    if (closed) {
        killGroup(id); // the kill may have come just before the start
    }
}

GroupLease::GroupLease(ProcessGroups& lender) : groups(lender)
{
    refusal = groups.takeGroup(group);
}

GroupLease::~GroupLease()
{
    if (group != 0) {
        groups.handBack(group);
    }
}

int GroupLease::lifeline() const
{
    return groups.lifeline.toWrite.number();
}

bool GroupLease::giveUp()
{
    return group != 0 && groups.discard(std::exchange(group, 0), true);
}

void GroupLease::end()
{
    if (group != 0) {
        groups.discard(std::exchange(group, 0), false);
    }
}
