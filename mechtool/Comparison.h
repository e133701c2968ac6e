#pragma once

// What is different between two states of a component: which goals stand worse or better, by which
// records, and which obligations are not the same. Free functions on views.
//
// Obligations are matched by their tag and by their place among the obligations of this tag,
// whatever stands between them; goals by their number; mechanisms and drivers like obligations, by
// their name.

#include "mechtool/Component.h"
#include "pos/pos.h"

#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

/// Whether a goal has lost something: a proof is worth more than an unreliable one, which is worth
/// more than none, and a refutation is the worst. "Unknown" is worth as much as "Unproved".
bool isWorse(pos::status_t before, pos::status_t after);

enum class change_t {
    worse,  ///< the goal has lost
    better, ///< it has won
    other,  ///< worth the same, with other records, or "Unknown" for "Unproved"
};

/// A record on a goal that is not the same.
struct record_change_t {
    enum class kind_t { prover, analyser, mechanism, driver };

    kind_t kind = kind_t::mechanism;
    QString mechanism; ///< of a mechanism or a driver
    QString driver;    ///< of a driver
    QString before;    ///< the word; null when there was no such record
    QString after;
};

/// A goal that is not the same.
struct goal_change_t {
    change_t change = change_t::other;
    address_t before;
    address_t after;
    std::vector<record_change_t> records;
};

/// An obligation that came, went, or has another number of goals: its place, where it is.
struct obligation_change_t {
    std::optional<std::size_t> before;
    std::optional<std::size_t> after;
};

struct comparison_t {
    std::vector<goal_change_t> goals; ///< worse, better, other; each in document order
    std::vector<obligation_change_t> obligations;
    std::size_t compared = 0; ///< the goals that are in both

    bool isSame() const;
    std::size_t count(change_t change) const;
};

/// What is different in `after`. Goals that are in one of the two only are no changes of goals.
comparison_t comparisonOf(const component_t& before, const component_t& after);
