// mechtool replay: confirms that what the POS file says still holds.

#include "mechtool/Confirmation.h"
#include "mechtool/GoalWords.h"
#include "mechtool/Interruption.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/PlayOptions.h"
#include "mechtool/PosLock.h"
#include "mechtool/ReplayFindings.h"
#include "mechtool/SavedDocument.h"
#include "mechtool/TemporaryFolder.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace
{

const QString UPDATE = QStringLiteral("update");
const QString ONLY_PROVED = QStringLiteral("only-proved");
const QString STRICT = QStringLiteral("strict");
const QString CHANGED =
    QStringLiteral(": it has changed since it was read: run the same command again");

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
    QString copy = place + QLatin1Char('/') + QFileInfo(pos).fileName();
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
    QDomDocument document; ///< the document of the POS file, with what was found
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
