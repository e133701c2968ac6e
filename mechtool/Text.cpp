#include "mechtool/Text.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include <unistd.h>

namespace
{

/// Whether a code point may go to a terminal as it is.
bool isHarmless(uint point)
{
    switch (QChar::category(point)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

QString escaped(uint point)
{
    switch (point) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    case '\\':
        return QStringLiteral("\\\\");
    default:
        return QStringLiteral("\\%1%2")
            .arg(QLatin1Char(point < 0x100     ? 'x'
                             : point < 0x10000 ? 'u'
                                               : 'U'))
            .arg(point,
                 point < 0x100     ? 2
                 : point < 0x10000 ? 4
                                   : 8,
                 16, QLatin1Char('0'));
    }
}

/// Whether every character is one of ASCII that needs no escape, as nearly all names are made.
bool isOrdinary(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() >= ' ' && c.unicode() < 0x7f && c.unicode() != '\\';
    });
}

/// The columns that a text takes: combining marks take none.
int widthOf(const QString& text)
{
    if (isOrdinary(text)) {
        return text.size();
    }
    int width = 0;
    for (const uint point : text.toUcs4()) {
        const QChar::Category category = QChar::category(point);
        width += category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ? 0 : 1;
    }
    return width;
}

} // namespace

QString shown(const QString& name)
{
    if (isOrdinary(name)) {
        return name;
    }
    QString text;
    for (int i = 0; i < name.size(); ++i) {
        const QChar unit = name.at(i);
        const bool isPair =
            unit.isHighSurrogate() && i + 1 < name.size() && name.at(i + 1).isLowSurrogate();
        const uint point = isPair ? QChar::surrogateToUcs4(unit, name.at(i + 1)) : unit.unicode();
        if (point == '\\' || !isHarmless(point)) {
            text += escaped(point);
        } else {
            text += name.mid(i, isPair ? 2 : 1);
        }
        i += isPair ? 1 : 0;
    }
    return text;
}

QString harmless(const QString& text)
{
    QStringList lines;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        QStringList cells;
        for (const QString& cell : line.split(QLatin1Char('\t'))) {
            cells << shown(cell).replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
        }
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n'));
}

bool printsToTerminal()
{
    return ::isatty(STDOUT_FILENO) == 1;
}

QString counted(std::size_t count, const QString& noun)
{
    return QString::number(count) + QLatin1Char(' ') + noun +
           (count == 1 ? QString() : QStringLiteral("s"));
}

QString duration(double seconds)
{
    const auto twoDigits = [](long number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    if (seconds < 59.95) {
        return QString::number(seconds, 'f', seconds < 9.995 ? 2 : 1) + QStringLiteral(" s");
    }
    const long whole = std::lround(seconds);
    if (whole < 3600) {
        return QStringLiteral("%1 min %2 s")
            .arg(QString::number(whole / 60), twoDigits(whole % 60));
    }
    return QStringLiteral("%1 h %2 min")
        .arg(QString::number(whole / 3600), twoDigits(whole % 3600 / 60));
}

QString quotedForShell(const QString& word)
{
    const auto isPlain = [](QChar c) {
        return c.isLetterOrNumber() || QStringLiteral("_./:=+,@%-").contains(c);
    };
    if (!word.isEmpty() && std::all_of(word.begin(), word.end(), isPlain)) {
        return word;
    }
    if (shown(word) == QString(word).replace(QLatin1Char('\\'), QStringLiteral("\\\\"))) {
        return QLatin1Char('\'') +
               QString(word).replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
               QLatin1Char('\'');
    }
    // Bytes as octal escapes, which shells that know this form of quotes take for themselves.
    QString quoted = QStringLiteral("$'");
    for (const char byte : word.toUtf8()) {
        const bool plain = byte >= ' ' && byte < 0x7f && byte != '\'' && byte != '\\';
        quoted += plain ? QString(QLatin1Char(byte))
                        : QStringLiteral("\\%1").arg(static_cast<uint>(static_cast<uchar>(byte)), 3,
                                                     8, QLatin1Char('0'));
    }
    return quoted + QLatin1Char('\'');
}

void print(const QString& text)
{
    std::cout << text.toStdString();
}

Table::Table(const QStringList& headings)
{
    QStringList cells;
    for (const QString& heading : headings) {
        numbers.push_back(heading.startsWith(QLatin1Char('>')));
        cells << (numbers.back() ? heading.mid(1) : heading);
    }
    rows.push_back(cells);
}

void Table::row(const QStringList& cells)
{
    rows.push_back(cells);
}

QString Table::text(int indent) const
{
    std::vector<int> widths(numbers.size(), 0);
    for (const QStringList& cells : rows) {
        for (int i = 0; i < cells.size(); ++i) {
            widths[std::size_t(i)] = std::max(widths[std::size_t(i)], widthOf(cells.at(i)));
        }
    }
    QString text;
    for (const QStringList& cells : rows) {
        QString line(indent, QLatin1Char(' '));
        for (int i = 0; i < cells.size(); ++i) {
            const QString gap(widths[std::size_t(i)] - widthOf(cells.at(i)), QLatin1Char(' '));
            line += i == 0 ? QString() : QStringLiteral("  ");
            line += numbers[std::size_t(i)] ? gap + cells.at(i) : cells.at(i) + gap;
        }
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        text += line + QLatin1Char('\n');
    }
    return text;
}
