// mechtool reset: what mechanisms found is forgotten, all of it or a part.

#include "mechtool/Component.h"
#include "mechtool/PosEdit.h"
#include "mechtool/Selection.h"
#include "mechtool/commands.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <algorithm>
#include <set>
#include <vector>

namespace
{

const QString MECHANISM = QStringLiteral("mechanism");

/// The records to reset.
struct part_t {
    QStringList mechanisms; ///< of these names; of any when there is none
    selection_t selection;  ///< that stand so, on goals of these obligations

    bool isAll() const
    {
        return mechanisms.isEmpty() && selection.takesEverything();
    }
};

/// Whether a record is one of the part and has anything to reset. A word that is no status is none
/// of those asked for.
bool isTaken(const QDomElement& record, const part_t& part)
{
    const QString word = pos::statusWordOf(record);
    const std::set<pos::status_t>& statuses = part.selection.statuses;
    return word != pos::ATTR_VALUE_UNPROVED &&
           (part.mechanisms.isEmpty() || part.mechanisms.contains(pos::nameOf(record))) &&
           (statuses.empty() ||
            std::any_of(statuses.begin(), statuses.end(), [&word](pos::status_t status) {
                return pos::strOfProofStatus(status) == word;
            }));
}

/// Resets the records of the part on a goal. The goal's status follows, so that a play finds open
/// what was reset. The analyser has a say only where it had one before: on a goal that was played
/// against its word, as a whole reset leaves it, its word would now close the goal.
void resetGoal(QDomElement& goal, const part_t& part)
{
    std::vector<QDomElement> taken;
    for (const QDomElement& mechanism : pos::mechanismsOf(goal)) {
        if (isTaken(mechanism, part)) {
            taken.push_back(mechanism);
        }
    }
    if (taken.empty()) {
        return;
    }
    const bool isByRule = pos::expectedStatus(goal) == pos::statusOf(goal);
    for (QDomElement& mechanism : taken) {
        mechanism.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    }
    const pos::status_t status =
        isByRule ? pos::expectedStatus(goal) : pos::expectedStatusWithoutAnalyser(goal);
    goal.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(status));
}

void resetPart(QDomDocument& document, const part_t& part)
{
    const QStringList names = obligationNames(document);
    requireSelected(part.selection, names, 1); // no goal to reset is an answer
    int number = 0;
    for (const QDomElement& obligation : pos::obligationsOf(document)) {
        if (part.selection.takesObligation(names.at(number++))) {
            for (QDomElement& goal : pos::goalsOf(obligation)) {
                resetGoal(goal, part);
            }
        }
    }
}

} // namespace

answer_t runReset(const QStringList& words)
{
    Options options(QStringLiteral(
        "Resets what mechanisms found to Unproved, so that it is played again: everything, or\n"
        "only the records that fit all options given. The goals' statuses follow. Drivers keep\n"
        "their statuses: a replay tries what they found. The file is replaced in one step.\n\n"
        "  --status Unknown           what was given up is tried again\n"
        "  --status UnreliablyProved  a redundancy that was interrupted is played to its end"));
    addEditedFile(options);
    addSelection(options, QStringLiteral("records of mechanisms"));
    options.parser.addOption(
        {MECHANISM, QStringLiteral("Only records of this mechanism. May be given several times."),
         QStringLiteral("NAME")});
    if (!options.read(words)) {
        return answer_t::yes;
    }
    options.arguments(1, 1);
    const edited_file_t file = editedFileOf(options);
    part_t part{{}, selectionOf(options)};
    editPosFile(file, [&](QDomDocument& document) {
        const QStringList recorded = recordedMechanisms(document);
        for (const QString& name : options.parser.values(MECHANISM)) {
            part.mechanisms << recordedMechanism(recorded, name, file.path);
        }
        if (part.isAll()) {
            pos::unprove(document);
        } else {
            resetPart(document, part);
        }
    });
    return answer_t::yes;
}
