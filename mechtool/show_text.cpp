// The tables of "show".

#include "mechtool/GoalText.h"
#include "mechtool/Text.h"
#include "mechtool/show.h"

namespace show
{

namespace
{

QString cellOf(std::size_t number)
{
    return number == 0 ? QStringLiteral(".") : QString::number(number);
}

QStringList cellsOf(const Counts& counts)
{
    QStringList cells{cellOf(counts.total())};
    for (const pos::status_t status : STATUSES) {
        cells << cellOf(counts[status]);
    }
    return cells;
}

QStringList headings(const QString& first, const QString& total)
{
    QStringList cells{first, QLatin1Char('>') + total};
    for (const pos::status_t status : STATUSES) {
        cells << QLatin1Char('>') + pos::strOfProofStatus(status);
    }
    return cells;
}

void printTable(const QString& title, const Table& table)
{
    print(QLatin1Char('\n') + title + QLatin1Char('\n') + table.text());
}

void printComponents(const std::vector<shown_t>& all, const Totals& totals)
{
    const auto cells = [](const Totals& of) {
        return cellsOf(of.goals) << cellOf(of.provedExternally) << cellOf(of.provedByProver);
    };
    Table table(headings(QStringLiteral("component"), QStringLiteral("goals"))
                << QStringLiteral(">by mechanisms") << QStringLiteral(">by prover"));
    for (const shown_t& one : all) {
        table.row(QStringList(shown(one.component.file)) << cells(one.totals));
    }
    if (all.size() > 1) {
        table.row(QStringList(QStringLiteral("all")) << cells(totals));
    }
    print(table.text(0));
}

/// " of FILE" where there are several.
QString ofFile(const std::vector<shown_t>& all, const shown_t& one)
{
    return all.size() == 1 ? QString() : QStringLiteral(" of ") + shown(one.component.file);
}

void printObligations(const QString& title, const shown_t& one)
{
    Table table(headings(QStringLiteral("obligation"), QStringLiteral("goals")));
    const std::map<std::size_t, Counts> counts = countsByObligation(one);
    for (const auto& [obligation, found] : counts) {
        table.row(QStringList(shown(one.component.obligations[obligation].name)) << cellsOf(found));
    }
    if (!counts.empty()) {
        printTable(title, table);
    }
}

void printMechanisms(const Totals& totals)
{
    if (totals.mechanisms.empty()) {
        print(QStringLiteral("\nNo mechanism is recorded.\n"));
        return;
    }
    Table table(headings(QStringLiteral("mechanism, driver"), QStringLiteral("records"))
                << QStringLiteral(">only"));
    for (const mechanism_totals_t& mechanism : totals.mechanisms) {
        table.row(QStringList(shown(mechanism.name))
                  << cellsOf(mechanism.records) << cellOf(mechanism.only));
        for (const driver_totals_t& driver : mechanism.drivers) {
            table.row(QStringList(QStringLiteral("  ") + shown(driver.name))
                      << cellsOf(driver.records) << cellOf(driver.only));
        }
    }
    printTable(QStringLiteral("Mechanisms and drivers"), table);
}

void printGoals(const QString& title, const shown_t& one)
{
    Table table({QStringLiteral("goal"), QStringLiteral("status"), QStringLiteral("records")});
    for (const address_t& address : one.goals) {
        const goal_t& goal = goalAt(one.component, address);
        table.row({goalName(one.component, address), pos::strOfProofStatus(goal.status),
                   recordsOf(goal)});
    }
    if (!one.goals.empty()) {
        printTable(title, table);
    }
}

} // namespace

void printText(const std::vector<shown_t>& all, bool withGoals)
{
    const Totals totals = totalsOf(all);
    if (!all.front().everything) {
        std::size_t goals = 0;
        for (const shown_t& one : all) {
            goals += goalsOf(one.component);
        }
        print(QStringLiteral("Only the %1 selected, of %2.\n\n")
                  .arg(counted(totals.goals.total(), QStringLiteral("goal")),
                       QString::number(goals)));
    }
    printComponents(all, totals);
    for (const shown_t& one : all) {
        printObligations(QStringLiteral("Obligations") + ofFile(all, one), one);
    }
    printMechanisms(totals);
    for (const shown_t& one : all) {
        if (withGoals) {
            printGoals(QStringLiteral("Goals") + ofFile(all, one), one);
        }
    }
}

} // namespace show
