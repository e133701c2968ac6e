#pragma once

// Saving together: several threads that each need "what I have changed is on disk" share a save.

#include "director/SavePatience.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>

/// Hands out places in the next save and lets one of those who wait carry it out for all.
///
/// A save that has begun may have taken its text before a later change, so whoever joins from then
/// on is served by the save after it. At most one save runs at a time. All functions may be called
/// from any thread.
class SaveGroup
{
    using Clock = std::chrono::steady_clock;
    using Duration = SavePatience::Duration;

    struct Round {
        unsigned int size = 0; ///< how many have joined
        bool hurry = false;    ///< it must not wait for more
        bool reports = false;  ///< somebody wants a failure to be reported
        bool done = false;
        bool succeeded = false;
    };

public:
    using Ticket = std::shared_ptr<Round>;

    /// What somebody who joins wants of the save.
    struct Wish {
        bool hurry = false;   ///< it waits for nobody else
        bool reports = false; ///< its failure is reported, whoever carries it out
    };

    using Save = std::function<std::error_code()>;
    using Report = std::function<void(const std::error_code& failure)>;

    /// `newSave` takes the data, writes it and returns why that failed. `newReport` reports such a
    /// failure where somebody who joined wants that; by then nobody waits for the save any more, so
    /// it may block. `initial` is what is known of earlier saves.
    SaveGroup(Save newSave, Report newReport, const SavePatience& initial = {});

    /// A place in the next save to begin. Taken under the lock that guards the data to be saved,
    /// it makes tickets and changes come in the same order.
    Ticket join(const Wish& wish);

    /// Returns, once the save of `ticket` has ended, whether it succeeded. The calling thread may
    /// have to carry it out. What the save throws reaches this thread, and the save has failed for
    /// the others.
    ///
    /// `others` is how many may be about to join as well, and `work` how long the caller has worked
    /// for what it saves: the save may wait a little for them (see SavePatience).
    bool wait(const Ticket& ticket, unsigned int others = 0, Duration work = {});

private:
    void gather(std::unique_lock<std::mutex>& lock, const Round& round, unsigned int others,
                Duration work);
    std::error_code carryOut(std::exception_ptr& thrown) const;

    const Save save;
    const Report report;

    std::mutex mutex;
    std::condition_variable ended;
    std::condition_variable joined;
    // Guarded by `mutex`.
    Ticket next;       ///< the round that has not begun; null when nobody has joined
    bool busy = false; ///< a save is running, or about to
    SavePatience patience;
};
