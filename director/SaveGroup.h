#pragma once

// Saving together: several threads that each need "what I have changed is on disk" share a save.

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

/// Hands out places in the next save and lets one of those who wait carry it out for all.
///
/// A save that has begun may have taken its text before a later change, so whoever joins from then
/// on is served by the save after it. At most one save runs at a time. All functions may be called
/// from any thread.
class SaveGroup
{
    struct Round {
        bool done = false;
        bool succeeded = false;
    };

public:
    using Ticket = std::shared_ptr<Round>;

    /// A place in the next save to begin. Taken under the lock that guards the data to be saved,
    /// it makes tickets and changes come in the same order.
    Ticket join();

    /// Returns, once the save of `ticket` has ended, whether it succeeded. The caller may be the
    /// one who runs `save`; it must take its data from within that call. What `save` throws reaches
    /// the one who ran it, and the save has failed for the others.
    bool wait(const Ticket& ticket, const std::function<bool()>& save);

private:
    std::mutex mutex;
    std::condition_variable ended;
    // Guarded by `mutex`.
    Ticket next;       ///< the round that has not begun; null when nobody has joined
    bool busy = false; ///< a save is running
};
