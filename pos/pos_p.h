#pragma once

// What the sources of this folder share: the loading of a document and the rule that derives a
// goal's status.

#include "pos/pos.h"

#include <QStringList>

namespace pos
{

/// The `proofState` words that count as proved. Plain "Proved" is deliberately not among them: the
/// workbench's own prover never writes it.
extern const QStringList proofProvedStatuses;

/// The document in the file at `path`; a null one when the file cannot be read, an empty one when
/// it is not well-formed.
QDomDocument domOfPath(const std::string& path);

/// True when the workbench's own prover proved the goal.
bool isProvedByProver(const QDomElement& goal);

/// The status that follows from the goal's records: one refutation outweighs any number of proofs,
/// a reliable proof outweighs unreliable ones. Never UNKNOWN.
status_t expectedStatus(const QDomElement& goal);

} // namespace pos
