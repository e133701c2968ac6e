#include "director/job_end.h"

namespace
{

/// The peak may be the peak of this process, of which the child was a copy at first: then a small
/// prover passes for a large one, but never the other way round.
bool isFarFrom(std::uint64_t limit, const ChildEnd& prover)
{
    return static_cast<std::uint64_t>(prover.peakKiB) < limit / 2 / 1024;
}

} // namespace

job_end_t endOfJob(const pair_facts_t& facts)
{
    const bool limited = facts.memoryLimit != 0;
    switch (facts.end) {
    case PairEnd::Read:
        if (limited && facts.prover.status != 0 && !(facts.complete && facts.decisive)) {
            return job_end_t::memoryLimit;
        }
        return facts.complete ? job_end_t::read : job_end_t::wrongCount;
    case PairEnd::ProverCrashed:
        return limited && !isFarFrom(facts.memoryLimit, facts.prover) ? job_end_t::memoryLimit
                                                                      : job_end_t::proverCrashed;
    case PairEnd::ReaderCrashed:
        return job_end_t::readerCrashed;
    case PairEnd::TooMuch:
        return job_end_t::tooMuch;
    case PairEnd::TimeLimit:
        return job_end_t::timeLimit;
    case PairEnd::Refused:
        return job_end_t::refused;
    case PairEnd::Stopped:
        break;
    }
    return job_end_t::stopped;
}
