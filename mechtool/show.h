#pragma once

// What the command "show" prints, in each of its three forms.

#include "mechtool/Component.h"
#include "mechtool/Totals.h"

#include <cstddef>
#include <map>
#include <vector>

namespace show
{

/// A component, and its goals that are shown.
struct shown_t {
    component_t component;
    std::vector<address_t> goals;
    Totals totals;          ///< of these goals
    bool everything = true; ///< these are all of its goals
};

inline const goal_t& goalAt(const component_t& component, const address_t& address)
{
    return component.obligations[address.first].goals[address.second];
}

/// The totals of all of them.
Totals totalsOf(const std::vector<shown_t>& all);

/// The counts by obligation: of those that have a goal that is shown, and of all when everything
/// is shown.
std::map<std::size_t, Counts> countsByObligation(const shown_t& one);

/// Tables for a person.
void printText(const std::vector<shown_t>& all, bool withGoals);

/// A line a goal, for a spreadsheet.
void printCsv(const std::vector<shown_t>& all);

/// An object, for a program.
void printAsJson(const std::vector<shown_t>& all, bool withGoals);

} // namespace show
