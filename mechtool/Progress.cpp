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

/// The parts, what matters most first; each in its forms, the best first.
std::vector<QStringList> partsOf(const progress_t& progress)
{
    const QString count =
        QStringLiteral("%1/%2").arg(QString::number(progress.done), QString::number(progress.all));
    std::vector<QStringList> parts = {{count + QStringLiteral(" goals"), count}};
    if (progress.secondsLeft) {
        parts.push_back({leftText(*progress.secondsLeft)});
    }
    parts.push_back({QString::number(progress.proved) + QStringLiteral(" proved")});
    if (progress.refuted != 0) {
        parts.push_back({QString::number(progress.refuted) + QStringLiteral(" refuted")});
    }
    if (progress.failed != 0) {
        parts.push_back({QString::number(progress.failed) + QStringLiteral(" failed")});
    }
    parts.push_back({progress.mechanism + QLatin1Char('/') + progress.driver, progress.driver});
    if (!progress.longest.isNull() && progress.longestSeconds >= 1) {
        const QString time = duration(progress.longestSeconds);
        parts.push_back({progress.longest + QStringLiteral(" runs ") + time,
                         QStringLiteral("a job runs ") + time});
    }
    if (progress.jobsPerSecond > 0) {
        parts.push_back({rateText(progress.jobsPerSecond)});
    }
    return parts;
}

} // namespace

QString progressLine(const progress_t& progress, int width)
{
    QString line;
    for (const QStringList& forms : partsOf(progress)) {
        const QString gap = line.isEmpty() ? QString() : QStringLiteral(", ");
        const auto fits = [&](const QString& form) {
            return columnsOf(line) + gap.size() + columnsOf(form) <= width;
        };
        const auto form = std::find_if(forms.begin(), forms.end(), fits);
        if (form != forms.end()) {
            line += gap + *form;
        }
    }
    return line;
}

void Pace::pass(double seconds, double count)
{
    elapsed += seconds;
    const double kept = std::exp(-seconds / std::max(30.0, elapsed / 2));
    time = time * kept + seconds;
    times = times * kept + count;
}

void Pace::forgetAllBut(double seconds)
{
    const double kept = time > seconds ? seconds / time : 1;
    time *= kept;
    times *= kept;
    elapsed = std::min(elapsed, seconds);
}

double Pace::perSecond() const
{
    return time > 0 ? times / time : 0;
}

void TimeLeft::driverBegins()
{
    pace.forgetAllBut(5);
}

void TimeLeft::pass(double seconds, double run, double left)
{
    elapsed += seconds;
    pace.pass(seconds, run);
    if (elapsed < 2 || pace.perSecond() <= 0) {
        return;
    }
    const double measured = left / pace.perSecond();
    if (!estimate) {
        estimate = measured;
        return;
    }
    // The last seconds are counted as they are, the last hour by and by.
    const double patience = std::clamp(measured / 8, 1.0, 15.0);
    const double expected = std::max(0.0, *estimate - seconds);
    estimate = expected + (measured - expected) * (1 - std::exp(-seconds / patience));
}
