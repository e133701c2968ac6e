#include "mechtool/Totals.h"

#include <numeric>

namespace
{

/// The entry of that name, made when there is none yet.
template <typename Entry>
Entry& entryOf(std::vector<Entry>& entries, QHash<QString, std::size_t>& places,
               const QString& name)
{
    const auto place = places.constFind(name);
    if (place != places.constEnd()) {
        return entries[*place];
    }
    places.insert(name, entries.size());
    entries.emplace_back();
    entries.back().name = name;
    return entries.back();
}

driver_totals_t& driverOf(mechanism_totals_t& mechanism, const QString& name)
{
    return entryOf(mechanism.drivers, mechanism.driverPlaces, name);
}

} // namespace

void Counts::add(const Counts& others)
{
    for (std::size_t i = 0; i < of.size(); ++i) {
        of[i] += others.of[i];
    }
}

std::size_t Counts::total() const
{
    return std::accumulate(of.begin(), of.end(), std::size_t(0));
}

mechanism_totals_t& Totals::mechanism(const QString& name)
{
    return entryOf(mechanisms, places, name);
}

sole_proofs_t soleProofsOf(const goal_t& goal)
{
    sole_proofs_t sole;
    std::size_t mechanismProofs = 0;
    std::size_t driverProofs = 0;
    for (const mechanism_record_t& record : goal.mechanisms) {
        if (record.status == pos::PROVED) {
            ++mechanismProofs;
            sole.mechanism = &record;
        }
        for (const driver_record_t& driver : record.drivers) {
            if (driver.status == pos::PROVED) {
                ++driverProofs;
                sole.mechanismOfDriver = &record;
                sole.driver = &driver;
            }
        }
    }
    if (mechanismProofs != 1 || goal.byProver) {
        sole.mechanism = nullptr;
    }
    if (driverProofs != 1 || goal.byProver) {
        sole.mechanismOfDriver = nullptr;
        sole.driver = nullptr;
    }
    return sole;
}

void Totals::add(const goal_t& goal)
{
    goals.add(goal.status);
    provedByProver += goal.byProver ? 1 : 0;
    bool isProved = false;
    for (const mechanism_record_t& record : goal.mechanisms) {
        mechanism_totals_t& found = mechanism(record.name);
        found.records.add(record.status);
        isProved = isProved || record.status == pos::PROVED;
        for (const driver_record_t& driver : record.drivers) {
            driverOf(found, driver.name).records.add(driver.status);
        }
    }
    provedExternally += isProved ? 1 : 0;
    const sole_proofs_t sole = soleProofsOf(goal);
    if (sole.mechanism != nullptr) {
        ++mechanism(sole.mechanism->name).only;
    }
    if (sole.driver != nullptr) {
        ++driverOf(mechanism(sole.mechanismOfDriver->name), sole.driver->name).only;
    }
}

void Totals::add(const Totals& others)
{
    goals.add(others.goals);
    provedExternally += others.provedExternally;
    provedByProver += others.provedByProver;
    for (const mechanism_totals_t& other : others.mechanisms) {
        mechanism_totals_t& found = mechanism(other.name);
        found.records.add(other.records);
        found.only += other.only;
        for (const driver_totals_t& driver : other.drivers) {
            driver_totals_t& same = driverOf(found, driver.name);
            same.records.add(driver.records);
            same.only += driver.only;
        }
    }
}
