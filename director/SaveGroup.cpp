#include "director/SaveGroup.h"

#include <exception>

SaveGroup::Ticket SaveGroup::join()
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!next) {
        next = std::make_shared<Round>();
    }
    return next;
}

bool SaveGroup::wait(const Ticket& ticket, const std::function<bool()>& save)
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!ticket->done) {
        if (busy) {
            ended.wait(lock);
            continue;
        }
        // Nothing runs and this round is not done, so it is the one that has not begun.
        busy = true;
        next.reset();
        lock.unlock();
        bool succeeded = false;
        std::exception_ptr failure;
        try {
            succeeded = save();
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        busy = false;
        ticket->succeeded = succeeded;
        ticket->done = true;
        ended.notify_all();
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
    return ticket->succeeded;
}
