// The map of the goals and the table of them. Both have the goals in one order, by which the script
// finds the row of a square.

#include "mechtool/GoalText.h"
#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/sections.h"

namespace report
{

namespace
{

/// What the filters know of a goal: the number of each record's entry after "o" (nothing else has
/// proved it), "p" (proved), "d" (disproved) or "n" (nothing found).
QString recordKeys(const content_t& content, const goal_t& goal)
{
    const sole_proofs_t sole = soleProofsOf(goal);
    QString keys;
    const auto add = [&](pos::status_t status, bool isSole, const QString& mechanism,
                         const QString& driver) {
        const char letter = isSole                     ? 'o'
                            : status == pos::PROVED    ? 'p'
                            : status == pos::DISPROVED ? 'd'
                                                       : 'n';
        keys += QLatin1Char(letter) + QString::number(content.places.value({mechanism, driver})) +
                QLatin1Char(' ');
    };
    for (const mechanism_record_t& mechanism : goal.mechanisms) {
        add(mechanism.status, sole.mechanism == &mechanism, mechanism.name, QString());
        for (const driver_record_t& driver : mechanism.drivers) {
            add(driver.status, sole.driver == &driver, mechanism.name,
                QLatin1Char('/') + driver.name);
        }
    }
    return keys;
}

QString cellOfSeconds(const times_t& times, const place_t& place)
{
    const std::optional<double> seconds = times.secondsOf(place);
    return seconds ? QString::number(*seconds, 'f', 3) : QString();
}

/// The table takes most of the page: what can be left out of its markup is left out.
QString goalRow(const content_t& content, const place_t& place)
{
    const goal_t& goal = goalAt(content.subjects[place.component].component, place.address);
    QString text = QStringLiteral("<tr class=") + classOf(goal.status);
    const QString keys = recordKeys(content, goal);
    if (!keys.isEmpty()) {
        text += QStringLiteral(" data-r=\"") + keys + QStringLiteral("\"");
    }
    text += QStringLiteral("><td>") + marked(labelOf(content, place)) + QStringLiteral("<td>") +
            pos::strOfProofStatus(goal.status);
    if (content.times) {
        text += QStringLiteral("<td>") + cellOfSeconds(*content.times, place);
    }
    return text + QStringLiteral("<td>") + marked(shortened(recordsOf(goal), MOST_OF_RECORDS)) +
           QLatin1Char('\n');
}

/// The row of an obligation in the map.
QString obligationRow(const obligation_t& obligation)
{
    const QString name = shown(obligation.name);
    const QString brief = shortened(name);
    std::size_t proved = 0;
    QString squares;
    for (const goal_t& goal : obligation.goals) {
        proved += goal.status == pos::PROVED ? 1 : 0;
        squares += QStringLiteral("<i class=") + classOf(goal.status) + QStringLiteral("></i>");
    }
    const QString title =
        brief == name ? QString() : QStringLiteral(" title=\"%1\"").arg(marked(name));
    return QStringLiteral("<div class=o><b%1>%2</b><small>%3/%4</small><p>%5</p></div>\n")
        .arg(title, marked(brief), QString::number(proved),
             QString::number(obligation.goals.size()), squares);
}

QString nameOf(const entry_t& entry)
{
    const QString mechanism = marked(shortened(shown(entry.mechanism)));
    return entry.driver.isNull()
               ? mechanism
               : mechanism + QLatin1Char('/') + marked(shortened(shown(entry.driver)));
}

/// The choices by what a mechanism or a driver has found.
QString recordChoices(const content_t& content)
{
    const struct {
        const char* letter;
        const char* label;
    } groups[] = {{"p", "proved by"},
                  {"o", "proved only by"},
                  {"d", "disproved by"},
                  {"n", "nothing found by"}};
    QString text;
    for (const auto& group : groups) {
        text += QStringLiteral("<optgroup label=\"%1\">").arg(QLatin1String(group.label));
        for (std::size_t i = 0; i < content.entries.size(); ++i) {
            text += QStringLiteral("<option value=\"%1%2\">%3</option>")
                        .arg(QLatin1String(group.letter), QString::number(i),
                             nameOf(content.entries[i]));
        }
        text += QStringLiteral("</optgroup>");
    }
    return text;
}

/// The filters, which are there for the script to show.
QString filters(const content_t& content)
{
    QString boxes;
    for (const pos::status_t status : STATUSES) {
        boxes += QStringLiteral("<label><input type=\"checkbox\" name=\"status\" value=\"%1\" "
                                "data-class=\"%2\">%3</label> ")
                     .arg(pos::strOfProofStatus(status), classOf(status), keyOf(status));
    }
    return QStringLiteral("<form id=\"filters\" hidden>"
                          "<fieldset><legend>Status</legend>%1</fieldset>"
                          "<label class=\"field\">Records <select name=\"by\">"
                          "<option value=\"\">any</option>%2</select></label>"
                          "<label class=\"field\">Name <input type=\"search\" name=\"text\" "
                          "placeholder=\"part of the name\"></label>"
                          "<button type=\"reset\">Show all</button>"
                          "<output name=\"count\" aria-live=\"polite\"></output></form>\n")
        .arg(boxes, recordChoices(content));
}

} // namespace

QString map(const content_t& content)
{
    if (content.totals.goals.total() == 0) {
        return {};
    }
    QString text = filters(content);
    for (const subject_t& subject : content.subjects) {
        if (content.subjects.size() > 1) {
            text += QStringLiteral("<h3>%1</h3>\n").arg(marked(shortened(shown(subject.label))));
        }
        text += QStringLiteral("<div class=\"map\">\n");
        for (const obligation_t& obligation : subject.component.obligations) {
            text += obligationRow(obligation);
        }
        text += QStringLiteral("</div>\n");
    }
    return section(QStringLiteral("map"), QStringLiteral("Map of the goals"),
                   QStringLiteral("<p class=\"quiet\">A row for each obligation, a square for each "
                                  "goal. The table of all goals stands at the end.</p>\n") +
                       text);
}

QString goals(const content_t& content)
{
    if (content.totals.goals.total() == 0) {
        return {};
    }
    QStringList headings{QStringLiteral("goal"), QStringLiteral("status")};
    if (content.times) {
        headings << QStringLiteral(">seconds");
    }
    headings << QStringLiteral("records");
    QString text = tableBegin(QStringLiteral("All goals"), headings);
    for (std::size_t i = 0; i < content.subjects.size(); ++i) {
        const std::vector<obligation_t>& obligations = content.subjects[i].component.obligations;
        for (std::size_t j = 0; j < obligations.size(); ++j) {
            for (std::size_t k = 0; k < obligations[j].goals.size(); ++k) {
                text += goalRow(content, {i, {j, k}});
            }
        }
    }
    return section(QStringLiteral("goals"), QStringLiteral("All goals"), text + tableEnd());
}

} // namespace report
