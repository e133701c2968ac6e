#include "mechtool/ReplayFindings.h"

#include "mechtool/Command.h"
#include "mechtool/Comparison.h"
#include "mechtool/Text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <algorithm>
#include <stdexcept>

namespace
{

const QString NOT_CONFIRMED = QStringLiteral("not confirmed");

bool isVerdict(pos::status_t status)
{
    return status == pos::PROVED || status == pos::DISPROVED;
}

/// Whether a verdict that stood before is gone: a proof, were it unreliable, or a refutation. What
/// was open cannot become worse: a driver had reached each verdict on it before.
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

} // namespace

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
