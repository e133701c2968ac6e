#pragma once

// How often a save may wait for the disk.

#include <chrono>

/// Decides which saves are synced to disk: so many that waiting for the disk takes a fiftieth of
/// the time at most. Where jobs take long, every save is synced. Where jobs end faster than the
/// disk can follow, the run does not wait for the disk. One thread at a time may use an object.
class SyncPace
{
public:
    using Clock = std::chrono::steady_clock;

    /// Whether a save that begins at `now` should be synced.
    bool isDue(Clock::time_point now) const
    {
        return now - ended >= SHARE * cost;
    }

    /// Takes note of a save that was synced.
    void synced(Clock::time_point begin, Clock::time_point end)
    {
        ended = end;
        cost = end - begin;
    }

private:
    static constexpr int SHARE = 50;

    Clock::time_point ended; ///< end of the last synced save
    Clock::duration cost{0}; ///< how long that save took
};
