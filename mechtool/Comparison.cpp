#include "mechtool/Comparison.h"

#include <QHash>
#include <QPair>

#include <algorithm>

namespace
{

/// What a status is worth.
int rankOf(pos::status_t status)
{
    switch (status) {
    case pos::PROVED:
        return 3;
    case pos::UNRELIABLY_PROVED:
        return 2;
    case pos::UNPROVED:
    case pos::UNKNOWN:
        return 1;
    case pos::DISPROVED:
        break;
    }
    return 0;
}

change_t changeOf(pos::status_t before, pos::status_t after)
{
    return isWorse(before, after)   ? change_t::worse
           : isWorse(after, before) ? change_t::better
                                    : change_t::other;
}

using pair_t = std::pair<std::optional<std::size_t>, std::optional<std::size_t>>;

/// The places of what has the same name, the first with the first of this name, and so on: first
/// all of `before`, then what only `after` has.
template <typename Named>
std::vector<pair_t> matched(const std::vector<Named>& before, const std::vector<Named>& after,
                            QString Named::*name)
{
    std::vector<pair_t> pairs;
    QHash<QPair<QString, int>, std::size_t> places;
    QHash<QString, int> count;
    for (const Named& one : before) {
        places.insert({one.*name, ++count[one.*name]}, pairs.size());
        pairs.emplace_back(pairs.size(), std::nullopt);
    }
    count.clear();
    for (std::size_t i = 0; i < after.size(); ++i) {
        const QString& text = after[i].*name;
        const auto place = places.constFind({text, ++count[text]});
        if (place == places.constEnd()) {
            pairs.emplace_back(std::nullopt, i);
        } else {
            pairs[*place].second = i;
        }
    }
    return pairs;
}

bool operator==(const driver_record_t& one, const driver_record_t& other)
{
    return one.status == other.status && one.name == other.name;
}

bool operator==(const mechanism_record_t& one, const mechanism_record_t& other)
{
    return one.status == other.status && one.name == other.name &&
           std::equal(one.drivers.begin(), one.drivers.end(), other.drivers.begin(),
                      other.drivers.end(), [](const auto& a, const auto& b) {
                          return a == b;
                      });
}

/// Whether two goals are recorded the same, in the same order.
bool isSame(const goal_t& one, const goal_t& other)
{
    return one.status == other.status && one.prover == other.prover &&
           one.analyser == other.analyser &&
           std::equal(one.mechanisms.begin(), one.mechanisms.end(), other.mechanisms.begin(),
                      other.mechanisms.end(), [](const auto& a, const auto& b) {
                          return a == b;
                      });
}

/// The word of a record, which may be none.
template <typename Record>
QString wordOf(const Record* record)
{
    return record == nullptr ? QString() : pos::strOfProofStatus(record->status);
}

template <typename Record>
const Record* at(const std::vector<Record>& records, const std::optional<std::size_t>& place)
{
    return place ? &records[*place] : nullptr;
}

void compareMechanisms(const mechanism_record_t* before, const mechanism_record_t* after,
                       std::vector<record_change_t>& changes)
{
    using kind_t = record_change_t::kind_t;
    const QString name = (before != nullptr ? before : after)->name;
    const auto note = [&](kind_t kind, const QString& driver, const QString& old,
                          const QString& now) {
        if (old != now) {
            changes.push_back({kind, name, driver, old, now});
        }
    };
    note(kind_t::mechanism, QString(), wordOf(before), wordOf(after));
    static const std::vector<driver_record_t> none;
    const std::vector<driver_record_t>& old = before != nullptr ? before->drivers : none;
    const std::vector<driver_record_t>& now = after != nullptr ? after->drivers : none;
    for (const auto& [one, other] : matched(old, now, &driver_record_t::name)) {
        const driver_record_t* const driver = one ? &old[*one] : &now[*other];
        note(kind_t::driver, driver->name, wordOf(at(old, one)), wordOf(at(now, other)));
    }
}

std::vector<record_change_t> recordsThatChanged(const goal_t& before, const goal_t& after)
{
    using kind_t = record_change_t::kind_t;
    std::vector<record_change_t> changes;
    if (before.prover != after.prover) {
        changes.push_back({kind_t::prover, {}, {}, before.prover, after.prover});
    }
    if (before.analyser != after.analyser) {
        changes.push_back({kind_t::analyser, {}, {}, before.analyser, after.analyser});
    }
    for (const auto& [one, other] :
         matched(before.mechanisms, after.mechanisms, &mechanism_record_t::name)) {
        compareMechanisms(at(before.mechanisms, one), at(after.mechanisms, other), changes);
    }
    return changes;
}

/// Compares the goals that both obligations have.
void compareGoals(const component_t& before, std::size_t old, const component_t& after,
                  std::size_t now, comparison_t& comparison)
{
    const std::vector<goal_t>& goals = before.obligations[old].goals;
    const std::vector<goal_t>& others = after.obligations[now].goals;
    const std::size_t count = std::min(goals.size(), others.size());
    comparison.compared += count;
    for (std::size_t i = 0; i < count; ++i) {
        if (isSame(goals[i], others[i])) {
            continue;
        }
        std::vector<record_change_t> records = recordsThatChanged(goals[i], others[i]);
        // The order of the records says nothing.
        if (goals[i].status != others[i].status || !records.empty()) {
            comparison.goals.push_back({changeOf(goals[i].status, others[i].status),
                                        {old, i},
                                        {now, i},
                                        std::move(records)});
        }
    }
}

} // namespace

bool isWorse(pos::status_t before, pos::status_t after)
{
    return rankOf(after) < rankOf(before);
}

bool comparison_t::isSame() const
{
    return goals.empty() && obligations.empty();
}

std::size_t comparison_t::count(change_t change) const
{
    return static_cast<std::size_t>(
        std::count_if(goals.begin(), goals.end(), [change](const goal_change_t& goal) {
            return goal.change == change;
        }));
}

comparison_t comparisonOf(const component_t& before, const component_t& after)
{
    comparison_t comparison;
    for (const auto& [old, now] :
         matched(before.obligations, after.obligations, &obligation_t::tag)) {
        if (old && now) {
            compareGoals(before, *old, after, *now, comparison);
        }
        if (!old || !now ||
            before.obligations[*old].goals.size() != after.obligations[*now].goals.size()) {
            comparison.obligations.push_back({old, now});
        }
    }
    std::stable_sort(comparison.goals.begin(), comparison.goals.end(),
                     [](const goal_change_t& one, const goal_change_t& other) {
                         return one.change < other.change;
                     });
    return comparison;
}
