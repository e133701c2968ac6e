#pragma once

// How long a save may wait for others to join it.

#include <algorithm>
#include <chrono>

/// Decides how long a save waits so that it can serve several workers. Waiting pays when saves take
/// longer than the work between them: without it one worker would soon wait while the save of
/// another runs, in turns. Of many workers some end during any save, and another one in the moments
/// before it; then a short wait often spares a save. Has neither clock nor thread: it is told how
/// long things took. One thread at a time may use it.
class SavePatience
{
public:
    using Duration = std::chrono::steady_clock::duration;

    /// How long the next save may wait. `others` is how many may join it, and `work` how long the
    /// worker that asks has worked since its last save.
    Duration forOthers(unsigned int others, Duration work) const
    {
        if (others == 0) {
            return Duration::zero();
        }
        if (work < 2 * cost) {
            const bool givenUp = inVain >= MOST_IN_VAIN && inVain % NEXT_TRY != 0;
            return givenUp ? Duration::zero() : work;
        }
        return work / others < 2 * cost ? cost / MOMENT : Duration::zero();
    }

    /// Takes note of a wait, also of one of no length, and whether another worker has joined.
    void waited(bool somebodyJoined)
    {
        inVain = somebodyJoined ? 0 : inVain + 1;
    }

    /// Takes note of how long a save took.
    void saved(Duration taken)
    {
        cost = std::min(last, taken);
        last = taken;
    }

private:
    /// After so many waits in a row in which nobody joined (the other workers are busy with longer
    /// jobs, or have ended) ...
    static constexpr unsigned int MOST_IN_VAIN = 8;
    /// ... only one save in so many waits.
    static constexpr unsigned int NEXT_TRY = 16;
    /// The share of a save that the short wait takes: a third.
    static constexpr int MOMENT = 3;

    unsigned int inVain = 0;
    Duration last{0};
    Duration cost{0}; ///< of the lesser of the last two saves: one in many waits for the disk
};
