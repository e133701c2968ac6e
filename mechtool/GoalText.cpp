#include "mechtool/GoalText.h"

#include "mechtool/Text.h"

#include <QStringList>

namespace
{

QString textOf(const mechanism_record_t& mechanism)
{
    QStringList drivers;
    for (const driver_record_t& driver : mechanism.drivers) {
        drivers << shown(driver.name) + QLatin1Char(' ') + pos::strOfProofStatus(driver.status);
    }
    const QString text =
        shown(mechanism.name) + QLatin1Char(' ') + pos::strOfProofStatus(mechanism.status);
    return drivers.isEmpty()
               ? text
               : QStringLiteral("%1 (%2)").arg(text, drivers.join(QStringLiteral(", ")));
}

} // namespace

QString recordsOf(const goal_t& goal)
{
    QStringList records;
    if (!goal.prover.isNull()) {
        records << QStringLiteral("prover ") + shown(goal.prover);
    }
    if (!goal.analyser.isNull()) {
        records << QStringLiteral("analyser ") + shown(goal.analyser);
    }
    for (const mechanism_record_t& mechanism : goal.mechanisms) {
        records << textOf(mechanism);
    }
    return records.join(QStringLiteral("; "));
}
