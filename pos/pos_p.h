#pragma once

// What the sources of this folder share: the walk over the goals, the loading of a document and
// the rule that derives a goal's status.

#include "pos/pos.h"

#include <QStringList>

#include <functional>

namespace pos
{

/// The `proofState` words that count as proved. Plain "Proved" is deliberately not among them: the
/// workbench's own prover never writes it.
extern const QStringList proofProvedStatuses;

/// The document in the file at `path`; a null one when the file cannot be read, an empty one when
/// it is not well-formed.
QDomDocument domOfPath(const std::string& path);

/// Calls `visit` for the goals in document order until it returns false; true when it never did.
bool everyGoal(const QDomDocument& doc, const std::function<bool(QDomElement& goal)>& visit);

/// The status of a goal, a mechanism or a driver; "Unproved" when it carries none.
status_t statusOf(const QDomElement& element);

/// True when the workbench's own prover proved the goal.
bool isProvedByProver(const QDomElement& goal);

/// The status that follows from the goal's records: one refutation outweighs any number of proofs,
/// a reliable proof outweighs unreliable ones. Never UNKNOWN.
status_t expectedStatus(const QDomElement& goal);

} // namespace pos
