#pragma once

// Giving up the content of a file that is being replaced, without waiting for it.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <QString>

/// Whoever replaces a file frees the old content, which can take longer than all the rest of the
/// replacement: blocks on their way to the disk are waited for, and some disks are told of every
/// block that comes free. Kept open, the old content is freed later, by a thread of its own. At
/// most a few wait for that, so that they cannot fill the disk. The public functions are for one
/// thread at a time; the end of the object waits for what is left.
class OldContent
{
public:
    OldContent() = default;
    ~OldContent();
    OldContent(const OldContent&) = delete;
    OldContent& operator=(const OldContent&) = delete;

    /// Keeps the present content of the file at `path` until release(). Nothing happens when it
    /// cannot be opened.
    void keep(const QString& path);

    /// Gives up what was kept; `replaced` tells whether the file has another content now.
    void release(bool replaced);

    /// For a write that found the disk full, and began right after keep() or the last call: waits
    /// until all that was given up is free, and a moment longer. Returns whether it had not been
    /// free for long when the write began, so that another one may find room.
    bool awaitRoom();

private:
    using Clock = std::chrono::steady_clock;

    bool hand(int fd);
    void work();

    int kept = -1;
    Clock::time_point begin; ///< of the present write
    std::thread worker;      ///< made when it is first needed

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by `mutex`.
    std::deque<int> released; ///< given up and not yet free; the worker closes the first
    Clock::time_point freed;  ///< when that was done last
    bool ending = false;
};
