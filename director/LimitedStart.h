#pragma once

// Starting a program whose address space is limited from before its first instruction, so that
// nothing it starts can escape the limit. Private to the folder.

#include <cstdint>

#include <csignal>
#include <sys/types.h>

/// What such a child gets.
struct limited_start_t {
    char* const* words = nullptr;       ///< the program and its arguments, ended by null
    const int* streams = nullptr;       ///< three numbers, for the standard streams
    int dropped = -1;                   ///< the file that it must let go of
    pid_t group = 0;                    ///< the process group that it joins
    const sigset_t* defaults = nullptr; ///< the signals that it takes as the system gives them
    std::uint64_t bytes = 0; ///< of its address space; a tighter limit that we have stays
};

/// Starts the program as posix_spawn does: at the same cost, however large this process is, and
/// with the same answer, 0 and the number of the child, or the reason why there is none.
int startLimited(const limited_start_t& start, pid_t& child) noexcept;
