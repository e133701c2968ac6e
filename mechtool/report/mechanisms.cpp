// What each mechanism and each driver has found.

#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/sections.h"

namespace report
{

namespace
{

/// How many names a cell lists; the filters find the others.
constexpr int LISTED = 50;

/// The goals that only one mechanism or driver has proved, by its place among the entries.
std::vector<QStringList> namesProvedOnlyBy(const content_t& content)
{
    std::vector<QStringList> names(content.entries.size());
    const auto add = [&](const QString& mechanism, const QString& driver, const QString& name) {
        QStringList& list = names[std::size_t(content.places.value({mechanism, driver}))];
        if (list.size() < LISTED) {
            list << name;
        }
    };
    for (const subject_t& subject : content.subjects) {
        const std::vector<obligation_t>& obligations = subject.component.obligations;
        for (std::size_t i = 0; i < obligations.size(); ++i) {
            for (std::size_t j = 0; j < obligations[i].goals.size(); ++j) {
                const sole_proofs_t sole = soleProofsOf(obligations[i].goals[j]);
                if (sole.mechanism != nullptr) {
                    add(sole.mechanism->name, QString(), labelOf(content, subject, {i, j}));
                }
                if (sole.driver != nullptr) {
                    add(sole.mechanismOfDriver->name, QLatin1Char('/') + sole.driver->name,
                        labelOf(content, subject, {i, j}));
                }
            }
        }
    }
    return names;
}

QString onlyCell(std::size_t count, const QStringList& names)
{
    if (count == 0) {
        return QStringLiteral("<span class=\"none\">nothing</span>");
    }
    QString text = marked(names.join(QStringLiteral(", ")));
    if (count > std::size_t(names.size())) {
        text += QStringLiteral(" and %1 more: choose \"proved only by\" at the map")
                    .arg(count - std::size_t(names.size()));
    }
    return QStringLiteral("<details><summary>%1</summary>%2</details>")
        .arg(QString::number(count), text);
}

template <typename Found>
QString foundRow(const QString& name, const Found& found, const QStringList& only)
{
    QStringList cells{
        name, bar(found.records, shown(found.name) + QStringLiteral(": ") + wordsOf(found.records)),
        onlyCell(found.only, only), numberCell(found.records.total())};
    for (const pos::status_t status : STATUSES) {
        cells << numberCell(found.records[status]);
    }
    return row(cells);
}

} // namespace

QString mechanisms(const content_t& content)
{
    if (content.totals.mechanisms.empty()) {
        return section(QStringLiteral("mechanisms"), QStringLiteral("Mechanisms and drivers"),
                       QStringLiteral("<p>No mechanism is recorded.</p>\n"));
    }
    QStringList headings{QStringLiteral("mechanism, driver"), QStringLiteral("records in a bar"),
                         QStringLiteral("only this one proved"), QStringLiteral(">records")};
    for (const pos::status_t status : STATUSES) {
        headings << QLatin1Char('>') + pos::strOfProofStatus(status);
    }
    QString text = tableBegin(QStringLiteral("Records by mechanism and driver"), headings);
    const std::vector<QStringList> only = namesProvedOnlyBy(content);
    std::size_t entry = 0;
    for (const mechanism_totals_t& mechanism : content.totals.mechanisms) {
        text += foundRow(marked(shortened(shown(mechanism.name))), mechanism, only[entry++]);
        for (const driver_totals_t& driver : mechanism.drivers) {
            text += foundRow(QStringLiteral("<span class=\"driver\">%1</span>")
                                 .arg(marked(shortened(shown(driver.name)))),
                             driver, only[entry++]);
        }
    }
    return section(QStringLiteral("mechanisms"), QStringLiteral("Mechanisms and drivers"),
                   text + tableEnd());
}

} // namespace report
