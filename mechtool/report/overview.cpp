// The title's sentence, and the components with their totals.

#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/sections.h"

namespace report
{

namespace
{

const QString DOT = QStringLiteral(" \u00b7 ");

/// "3 of 8 goals are proved (37 %)". Only all of them make 100 %.
QString sentence(const Counts& counts)
{
    const std::size_t total = counts.total();
    if (total == 0) {
        return QStringLiteral("There are no goals.");
    }
    const std::size_t proved = counts[pos::PROVED];
    return QStringLiteral("%1 of %2 %3 proved (%4 %).")
        .arg(QString::number(proved), counted(total, QStringLiteral("goal")),
             total == 1 ? QStringLiteral("is") : QStringLiteral("are"),
             QString::number(100 * proved / total));
}

QString keys(const Counts& counts)
{
    QString text = QStringLiteral("<p class=\"keys\">");
    for (const pos::status_t status : STATUSES) {
        text += QStringLiteral("<span>%1 <b>%2</b></span> ")
                    .arg(keyOf(status), QString::number(counts[status]));
    }
    return text + QStringLiteral("</p>\n");
}

QStringList totalCells(const QString& name, const Totals& totals)
{
    QStringList cells{name, numberCell(totals.goals.total())};
    for (const pos::status_t status : STATUSES) {
        cells << numberCell(totals.goals[status]);
    }
    return cells << numberCell(totals.provedExternally) << numberCell(totals.provedByProver);
}

QString totalsTable(const content_t& content)
{
    QStringList headings{QStringLiteral("component"), QStringLiteral(">goals")};
    for (const pos::status_t status : STATUSES) {
        headings << QLatin1Char('>') + pos::strOfProofStatus(status);
    }
    headings << QStringLiteral(">by mechanisms") << QStringLiteral(">by prover");
    QString text = tableBegin(QStringLiteral("Goals by status"), headings);
    for (const subject_t& subject : content.subjects) {
        text += row(totalCells(marked(shortened(shown(subject.label))), subject.totals));
    }
    if (content.subjects.size() > 1) {
        text += row(totalCells(QStringLiteral("all"), content.totals));
    }
    return text + tableEnd();
}

QString componentPart(const subject_t& subject)
{
    const QString time = subject.changed.toString(Qt::ISODate);
    return QStringLiteral("<div class=\"component\"><h3>%1</h3><p class=\"quiet\">%2%3"
                          "<time datetime=\"%4\">%5 UTC</time>%3%6</p>%7</div>\n")
        .arg(marked(shortened(shown(subject.component.name))),
             marked(shortened(shown(subject.component.file))), DOT, time,
             subject.changed.toString(QStringLiteral("yyyy-MM-dd HH:mm")),
             sentence(subject.totals.goals),
             bar(subject.totals.goals,
                 shown(subject.label) + QStringLiteral(": ") + wordsOf(subject.totals.goals)));
}

} // namespace

QString summary(const content_t& content)
{
    QString text = QStringLiteral("<p class=\"sentence\">") + sentence(content.totals.goals);
    if (content.subjects.size() > 1) {
        text += DOT + counted(content.subjects.size(), QStringLiteral("component"));
    }
    return text + QStringLiteral("</p>\n") + keys(content.totals.goals);
}

QString overview(const content_t& content)
{
    QString text;
    for (const subject_t& subject : content.subjects) {
        text += componentPart(subject);
    }
    return section(QStringLiteral("overview"), QStringLiteral("Overview"),
                   text + totalsTable(content));
}

} // namespace report
