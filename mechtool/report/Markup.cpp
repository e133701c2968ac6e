#include "mechtool/report/Markup.h"

#include "mechtool/Text.h"

#include <cmath>

namespace report
{

QString marked(const QString& shownText)
{
    return shownText.toHtmlEscaped();
}

QString named(const QString& name)
{
    return marked(shown(name));
}

QString shortened(const QString& shownText, int most)
{
    if (shownText.size() <= most) {
        return shownText;
    }
    // A character of two units stays whole.
    QString begin = shownText.left(most - 40);
    QString end = shownText.right(38);
    begin.chop(begin.at(begin.size() - 1).isHighSurrogate() ? 1 : 0);
    end.remove(0, end.at(0).isLowSurrogate() ? 1 : 0);
    return begin + QChar(0x2026) + end;
}

QString classOf(pos::status_t status)
{
    switch (status) {
    case pos::PROVED:
        return QStringLiteral("p");
    case pos::UNRELIABLY_PROVED:
        return QStringLiteral("r");
    case pos::DISPROVED:
        return QStringLiteral("d");
    case pos::UNKNOWN:
        return QStringLiteral("k");
    case pos::UNPROVED:
        break;
    }
    return QStringLiteral("u");
}

QString keyOf(pos::status_t status)
{
    return QStringLiteral("<span class=\"key\"><i class=\"%1\"></i>%2</span>")
        .arg(classOf(status), pos::strOfProofStatus(status));
}

QString bar(const Counts& counts, const QString& label)
{
    constexpr double width = 1000;
    QString text = QStringLiteral("<svg class=\"bar\" viewBox=\"0 0 1000 10\" "
                                  "preserveAspectRatio=\"none\" role=\"img\" aria-label=\"%1\">")
                       .arg(marked(label));
    double x = 0;
    for (const pos::status_t status : STATUSES) {
        const double part =
            counts[status] == 0 ? 0 : width * double(counts[status]) / double(counts.total());
        if (part > 0) {
            text += QStringLiteral("<rect class=\"%1\" x=\"%2\" width=\"%3\" height=\"10\"/>")
                        .arg(classOf(status), coordinate(x), coordinate(part));
        }
        x += part;
    }
    return text + QStringLiteral("</svg>");
}

QString row(const QStringList& cells)
{
    QString text = QStringLiteral("<tr><th scope=\"row\">") + cells.first();
    for (int i = 1; i < cells.size(); ++i) {
        const bool isNumber = cells.at(i).startsWith(QLatin1Char('>'));
        text += isNumber ? QStringLiteral("<td class=n") + cells.at(i)
                         : QStringLiteral("<td>") + cells.at(i);
    }
    return text + QLatin1Char('\n');
}

QString tableBegin(const QString& caption, const QStringList& headings)
{
    QString text = QStringLiteral("<div class=\"scroll\" tabindex=\"0\" role=\"region\" "
                                  "aria-label=\"%1\"><table><caption>%1</caption><thead><tr>")
                       .arg(marked(caption));
    for (const QString& heading : headings) {
        const bool isNumber = heading.startsWith(QLatin1Char('>'));
        text += (isNumber ? QStringLiteral("<th scope=\"col\" class=\"n\">%1")
                          : QStringLiteral("<th scope=\"col\">%1"))
                    .arg(heading.mid(isNumber ? 1 : 0));
    }
    return text + QStringLiteral("</thead><tbody>\n");
}

QString tableEnd()
{
    return QStringLiteral("</tbody></table></div>\n");
}

QString numberCell(std::size_t number)
{
    return number == 0 ? QStringLiteral("><span class=\"none\">0</span>")
                       : QLatin1Char('>') + QString::number(number);
}

QString section(const QString& id, const QString& title, const QString& content)
{
    return content.isEmpty() ? content
                             : QStringLiteral("<section id=\"%1\"><h2>%2</h2>\n").arg(id, title) +
                                   content + QStringLiteral("</section>\n");
}

QString coordinate(double number)
{
    const double tenths = std::round(number * 10) / 10;
    return QString::number(tenths, 'f', tenths == std::round(tenths) ? 0 : 1);
}

} // namespace report
