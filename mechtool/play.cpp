// mechtool play: runs mechanisms on every open goal.

#include "director/ProofDirector.h"
#include "mechtool/Gate.h"
#include "mechtool/Interruption.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/PlayOptions.h"
#include "mechtool/PosLock.h"
#include "mechtool/ReportStream.h"
#include "mechtool/SavedDocument.h"
#include "mechtool/TemporaryFolder.h"
#include "mechtool/Text.h"
#include "mechtool/Totals.h"
#include "mechtool/commands.h"
#include "pos/printmetrics.h"

#include <algorithm>
#include <optional>

#include <unistd.h>

namespace
{

const QString REPORT = QStringLiteral("report");

/// Whether every goal has a record of the mechanism.
bool isRecorded(const component_t& component, const QString& mechanism)
{
    for (const obligation_t& obligation : component.obligations) {
        for (const goal_t& goal : obligation.goals) {
            const bool found = std::any_of(goal.mechanisms.begin(), goal.mechanisms.end(),
                                           [&](const mechanism_record_t& record) {
                                               return record.name == mechanism;
                                           });
            if (!found) {
                return false;
            }
        }
    }
    return true;
}

/// Plays one mechanism. Throws when what was done could not be saved.
void playMechanism(const play_options_t& options, const component_t& component, const QString& file,
                   bool report, const QString& folder, Watch& watch)
{
    ProofDirectorSettings settings = settingsFor(options, file, options.pos, folder, watch);
    ReportStream stream;
    settings.report = report ? &stream : nullptr;
    ProofDirector director(settings);
    requireLoaded(director, file);
    const bool registers =
        !isRecorded(component, QString::fromStdString(director.getMechanismName()));
    if (report) {
        stream << "Proving " << settings.component << " with external mechanism "
               << director.getMechanismName() << std::endl;
    }
    const std::size_t before = watch.goalsDone();
    Interruption::during(director, [&] {
        director.play();
        if ((registers || watch.goalsDone() != before) && !director.savePosFile()) {
            throw CannotAnswer(
                QStringLiteral("%1: it cannot be saved, for the reason above: put it "
                               "right, and run the same command again")
                    .arg(shown(options.pos)));
        }
    });
}

/// The table of what the drivers have done.
QString tableOf(const std::vector<tally_t>& tallies)
{
    Table table({QStringLiteral("mechanism"), QStringLiteral("driver"),
                 QStringLiteral(">goals run"), QStringLiteral(">proved"),
                 QStringLiteral(">refuted"), QStringLiteral(">unknown"),
                 QStringLiteral(">jobs failed"), QStringLiteral(">time")});
    for (const tally_t& tally : tallies) {
        table.row({shown(tally.mechanism), shown(tally.driver), QString::number(tally.run),
                   QString::number(tally.proved), QString::number(tally.refuted),
                   QString::number(tally.unknown), QString::number(tally.failed),
                   duration(tally.seconds)});
    }
    return table.text();
}

/// How the component stands, in a line.
QString standOf(const component_t& component)
{
    Totals totals;
    for (const obligation_t& obligation : component.obligations) {
        for (const goal_t& goal : obligation.goals) {
            totals.add(goal);
        }
    }
    QStringList parts;
    for (const pos::status_t status : STATUSES) {
        parts << QString::number(totals.goals[status]) + QLatin1Char(' ') +
                     pos::strOfProofStatus(status);
    }
    return QStringLiteral("%1: %2: %3\n")
        .arg(shown(component.name), counted(totals.goals.total(), QStringLiteral("goal")),
             parts.join(QStringLiteral(", ")));
}

/// Prints what was done, and answers whether it meets the required level.
answer_t conclude(const component_t& component, const std::optional<level_t>& level,
                  const Watch& watch)
{
    print(tableOf(watch.tallies()) + QLatin1Char('\n') + standOf(component));
    const std::vector<tally_t> tallies = watch.tallies();
    if (std::any_of(tallies.begin(), tallies.end(), [](const tally_t& tally) {
            return tally.failed != 0;
        })) {
        print(QStringLiteral("Some jobs failed. The same command tries their goals again where no "
                             "later driver\nhas given up; \"mechtool reset %1 --status Unknown\" "
                             "opens the others.\n")
                  .arg(quotedForShell(component.file)));
    }
    if (!level) {
        return answer_t::yes;
    }
    const QStringList below = goalsBelow(component, *level);
    for (const QString& goal : below) {
        print(goal + QLatin1Char('\n'));
    }
    return below.isEmpty() ? answer_t::yes : answer_t::no;
}

/// The last line of a play that a signal has ended.
QString stoppedLine(const Watch& watch, bool saved)
{
    return QStringLiteral("stopped: %1 of %2 goals done; %3")
        .arg(QString::number(watch.goalsDone()), QString::number(watch.goalsAll()),
             saved ? QStringLiteral("the POS file holds them; run the same command to go on")
                   : QStringLiteral("the POS file could not be saved: make room, and run the same "
                                    "command again"));
}

const QString DESCRIPTION = QStringLiteral(
    "Runs the drivers of mechanisms on every open goal, and saves what they find into\n"
    "the POS file after each job. A mechanism that is new to the component is registered.\n"
    "Stopped by a signal, it goes on where it was when the same command is run again.\n\n"
    "Exit status: 0 done, 1 --require is not met, 2 it could not be played.");

void addOptions(Options& options)
{
    addPlayOptions(options);
    options.parser.addOption({REPORT, QStringLiteral("Also print the report of mechrun.")});
    addRequire(options);
}

} // namespace

answer_t runPlay(const QStringList& words)
{
    Options given(DESCRIPTION);
    addOptions(given);
    if (!given.read(words)) {
        return answer_t::yes;
    }
    given.arguments(0, 0);
    play_options_t options = playOptionsOf(given, QStringLiteral("play"));
    if (given.has(REPORT) && printsToTerminal()) {
        options.watch.progress = progress_mode_t::never; // the two would share the terminal
    }
    const std::optional<level_t> level = requiredLevel(given);
    checkFiles(options, true);
    loadResources(given);
    if (!options.mechanismDirectory.isEmpty()) {
        options.mechanisms = mechanismFiles(options.mechanismDirectory);
    }
    const PosLock lock(options.pos);
    const file_stamp_t read = stampOf(options.pos);
    component_t component = readComponent(options.pos);
    checkMechanisms(options, component);

    Watch watch(options.watch);
    watch.setComponent(component);
    {
        const Interruption interruption([&](bool saved) {
            watch.end();
            return stoppedLine(watch, saved);
        });
        std::optional<TemporaryFolder> folder;
        if (options.directory.isEmpty()) {
            folder.emplace();
        }
        for (const QString& file : std::as_const(options.mechanisms)) {
            playMechanism(options, component, file, given.has(REPORT),
                          folder ? folder->path() : QString(), watch);
        }
    }
    watch.end();
    if (stampOf(options.pos) != read) {
        component = component_t();
        component = readComponent(options.pos);
    }
    if (given.has(REPORT)) {
        print_metrics(options.pos.toStdString(), false, component.name.toStdString());
        print(QStringLiteral("\n"));
    }
    return conclude(component, level, watch);
}
