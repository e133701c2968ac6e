#include "director/SaveGroup.h"

#include <algorithm>
#include <utility>

namespace
{

/// When the calling thread was served last.
thread_local std::chrono::steady_clock::time_point served;

/// After so many waits in a row that brought nobody, since the other workers are busy with longer
/// jobs or have ended, ...
constexpr unsigned int MOST_IN_VAIN = 8;
/// ... only one save in so many waits.
constexpr unsigned int NEXT_TRY = 16;

} // namespace

SaveGroup::SaveGroup(std::function<bool(bool reports)> newSave) : save(std::move(newSave)) {}

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

bool SaveGroup::wait(const Ticket& ticket, unsigned int others)
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
        gather(lock, *ticket, others, work);
        next.reset();
        lock.unlock();
        const Clock::time_point begin = Clock::now();
        const bool succeeded = carryOut(ticket->reports, failure);
        lock.lock();
        const Clock::duration taken = Clock::now() - begin;
        cost = std::min(last, taken);
        last = taken;
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

/// How long a save may wait for others to join it. A save that takes longer than the work between
/// two would soon have one worker wait while another's is written, turn about; together they are
/// served by one. Of many workers some end during any save, and so does another in the moments
/// before it, often enough to spare a save.
SaveGroup::Clock::duration SaveGroup::patience(unsigned int others, Clock::duration work) const
{
    if (others == 0) {
        return Clock::duration::zero();
    }
    if (work < 2 * cost) {
        const bool tried = inVain >= MOST_IN_VAIN && inVain % NEXT_TRY != 0;
        return tried ? Clock::duration::zero() : work;
    }
    return work / others < 2 * cost ? cost / 3 : Clock::duration::zero();
}

/// Lets others into the round that is about to begin.
void SaveGroup::gather(std::unique_lock<std::mutex>& lock, const Round& round, unsigned int others,
                       Clock::duration work)
{
    const unsigned int before = round.size;
    joined.wait_for(lock, patience(others, work), [&] {
        return round.size > others || round.hurry;
    });
    inVain = round.size > before || before > others ? 0 : inVain + 1;
}
