#include "mechtool/Progress.h"

#include "mechtool/Text.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

/// At most so many columns: from Hangul on, where the wide scripts begin, every character counts
/// two, whether it takes them or not.
int columnsOf(const QString& text)
{
    int columns = 0;
    for (const uint point : text.toUcs4()) {
        columns += point >= 0x1100 ? 2 : 1;
    }
    return columns;
}

/// Coarse, so that it does not flicker: "35 s left", "3 min 20 s left", "2 h 10 min left".
QString leftText(double seconds)
{
    const long whole = std::lround(std::min(seconds, 1e8));
    if (whole < 60) {
        const long step = whole < 10 ? 1 : 5;
        return QStringLiteral("%1 s left").arg((whole + step - 1) / step * step);
    }
    if (whole < 600) {
        return QStringLiteral("%1 min %2 s left")
            .arg(whole / 60)
            .arg(whole % 60 / 10 * 10, 2, 10, QLatin1Char('0'));
    }
    const long minutes = (whole + 30) / 60;
    return minutes < 60 ? QStringLiteral("%1 min left").arg(minutes)
                        : QStringLiteral("%1 h %2 min left")
                              .arg(minutes / 60)
                              .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

QString rateText(double perSecond)
{
    return QString::number(perSecond, 'f',
                           perSecond < 0.995  ? 2
                           : perSecond < 99.5 ? 1
                                              : 0) +
           QStringLiteral(" jobs/s");
}

/// A part of the line, in the form to take where there is room for it, and in the shortest.
struct part_t {
    QString whole;
    QString brief;
};

/// The parts, what matters most first.
std::vector<part_t> partsOf(const progress_t& progress)
{
    std::vector<part_t> parts;
    const auto add = [&parts](const QString& text) {
        parts.push_back({text, text});
    };
    const auto addCount = [&add](std::size_t count, const char* what) {
        add(QString::number(count) + QLatin1Char(' ') + QLatin1String(what));
    };
    const QString count =
        QStringLiteral("%1/%2").arg(QString::number(progress.done), QString::number(progress.all));
    parts.push_back({count + QStringLiteral(" goals"), count});
    // A job that does not come to its end holds the last second up.
    if (progress.secondsLeft && *progress.secondsLeft >= 0.5) {
        add(leftText(*progress.secondsLeft));
    }
    addCount(progress.proved, "proved");
    if (progress.refuted != 0) {
        addCount(progress.refuted, "refuted");
    }
    parts.push_back({progress.mechanism + QLatin1Char('/') + progress.driver, progress.driver});
    if (!progress.longest.isNull() && progress.longestSeconds >= 1) {
        const QString time = duration(progress.longestSeconds);
        parts.push_back({progress.longest + QStringLiteral(" runs ") + time,
                         QStringLiteral("a job runs ") + time});
    }
    if (progress.failed != 0) {
        addCount(progress.failed, "failed");
    }
    if (progress.jobsPerSecond > 0) {
        add(rateText(progress.jobsPerSecond));
    }
    return parts;
}

} // namespace

QString progressLine(const progress_t& progress, int width)
{
    const QString gap = QStringLiteral(", ");
    std::vector<part_t> taken;
    int room = width;
    for (const part_t& part : partsOf(progress)) {
        const int columns = columnsOf(part.brief) + (taken.empty() ? 0 : gap.size());
        if (columns <= room) {
            taken.push_back(part);
            room -= columns;
        }
    }
    QStringList texts;
    for (const part_t& part : taken) {
        const int more = columnsOf(part.whole) - columnsOf(part.brief);
        texts << (more <= room ? part.whole : part.brief);
        room -= more <= room ? more : 0;
    }
    return texts.join(gap);
}

void Pace::pass(double seconds, double count)
{
    elapsed += seconds;
    const double kept = std::exp(-seconds / std::max(30.0, elapsed / 2));
    time = time * kept + seconds;
    times = times * kept + count;
}

double Pace::perSecond() const
{
    return time > 0 ? times / time : 0;
}

void TimeLeft::driverBegins()
{
    elapsed = 0;
    pace = Pace();
}

void TimeLeft::pass(double seconds, double run, double left)
{
    elapsed += seconds;
    pace.pass(seconds, run);
    const double expected = std::max(0.0, estimate.value_or(0) - seconds);
    if (elapsed < 2 || pace.perSecond() <= 0) {
        estimate = estimate ? std::optional<double>(expected) : std::nullopt;
        return;
    }
    const double measured = left / pace.perSecond();
    // The last seconds are counted as they are, the last hour by and by.
    const double patience = std::clamp(measured / 8, 1.0, 15.0);
    estimate = estimate ? expected + (measured - expected) * (1 - std::exp(-seconds / patience))
                        : measured;
}
