// How long the drivers took, by the journals.

#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/Plots.h"
#include "mechtool/report/sections.h"

#include <algorithm>

namespace report
{

namespace
{

constexpr std::size_t SLOWEST = 20;
constexpr std::size_t PAIRS = 28;   // of eight drivers
constexpr std::size_t FAILED = 200; // rows in the table of failed jobs

QString secondsCell(double seconds)
{
    return QLatin1Char('>') + QString::number(seconds, 'f', 3);
}

std::vector<line_t> linesOf(const times_t& times)
{
    std::vector<line_t> lines;
    for (const driver_times_t& driver : times.drivers) {
        line_t line{shortened(driver.name()), {}};
        for (const auto& [place, run] : driver.runs) {
            if (run.isSolved()) {
                line.seconds.push_back(times.jobs[run.job].share());
            }
        }
        std::sort(line.seconds.begin(), line.seconds.end());
        lines.push_back(std::move(line));
    }
    return lines;
}

axis_t timeAxis(const times_t& times)
{
    double least = 1;
    double most = 0;
    for (const job_t& job : times.jobs) {
        least = std::min(least, job.share());
        most = std::max(most, job.share());
    }
    return axisOf(least, most);
}

/// What the quantile plot shows, as numbers; its rows are the legend too.
QString driverTable(const times_t& times, const std::vector<line_t>& lines)
{
    QString text =
        tableBegin(QStringLiteral("Time by driver, in seconds for a goal"),
                   {QStringLiteral("driver"), QStringLiteral(">goals"), QStringLiteral(">solved"),
                    QStringLiteral(">all together"), QStringLiteral(">half of the solved"),
                    QStringLiteral(">nine in ten"), QStringLiteral(">the slowest")});
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::vector<double>& seconds = lines[i].seconds;
        double sum = 0;
        for (const auto& [place, run] : times.drivers[i].runs) {
            sum += times.jobs[run.job].share();
        }
        const auto after = [&seconds](std::size_t tenths) {
            return seconds.empty() ? QStringLiteral(">-")
                                   : secondsCell(seconds[(seconds.size() * tenths - 1) / 10]);
        };
        text += row({QStringLiteral("<svg class=\"sample\" viewBox=\"0 0 40 10\" "
                                    "aria-hidden=\"true\"><path class=\"line %1\" d=\"M0 5H40\"/>"
                                    "</svg>%2")
                         .arg(lineClass(i), marked(lines[i].name)),
                     numberCell(times.drivers[i].runs.size()), numberCell(seconds.size()),
                     secondsCell(sum), after(5), after(9), after(10)});
    }
    return text + tableEnd();
}

/// The goals that both drivers ran.
cloud_t cloudOf(const times_t& times, std::size_t across, std::size_t up)
{
    const driver_times_t& one = times.drivers[across];
    const driver_times_t& other = times.drivers[up];
    cloud_t cloud;
    cloud.across = shortened(one.name());
    cloud.up = shortened(other.name());
    for (const auto& [place, run] : one.runs) {
        const auto same = other.runs.find(place);
        if (same != other.runs.end()) {
            auto& points = run.isSolved() && same->second.isSolved()   ? cloud.both
                           : run.isSolved() || same->second.isSolved() ? cloud.one
                                                                       : cloud.none;
            points.emplace_back(times.jobs[run.job].share(), times.jobs[same->second.job].share());
        }
    }
    return cloud;
}

std::size_t sizeOf(const cloud_t& cloud)
{
    return cloud.both.size() + cloud.one.size() + cloud.none.size();
}

QString figureOf(const cloud_t& cloud, const axis_t& axis)
{
    std::size_t acrossFaster = 0;
    std::size_t upFaster = 0;
    for (const auto& [across, up] : cloud.both) {
        acrossFaster += across < up ? 1 : 0;
        upFaster += up < across ? 1 : 0;
    }
    const QString across = marked(cloud.across);
    const QString up = marked(cloud.up);
    return QStringLiteral("<figure class=\"pair\"><figcaption><b>%1</b> \u2191 against <b>%2</b> "
                          "\u2192</figcaption>")
               .arg(up, across) +
           scatterPlot(cloud, axis) + QStringLiteral("<table><tbody>") +
           row({QStringLiteral("<span class=\"dot both\"></span>both solved"),
                numberCell(cloud.both.size())}) +
           row({QStringLiteral("<span class=\"dot one\"></span>one solved"),
                numberCell(cloud.one.size())}) +
           row({QStringLiteral("<span class=\"dot none\"></span>none solved"),
                numberCell(cloud.none.size())}) +
           row({across + QStringLiteral(" faster"), numberCell(acrossFaster)}) +
           row({up + QStringLiteral(" faster"), numberCell(upFaster)}) +
           QStringLiteral("</tbody></table></figure>\n");
}

/// Two drivers at a time over the goals that both ran, those with the most goals first.
QString pairs(const times_t& times, const axis_t& axis)
{
    std::vector<cloud_t> clouds;
    for (std::size_t i = 0; i < times.drivers.size(); ++i) {
        for (std::size_t j = i + 1; j < times.drivers.size(); ++j) {
            cloud_t cloud = cloudOf(times, i, j);
            if (sizeOf(cloud) != 0) {
                clouds.push_back(std::move(cloud));
            }
        }
    }
    std::stable_sort(clouds.begin(), clouds.end(), [](const cloud_t& one, const cloud_t& other) {
        return sizeOf(one) > sizeOf(other);
    });
    QString text;
    for (std::size_t i = 0; i < std::min(clouds.size(), PAIRS); ++i) {
        text += figureOf(clouds[i], axis);
    }
    if (text.isEmpty()) {
        return text;
    }
    const QString more =
        clouds.size() > PAIRS
            ? QStringLiteral("<p>%1 more pairs are not drawn.</p>\n").arg(clouds.size() - PAIRS)
            : QString();
    return QStringLiteral("<h3>Two drivers over the goals that both ran, in seconds</h3>"
                          "<label id=\"choose-pair\" class=\"field\" hidden>Drivers "
                          "<select></select></label><div class=\"pairs\">") +
           text + QStringLiteral("</div>\n") + more;
}

QString slowest(const content_t& content, const times_t& times)
{
    struct slow_t {
        double seconds;
        place_t place;
        const driver_times_t* driver;
        const run_t* run;
    };
    std::vector<slow_t> all;
    for (const driver_times_t& driver : times.drivers) {
        for (const auto& [place, run] : driver.runs) {
            all.push_back({times.jobs[run.job].share(), place, &driver, &run});
        }
    }
    const std::size_t count = std::min(all.size(), SLOWEST);
    std::partial_sort(all.begin(), all.begin() + std::ptrdiff_t(count), all.end(),
                      [](const slow_t& one, const slow_t& other) {
                          return one.seconds > other.seconds;
                      });
    QString text = tableBegin(QStringLiteral("The slowest goals"),
                              {QStringLiteral("goal"), QStringLiteral(">seconds"),
                               QStringLiteral("driver"), QStringLiteral("answer")});
    for (std::size_t i = 0; i < count; ++i) {
        const slow_t& slow = all[i];
        text += row({marked(labelOf(content, slow.place)), secondsCell(slow.seconds),
                     marked(shortened(slow.driver->name())),
                     slow.run->verdict.isEmpty() ? named(times.jobs[slow.run->job].end)
                                                 : named(slow.run->verdict)});
    }
    return text + tableEnd();
}

QString failures(const content_t& content, const times_t& times)
{
    if (times.failed.empty()) {
        return QStringLiteral("<p>No job failed.</p>\n");
    }
    QString text =
        tableBegin(QStringLiteral("Failed jobs"),
                   {QStringLiteral("goals"), QStringLiteral("driver"), QStringLiteral(">seconds"),
                    QStringLiteral("what happened"), QStringLiteral("when")});
    for (std::size_t i = 0; i < std::min(times.failed.size(), FAILED); ++i) {
        const job_t& job = times.jobs[times.failed[i]];
        QString goals = marked(labelOf(content, job.goals.front()));
        if (job.goals.size() > 1) {
            goals += QStringLiteral(" and %1 more").arg(job.goals.size() - 1);
        }
        const QString reason =
            job.reason.isEmpty() ? job.reason : QStringLiteral(": ") + job.reason;
        text += row({goals, marked(shortened(times.drivers[job.driver].name())),
                     secondsCell(job.seconds), marked(shortened(shown(job.end + reason))),
                     named(job.time)});
    }
    text += tableEnd();
    return times.failed.size() <= FAILED
               ? text
               : text + QStringLiteral("<p>And %1 more.</p>\n").arg(times.failed.size() - FAILED);
}

/// What there is of the journals, and what was left out.
QString account(const times_t& times)
{
    QString text = QStringLiteral("<p class=\"quiet\">%1 of the journal")
                       .arg(counted(times.lines, QStringLiteral("line")));
    if (times.foreign != 0) {
        text +=
            QStringLiteral("; %1 of other components or of goals that are gone").arg(times.foreign);
    }
    if (times.unreadable != 0) {
        text += QStringLiteral("; %1 torn, or of another version").arg(times.unreadable);
    }
    return text + QStringLiteral(". A driver\u2019s last job on a goal counts; a job of several "
                                 "goals counts for each with its share.</p>\n");
}

} // namespace

QString timing(const content_t& content)
{
    if (!content.times) {
        return {};
    }
    const times_t& times = *content.times;
    QString text = account(times);
    if (!times.jobs.empty()) {
        const axis_t axis = timeAxis(times);
        const std::vector<line_t> lines = linesOf(times);
        text += QStringLiteral("<figure class=\"scroll wide\" tabindex=\"0\">") +
                quantilePlot(lines, axis) + QStringLiteral("</figure>\n") +
                driverTable(times, lines) + pairs(times, axis) + slowest(content, times) +
                failures(content, times);
    }
    return section(QStringLiteral("times"), QStringLiteral("Times"), text);
}

} // namespace report
