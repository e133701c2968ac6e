// The goals of "show" as lines of comma-separated values.

#include "mechtool/Text.h"
#include "mechtool/show.h"

#include <QHash>

#include <algorithm>

namespace show
{

namespace
{

QString cellOf(QString text)
{
    const auto needsQuotes = [](QChar c) {
        return c == QLatin1Char(',') || c == QLatin1Char('"') || c == QLatin1Char('\n') ||
               c == QLatin1Char('\r');
    };
    if (std::none_of(text.begin(), text.end(), needsQuotes)) {
        return text;
    }
    text.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

void printLine(const QStringList& cells)
{
    QStringList quoted;
    for (const QString& cell : cells) {
        quoted << cellOf(cell);
    }
    const QString line = quoted.join(QLatin1Char(',')) + QLatin1Char('\n');
    static const bool isSeen = printsToTerminal();
    print(isSeen ? harmless(line) : line);
}

/// The word of a record; a name that stands twice on a goal has both words in its cell.
void addWord(QHash<QString, QString>& words, const QString& key, pos::status_t status)
{
    QString& word = words[key];
    word +=
        (word.isEmpty() ? QLatin1String("") : QLatin1String(" ")) + pos::strOfProofStatus(status);
}

/// The key of the column of a driver. No name holds the character that stands between.
QString keyOf(const QString& mechanism, const QString& driver)
{
    return mechanism + QChar(QChar::Null) + driver;
}

/// The columns of the records: their names in the heading, and what tells them apart.
struct columns_t {
    QStringList headings;
    QStringList keys;
};

columns_t columnsOf(const Totals& totals)
{
    columns_t columns;
    for (const mechanism_totals_t& mechanism : totals.mechanisms) {
        columns.headings << mechanism.name;
        columns.keys << mechanism.name;
        for (const driver_totals_t& driver : mechanism.drivers) {
            columns.headings << mechanism.name + QLatin1Char('/') + driver.name;
            columns.keys << keyOf(mechanism.name, driver.name);
        }
    }
    return columns;
}

/// The words of the records on a goal, by column.
QHash<QString, QString> wordsOf(const goal_t& goal)
{
    QHash<QString, QString> words;
    for (const mechanism_record_t& mechanism : goal.mechanisms) {
        addWord(words, mechanism.name, mechanism.status);
        for (const driver_record_t& driver : mechanism.drivers) {
            addWord(words, keyOf(mechanism.name, driver.name), driver.status);
        }
    }
    return words;
}

} // namespace

void printCsv(const std::vector<shown_t>& all)
{
    const columns_t columns = columnsOf(totalsOf(all));
    printLine(QStringList{QStringLiteral("file"), QStringLiteral("obligation"),
                          QStringLiteral("number"), QStringLiteral("goal"),
                          QStringLiteral("status"), QStringLiteral("prover"),
                          QStringLiteral("analyser")}
              << columns.headings);
    for (const shown_t& one : all) {
        for (const address_t& address : one.goals) {
            const goal_t& goal = goalAt(one.component, address);
            QStringList line{one.component.file,
                             one.component.obligations[address.first].name,
                             QString::number(address.second + 1),
                             goalName(one.component, address),
                             pos::strOfProofStatus(goal.status),
                             goal.prover,
                             goal.analyser};
            const QHash<QString, QString> words = wordsOf(goal);
            for (const QString& key : columns.keys) {
                line << words.value(key);
            }
            printLine(line);
        }
    }
}

} // namespace show
