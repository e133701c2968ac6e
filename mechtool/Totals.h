#pragma once

// What stands how often in a component: its goals by status, and the records on them by mechanism
// and driver.

#include "mechtool/Component.h"
#include "pos/pos.h"

#include <QHash>
#include <QString>

#include <array>
#include <cstddef>
#include <vector>

/// How often each status stands.
class Counts
{
public:
    void add(pos::status_t status, std::size_t times = 1)
    {
        of[static_cast<std::size_t>(status)] += times;
    }
    void add(const Counts& others);
    std::size_t operator[](pos::status_t status) const
    {
        return of[static_cast<std::size_t>(status)];
    }
    std::size_t total() const;

private:
    std::array<std::size_t, 5> of = {};
};

/// What one driver found: its records by status.
struct driver_totals_t {
    QString name;
    Counts records;
    std::size_t only = 0; ///< goals that neither another driver nor the workbench's prover proved
};

/// What one mechanism found.
struct mechanism_totals_t {
    QString name;
    Counts records;
    std::size_t only =
        0; ///< goals that neither another mechanism nor the workbench's prover proved
    std::vector<driver_totals_t> drivers; ///< in the order in which they first stand
    QHash<QString, std::size_t> driverPlaces;
};

/// Who alone has proved a goal: nothing else did, and not the workbench's own prover. Null where
/// there is no such mechanism or driver.
struct sole_proofs_t {
    const mechanism_record_t* mechanism = nullptr;
    const mechanism_record_t* mechanismOfDriver = nullptr;
    const driver_record_t* driver = nullptr;
};

sole_proofs_t soleProofsOf(const goal_t& goal);

/// The totals of some goals.
class Totals
{
public:
    void add(const goal_t& goal);
    void add(const Totals& others);

    Counts goals;
    std::size_t provedExternally = 0;           ///< proved by at least one mechanism
    std::size_t provedByProver = 0;             ///< proved by the workbench's own prover
    std::vector<mechanism_totals_t> mechanisms; ///< in the order in which they first stand

private:
    mechanism_totals_t& mechanism(const QString& name);

    QHash<QString, std::size_t> places;
};
