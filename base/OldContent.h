#pragma once

// Giving up the content of a file that is being replaced, without waiting for it.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <QString>

/// Replacing a file frees its old content, which can take longer than all the rest: the system
/// waits for blocks on their way to the disk, and tells some disks of every block that comes free.
/// This class keeps the old content open, and a thread of its own frees it later. At most a few
/// contents wait for that thread, so that they cannot fill the disk. The public functions are for
/// one thread at a time. The destructor waits until all contents are free.
class OldContent
{
public:
    OldContent() = default;
    ~OldContent();
    OldContent(const OldContent&) = delete;
    OldContent& operator=(const OldContent&) = delete;

    /// Keeps the present content of the file at `path` until release(). Does nothing when the file
    /// cannot be opened.
    void keep(const QString& path);

    /// Gives up what was kept; `replaced` tells whether the file has another content now.
    void release(bool replaced);

    /// To be called when a write found the disk full that began right after keep() or after the
    /// last call: waits until all contents that were given up are free, and a moment longer. True
    /// when some were still there as that write began, or had just gone: a new try may find room.
    bool awaitRoom();

private:
    using Clock = std::chrono::steady_clock;

    bool hand(int fd);
    void work();

    int kept = -1;
    Clock::time_point begin; ///< of the present write
    std::thread freeing;     ///< made when it is first needed

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by `mutex`.
    std::deque<int> released; ///< given up and not yet free; the thread closes the first
    Clock::time_point freed;  ///< when a content was closed last
    bool ending = false;
};
