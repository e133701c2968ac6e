#include "mechtool/report/Plots.h"

#include "mechtool/report/Markup.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace report
{

namespace
{

/// The field of a drawing, in its own units.
struct field_t {
    double left = 48;
    double top = 12;
    double width = 0;
    double height = 0;

    double x(double place) const
    {
        return left + place * width;
    }
    double y(double place) const
    {
        return top + (1 - place) * height;
    }
};

const QString TEXT = QStringLiteral("<text class=\"%1\" x=\"%2\" y=\"%3\">%4</text>");

QString textAt(const char* kind, double x, double y, const QString& text)
{
    return TEXT.arg(QLatin1String(kind), coordinate(x), coordinate(y), text);
}

QString lineOf(const char* kind, double x1, double y1, double x2, double y2)
{
    return QStringLiteral("<path class=\"%1\" d=\"M%2 %3L%4 %5\"/>")
        .arg(QLatin1String(kind), coordinate(x1), coordinate(y1), coordinate(x2), coordinate(y2));
}

QString begin(double width, double height, const QString& label)
{
    return QStringLiteral("<svg class=\"plot\" viewBox=\"0 0 %1 %2\" role=\"img\" "
                          "aria-label=\"%3\">")
        .arg(coordinate(width), coordinate(height), marked(label));
}

QString wordOf(int power)
{
    return power < 0   ? QString::number(std::pow(10, power), 'f', -power)
           : power < 5 ? QString::number(std::lround(std::pow(10, power)))
                       : QStringLiteral("1e%1").arg(power);
}

/// The lines of the seconds to the right, with their numbers.
QString gridAcross(const field_t& field, const axis_t& axis)
{
    QString text;
    for (int power = axis.least; power <= axis.most; ++power) {
        const double x = field.x(axis.place(std::pow(10, power)));
        text += lineOf("grid", x, field.y(0), x, field.y(1)) +
                textAt("m", x, field.y(0) + 18, wordOf(power));
    }
    return text;
}

QString gridUp(const field_t& field, const axis_t& axis)
{
    QString text;
    for (int power = axis.least; power <= axis.most; ++power) {
        const double y = field.y(axis.place(std::pow(10, power)));
        text += lineOf("grid", field.x(0), y, field.x(1), y) +
                textAt("e", field.x(0) - 6, y + 4, wordOf(power));
    }
    return text;
}

/// A round step between lines, so that there are at most five of them.
std::size_t stepFor(std::size_t most)
{
    for (std::size_t power = 1;; power *= 10) {
        for (const std::size_t digit : {1U, 2U, 5U}) {
            if (most / (digit * power) <= 5) {
                return digit * power;
            }
        }
    }
}

QString gridOfCounts(const field_t& field, std::size_t most)
{
    QString text;
    for (std::size_t count = 0; count <= most; count += stepFor(most)) {
        const double y = field.y(double(count) / double(most));
        text += lineOf("grid", field.x(0), y, field.x(1), y) +
                textAt("e", field.x(0) - 6, y + 4, QString::number(count));
    }
    return text;
}

/// The line climbs a step for each goal. Steps that fall together are one.
QString stepsOf(const field_t& field, const axis_t& axis, const line_t& line, std::size_t most)
{
    QString path;
    QString last;
    for (std::size_t i = 0; i < line.seconds.size(); ++i) {
        const QString x = coordinate(std::round(2 * field.x(axis.place(line.seconds[i]))) / 2);
        const bool isTop =
            i + 1 == line.seconds.size() ||
            coordinate(std::round(2 * field.x(axis.place(line.seconds[i + 1]))) / 2) != x;
        if (x != last) {
            path += path.isEmpty() ? QStringLiteral("M%1 %2").arg(x, coordinate(field.y(0)))
                                   : QLatin1Char('H') + x;
            last = x;
        }
        if (isTop) {
            path += QLatin1Char('V') + coordinate(field.y(double(i + 1) / double(most)));
        }
    }
    return path.isEmpty() ? path : path + QLatin1Char('H') + coordinate(field.x(1));
}

/// One path of dots.
QString dots(const field_t& field, const axis_t& axis, const char* kind,
             const std::vector<std::pair<double, double>>& points)
{
    std::set<std::pair<long, long>> places;
    for (const auto& [across, up] : points) {
        places.emplace(std::lround(field.x(axis.place(across)) / 2),
                       std::lround(field.y(axis.place(up)) / 2));
    }
    QString path;
    for (const auto& [x, y] : places) {
        path += QStringLiteral("M%1 %2h0").arg(QString::number(2 * x), QString::number(2 * y));
    }
    return path.isEmpty()
               ? path
               : QStringLiteral("<path class=\"%1\" d=\"%2\"/>").arg(QLatin1String(kind), path);
}

} // namespace

double axis_t::place(double seconds) const
{
    const double power = std::log10(std::max(seconds, 1e-9));
    return std::clamp((power - least) / (most - least), 0.0, 1.0);
}

axis_t axisOf(double least, double most)
{
    axis_t axis;
    axis.least =
        std::clamp(static_cast<int>(std::floor(std::log10(std::max(least, 1e-9)))), -3, -2);
    axis.most = std::clamp(static_cast<int>(std::ceil(std::log10(std::max(most, 1e-9)))), 0, 8);
    return axis;
}

QString lineClass(std::size_t number)
{
    return QStringLiteral("l%1 w%2").arg(QString::number(number % 8),
                                         QString::number(number / 8 % 4));
}

QString quantilePlot(const std::vector<line_t>& lines, const axis_t& axis)
{
    std::size_t most = 1;
    for (const line_t& line : lines) {
        most = std::max(most, line.seconds.size());
    }
    field_t field;
    field.width = 640;
    field.height = 300;
    QString text = begin(704, 360, QStringLiteral("Goals solved by each driver against seconds"));
    text += gridOfCounts(field, most) + gridAcross(field, axis) +
            textAt("m", field.x(0.5), 352, QStringLiteral("seconds for a goal")) +
            textAt("s", field.x(0) + 6, field.y(1) + 14, QStringLiteral("goals solved"));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const QString path = stepsOf(field, axis, lines[i], most);
        if (!path.isEmpty()) {
            text += QStringLiteral("<path class=\"line %1\" d=\"%2\"><title>%3</title></path>")
                        .arg(lineClass(i), path, marked(lines[i].name));
        }
    }
    return text + QStringLiteral("</svg>\n");
}

QString scatterPlot(const cloud_t& cloud, const axis_t& axis)
{
    field_t field;
    field.width = 340;
    field.height = 340;
    QString text = begin(
        404, 400, QStringLiteral("Seconds of %1 against those of %2").arg(cloud.up, cloud.across));
    text += gridUp(field, axis) + gridAcross(field, axis) +
            lineOf("same", field.x(0), field.y(0), field.x(1), field.y(1));
    text += dots(field, axis, "dots none", cloud.none) + dots(field, axis, "dots one", cloud.one) +
            dots(field, axis, "dots both", cloud.both);
    return text + QStringLiteral("</svg>\n");
}

} // namespace report
