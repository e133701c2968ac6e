#pragma once

// Giving up the content of a file that is being replaced, without waiting for it.

#include <array>
#include <cstddef>
#include <future>

#include <QString>

/// Whoever replaces a file frees the old content, which can take longer than all the rest of the
/// replacement: blocks on their way to the disk are waited for, and some disks are told of every
/// block that comes free. Kept open, the old content is freed later, by a thread of its own. At
/// most a few wait for that, so that they cannot fill the disk. One thread at a time may use it;
/// its end waits for what is left.
class OldContent
{
public:
    /// Keeps the present content of the file at `path` until release(). Nothing happens when it
    /// cannot be opened.
    void keep(const QString& path);

    /// Gives up what was kept.
    void release();

private:
    int kept = -1;
    std::array<std::future<void>, 4> releases; ///< one slot after the other waits for its last user
    std::size_t next = 0;
};
