#include "mechtool/PosEdit.h"

#include "mechtool/Component.h"
#include "mechtool/GoalWords.h"
#include "mechtool/PosLock.h"
#include "mechtool/SavedDocument.h"
#include "mechtool/Text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QSet>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace
{

const QString DRY_RUN = QStringLiteral("dry-run");

/// What a change of a goal shows in: its status and its mechanisms with theirs, for every goal of
/// the document.
std::vector<QString> goalRecords(const QDomDocument& document)
{
    std::vector<QString> records;
    pos::everyGoal(document, [&records](const QDomElement& goal) {
        QString record = pos::statusWordOf(goal);
        for (const QDomElement& mechanism : pos::mechanismsOf(goal)) {
            record += QChar(QChar::Null) + pos::nameOf(mechanism) + QChar(QChar::Null) +
                      pos::statusWordOf(mechanism);
        }
        records.push_back(record);
        return true;
    });
    return records;
}

} // namespace

void addEditedFile(Options& options)
{
    options.parser.addOption(
        {DRY_RUN, QStringLiteral("Say what would change, and leave the file as it is.")});
    options.parser.addPositionalArgument(QStringLiteral("POS"),
                                         QStringLiteral("the file to change"));
}

edited_file_t editedFileOf(const Options& options)
{
    return {options.arguments(1, ANY_NUMBER).constFirst(), options.has(DRY_RUN)};
}

void editPosFile(const edited_file_t& file, const std::function<void(QDomDocument&)>& change)
{
    const PosLock lock(file.path);
    const file_stamp_t read = stampOf(file.path);
    QDomDocument document = loadDocument(file.path);
    const std::vector<QString> before = goalRecords(document);
    try {
        change(document);
    } catch (const std::out_of_range&) {
        throw CannotAnswer(QStringLiteral("%1: goal %2: correct it (\"mechtool check\" lists all "
                                          "that is wrong)")
                               .arg(shown(file.path), unknownWordIn(document)));
    }
    const std::vector<QString> after = goalRecords(document);
    std::size_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        changed += before[i] == after[i] ? 0 : 1;
    }
    if (changed > 0 && !file.dryRun) {
        saveDocument(file.path, document, read);
    }
    print(QStringLiteral("%1: %2 of %3 %4\n")
              .arg(shown(file.path), QString::number(changed),
                   counted(before.size(), QStringLiteral("goal")),
                   file.dryRun ? QStringLiteral("would change") : QStringLiteral("changed")));
}

QStringList recordedMechanisms(const QDomDocument& document)
{
    QStringList names;
    QSet<QString> known;
    pos::everyGoal(document, [&](const QDomElement& goal) {
        for (const QDomElement& mechanism : pos::mechanismsOf(goal)) {
            const QString name = pos::nameOf(mechanism);
            if (!known.contains(name)) {
                known.insert(name);
                names << name;
            }
        }
        return true;
    });
    return names;
}

QString recordedMechanism(const QStringList& recorded, const QString& name, const QString& file)
{
    const auto found = std::find_if(recorded.begin(), recorded.end(), [&](const QString& known) {
        return known == name || shown(known) == name;
    });
    if (found != recorded.end()) {
        return *found;
    }
    throw CannotAnswer(
        QStringLiteral("%1: no mechanism \"%2\" is recorded: %3")
            .arg(shown(file), shown(name),
                 recorded.isEmpty()
                     ? QStringLiteral("there is none")
                     : QStringLiteral("there are ") + shown(recorded.join(QStringLiteral(", ")))));
}
