#include "director/OldContent.h"

#include <exception>

#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr std::size_t MOST_WAITING = 4;

} // namespace

OldContent::~OldContent()
{
    if (worker.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            ending = true;
        }
        changed.notify_all();
        worker.join();
    }
}

void OldContent::keep(const QString& path)
{
    kept = ::open(path.toUtf8().constData(), O_PATH | O_CLOEXEC);
}

void OldContent::release()
{
    if (kept >= 0 && !hand(kept)) {
        ::close(kept);
    }
    kept = -1;
}

bool OldContent::freeAll()
{
    std::unique_lock<std::mutex> lock(mutex);
    const bool some = !released.empty();
    changed.wait(lock, [this] {
        return released.empty();
    });
    return some;
}

/// Hands `fd` to the worker; false when there is none to be had, or when it is behind.
bool OldContent::hand(int fd)
{
    try {
        if (!worker.joinable()) {
            worker = std::thread(&OldContent::work, this);
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
        changed.notify_all();
    }
}
