// mechtool check: is a POS file in order, and is what it records enough?

#include "mechtool/Component.h"
#include "mechtool/Gate.h"
#include "mechtool/GoalWords.h"
#include "mechtool/MechanismDrivers.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QHash>

#include <optional>
#include <stdexcept>
#include <utility>

namespace
{

const QString BASELINE = QStringLiteral("baseline");

/// The findings in one file, which are printed as they come.
class Findings
{
public:
    explicit Findings(const QString& checked) : file(shown(checked)) {}

    void add(const QString& text)
    {
        print(file + QStringLiteral(": ") + text + QLatin1Char('\n'));
        ++count;
    }
    void addAll(const QStringList& texts, const QString& before = {})
    {
        for (const QString& text : texts) {
            add(before + text);
        }
    }
    /// The last line of a file; whether there was no finding.
    bool conclude(std::size_t goals) const
    {
        const QString what =
            count == 0 ? QStringLiteral("in order") : counted(count, QStringLiteral("finding"));
        print(
            QStringLiteral("%1: %2, %3\n").arg(file, what, counted(goals, QStringLiteral("goal"))));
        return count == 0;
    }

private:
    QString file;
    std::size_t count = 0;
};

/// Where the status of a goal differs from what its records give. A goal whose words are not all
/// known has no such status.
QStringList faultsOfStatus(const QDomElement& goal)
{
    try {
        const pos::status_t found = pos::statusOf(goal);
        const pos::status_t expected = pos::expectedStatus(goal);
        if (expected == found) {
            return {};
        }
        const bool byAnalyser = pos::expectedStatusWithoutAnalyser(goal) == found;
        return {QStringLiteral("found %1, expected %2%3")
                    .arg(pos::strOfProofStatus(found), pos::strOfProofStatus(expected),
                         byAnalyser ? QStringLiteral(" by the word of the analyser") : QString())};
    } catch (const std::out_of_range&) {
        return {};
    }
}

/// Checks one document, goal by goal and then by the mechanisms that are recorded in it.
class DocumentCheck
{
public:
    DocumentCheck(MechanismDrivers& files, Findings& findings) : mechanisms(files), found(findings)
    {
    }

    /// The number of its goals.
    std::size_t run(const QDomDocument& document)
    {
        const QStringList names = obligationNames(document);
        int number = 0;
        std::size_t goals = 0;
        for (const QDomElement& obligation : pos::obligationsOf(document)) {
            if (pos::tagOf(obligation).isEmpty()) {
                found.add(QStringLiteral("obligation %1: there is no tag").arg(number + 1));
            }
            goals += checkGoals(obligation, names.at(number++));
        }
        checkMechanisms(goals);
        return goals;
    }

private:
    std::size_t checkGoals(const QDomElement& obligation, const QString& name)
    {
        std::size_t number = 0;
        for (const QDomElement& goal : pos::goalsOf(obligation)) {
            const QStringList texts = faultsOfGoal(goal);
            if (!texts.isEmpty()) {
                found.addAll(texts, QStringLiteral("goal %1: ").arg(goalName(name, number)));
            }
            ++number;
        }
        return number;
    }

    QStringList faultsOfGoal(const QDomElement& goal)
    {
        QStringList texts = faultsOfWords(goal) + faultsOfStatus(goal);
        for (const QDomElement& record : pos::mechanismsOf(goal)) {
            const QString name = pos::nameOf(record);
            if (++records[name] == 1) {
                recorded << name;
            }
            const std::optional<QStringList>& drivers = mechanisms.driversOf(name);
            if (drivers) {
                texts << faultsOfDrivers(record, *drivers);
            }
        }
        return texts;
    }

    void checkMechanisms(std::size_t goals)
    {
        for (const QString& name : std::as_const(recorded)) {
            const QString place = QStringLiteral("mechanism \"%1\": ").arg(shown(name));
            const QString why = mechanisms.whyWithout(name);
            if (!why.isNull()) {
                found.add(place + why);
            } else if (name.contains(QLatin1Char('/'))) {
                found.add(place + QStringLiteral("with a \"/\" in its name it cannot be replayed "
                                                 "from a folder of mechanisms"));
            }
            if (mechanisms.driversOf(name) && records[name] < goals) {
                found.add(place + tooFew(records[name], goals));
            }
        }
        if (!mechanisms.single().isNull() && records[mechanisms.single()] == 0 && goals > 0) {
            found.add(QStringLiteral("mechanism \"%1\": ").arg(shown(mechanisms.single())) +
                      tooFew(0, goals));
        }
    }

    static QString tooFew(std::size_t recorded, std::size_t goals)
    {
        return QStringLiteral("it is recorded on %1 of %2, and a replay of it needs all")
            .arg(QString::number(recorded), counted(goals, QStringLiteral("goal")));
    }

    MechanismDrivers& mechanisms;
    Findings& found;
    QHash<QString, std::size_t> records; ///< of each mechanism
    QStringList recorded;                ///< the mechanisms, in the order of appearance
};

/// What a file must have reached besides being in order.
struct gate_t {
    std::optional<level_t> level;
    QString baseline; ///< a POS file that it must not be worse than; empty when there is none

    bool isOpen() const
    {
        return !level && baseline.isEmpty();
    }
};

void tryGate(const component_t& component, const gate_t& gate, Findings& findings)
{
    if (gate.level) {
        findings.addAll(goalsBelow(component, *gate.level), QStringLiteral("goal "));
    }
    if (!gate.baseline.isEmpty()) {
        findings.addAll(lossesSince(readComponent(gate.baseline), component));
    }
}

/// The view of a document for the gate; nothing when its words do not allow that.
std::optional<component_t> viewForGate(const QDomDocument& document, const QString& file,
                                       Findings& findings)
{
    try {
        return viewOf(document, file);
    } catch (const CannotAnswer&) {
        findings.add(QStringLiteral("what is required of its goals was not tried: unknown words "
                                    "are in the way"));
        return {};
    }
}

/// Checks one file; whether nothing was found.
bool checkFile(const QString& file, MechanismDrivers& mechanisms, const gate_t& gate)
{
    Findings findings(file);
    std::size_t goals = 0;
    std::optional<component_t> view;
    try {
        // Gone before another document is read.
        const QDomDocument document = loadDocument(file);
        goals = DocumentCheck(mechanisms, findings).run(document);
        if (!gate.isOpen()) {
            view = viewForGate(document, file, findings);
        }
    } catch (const NoPosFile& error) {
        findings.add(error.reason);
    }
    if (view) {
        tryGate(*view, gate, findings);
    }
    return findings.conclude(goals);
}

} // namespace

answer_t runCheck(const QStringList& words)
{
    Options options(QStringLiteral(
        "Says what is wrong in POS files: unknown words, attributes that are missing, records\n"
        "that are there twice, goals whose status differs from what their records give; with\n"
        "-m or -M, where the records and the mechanism files do not agree. --require and\n"
        "--baseline also ask what the goals have reached. A line for each finding.\n"
        "Exit status: 0 in order, 1 findings, 2 a file cannot be read."));
    addMechanismOptions(options);
    addRequire(options);
    options.parser.addOption(
        {BASELINE, QStringLiteral("No goal may be worse than in this POS file, or be gone since."),
         QStringLiteral("OLD")});
    options.parser.addPositionalArgument(QStringLiteral("POS..."),
                                         QStringLiteral("the files to check"));
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const bool hasBaseline = options.has(BASELINE);
    const QStringList files = options.arguments(1, hasBaseline ? 1 : ANY_NUMBER);
    const gate_t gate{requiredLevel(options), hasBaseline ? options.required(BASELINE) : QString()};
    MechanismDrivers mechanisms(options);
    bool inOrder = true;
    for (const QString& file : files) {
        inOrder = checkFile(file, mechanisms, gate) && inOrder;
    }
    return inOrder ? answer_t::yes : answer_t::no;
}
