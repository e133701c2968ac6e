// mechtool model: runs one goal and prints its counter-example.

#include "director/ProofDirector.h"
#include "mechtool/FailedJob.h"
#include "mechtool/Interruption.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/PlayOptions.h"
#include "mechtool/TemporaryFolder.h"
#include "mechtool/Text.h"
#include "mechtool/WatchedObserver.h"
#include "mechtool/commands.h"

#include <QFile>

namespace
{

const QString GOAL = QStringLiteral("goal");

/// Takes down what each driver finds.
class Narrator : public WatchedObserver
{
public:
    Narrator(QString played, Watch& other) : WatchedObserver(other), goal(std::move(played)) {}

    void jobEnded(const job_ended_t& job) override
    {
        WatchedObserver::jobEnded(job);
        const QString word = job.verdicts.value(0);
        const QString model = QString::fromUtf8(job.model).trimmed();
        hasVerdict = hasVerdict || !word.isNull();
        hasModel = hasModel || !model.isEmpty();
        text += QStringLiteral("%1: %2 after %3\n")
                    .arg(shown(driver()),
                         word.isNull() ? failureOf(job,
                                                   [this](std::size_t) {
                                                       return goal;
                                                   })
                                       : word,
                         duration(job.wallSeconds));
        for (const QString& line :
             model.isEmpty() ? QStringList() : model.split(QLatin1Char('\n'))) {
            text += QStringLiteral("  ") + harmless(line) + QLatin1Char('\n');
        }
    }

    QString text; ///< to be printed
    bool hasVerdict = false;
    bool hasModel = false;

private:
    QString goal; ///< its name
};

/// The goal of that name; throws when there is none.
address_t goalNamed(const component_t& component, const QString& name)
{
    const std::optional<address_t> goal = goalOfName(component, name);
    if (goal) {
        return *goal;
    }
    const QStringList nearest = nearestGoals(component, name);
    throw CannotAnswer(QStringLiteral("%1 has no goal \"%2\": %3")
                           .arg(shown(component.file), shown(name),
                                nearest.isEmpty() ? QStringLiteral("it has no goals at all")
                                                  : QStringLiteral("the nearest are ") +
                                                        nearest.join(QStringLiteral(", "))));
}

void copyFile(const QString& from, const QString& to)
{
    QFile file(from);
    if (!file.copy(to)) {
        throw CannotAnswer(QStringLiteral("%1 cannot be copied to %2: %3: make room there, or set "
                                          "TMPDIR")
                               .arg(shown(from), shown(to), file.errorString()));
    }
    QFile::setPermissions(to, QFile::ReadOwner | QFile::WriteOwner);
}

} // namespace

answer_t runModel(const QStringList& words)
{
    Options given(QStringLiteral(
        "Runs the drivers of a mechanism on one goal, asks them for a model, and prints their\n"
        "verdicts with it: the counter-example of a goal that is refuted. A goal is written\n"
        "OBLIGATION.N, as \"mechtool show --goals\" writes it. The POS file never changes.\n\n"
        "Exit status: 0 there is a model, 1 there is none, 2 no driver came to a verdict."));
    addPlayOptions(given);
    given.parser.addOption({GOAL, QStringLiteral("The goal."), QStringLiteral("OBLIGATION.N")});
    if (!given.read(words)) {
        return answer_t::yes;
    }
    given.arguments(0, 0);
    play_options_t options = playOptionsOf(given, QStringLiteral("model"));
    if (options.mechanisms.size() != 1) {
        throw CannotAnswer(QStringLiteral("one mechanism is asked: give -m FILE, once"));
    }
    const QString wanted = given.required(GOAL);
    checkFiles(options, false);
    loadResources(given);
    const component_t component = readComponent(options.pos);
    const address_t goal = goalNamed(component, wanted);
    checkMechanisms(options, component);

    Watch watch(options.watch);
    watch.setComponent(component);
    const Interruption interruption([&](bool /*saved*/) {
        watch.end();
        return QStringLiteral("stopped: the POS file is as it was");
    });
    const TemporaryFolder folder;
    const QString copy = folder.path(QStringLiteral("copy.pos"));
    copyFile(options.pos, copy);
    Narrator narrator(goalName(component, goal), watch);
    ProofDirectorSettings settings =
        settingsFor(options, options.mechanisms.first(), copy, folder.path(), narrator);
    settings.onlyGoalAt = goal;
    settings.workers = 1;
    ProofDirector director(settings);
    requireLoaded(director, options.mechanisms.first());
    Interruption::during(director, [&director] {
        director.play();
    });
    watch.end();
    print(narrator.text);
    if (!narrator.hasVerdict) {
        throw CannotAnswer(QStringLiteral("no driver came to a verdict on goal %1: see above")
                               .arg(goalName(component, goal)));
    }
    return narrator.hasModel ? answer_t::yes : answer_t::no;
}
