// mechtool replay: confirms that what the POS file says still holds.

#include "mechtool/Comparison.h"
#include "mechtool/Confirmation.h"
#include "mechtool/GoalWords.h"
#include "mechtool/Interruption.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/PlayOptions.h"
#include "mechtool/PosLock.h"
#include "mechtool/SavedDocument.h"
#include "mechtool/TemporaryFolder.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace
{

const QString UPDATE = QStringLiteral("update");
const QString ONLY_PROVED = QStringLiteral("only-proved");
const QString STRICT = QStringLiteral("strict");
const QString CHANGED =
    QStringLiteral(": it has changed since it was read: run the same command again");
const QString NOT_CONFIRMED = QStringLiteral("not confirmed");

/// How bad a difference is, the worst first.
enum class kind_t : int { contradiction, lostProof, lostRecord, gain };

struct difference_t {
    kind_t kind = kind_t::gain;
    QStringList cells; ///< goal, mechanism, driver, before, after, why
};

/// What a replay has found.
struct findings_t {
    std::vector<difference_t> differences;
    std::size_t verdicts = 0;
    std::size_t confirmed = 0;
    bool changed = false;   ///< the document is another one than before
    std::size_t worse = 0;  ///< goals
    std::size_t better = 0; ///< goals
};

bool isVerdict(pos::status_t status)
{
    return status == pos::PROVED || status == pos::DISPROVED;
}

/// Whether a verdict that stood before is gone: a proof, were it unreliable, or a refutation. What
/// was open cannot become worse: a verdict on it is one that a driver had reached before.
bool standsWorse(pos::status_t before, pos::status_t after)
{
    return isWorse(before, after) ? before == pos::PROVED || before == pos::UNRELIABLY_PROVED
                                  : before == pos::DISPROVED && after != pos::DISPROVED;
}

/// Whether there is a verdict that did not stand before, or a better one.
bool standsBetter(pos::status_t before, pos::status_t after)
{
    return !standsWorse(before, after) && (isWorse(before, after) || isWorse(after, before));
}

/// Writes what was confirmed of one mechanism into its record on a goal. A verdict that was not
/// confirmed stays with its driver, to be asked for again; the mechanism's status lacks it.
/// Returns whether anything is another one now.
bool merge(QDomElement& goal, const QString& mechanism, const confirmed_goal_t& confirmed)
{
    QDomElement record = pos::mechanismOf(goal, mechanism);
    bool changed = confirmed.after != confirmed.before;
    if (changed) {
        record.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(confirmed.after));
    }
    for (const confirmed_driver_t& verdict : confirmed.drivers) {
        if (!verdict.after.isNull() && verdict.after != pos::strOfProofStatus(verdict.before)) {
            pos::driverOf(record, verdict.driver).setAttribute(pos::ATTR_STATUS, verdict.after);
            changed = true;
        }
    }
    return changed;
}

/// The differences of one mechanism on one goal.
void compareRecords(const QString& name, const confirmation_t& confirmation,
                    const confirmed_goal_t& goal, bool worse, findings_t& findings)
{
    const std::size_t known = findings.differences.size();
    for (const confirmed_driver_t& verdict : goal.drivers) {
        const QString before = pos::strOfProofStatus(verdict.before);
        ++findings.verdicts;
        if (verdict.after == before) {
            ++findings.confirmed;
            continue;
        }
        const bool answered = !verdict.after.isNull();
        const bool opposite = answered && isVerdict(pos::proofStatusOfAttrValue(verdict.after));
        const kind_t kind = opposite ? kind_t::contradiction
                            : worse  ? kind_t::lostProof
                                     : kind_t::lostRecord;
        findings.differences.push_back(
            {kind,
             {name, shown(confirmation.mechanism), shown(verdict.driver), before,
              answered ? verdict.after : NOT_CONFIRMED, verdict.reason}});
    }
    if (findings.differences.size() == known && standsWorse(goal.before, goal.after)) {
        findings.differences.push_back(
            {worse ? kind_t::lostProof : kind_t::lostRecord,
             {name, shown(confirmation.mechanism), QStringLiteral("-"),
              pos::strOfProofStatus(goal.before), pos::strOfProofStatus(goal.after),
              QStringLiteral("no driver's verdict gives this status")}});
    }
}

bool isContradicted(const confirmed_goal_t& goal)
{
    return std::any_of(goal.drivers.begin(), goal.drivers.end(),
                       [](const confirmed_driver_t& verdict) {
                           return !verdict.after.isNull() &&
                                  verdict.after != pos::strOfProofStatus(verdict.before) &&
                                  isVerdict(pos::proofStatusOfAttrValue(verdict.after));
                       });
}

/// The first mechanism that stands better on a goal; "-" when none does.
QString winnerOf(const address_t& address, const std::vector<confirmation_t>& confirmations)
{
    for (const confirmation_t& confirmation : confirmations) {
        const auto found = confirmation.goals.find(address);
        if (found != confirmation.goals.end() &&
            standsBetter(found->second.before, found->second.after)) {
            return confirmation.mechanism;
        }
    }
    return QStringLiteral("-");
}

/// Merges what was confirmed on one goal into `element`, and takes down what differs.
void compareGoal(const component_t& component, const address_t& address, QDomElement& element,
                 const std::vector<confirmation_t>& confirmations, findings_t& findings)
{
    const pos::status_t before = component.obligations[address.first].goals[address.second].status;
    // A goal that was played against the analyser's word is judged without it, as `unprove` does.
    const bool heedsAnalyser = pos::expectedStatus(element) == before ||
                               pos::expectedStatusWithoutAnalyser(element) != before;
    bool contradicted = false;
    for (const confirmation_t& confirmation : confirmations) {
        const auto found = confirmation.goals.find(address);
        if (found != confirmation.goals.end()) {
            findings.changed =
                merge(element, confirmation.mechanism, found->second) || findings.changed;
            contradicted = contradicted || isContradicted(found->second);
        }
    }
    const QString name = goalName(component, address);
    const pos::status_t after =
        heedsAnalyser ? pos::expectedStatus(element) : pos::expectedStatusWithoutAnalyser(element);
    const bool worse = standsWorse(before, after);
    const bool better = standsBetter(before, after);
    const std::size_t known = findings.differences.size();
    for (const confirmation_t& confirmation : confirmations) {
        const auto found = confirmation.goals.find(address);
        if (found != confirmation.goals.end()) {
            compareRecords(name, confirmation, found->second, worse, findings);
        }
    }
    if ((better || worse) && findings.differences.size() == known) {
        findings.differences.push_back(
            {worse ? kind_t::lostProof : kind_t::gain,
             {name, better ? shown(winnerOf(address, confirmations)) : QStringLiteral("-"),
              QStringLiteral("-"), pos::strOfProofStatus(before), pos::strOfProofStatus(after),
              worse ? QStringLiteral("no record gives this status") : QString()}});
    }
    if (worse || better) {
        element.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(after));
        findings.changed = true;
    }
    findings.worse += worse || contradicted ? 1 : 0;
    findings.better += better && !contradicted ? 1 : 0;
}

/// Merges what was confirmed into `document`, which is that of `component`.
findings_t compare(const component_t& component, QDomDocument& document,
                   const std::vector<confirmation_t>& confirmations)
{
    findings_t findings;
    std::size_t i = 0;
    for (const QDomElement& obligation : pos::obligationsOf(document)) {
        std::size_t j = 0;
        for (QDomElement& goal : pos::goalsOf(obligation)) {
            try {
                compareGoal(component, {i, j}, goal, confirmations, findings);
            } catch (const std::out_of_range&) {
                throw CannotAnswer(QStringLiteral("%1: goal %2: a record has an unknown or missing "
                                                  "status: \"mechtool check\" names it")
                                       .arg(shown(component.file), goalName(component, {i, j})));
            }
            ++j;
        }
        ++i;
    }
    return findings;
}

void printFindings(const findings_t& findings)
{
    const struct {
        kind_t kind;
        const char* heading;
    } sections[] = {
        {kind_t::contradiction, "Contradictions: a verdict has turned into its opposite"},
        {kind_t::lostProof, "Lost: the goal stands worse than before"},
        {kind_t::lostRecord, "Lost records: the goal still stands as before"},
        {kind_t::gain, "Gained: the goal stands better than before"},
    };
    for (const auto& section : sections) {
        Table table({QStringLiteral("goal"), QStringLiteral("mechanism"), QStringLiteral("driver"),
                     QStringLiteral("before"), QStringLiteral("after"), QStringLiteral("why")});
        bool isEmpty = true;
        for (const difference_t& difference : findings.differences) {
            if (difference.kind == section.kind) {
                table.row(difference.cells);
                isEmpty = false;
            }
        }
        if (!isEmpty) {
            print(QString::fromUtf8(section.heading) + QLatin1Char('\n') + table.text() +
                  QLatin1Char('\n'));
        }
    }
    print(QStringLiteral("%1 of %2 confirmed; %3 worse, %4 better\n")
              .arg(QString::number(findings.confirmed),
                   counted(findings.verdicts, QStringLiteral("verdict")),
                   counted(findings.worse, QStringLiteral("goal")),
                   QString::number(findings.better)));
}

/// Whether a mechanism, or a driver of one, is recorded more than once.
bool hasTwice(const goal_t& goal)
{
    QStringList mechanisms;
    for (const mechanism_record_t& record : goal.mechanisms) {
        QStringList drivers;
        for (const driver_record_t& driver : record.drivers) {
            drivers << driver.name;
        }
        if (drivers.removeDuplicates() != 0) {
            return true;
        }
        mechanisms << record.name;
    }
    return mechanisms.removeDuplicates() != 0;
}

/// The files of the mechanisms to confirm: those given, or those that the POS file records, each
/// from the folder.
QStringList filesToConfirm(const play_options_t& options, const component_t& component)
{
    QStringList recorded;
    for (const obligation_t& obligation : component.obligations) {
        for (const goal_t& goal : obligation.goals) {
            for (const mechanism_record_t& record : goal.mechanisms) {
                if (!recorded.contains(record.name)) {
                    recorded << record.name;
                }
            }
        }
    }
    if (options.mechanismDirectory.isEmpty()) {
        for (const QString& file : options.mechanisms) {
            const QString name = QString::fromStdString(loadMechanism(file).name);
            if (!recorded.contains(name)) {
                throw CannotAnswer(
                    QStringLiteral("%1 records nothing of mechanism \"%2\": play it first")
                        .arg(shown(options.pos), shown(name)));
            }
        }
        return options.mechanisms;
    }
    if (recorded.isEmpty()) {
        throw CannotAnswer(shown(options.pos) +
                           QStringLiteral(" records no mechanism: play it first"));
    }
    QStringList files;
    for (const QString& name : std::as_const(recorded)) {
        if (name.contains(QLatin1Char('/'))) {
            // A POS file from a stranger must not choose programs outside of the directory.
            throw CannotAnswer(
                QStringLiteral("%1 records a mechanism \"%2\", which is no file name: "
                               "\"mechtool forget\" removes it")
                    .arg(shown(options.pos), shown(name)));
        }
        files << options.mechanismDirectory + QLatin1Char('/') + name + QStringLiteral(".xml");
    }
    return files;
}

const QString DESCRIPTION = QStringLiteral(
    "Confirms that what the POS file says still holds: every driver that reached a verdict\n"
    "runs again, each mechanism by itself on a copy of the file. What differs is printed, the\n"
    "worst first. With -M, the mechanisms are those that the POS file records. The POS file\n"
    "is not touched, unless --update is given.\n\n"
    "Exit status: 0 no goal is worse than before, 1 one is, 2 it could not be replayed.");

void addOptions(Options& options)
{
    addPlayOptions(options);
    options.parser.addOption(
        {UPDATE, QStringLiteral("Put what was found into the POS file, in one step.")});
    options.parser.addOption(
        {ONLY_PROVED, QStringLiteral("Confirm the proofs, and take refutations as they stand.")});
    options.parser.addOption(
        {STRICT, QStringLiteral("End with 1 also when only a record is lost.")});
}

/// The view of the POS file, when every goal can be judged: its words are known, and no mechanism
/// or driver is recorded twice, so that it is clear whose verdict is confirmed.
component_t componentToConfirm(const QString& pos)
{
    const QDomDocument document = loadDocument(pos);
    component_t component = viewOf(document, pos);
    QString fault = unknownWordIn(document);
    for (std::size_t i = 0; fault.isNull() && i < component.obligations.size(); ++i) {
        const std::vector<goal_t>& goals = component.obligations[i].goals;
        for (std::size_t j = 0; fault.isNull() && j < goals.size(); ++j) {
            if (hasTwice(goals[j])) {
                fault = goalName(component, {i, j}) +
                        QStringLiteral(": a mechanism or a driver is recorded twice");
            }
        }
    }
    if (!fault.isNull()) {
        throw CannotAnswer(
            QStringLiteral("%1: goal %2: correct it (\"mechtool check\" lists all that "
                           "is wrong)")
                .arg(shown(pos), fault));
    }
    return component;
}

/// A copy of the POS file as it was when `read` was taken. It bears the same name.
QString copyOf(const QString& pos, const file_stamp_t& read, const TemporaryFolder& folder)
{
    const QString place = folder.path(QStringLiteral("source"));
    const QString copy = place + QLatin1Char('/') + QFileInfo(pos).fileName();
    QFile file(pos);
    if (!QDir().mkdir(place) || !file.copy(copy)) {
        throw CannotAnswer(
            QStringLiteral("%1 cannot be copied to %2: make room there, or set TMPDIR")
                .arg(shown(pos), shown(place)));
    }
    if (stampOf(pos) != read) {
        throw CannotAnswer(shown(pos) + CHANGED);
    }
    return copy;
}

/// What the drivers say now, and what differs by it.
struct outcome_t {
    findings_t findings;
    QDomDocument document; ///< that of the POS file, with what was found
};

/// Runs everything on copies; ends the process when a signal comes.
outcome_t replayCopies(play_options_t options, const component_t& component,
                       const file_stamp_t& read, bool onlyProved)
{
    Watch watch(options.watch);
    watch.setComponent(component);
    const Interruption interruption([&](bool /*saved*/) {
        watch.end();
        return QStringLiteral("stopped: %1 of %2 goals done; the POS file is as it was")
            .arg(QString::number(watch.goalsDone()), QString::number(watch.goalsAll()));
    });
    const TemporaryFolder folder;
    options.pos = copyOf(options.pos, read, folder);
    std::vector<confirmation_t> confirmations;
    for (const QString& file : std::as_const(options.mechanisms)) {
        confirmations.push_back(
            confirm(component, file, onlyProved, options, folder.path(), watch));
    }
    watch.end();
    outcome_t outcome;
    outcome.document = loadDocument(options.pos);
    outcome.findings = compare(component, outcome.document, confirmations);
    return outcome;
}

} // namespace

answer_t runReplay(const QStringList& words)
{
    Options given(DESCRIPTION);
    addOptions(given);
    if (!given.read(words)) {
        return answer_t::yes;
    }
    given.arguments(0, 0);
    play_options_t options = playOptionsOf(given, QStringLiteral("replay"));
    const bool updates = given.has(UPDATE);
    checkFiles(options, updates);
    loadResources(given);
    std::optional<PosLock> lock;
    if (updates) {
        lock.emplace(options.pos);
    }
    const file_stamp_t read = stampOf(options.pos);
    const component_t component = componentToConfirm(options.pos);
    options.mechanisms = filesToConfirm(options, component);
    checkMechanisms(options, component);

    outcome_t outcome = replayCopies(options, component, read, given.has(ONLY_PROVED));
    const findings_t& findings = outcome.findings;
    printFindings(findings);
    if (stampOf(options.pos) != read) {
        throw CannotAnswer(shown(options.pos) + CHANGED);
    }
    if (updates && findings.changed) {
        saveDocument(options.pos, outcome.document, read);
    }
    const bool lostRecord = std::any_of(findings.differences.begin(), findings.differences.end(),
                                        [](const difference_t& difference) {
                                            return difference.kind == kind_t::lostRecord;
                                        });
    return findings.worse != 0 || (lostRecord && given.has(STRICT)) ? answer_t::no : answer_t::yes;
}
