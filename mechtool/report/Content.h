#pragma once

// What a report is about: the components with their totals, what they were before, and how long
// the drivers took.

#include "mechtool/Comparison.h"
#include "mechtool/Component.h"
#include "mechtool/Totals.h"
#include "mechtool/report/Times.h"

#include <QDateTime>
#include <QHash>
#include <QPair>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <vector>

namespace report
{

/// A component, and its earlier state where one was given.
struct subject_t {
    component_t component;
    QString label; ///< the component's name; its file where several have this name
    QDateTime changed;
    Totals totals;
    std::optional<component_t> before;
    comparison_t comparison; ///< with the earlier state
};

/// A mechanism or one of its drivers, as the page counts them.
struct entry_t {
    QString mechanism;
    QString driver; ///< null for the mechanism itself
};

struct content_t {
    QString title;
    std::vector<subject_t> subjects;
    Totals totals; ///< of all components
    std::vector<entry_t> entries;
    QHash<QPair<QString, QString>, int> places; ///< of the entries
    std::optional<times_t> times;
};

/// Reads the POS files, the earlier states and the journals. An earlier state belongs to the
/// component of its name, the second of a name to the second; the only one to the only component,
/// whatever it is called. Throws CannotAnswer.
content_t contentOf(const QStringList& files, const QStringList& baselines,
                    const QStringList& journals, const QString& title);

inline const goal_t& goalAt(const component_t& component, const address_t& address)
{
    return component.obligations[address.first].goals[address.second];
}

/// A goal as the page writes it: short, and with its component where there are several.
QString labelOf(const content_t& content, const subject_t& subject, const address_t& address);
QString labelOf(const content_t& content, const place_t& place);

/// What there is of each status: "3 Proved, 1 Unproved". Nothing when there is no goal.
QString wordsOf(const Counts& counts);

} // namespace report
