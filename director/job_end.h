#pragma once

// How a job ends whose prover and reader have ended, decided on values alone. Private to the folder
// and its tests.

#include "director/ChildProcess.h"
#include "director/ProofDirectorObserver.h"

#include <cstdint>

/// What is known of a prover and its reader.
struct pair_facts_t {
    PairEnd end = PairEnd::Read;
    ChildEnd prover = {};
    std::uint64_t memoryLimit = 0; ///< of the prover, in bytes; 0: none
    bool complete = true;          ///< the reader printed as many lines as were wanted
    bool decisive = true;          ///< each says that its goal is proved or disproved; of no
                                   ///< account without a limit
};

/// A prover that fails for want of memory may print anything or nothing before, and its reader
/// makes of that what it makes of a prover that has tried: such a job is lost. How a prover fails
/// is up to the prover. So under a limit every failure counts: a failing exit status, unless all
/// goals were decided all the same, and an end by a signal, unless the prover was far from the
/// limit.
job_end_t endOfJob(const pair_facts_t& facts);
