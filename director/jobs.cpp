#include "director/jobs.h"

#include <QDir>

#include <algorithm>

namespace
{

/// The file name of a path between its last separator and its last dot.
QString stemOf(const QString& path)
{
    const QString native = QDir::toNativeSeparators(path);
    const int separator = native.lastIndexOf(QDir::separator());
    const int dot = native.lastIndexOf(QLatin1Char('.'));
    return native.mid(separator + 1, dot - separator - 1);
}

/// `name` as part of a file name: a separator in it must not lead out of the directory.
QString fileNamePart(QString name)
{
    return name.replace(QLatin1Char('/'), QLatin1Char('_'));
}

/// The file `name` in `folder`. A name that begins with a colon would be taken for one of Qt's own
/// resources, which is an absolute path.
QString pathIn(const QDir& folder, const QString& name)
{
    return name.startsWith(QLatin1Char(':')) ? folder.path() + QLatin1Char('/') + name
                                             : folder.filePath(name);
}

void addGoal(planned_job_t& job, std::size_t obligation, const ProofDirector::address_t& goal)
{
    job.goalWords << QStringLiteral("-a") << QString::number(obligation)
                  << QString::number(goal.second);
    job.goals.push_back(goal);
}

} // namespace

QString secondaryFile(const file_parts_t& parts, const std::vector<std::size_t>& numbers)
{
    QString name = stemOf(parts.inputFile) + QLatin1Char('_') + fileNamePart(parts.mechanism) +
                   QLatin1Char('_') + fileNamePart(parts.driver);
    for (const std::size_t number : numbers) {
        name += QLatin1Char('_') + QString::number(number);
    }
    name += QLatin1Char('.') + fileNamePart(parts.extension);
    return pathIn(QDir(parts.folder), name);
}

std::vector<planned_job_t> planJobs(const mechanism::group_t& group,
                                    const std::vector<ProofDirector::addresses_t>& batches,
                                    const file_parts_t& parts)
{
    std::vector<planned_job_t> jobs;
    if (group == mechanism::group_t::full) {
        jobs.push_back({secondaryFile(parts, {}), {}, {}}); // also when there is no goal
    }
    for (std::size_t position = 0; position < batches.size(); ++position) {
        if (group == mechanism::group_t::related && !batches[position].empty()) {
            jobs.push_back({secondaryFile(parts, {position}), {}, {}});
        }
        for (const ProofDirector::address_t& goal : batches[position]) {
            if (group == mechanism::group_t::none) {
                jobs.push_back({secondaryFile(parts, {goal.first, goal.second}), {}, {}});
            }
            // The batch's position, not the obligation's index: in a model run they differ.
            const bool related = group == mechanism::group_t::related;
            addGoal(jobs.back(), related ? position : goal.first, goal);
        }
    }
    return jobs;
}

work_ahead_t workAhead(const std::vector<QStringList>& goals, const QString& driver,
                       const QStringList& later)
{
    work_ahead_t ahead;
    for (const QStringList& drivers : goals) {
        const auto count = std::count_if(later.begin(), later.end(), [&](const QString& name) {
            return drivers.contains(name);
        });
        ahead.goalsLater += static_cast<std::size_t>(count);
        ahead.goalsOpen += count != 0 || drivers.contains(driver) ? 1 : 0;
    }
    return ahead;
}
