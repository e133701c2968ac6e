#pragma once

// How often a save may wait for the disk.

#include <chrono>

/// Decides which saves are synced to disk: as many as take no more than a fiftieth of the time. So
/// where jobs take their time every save is, and where they end faster than the disk can follow the
/// run does not wait for it. One thread at a time may use it.
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
    Clock::duration cost{0}; ///< what it took
};
