// The answer of "show" as one object.

#include "mechtool/Json.h"
#include "mechtool/show.h"

#include <QJsonArray>
#include <QJsonObject>

namespace show
{

namespace
{

const QString GOALS = QStringLiteral("goals");

/// What a mechanism or a driver found.
template <typename Found>
QJsonObject asJson(const Found& found)
{
    QJsonObject object = countsAsJson(found.records, QStringLiteral("records"));
    object.insert(QStringLiteral("name"), found.name);
    object.insert(QStringLiteral("provedOnlyHere"), numberAsJson(found.only));
    return object;
}

/// Puts the totals and the mechanisms of some goals into an object.
void addTotals(QJsonObject& object, const Totals& totals)
{
    QJsonObject sums = countsAsJson(totals.goals, GOALS);
    sums.insert(QStringLiteral("provedByMechanisms"), numberAsJson(totals.provedExternally));
    sums.insert(QStringLiteral("provedByProver"), numberAsJson(totals.provedByProver));
    object.insert(QStringLiteral("totals"), sums);
    QJsonArray mechanisms;
    for (const mechanism_totals_t& mechanism : totals.mechanisms) {
        QJsonArray drivers;
        for (const driver_totals_t& driver : mechanism.drivers) {
            drivers.append(asJson(driver));
        }
        QJsonObject one = asJson(mechanism);
        one.insert(QStringLiteral("drivers"), drivers);
        mechanisms.append(one);
    }
    object.insert(QStringLiteral("mechanisms"), mechanisms);
}

QJsonObject asJson(const QString& name, pos::status_t status)
{
    return {{QStringLiteral("name"), name},
            {QStringLiteral("status"), pos::strOfProofStatus(status)}};
}

/// A goal with all that is recorded on it.
QJsonObject asJson(const component_t& component, const address_t& address)
{
    const goal_t& goal = goalAt(component, address);
    QJsonArray mechanisms;
    for (const mechanism_record_t& mechanism : goal.mechanisms) {
        QJsonArray drivers;
        for (const driver_record_t& driver : mechanism.drivers) {
            drivers.append(asJson(driver.name, driver.status));
        }
        QJsonObject record = asJson(mechanism.name, mechanism.status);
        record.insert(QStringLiteral("drivers"), drivers);
        mechanisms.append(record);
    }
    QJsonObject object = goalAsJson(component, address);
    object.insert(QStringLiteral("status"), pos::strOfProofStatus(goal.status));
    object.insert(QStringLiteral("prover"), textAsJson(goal.prover));
    object.insert(QStringLiteral("analyser"), textAsJson(goal.analyser));
    object.insert(QStringLiteral("mechanisms"), mechanisms);
    return object;
}

QJsonObject asJson(const shown_t& one, bool withGoals)
{
    QJsonArray obligations;
    for (const auto& [obligation, counts] : countsByObligation(one)) {
        QJsonObject object = countsAsJson(counts, GOALS);
        object.insert(QStringLiteral("tag"), one.component.obligations[obligation].tag);
        object.insert(QStringLiteral("name"), one.component.obligations[obligation].name);
        obligations.append(object);
    }
    QJsonObject object{{QStringLiteral("component"), one.component.name},
                       {QStringLiteral("file"), one.component.file},
                       {QStringLiteral("obligations"), obligations}};
    addTotals(object, one.totals);
    QJsonArray goals;
    for (std::size_t i = 0; withGoals && i < one.goals.size(); ++i) {
        goals.append(asJson(one.component, one.goals[i]));
    }
    if (withGoals) {
        object.insert(GOALS, goals);
    }
    return object;
}

} // namespace

void printAsJson(const std::vector<shown_t>& all, bool withGoals)
{
    QJsonArray components;
    for (const shown_t& one : all) {
        components.append(asJson(one, withGoals));
    }
    QJsonObject object{{QStringLiteral("format"), QStringLiteral("mechtool-show")},
                       {QStringLiteral("version"), 1},
                       {QStringLiteral("components"), components}};
    addTotals(object, totalsOf(all));
    printJson(object);
}

} // namespace show
