// mechtool report: a page for people, and test results for a build server.

#include "mechtool/Gate.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"
#include "mechtool/report/Content.h"
#include "mechtool/report/OutputFile.h"
#include "mechtool/report/Page.h"
#include "mechtool/report/sections.h"

#include <QFileInfo>

#include <algorithm>

namespace
{

const QString BASELINE = QStringLiteral("baseline");
const QString JOURNAL = QStringLiteral("journal");
const QString TITLE = QStringLiteral("title");
const QString HTML = QStringLiteral("html");
const QString JUNIT = QStringLiteral("junit");

void addOptions(Options& options)
{
    options.parser.addPositionalArgument(QStringLiteral("POS"), QStringLiteral("the POS files"),
                                         QStringLiteral("POS..."));
    options.parser.addOption(
        {HTML, QStringLiteral("Write a page to FILE."), QStringLiteral("FILE")});
    options.parser.addOption(
        {JUNIT, QStringLiteral("Write test results to FILE."), QStringLiteral("FILE")});
    options.parser.addOption(
        {BASELINE,
         QStringLiteral("An earlier state of the component of this name: what has changed since "
                        "stands on the page. May be given several times."),
         QStringLiteral("OLD")});
    options.parser.addOption(
        {JOURNAL,
         QStringLiteral("A journal of plays: how long the drivers took. May be given several "
                        "times."),
         QStringLiteral("FILE")});
    options.parser.addOption(
        {TITLE, QStringLiteral("The title of the report."), QStringLiteral("TEXT")});
    addRequire(options);
}

/// The file, whatever links lead there; for a file still to be made, its name in its folder.
QString placeOf(const QString& file)
{
    const QFileInfo info(file);
    return info.exists() ? info.canonicalFilePath()
                         : QFileInfo(info.absolutePath()).canonicalFilePath() + QLatin1Char('/') +
                               info.fileName();
}

/// The files to write. Throws when one of them is read as well, or is written twice.
QStringList outputsOf(const Options& options, const QStringList& inputs)
{
    QStringList outputs;
    for (const QString& option : {HTML, JUNIT}) {
        if (options.has(option)) {
            outputs << options.required(option);
        }
    }
    if (outputs.isEmpty()) {
        throw CannotAnswer(QStringLiteral("there is nothing to write: give --html or --junit"));
    }
    QStringList others = inputs;
    for (const QString& output : std::as_const(outputs)) {
        for (const QString& other : std::as_const(others)) {
            if (placeOf(output) == placeOf(other)) {
                throw CannotAnswer(QStringLiteral("%1 would be written over: name another file")
                                       .arg(shown(other)));
            }
        }
        others << output;
    }
    return outputs;
}

bool meetsEverywhere(const report::content_t& content, level_t level)
{
    return std::all_of(STATUSES, STATUSES + std::size(STATUSES), [&](pos::status_t status) {
        return meets(level, status) || content.totals.goals[status] == 0;
    });
}

} // namespace

answer_t runReport(const QStringList& words)
{
    Options options(QStringLiteral(
        "Makes a page for people (--html) and test results for a build server (--junit) of what\n"
        "POS files record. The page is one file, which loads nothing. Each file is written in\n"
        "one step.\n\n"
        "In the test results an obligation is a suite and a goal is a case. A refuted goal fails\n"
        "and an open one is skipped; with --require, a goal that does not meet it fails.\n\n"
        "Exit status: 0 done, 1 --require is not met, 2 a file cannot be read or written."));
    addOptions(options);
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const QStringList files = options.arguments(1, ANY_NUMBER);
    const QStringList baselines = options.parser.values(BASELINE);
    const QStringList journals = options.parser.values(JOURNAL);
    const std::optional<level_t> level = requiredLevel(options);
    const QStringList outputs = outputsOf(options, files + baselines + journals);
    const report::content_t content =
        report::contentOf(files, baselines, journals, options.value(TITLE));
    if (options.has(HTML)) {
        report::writeFile(options.value(HTML), report::page(content));
    }
    if (options.has(JUNIT)) {
        report::writeFile(options.value(JUNIT), {report::junit(content, level)});
    }
    for (const QString& output : outputs) {
        print(
            QStringLiteral("%1: %2\n")
                .arg(shown(output), counted(content.totals.goals.total(), QStringLiteral("goal"))));
    }
    return !level || meetsEverywhere(content, *level) ? answer_t::yes : answer_t::no;
}
