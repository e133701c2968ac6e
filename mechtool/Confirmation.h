#pragma once

// Confirming what a POS file says of one mechanism: every verdict that a driver reached is reached
// again by running this driver again. The POS file is only read; the plays work on copies.
//
// A play ends a goal as soon as the mechanism's trust is satisfied, so it may leave drivers out
// whose verdicts are recorded. These are run in further passes, until each has had its turn. The
// status of the mechanism on a goal is what the first pass gives it, as any replay would.

#include "mechtool/Component.h"
#include "mechtool/PlayOptions.h"

#include <map>
#include <vector>

/// What became of one verdict.
struct confirmed_driver_t {
    QString driver;
    pos::status_t before = pos::UNPROVED;
    QString after;  ///< the word of the new verdict; null: not confirmed
    QString reason; ///< why it is not confirmed
};

/// What became of the verdicts of the mechanism on one goal.
struct confirmed_goal_t {
    pos::status_t before = pos::UNPROVED; ///< the mechanism's status
    pos::status_t after = pos::UNPROVED;
    std::vector<confirmed_driver_t> drivers;
};

struct confirmation_t {
    QString mechanism;
    std::map<address_t, confirmed_goal_t> goals; ///< those with a verdict
};

/// Confirms the verdicts of the mechanism in `file` on the goals of `component`, which are those in
/// the POS file of `options`. `onlyProved`: refutations are taken as they stand. `folder` is a
/// temporary one. Throws CannotAnswer.
confirmation_t confirm(const component_t& component, const QString& file, bool onlyProved,
                       const play_options_t& options, const QString& folder, Watch& watch);
