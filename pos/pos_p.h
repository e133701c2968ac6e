#pragma once

// What the sources of this folder share.

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

} // namespace pos
