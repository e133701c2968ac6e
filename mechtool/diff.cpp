// mechtool diff: what differs between two states of a component.

#include "mechtool/Comparison.h"
#include "mechtool/Json.h"
#include "mechtool/Text.h"
#include "mechtool/Totals.h"
#include "mechtool/commands.h"

#include <QJsonArray>
#include <QJsonObject>

#include <optional>

namespace
{

const QString JSON = QStringLiteral("json");

constexpr change_t CHANGES[] = {change_t::worse, change_t::better, change_t::other};

/// The two views, and what is different.
struct states_t {
    component_t before;
    component_t after;
    comparison_t comparison;
};

QString statusWordAt(const component_t& component, const address_t& address)
{
    return pos::strOfProofStatus(component.obligations[address.first].goals[address.second].status);
}

/// The obligation, in the later state where it is there.
const obligation_t& obligationOf(const states_t& states, const obligation_change_t& change)
{
    return change.after ? states.after.obligations[*change.after]
                        : states.before.obligations[*change.before];
}

std::optional<Counts> countsOf(const component_t& component,
                               const std::optional<std::size_t>& obligation)
{
    if (!obligation) {
        return {};
    }
    Counts counts;
    for (const goal_t& goal : component.obligations[*obligation].goals) {
        counts.add(goal.status);
    }
    return counts;
}

// For a person.

QString titleOf(change_t change)
{
    switch (change) {
    case change_t::worse:
        return QStringLiteral("Worse");
    case change_t::better:
        return QStringLiteral("Better");
    case change_t::other:
        break;
    }
    return QStringLiteral("Worth the same, with other records");
}

QString wordOf(const QString& word)
{
    return word.isNull() ? QStringLiteral("-") : shown(word);
}

/// Whose record it is.
QString nameOf(const record_change_t& record)
{
    switch (record.kind) {
    case record_change_t::kind_t::prover:
        return QStringLiteral("prover");
    case record_change_t::kind_t::analyser:
        return QStringLiteral("analyser");
    case record_change_t::kind_t::mechanism:
        return shown(record.mechanism);
    case record_change_t::kind_t::driver:
        break;
    }
    return shown(record.mechanism) + QLatin1Char('/') + shown(record.driver);
}

QString textOf(const std::vector<record_change_t>& records)
{
    QStringList texts;
    for (const record_change_t& record : records) {
        texts << QStringLiteral("%1: %2 -> %3")
                     .arg(nameOf(record), wordOf(record.before), wordOf(record.after));
    }
    return texts.join(QStringLiteral("; "));
}

void printGoals(const states_t& states, change_t change)
{
    Table table({QStringLiteral("goal"), QStringLiteral("before"), QStringLiteral("after"),
                 QStringLiteral("records")});
    for (const goal_change_t& goal : states.comparison.goals) {
        if (goal.change == change) {
            table.row({goalName(states.after, goal.after), statusWordAt(states.before, goal.before),
                       statusWordAt(states.after, goal.after), textOf(goal.records)});
        }
    }
    print(titleOf(change) + QLatin1Char('\n') + table.text() + QLatin1Char('\n'));
}

/// "3 goals: 2 Proved, 1 Unproved".
QString textOf(const std::optional<Counts>& counts)
{
    if (!counts) {
        return QStringLiteral("-");
    }
    QStringList texts;
    for (const pos::status_t status : STATUSES) {
        if ((*counts)[status] != 0) {
            texts << QStringLiteral("%1 %2").arg(QString::number((*counts)[status]),
                                                 pos::strOfProofStatus(status));
        }
    }
    const QString goals = counted(counts->total(), QStringLiteral("goal"));
    return texts.isEmpty() ? goals
                           : goals + QStringLiteral(": ") + texts.join(QStringLiteral(", "));
}

void printObligations(const states_t& states)
{
    Table table({QStringLiteral("obligation"), QStringLiteral("before"), QStringLiteral("after")});
    for (const obligation_change_t& change : states.comparison.obligations) {
        table.row({shown(obligationOf(states, change).name),
                   textOf(countsOf(states.before, change.before)),
                   textOf(countsOf(states.after, change.after))});
    }
    print(QStringLiteral("Obligations that came, went or have another number of goals\n") +
          table.text() + QLatin1Char('\n'));
}

QString summaryOf(const comparison_t& comparison)
{
    const QString compared =
        counted(comparison.compared, QStringLiteral("goal")) + QStringLiteral(" compared");
    if (comparison.isSame()) {
        return QStringLiteral("no differences: ") + compared;
    }
    return QStringLiteral("%1: %2 worse, %3 better, %4 with other records; %5 not the same")
        .arg(compared, QString::number(comparison.count(change_t::worse)),
             QString::number(comparison.count(change_t::better)),
             QString::number(comparison.count(change_t::other)),
             counted(comparison.obligations.size(), QStringLiteral("obligation")));
}

void printText(const states_t& states)
{
    for (const change_t change : CHANGES) {
        if (states.comparison.count(change) != 0) {
            printGoals(states, change);
        }
    }
    if (!states.comparison.obligations.empty()) {
        printObligations(states);
    }
    print(summaryOf(states.comparison) + QLatin1Char('\n'));
}

// For a program.

QString keyOf(change_t change)
{
    switch (change) {
    case change_t::worse:
        return QStringLiteral("worse");
    case change_t::better:
        return QStringLiteral("better");
    case change_t::other:
        break;
    }
    return QStringLiteral("other");
}

QString keyOf(record_change_t::kind_t kind)
{
    switch (kind) {
    case record_change_t::kind_t::prover:
        return QStringLiteral("prover");
    case record_change_t::kind_t::analyser:
        return QStringLiteral("analyser");
    case record_change_t::kind_t::mechanism:
        return QStringLiteral("mechanism");
    case record_change_t::kind_t::driver:
        break;
    }
    return QStringLiteral("driver");
}

QJsonObject asJson(const record_change_t& record)
{
    QJsonObject object{{QStringLiteral("record"), keyOf(record.kind)},
                       {QStringLiteral("before"), textAsJson(record.before)},
                       {QStringLiteral("after"), textAsJson(record.after)}};
    const bool isDriver = record.kind == record_change_t::kind_t::driver;
    if (isDriver || record.kind == record_change_t::kind_t::mechanism) {
        object.insert(QStringLiteral("mechanism"), record.mechanism);
    }
    if (isDriver) {
        object.insert(QStringLiteral("driver"), record.driver);
    }
    return object;
}

QJsonObject asJson(const states_t& states, const goal_change_t& goal)
{
    QJsonArray records;
    for (const record_change_t& record : goal.records) {
        records.append(asJson(record));
    }
    QJsonObject object = goalAsJson(states.after, goal.after);
    object.insert(QStringLiteral("before"), statusWordAt(states.before, goal.before));
    object.insert(QStringLiteral("after"), statusWordAt(states.after, goal.after));
    object.insert(QStringLiteral("records"), records);
    return object;
}

QJsonObject asJson(const states_t& states, const obligation_change_t& change)
{
    const auto counts = [](const std::optional<Counts>& of) {
        return of ? QJsonValue(countsAsJson(*of, QStringLiteral("goals"))) : QJsonValue();
    };
    const obligation_t& obligation = obligationOf(states, change);
    return {{QStringLiteral("tag"), obligation.tag},
            {QStringLiteral("name"), obligation.name},
            {QStringLiteral("before"), counts(countsOf(states.before, change.before))},
            {QStringLiteral("after"), counts(countsOf(states.after, change.after))}};
}

void printAsJson(const states_t& states)
{
    QJsonObject object{{QStringLiteral("format"), QStringLiteral("mechtool-diff")},
                       {QStringLiteral("version"), 1},
                       {QStringLiteral("old"), states.before.file},
                       {QStringLiteral("new"), states.after.file}};
    QJsonObject summary{{QStringLiteral("compared"), numberAsJson(states.comparison.compared)}};
    for (const change_t change : CHANGES) {
        QJsonArray goals;
        for (const goal_change_t& goal : states.comparison.goals) {
            if (goal.change == change) {
                goals.append(asJson(states, goal));
            }
        }
        object.insert(keyOf(change), goals);
        summary.insert(keyOf(change), goals.size());
    }
    QJsonArray obligations;
    for (const obligation_change_t& change : states.comparison.obligations) {
        obligations.append(asJson(states, change));
    }
    object.insert(QStringLiteral("obligations"), obligations);
    summary.insert(QStringLiteral("obligations"), obligations.size());
    object.insert(QStringLiteral("summary"), summary);
    printJson(object);
}

} // namespace

answer_t runDiff(const QStringList& words)
{
    Options options(QStringLiteral(
        "Shows what differs between two states of a component: first the goals that are worse\n"
        "than in OLD, then those that are better, then those with other records, then the\n"
        "obligations that came, went or have another number of goals. A \"-\" stands for what is\n"
        "not there. The last line sums up.\n\n"
        "Proved is better than UnreliablyProved, this is better than Unproved and Unknown, and\n"
        "Disproved is the worst. Obligations are matched by their tags, the second of a tag with\n"
        "the second, and goals by their numbers.\n\n"
        "Exit status: 0 no differences, 1 differences, 2 no answer."));
    options.parser.addPositionalArgument(QStringLiteral("OLD"), QStringLiteral("a POS file"));
    options.parser.addPositionalArgument(QStringLiteral("NEW"),
                                         QStringLiteral("a later state of it"));
    options.parser.addOption({JSON, QStringLiteral("Print one JSON object instead.")});
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const QStringList files = options.arguments(2, 2);
    states_t states;
    // The views only are kept: the document of one is gone before the other is loaded.
    states.before = readComponent(files.at(0));
    states.after = readComponent(files.at(1));
    states.comparison = comparisonOf(states.before, states.after);
    if (options.has(JSON)) {
        printAsJson(states);
    } else {
        printText(states);
    }
    return states.comparison.isSame() ? answer_t::yes : answer_t::no;
}
