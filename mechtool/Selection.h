#pragma once

// Which goals a command is about: by the status of the goal, and by the name of its obligation.

#include "mechtool/Command.h"
#include "pos/pos.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <set>
#include <vector>

/// A pattern for names of obligations, as a shell has them: "*", "?" and "[a-z]". A "*" also stands
/// for "/". A name that is written out always fits, whatever it holds, and so does the name as it
/// is shown.
class Glob
{
public:
    explicit Glob(const QString& pattern);

    bool fits(const QString& obligation) const;

    /// The pattern as it was given.
    QString text;

private:
    QRegularExpression expression;
};

/// A selection without statuses takes every status, and one without globs every obligation.
struct selection_t {
    std::set<pos::status_t> statuses;
    std::vector<Glob> obligations; ///< it takes what fits one of them

    bool takes(pos::status_t status) const;
    bool takesObligation(const QString& name) const;
    bool takesEverything() const;
};

/// The words for statuses, in the order in which the tables have them: from proved to unproved.
QStringList statusWords();

/// Adds the options --status and --obligation. `bearers`, in the plural, have the statuses.
void addSelection(Options& options, const QString& bearers = QStringLiteral("goals"));

/// The selection that the options make. Throws CannotAnswer for an unknown status.
selection_t selectionOf(const Options& options);

/// Throws CannotAnswer when a selection names nothing: a glob that fits none of the obligations
/// `names`, or no goal that was taken.
void requireSelected(const selection_t& selection, const QStringList& names, std::size_t taken);
