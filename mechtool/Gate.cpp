#include "mechtool/Gate.h"

#include "mechtool/Comparison.h"
#include "mechtool/Text.h"

#include <utility>
#include <vector>

namespace
{

const QString REQUIRE = QStringLiteral("require");

const std::vector<std::pair<QString, level_t>>& levels()
{
    static const std::vector<std::pair<QString, level_t>> all = {
        {QStringLiteral("proved"), level_t::proved},
        {QStringLiteral("settled"), level_t::settled},
        {QStringLiteral("not-refuted"), level_t::notRefuted},
    };
    return all;
}

QString wordOf(level_t level)
{
    return levels().at(static_cast<std::size_t>(level)).first;
}

bool isProof(pos::status_t status)
{
    return status == pos::PROVED || status == pos::UNRELIABLY_PROVED;
}

/// Says that an obligation, or the end of it, is gone, and names the proved goals that went along.
void nameGone(const component_t& before, std::size_t obligation, std::size_t left, bool isThere,
              QStringList& losses)
{
    const std::vector<goal_t>& goals = before.obligations[obligation].goals;
    const QString name = shown(before.obligations[obligation].name);
    losses << (isThere ? QStringLiteral("obligation %1 has %2, and had %3")
                             .arg(name, counted(left, QStringLiteral("goal")),
                                  QString::number(goals.size()))
                       : QStringLiteral("obligation %1 is gone, which had %2")
                             .arg(name, counted(goals.size(), QStringLiteral("goal"))));
    for (std::size_t i = left; i < goals.size(); ++i) {
        if (isProof(goals[i].status)) {
            losses << QStringLiteral("goal %1: it was %2, and is gone")
                          .arg(goalName(before, {obligation, i}),
                               pos::strOfProofStatus(goals[i].status));
        }
    }
}

} // namespace

bool meets(level_t level, pos::status_t status)
{
    switch (level) {
    case level_t::proved:
        return status == pos::PROVED;
    case level_t::settled:
        return status == pos::PROVED || status == pos::DISPROVED;
    case level_t::notRefuted:
        break;
    }
    return status != pos::DISPROVED;
}

void addRequire(Options& options)
{
    options.parser.addOption(
        {REQUIRE,
         QStringLiteral("What is required of every goal: proved, settled (proved or disproved) or "
                        "not-refuted."),
         QStringLiteral("LEVEL")});
}

std::optional<level_t> requiredLevel(const Options& options)
{
    if (!options.has(REQUIRE)) {
        return {};
    }
    for (const auto& [word, level] : levels()) {
        if (options.value(REQUIRE) == word) {
            return level;
        }
    }
    throw CannotAnswer(QStringLiteral("--require=%1 is no level: give proved, settled or "
                                      "not-refuted")
                           .arg(shown(options.value(REQUIRE))));
}

QStringList goalsBelow(const component_t& component, level_t level)
{
    QStringList texts;
    for (std::size_t i = 0; i < component.obligations.size(); ++i) {
        const std::vector<goal_t>& goals = component.obligations[i].goals;
        for (std::size_t j = 0; j < goals.size(); ++j) {
            if (!meets(level, goals[j].status)) {
                texts << QStringLiteral("%1: %2, required is %3")
                             .arg(goalName(component, {i, j}),
                                  pos::strOfProofStatus(goals[j].status), wordOf(level));
            }
        }
    }
    return texts;
}

QStringList lossesSince(const component_t& before, const component_t& component)
{
    QStringList losses;
    const comparison_t comparison = comparisonOf(before, component);
    for (const goal_change_t& goal : comparison.goals) {
        if (goal.change == change_t::worse) {
            const auto wordIn = [](const component_t& in, const address_t& at) {
                return pos::strOfProofStatus(
                    in.obligations.at(at.first).goals.at(at.second).status);
            };
            losses << QStringLiteral("goal %1: it was %2, and is %3")
                          .arg(goalName(component, goal.after), wordIn(before, goal.before),
                               wordIn(component, goal.after));
        }
    }
    for (const obligation_change_t& obligation : comparison.obligations) {
        if (!obligation.before) {
            continue;
        }
        const std::size_t left =
            obligation.after ? component.obligations.at(*obligation.after).goals.size() : 0;
        if (left < before.obligations.at(*obligation.before).goals.size() || !obligation.after) {
            nameGone(before, *obligation.before, left, obligation.after.has_value(), losses);
        }
    }
    return losses;
}
