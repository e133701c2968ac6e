#include "director/SaveGroup.h"

#include <utility>

SaveGroup::SaveGroup(Save newSave, Report newReport, const SavePatience& initial)
    : save(std::move(newSave)), report(std::move(newReport)), patience(initial)
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
    std::error_code failure;
    std::exception_ptr thrown;
    std::unique_lock<std::mutex> lock(mutex);
    while (!ticket->done) {
        if (busy) {
            ended.wait(lock);
            continue;
        }
        // Nothing runs and this round is not done, so it has not begun.
        busy = true;
        gather(lock, *ticket, others, work);
        next.reset();
        lock.unlock();
        const Clock::time_point begin = Clock::now();
        failure = carryOut(thrown);
        lock.lock();
        patience.saved(Clock::now() - begin);
        busy = false;
        ticket->succeeded = !failure;
        ticket->done = true;
        ended.notify_all();
    }
    lock.unlock();
    if (thrown) {
        std::rethrow_exception(thrown);
    }
    if (failure && ticket->reports) {
        report(failure);
    }
    return ticket->succeeded;
}

/// What the save returns; when it throws, some failure, with what it threw in `thrown`.
std::error_code SaveGroup::carryOut(std::exception_ptr& thrown) const
{
    try {
        return save();
    } catch (...) {
        thrown = std::current_exception();
        return std::make_error_code(std::errc::interrupted);
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
