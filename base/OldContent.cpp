#include "base/OldContent.h"

#include <exception>

#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr std::size_t MOST_WAITING = 4;

/// A child that is being started holds a copy of every descriptor until its program runs. So a
/// content can take up room for a little longer after it was closed here. The same holds for a new
/// file that was given up because there was no room for it.
constexpr std::chrono::milliseconds COPIES_GO_WITHIN(200);
constexpr std::chrono::milliseconds MOMENT(1);

} // namespace

OldContent::~OldContent()
{
    if (freeing.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            ending = true;
        }
        changed.notify_all();
        freeing.join();
    }
}

void OldContent::keep(const QString& path)
{
    kept = ::open(path.toUtf8().constData(), O_PATH | O_CLOEXEC);
    begin = Clock::now();
}

void OldContent::release(bool replaced)
{
    const bool handed = replaced && kept >= 0 && hand(kept);
    if (kept >= 0 && !handed) {
        ::close(kept);
    }
    kept = -1;
    if (replaced) {
        const std::lock_guard<std::mutex> lock(mutex);
        freed = Clock::now(); // the thread sets it again
    }
}

bool OldContent::awaitRoom()
{
    bool late = false;
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] {
            return released.empty();
        });
        late = begin < freed + COPIES_GO_WITHIN;
    }
    if (late) {
        std::this_thread::sleep_for(MOMENT);
        begin = Clock::now();
    }
    return late;
}

/// Hands `fd` to the thread; false when the thread cannot be started, or is behind.
bool OldContent::hand(int fd)
{
    try {
        if (!freeing.joinable()) {
            freeing = std::thread(&OldContent::work, this);
        }
        const std::lock_guard<std::mutex> lock(mutex);
        if (released.size() >= MOST_WAITING) {
            return false;
        }
        released.push_back(fd);
    } catch (const std::exception&) {
        return false; // no thread or no memory
    }
    changed.notify_all();
    return true;
}

void OldContent::work()
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!released.empty() || !ending) {
        if (released.empty()) {
            changed.wait(lock);
            continue;
        }
        const int fd = released.front();
        lock.unlock();
        ::close(fd);
        lock.lock();
        released.pop_front();
        freed = Clock::now();
        changed.notify_all();
    }
}
