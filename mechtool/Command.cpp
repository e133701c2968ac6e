#include "mechtool/Command.h"

#include "mechtool/Text.h"

#include <QCoreApplication>

namespace
{

const QString HELP = QStringLiteral("help");

QString seeHelp()
{
    return QStringLiteral("see \"%1 --help\"").arg(QCoreApplication::arguments().constFirst());
}

} // namespace

Options::Options(const QString& description)
{
    parser.setApplicationDescription(description);
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
    parser.addOption({{QStringLiteral("h"), HELP}, QStringLiteral("Print this help and end.")});
}

bool Options::read(const QStringList& words)
{
    const bool understood =
        parser.parse(QStringList(QCoreApplication::arguments().mid(0, 1)) + words);
    if (parser.isSet(HELP)) {
        print(parser.helpText());
        return false;
    }
    if (!understood) {
        QString fault = shown(parser.errorText());
        fault.chop(fault.endsWith(QLatin1Char('.')) ? 1 : 0);
        throw CannotAnswer(fault + QStringLiteral(": ") + seeHelp());
    }
    for (const QString& option : parser.optionNames()) {
        if (parser.values(option).contains(QString())) { // an empty variable of a script, say
            throw CannotAnswer(
                QStringLiteral("the value of %1 is empty: %2")
                    .arg((option.size() > 1 ? QStringLiteral("--") : QStringLiteral("-")) + option,
                         seeHelp()));
        }
    }
    return true;
}

QString Options::required(const QString& option) const
{
    QString given = value(option);
    if (given.isEmpty()) {
        throw CannotAnswer(QStringLiteral("--%1 is missing: %2").arg(option, seeHelp()));
    }
    return given;
}

int Options::number(const QString& option, int least, int otherwise) const
{
    if (!has(option)) {
        return otherwise;
    }
    bool isNumber = false;
    const int given = value(option).toInt(&isNumber);
    if (!isNumber || given < least) {
        throw CannotAnswer(
            QStringLiteral("--%1=%2 is no whole number from %3 on: %4")
                .arg(option, shown(value(option)), QString::number(least), seeHelp()));
    }
    return given;
}

QStringList Options::arguments(int least, int most) const
{
    QStringList given = parser.positionalArguments();
    if (given.size() < least) {
        throw CannotAnswer(QStringLiteral("an argument is missing: ") + seeHelp());
    }
    if (given.size() > most) {
        throw CannotAnswer(
            QStringLiteral("unexpected argument %1: %2").arg(shown(given.at(most)), seeHelp()));
    }
    return given;
}
