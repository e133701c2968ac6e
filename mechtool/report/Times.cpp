#include "mechtool/report/Times.h"

#include "mechtool/Command.h"
#include "mechtool/Text.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPair>

#include <algorithm>
#include <cmath>
#include <utility>

namespace report
{

namespace
{

constexpr int VERSION = 1;

/// What became of a tool that did not end well; nothing otherwise.
QString fateOf(const QJsonObject& line, const QString& tool)
{
    const QJsonObject run = line.value(tool).toObject();
    if (run.contains(QStringLiteral("error"))) {
        return QStringLiteral("%1: %2").arg(tool, run.value(QStringLiteral("error")).toString());
    }
    if (run.contains(QStringLiteral("signal"))) {
        return QStringLiteral("%1 ended by %2")
            .arg(tool, run.value(QStringLiteral("signal")).toString());
    }
    const int status = run.value(QStringLiteral("status")).toInt();
    return status == 0
               ? QString()
               : QStringLiteral("%1 ended with status %2").arg(tool, QString::number(status));
}

QString reasonOf(const QJsonObject& line)
{
    QStringList fates;
    for (const QString& tool :
         {QStringLiteral("writer"), QStringLiteral("prover"), QStringLiteral("reader")}) {
        fates << fateOf(line, tool);
    }
    fates.removeAll(QString());
    return fates.join(QStringLiteral("; "));
}

/// Takes in the lines of journals, one after the other.
class Reading
{
public:
    explicit Reading(const std::vector<const component_t*>& components)
    {
        for (std::size_t i = 0; i < components.size(); ++i) {
            for (std::size_t j = 0; j < components[i]->obligations.size(); ++j) {
                const obligation_t& obligation = components[i]->obligations[j];
                const QString name = shown(obligation.name) + QLatin1Char('.');
                for (std::size_t k = 0; k < obligation.goals.size(); ++k) {
                    const key_t key(components[i]->name, name + QString::number(k + 1));
                    if (!places.contains(key)) {
                        places.insert(key, place_t{i, {j, k}});
                    }
                }
            }
        }
    }

    void take(const QByteArray& text)
    {
        const QJsonObject line = QJsonDocument::fromJson(text).object();
        ++times.lines;
        const double seconds = line.value(QStringLiteral("seconds")).toDouble(-1);
        if (line.value(QStringLiteral("version")).toInt() != VERSION || !(seconds >= 0) ||
            !line.value(QStringLiteral("driver")).isString()) {
            ++times.unreadable;
            return;
        }
        takeJob(line, seconds);
    }

    times_t end()
    {
        std::vector<bool> isLast(times.jobs.size());
        for (const driver_times_t& driver : times.drivers) {
            for (const auto& [place, run] : driver.runs) {
                isLast[run.job] = true;
            }
        }
        for (std::size_t i = 0; i < times.jobs.size(); ++i) {
            if (isLast[i] && times.jobs[i].hasFailed()) {
                times.failed.push_back(i);
            }
        }
        return std::move(times);
    }

private:
    using key_t = QPair<QString, QString>;

    std::size_t driverOf(const QJsonObject& line)
    {
        const key_t key(line.value(QStringLiteral("mechanism")).toString(),
                        line.value(QStringLiteral("driver")).toString());
        const auto known = drivers.constFind(key);
        if (known != drivers.constEnd()) {
            return *known;
        }
        drivers.insert(key, times.drivers.size());
        times.drivers.push_back({key.first, key.second, {}});
        return times.drivers.size() - 1;
    }

    void takeJob(const QJsonObject& line, double seconds)
    {
        const QString component = line.value(QStringLiteral("component")).toString();
        const QJsonArray goals = line.value(QStringLiteral("goals")).toArray();
        const QJsonArray verdicts = line.value(QStringLiteral("verdicts")).toArray();
        job_t job;
        std::vector<QString> words;
        for (int i = 0; i < goals.size(); ++i) {
            const auto place = places.constFind({component, goals.at(i).toString()});
            if (place != places.constEnd()) {
                job.goals.push_back(*place);
                words.push_back(verdicts.at(i).toString());
            }
        }
        if (job.goals.empty()) {
            ++times.foreign;
            return;
        }
        job.time = line.value(QStringLiteral("time")).toString();
        job.driver = driverOf(line);
        job.seconds = seconds;
        job.size = static_cast<std::size_t>(goals.size());
        job.end = line.value(QStringLiteral("end")).toString();
        job.reason = job.hasFailed() ? reasonOf(line) : QString();
        times.jobs.push_back(std::move(job));
        note(times.jobs.size() - 1, words);
    }

    /// Notes a job as the last one on its goals, unless a later one is known.
    void note(std::size_t number, const std::vector<QString>& verdicts)
    {
        const job_t& job = times.jobs[number];
        for (std::size_t i = 0; i < job.goals.size(); ++i) {
            const auto [run, isNew] = times.drivers[job.driver].runs.insert({job.goals[i], {}});
            if (isNew || times.jobs[run->second.job].time <= job.time) {
                run->second = {number, verdicts[i]};
            }
        }
    }

    times_t times;
    QHash<key_t, place_t> places;
    QHash<key_t, std::size_t> drivers;
};

} // namespace

bool job_t::hasFailed() const
{
    return end != QLatin1String("read") && end != QLatin1String("stopped");
}

bool run_t::isSolved() const
{
    return verdict == QLatin1String("Proved") || verdict == QLatin1String("Disproved");
}

QString driver_times_t::name() const
{
    return shown(mechanism) + QLatin1Char('/') + shown(driver);
}

std::optional<double> times_t::secondsOf(const place_t& place) const
{
    std::optional<double> seconds;
    for (const driver_times_t& driver : drivers) {
        const auto run = driver.runs.find(place);
        if (run != driver.runs.end()) {
            seconds = seconds.value_or(0) + jobs[run->second.job].share();
        }
    }
    return seconds;
}

times_t timesOf(const QStringList& journals, const std::vector<const component_t*>& components)
{
    Reading reading(components);
    for (const QString& journal : journals) {
        QFile file(journal);
        if (QFileInfo(journal).isDir() || !file.open(QIODevice::ReadOnly)) {
            throw CannotAnswer(QStringLiteral("the journal %1 cannot be read: %2: check the path")
                                   .arg(shown(journal), QFileInfo(journal).isDir()
                                                            ? QStringLiteral("it is a folder")
                                                            : file.errorString()));
        }
        while (!file.atEnd()) {
            const QByteArray line = file.readLine().trimmed();
            if (!line.isEmpty()) {
                reading.take(line);
            }
        }
    }
    return reading.end();
}

} // namespace report
