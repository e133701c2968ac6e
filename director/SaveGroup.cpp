#include "director/SaveGroup.h"

namespace
{

/// When the calling thread was served last.
thread_local std::chrono::steady_clock::time_point served;

} // namespace

SaveGroup::Ticket SaveGroup::join()
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!next) {
        next = std::make_shared<Round>();
    }
    ++next->size;
    joined.notify_all();
    return next;
}

bool SaveGroup::wait(const Ticket& ticket, const std::function<bool()>& save, unsigned int others)
{
    const Clock::duration work = Clock::now() - served;
    std::exception_ptr failure;
    std::unique_lock<std::mutex> lock(mutex);
    while (!ticket->done) {
        if (busy) {
            ended.wait(lock);
            continue;
        }
        // Nothing runs and this round is not done, so it is the one that has not begun.
        busy = true;
        gather(lock, ticket, others, work);
        next.reset();
        lock.unlock();
        const Clock::time_point begin = Clock::now();
        const bool succeeded = carryOut(save, failure);
        lock.lock();
        cost = Clock::now() - begin;
        busy = false;
        ticket->succeeded = succeeded;
        ticket->done = true;
        ended.notify_all();
    }
    served = Clock::now();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return ticket->succeeded;
}

/// Lets the others into the round of `ticket` when one save for all of them is worth the wait.
void SaveGroup::gather(std::unique_lock<std::mutex>& lock, const Ticket& ticket,
                       unsigned int others, Clock::duration work)
{
    if (others > 0 && work < 2 * cost) {
        joined.wait_for(lock, work, [&] {
            return ticket->size > others;
        });
    }
}

bool SaveGroup::carryOut(const std::function<bool()>& save, std::exception_ptr& failure)
{
    try {
        return save();
    } catch (...) {
        failure = std::current_exception();
        return false;
    }
}
