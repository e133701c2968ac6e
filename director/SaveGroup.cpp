#include "director/SaveGroup.h"

#include <utility>

SaveGroup::SaveGroup(std::function<bool(bool reports)> newSave, const SavePatience& initial)
    : save(std::move(newSave)), patience(initial)
{
}

SaveGroup::Ticket SaveGroup::join(const Wish& wish)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!next) {
        next = std::make_shared<Round>();
    }
    ++next->size;
    next->hurry = next->hurry || wish.hurry;
    next->reports = next->reports || wish.reports;
    joined.notify_all();
    return next;
}

bool SaveGroup::wait(const Ticket& ticket, unsigned int others, Duration work)
{
    std::exception_ptr failure;
    std::unique_lock<std::mutex> lock(mutex);
    while (!ticket->done) {
        if (busy) {
            ended.wait(lock);
            continue;
        }
        // Nothing runs and this round is not done, so it is the one that has not begun.
        busy = true;
        gather(lock, *ticket, others, work);
        next.reset();
        lock.unlock();
        const Clock::time_point begin = Clock::now();
        const bool succeeded = carryOut(ticket->reports, failure);
        lock.lock();
        patience.saved(Clock::now() - begin);
        busy = false;
        ticket->succeeded = succeeded;
        ticket->done = true;
        ended.notify_all();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return ticket->succeeded;
}

/// What the save returns; false when it throws, with what it threw in `failure`.
bool SaveGroup::carryOut(bool reports, std::exception_ptr& failure) const
{
    try {
        return save(reports);
    } catch (...) {
        failure = std::current_exception();
        return false;
    }
}

/// Lets others into the round that is about to begin.
void SaveGroup::gather(std::unique_lock<std::mutex>& lock, const Round& round, unsigned int others,
                       Duration work)
{
    const unsigned int before = round.size;
    joined.wait_for(lock, patience.forOthers(others, work), [&] {
        return round.size > others || round.hurry;
    });
    patience.waited(round.size > before || before > others);
}
