#pragma once

// Texts for a person: names as they are shown, counts, and tables.

#include <QString>
#include <QStringList>

#include <vector>

/// `name` as it is shown on a terminal or in a line of a report. What would move the cursor, end
/// the line or turn the direction of the text is written as an escape, and so is the backslash:
/// "\n", "\t", "\\", "\x1b", "\u202e". Different names are shown differently.
QString shown(const QString& name);

/// A text of other origin for a terminal: as `shown`, but its line ends, tabs and backslashes stay.
QString harmless(const QString& text);

/// Whether the standard output is a terminal.
bool printsToTerminal();

/// `count` and the noun, in the plural unless there is one: "1 goal", "3 goals".
QString counted(std::size_t count, const QString& noun);

/// Seconds as a person reads them: "0.25 s", "12.3 s", "4 min 05 s", "2 h 07 min".
QString duration(double seconds);

/// `word` quoted for a shell, when it needs that.
QString quotedForShell(const QString& word);

/// Writes to the standard output, which main flushes and checks at the end.
void print(const QString& text);

/// A table for a terminal: columns as wide as their widest cell, two blanks apart.
class Table
{
public:
    /// Begins with the headings. A heading with a leading ">" is of a column of numbers, which are
    /// set flush right.
    explicit Table(const QStringList& headings);

    void row(const QStringList& cells);

    /// Every line indented by `indent` blanks, without blanks at its end.
    QString text(int indent = 2) const;

private:
    std::vector<bool> numbers;
    std::vector<QStringList> rows;
};
