// The totals of a component: one walk over the goals, each of which counts once by its own status,
// and its records once more under their mechanism and driver.

#include "pos/goal_status.h"
#include "pos/pos.h"
#include "pos/pos_p.h"
#include "pos/walk.h"

namespace pos
{

namespace
{

/// The record of `name` in `records`, made when there is none yet.
template <typename Record>
Record& recordOf(std::map<std::string, std::unique_ptr<Record>>& records, const QString& name)
{
    std::unique_ptr<Record>& record = records[name.toStdString()];
    if (!record) {
        record = std::make_unique<Record>();
    }
    return *record;
}

void countGoalStatus(status_t status, metrics_t& metrics)
{
    ++metrics.total;
    switch (status) {
    case UNPROVED:
        ++metrics.unproved;
        break;
    case UNKNOWN:
        break; // in the total only
    case UNRELIABLY_PROVED:
        ++metrics.unreliablyProved;
        break;
    case PROVED:
        ++metrics.proved;
        break;
    case DISPROVED:
        ++metrics.disproved;
        break;
    }
}

void countMechanismStatus(status_t status, mechanism_metrics_t& metrics)
{
    switch (status) {
    case UNPROVED:
        ++metrics.unproved;
        break;
    case UNKNOWN:
        ++metrics.unknown;
        break;
    case UNRELIABLY_PROVED:
        ++metrics.unreliablyProved;
        break;
    case PROVED:
        ++metrics.proved;
        break;
    case DISPROVED:
        ++metrics.disproved;
        break;
    }
}

void countDriverStatus(status_t status, driver_metrics_t& metrics)
{
    switch (status) {
    case UNPROVED:
        ++metrics.unproved;
        break;
    case UNKNOWN:
        ++metrics.unknown;
        break;
    case UNRELIABLY_PROVED:
        break; // no driver reaches it; such a word counts nowhere
    case PROVED:
        ++metrics.proved;
        break;
    case DISPROVED:
        ++metrics.disproved;
        break;
    }
}

bool isProvedExternally(const QDomElement& goal)
{
    for (const QDomElement& mechanism : mechanismsOf(goal)) {
        if (statusOf(mechanism) == PROVED) {
            return true;
        }
    }
    return false;
}

void countMechanisms(const QDomElement& goal, metrics_t& metrics)
{
    for (const QDomElement& mechanism : mechanismsOf(goal)) {
        mechanism_metrics_t& record = recordOf(metrics.mechanisms, nameOf(mechanism));
        countMechanismStatus(statusOf(mechanism), record);
        for (const QDomElement& driver : driversOf(mechanism)) {
            countDriverStatus(statusOf(driver), recordOf(record.drivers, nameOf(driver)));
        }
    }
}

} // namespace

bool getMetrics(const std::string& posPath, metrics_t& metrics)
{
    const QDomDocument doc = domOfPath(posPath);
    if (doc.isNull()) {
        return false;
    }
    const std::uint32_t provedByProver = metrics.provedByProver;
    metrics = metrics_t();
    metrics.provedByProver = provedByProver; // deliberately carried on, see the header
    return everyGoal(doc, [&metrics](const QDomElement& goal) {
        countGoalStatus(statusOf(goal), metrics);
        if (isProvedByProver(goal)) {
            ++metrics.provedByProver;
        }
        if (isProvedExternally(goal)) {
            ++metrics.provedExternally;
        }
        countMechanisms(goal, metrics);
        return true;
    });
}

} // namespace pos
