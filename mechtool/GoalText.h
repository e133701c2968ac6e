#pragma once

// A goal in words.

#include "mechtool/Component.h"

#include <QString>

/// All that is recorded on a goal, with names as they are shown: "prover Proved(1); smt Proved (Z3
/// Proved, E Unproved)".
QString recordsOf(const goal_t& goal);
