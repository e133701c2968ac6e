// mechtool show: what POS files record, for a person, a spreadsheet or a program.

#include "mechtool/show.h"

#include "mechtool/Selection.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"

#include <vector>

namespace
{

const QString GOALS = QStringLiteral("goals");
const QString JSON = QStringLiteral("json");
const QString CSV = QStringLiteral("csv");

std::vector<address_t> selectedGoals(const component_t& component, const selection_t& selection)
{
    std::vector<address_t> selected;
    for (std::size_t i = 0; i < component.obligations.size(); ++i) {
        if (!selection.takesObligation(component.obligations[i].name)) {
            continue;
        }
        for (std::size_t j = 0; j < component.obligations[i].goals.size(); ++j) {
            if (selection.takes(component.obligations[i].goals[j].status)) {
                selected.emplace_back(i, j);
            }
        }
    }
    return selected;
}

/// Reads all of the files before anything is printed.
std::vector<show::shown_t> readAll(const QStringList& files, const selection_t& selection)
{
    std::vector<show::shown_t> all;
    QStringList names;
    std::size_t taken = 0;
    for (const QString& file : files) {
        show::shown_t one;
        one.everything = selection.takesEverything();
        one.component = readComponent(file);
        one.goals = selectedGoals(one.component, selection);
        for (const address_t& address : one.goals) {
            one.totals.add(show::goalAt(one.component, address));
        }
        for (const obligation_t& obligation : one.component.obligations) {
            names << obligation.name;
        }
        taken += one.goals.size();
        all.push_back(std::move(one));
    }
    requireSelected(selection, names, taken);
    return all;
}

void addOptions(Options& options)
{
    options.parser.addPositionalArgument(QStringLiteral("POS"), QStringLiteral("the POS files"),
                                         QStringLiteral("POS..."));
    options.parser.addOption(
        {GOALS, QStringLiteral("List the goals as well, with all that is recorded on each.")});
    addSelection(options);
    options.parser.addOption({JSON, QStringLiteral("Print one JSON object instead.")});
    options.parser.addOption({CSV, QStringLiteral("Print the goals as CSV instead.")});
}

} // namespace

namespace show
{

Totals totalsOf(const std::vector<shown_t>& all)
{
    Totals totals;
    for (const shown_t& one : all) {
        totals.add(one.totals);
    }
    return totals;
}

std::map<std::size_t, Counts> countsByObligation(const shown_t& one)
{
    std::map<std::size_t, Counts> counts;
    for (std::size_t i = 0; one.everything && i < one.component.obligations.size(); ++i) {
        counts.emplace_hint(counts.end(), i, Counts());
    }
    for (const address_t& address : one.goals) {
        counts[address.first].add(goalAt(one.component, address).status);
    }
    return counts;
}

} // namespace show

answer_t runShow(const QStringList& words)
{
    Options options(QStringLiteral(
        "Shows what POS files record: the totals of each component and of all, a table by\n"
        "obligation, and a table by mechanism and driver. A dot stands for none.\n\n"
        "\"by mechanisms\" and \"by prover\" count the goals that at least one mechanism proved,\n"
        "and those that the workbench's own prover proved. \"only\" counts the goals that nothing\n"
        "else proved: no other mechanism, or no other driver of any, and not this prover.\n\n"
        "Goals are written OBLIGATION.N, with N from 1 on. With --status or --obligation all\n"
        "counts are of the selected goals. --csv prints a line for each goal, with a column for\n"
        "each mechanism (NAME) and driver (NAME/DRIVER). Names stand there as they are, also\n"
        "such that begin with = + - or @: have the spreadsheet take the columns as text."));
    addOptions(options);
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const QStringList files = options.arguments(1, ANY_NUMBER);
    if (options.has(JSON) && options.has(CSV)) {
        throw CannotAnswer(QStringLiteral("--json and --csv do not go together: choose one"));
    }
    const selection_t selection = selectionOf(options);
    const std::vector<show::shown_t> all = readAll(files, selection);
    if (options.has(CSV)) {
        show::printCsv(all);
    } else if (options.has(JSON)) {
        show::printAsJson(all, options.has(GOALS));
    } else {
        show::printText(all, options.has(GOALS));
    }
    return answer_t::yes;
}
