#pragma once

// Small pieces of the page. Every text that comes from a file goes through one of these functions:
// it can neither end the element or the attribute in which it stands, nor turn the direction of
// what stands beside it.

#include "mechtool/Totals.h"
#include "pos/pos.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace report
{

/// A name for an element or a quoted attribute, in full.
QString named(const QString& name);

/// The same for a text that is already as it is shown.
QString marked(const QString& shownText);

/// A shown text of bounded length: the middle of a longer one is left out.
QString shortened(const QString& shownText, int most = 120);

/// The most that is shown of what is recorded on a goal: far more than ordinary names make.
constexpr int MOST_OF_RECORDS = 2000;

/// The class that gives a status its colour and its mark.
QString classOf(pos::status_t status);

/// A small square with the mark of a status, and its word.
QString keyOf(pos::status_t status);

/// One bar with a part for each status that has a count; `label` is read aloud.
QString bar(const Counts& counts, const QString& label);

/// A row of cells, which are markup. The first is the heading of the row; others with a leading ">"
/// are numbers.
QString row(const QStringList& cells);

/// The begin of a table that scrolls by itself where it is too wide. A heading with a leading ">"
/// is of a column of numbers. The headings are texts of the page.
QString tableBegin(const QString& caption, const QStringList& headings);
QString tableEnd();

/// A count for a cell.
QString numberCell(std::size_t number);

/// A section of the page. An empty `content` makes none.
QString section(const QString& id, const QString& title, const QString& content);

/// A number in an attribute of a drawing, with at most one digit behind the point.
QString coordinate(double number);

} // namespace report
