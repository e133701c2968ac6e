#include "mechtool/Json.h"

#include "mechtool/Text.h"

#include <QJsonDocument>

#include <algorithm>
#include <iostream>

namespace
{

/// Whether a unit of the text may go to a terminal. Halves of a character are not looked at
/// together: an escape stands for each as well.
bool isHarmless(QChar unit)
{
    return unit.unicode() < 0x7f || shown(QString(unit)).size() == 1;
}

} // namespace

void printJson(const QJsonObject& object)
{
    const QByteArray text = QJsonDocument(object).toJson();
    if (std::all_of(text.begin(), text.end(), [](char c) {
            return c > 0 && c < 0x7f;
        })) {
        std::cout.write(text.constData(), text.size());
        return;
    }
    // What is escaped here stands in strings: nothing else in JSON is beyond ASCII.
    QString escaped;
    for (const QChar unit : QString::fromUtf8(text)) {
        escaped += isHarmless(unit)
                       ? QString(unit)
                       : QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QLatin1Char('0'));
    }
    print(escaped);
}

QJsonObject goalAsJson(const component_t& component, const address_t& address)
{
    return {{QStringLiteral("goal"), goalName(component, address)},
            {QStringLiteral("obligation"), component.obligations.at(address.first).name},
            {QStringLiteral("number"), numberAsJson(address.second + 1)}};
}

QJsonValue textAsJson(const QString& text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

QJsonValue numberAsJson(std::size_t count)
{
    return static_cast<qint64>(count);
}

QJsonObject countsAsJson(const Counts& counts, const QString& total)
{
    return {{total, numberAsJson(counts.total())},
            {QStringLiteral("proved"), numberAsJson(counts[pos::PROVED])},
            {QStringLiteral("unreliablyProved"), numberAsJson(counts[pos::UNRELIABLY_PROVED])},
            {QStringLiteral("disproved"), numberAsJson(counts[pos::DISPROVED])},
            {QStringLiteral("unknown"), numberAsJson(counts[pos::UNKNOWN])},
            {QStringLiteral("unproved"), numberAsJson(counts[pos::UNPROVED])}};
}
