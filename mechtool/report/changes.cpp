// What is different from the earlier states.

#include "mechtool/Gate.h"
#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/sections.h"

namespace report
{

namespace
{

QString recordText(const record_change_t& record)
{
    using kind_t = record_change_t::kind_t;
    const auto word = [](const QString& text) {
        return text.isNull() ? QStringLiteral("-") : shown(text);
    };
    QString name = shown(record.mechanism);
    if (record.kind == kind_t::prover) {
        name = QStringLiteral("prover");
    } else if (record.kind == kind_t::analyser) {
        name = QStringLiteral("analyser");
    } else if (record.kind == kind_t::driver) {
        name += QLatin1Char('/') + shown(record.driver);
    }
    return QStringLiteral("%1: %2 \u2192 %3").arg(name, word(record.before), word(record.after));
}

QString changeRow(const content_t& content, const subject_t& subject, const goal_change_t& change)
{
    QStringList records;
    for (const record_change_t& record : change.records) {
        records << recordText(record);
    }
    return row({marked(labelOf(content, subject, change.after)),
                keyOf(goalAt(*subject.before, change.before).status),
                keyOf(goalAt(subject.component, change.after).status),
                marked(shortened(records.join(QStringLiteral("; ")), MOST_OF_RECORDS))});
}

/// The table of the goals that changed so; nothing for none.
QString changeTable(const content_t& content, const QString& title, change_t wanted)
{
    QString rows;
    for (const subject_t& subject : content.subjects) {
        for (const goal_change_t& change : subject.comparison.goals) {
            rows += change.change == wanted ? changeRow(content, subject, change) : QString();
        }
    }
    return rows.isEmpty() ? rows
                          : tableBegin(title, {QStringLiteral("goal"), QStringLiteral("before"),
                                               QStringLiteral("now"), QStringLiteral("records")}) +
                                rows + tableEnd();
}

QString obligationCell(const component_t& component, const std::optional<std::size_t>& place)
{
    if (!place) {
        return QStringLiteral("-");
    }
    Counts counts;
    for (const goal_t& goal : component.obligations[*place].goals) {
        counts.add(goal.status);
    }
    const QString goals = counted(counts.total(), QStringLiteral("goal"));
    return counts.total() == 0 ? goals : goals + QStringLiteral(": ") + wordsOf(counts);
}

QString obligationTable(const content_t& content)
{
    QString rows;
    for (const subject_t& subject : content.subjects) {
        for (const obligation_change_t& change : subject.comparison.obligations) {
            const obligation_t& obligation = change.after
                                                 ? subject.component.obligations[*change.after]
                                                 : subject.before->obligations[*change.before];
            rows += row({marked(shortened(shown(obligation.name))),
                         obligationCell(*subject.before, change.before),
                         obligationCell(subject.component, change.after)});
        }
    }
    return rows.isEmpty()
               ? rows
               : tableBegin(QStringLiteral("Obligations that came, went or have another number of "
                                           "goals"),
                            {QStringLiteral("obligation"), QStringLiteral("before"),
                             QStringLiteral("now")}) +
                     rows + tableEnd();
}

/// Goals that stand worse, and what is gone: what a gate would not let pass.
QString losses(const content_t& content)
{
    QString items;
    for (const subject_t& subject : content.subjects) {
        if (subject.before) {
            for (const QString& loss : lossesSince(*subject.before, subject.component)) {
                // A goal that stands worse has its row in the table.
                items += loss.endsWith(QLatin1String("is gone")) ||
                                 loss.startsWith(QLatin1String("obligation "))
                             ? QStringLiteral("<li>%1\n").arg(marked(shortened(loss)))
                             : QString();
            }
        }
    }
    return items.isEmpty() ? items
                           : QStringLiteral("<h3>Gone</h3><ul class=\"gone\">%1</ul>\n").arg(items);
}

QString counts(const content_t& content)
{
    std::size_t worse = 0;
    std::size_t better = 0;
    std::size_t other = 0;
    std::size_t compared = 0;
    QStringList without;
    for (const subject_t& subject : content.subjects) {
        worse += subject.comparison.count(change_t::worse);
        better += subject.comparison.count(change_t::better);
        other += subject.comparison.count(change_t::other);
        compared += subject.comparison.compared;
        if (!subject.before) {
            without << shortened(shown(subject.label));
        }
    }
    QString text =
        QStringLiteral("<p class=\"sentence\"><b class=\"worse\">%1 worse</b>, %2 better, %3 with "
                       "other records, of %4 compared.")
            .arg(QString::number(worse), QString::number(better), QString::number(other),
                 counted(compared, QStringLiteral("goal")));
    if (!without.isEmpty()) {
        text +=
            QStringLiteral(" Not compared: %1.").arg(marked(without.join(QStringLiteral(", "))));
    }
    return text + QStringLiteral("</p>\n");
}

QString files(const content_t& content)
{
    QStringList names;
    for (const subject_t& subject : content.subjects) {
        if (subject.before) {
            names << shortened(shown(subject.before->file));
        }
    }
    return QStringLiteral("<p class=\"quiet\">Before: %1</p>\n")
        .arg(marked(names.join(QStringLiteral(", "))));
}

} // namespace

QString changes(const content_t& content)
{
    bool isCompared = false;
    for (const subject_t& subject : content.subjects) {
        isCompared = isCompared || subject.before;
    }
    if (!isCompared) {
        return {};
    }
    const QString better = changeTable(content, QStringLiteral("Better"), change_t::better);
    return section(
        QStringLiteral("changes"), QStringLiteral("What changed"),
        counts(content) + files(content) +
            changeTable(content, QStringLiteral("Worse"), change_t::worse) + losses(content) +
            (better.isEmpty() ? better
                              : QStringLiteral("<details><summary>What is better</summary>%1"
                                               "</details>\n")
                                    .arg(better)) +
            obligationTable(content));
}

} // namespace report
