#pragma once

// The status that a goal of a POS document has by its records. Private to this project. An unknown
// status word raises std::out_of_range; nothing is kept of the element.

#include "pos/pos.h"

namespace pos
{

/// True when the workbench's own prover proved the goal.
bool isProvedByProver(const QDomElement& goal);

/// The status that follows from the goal's records: one refutation outweighs any number of proofs,
/// a reliable proof outweighs unreliable ones. Never UNKNOWN.
status_t expectedStatus(const QDomElement& goal);

/// The same as if the independent analyser had said nothing, which is how `unprove` leaves a goal.
status_t expectedStatusWithoutAnalyser(const QDomElement& goal);

} // namespace pos
