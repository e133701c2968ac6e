// Selection. For the driver being played: which goals it is to work on, in batches of one per
// obligation, and the writer runs of the jobs that they are spread over (director/jobs.h). Leaves
// the runs in `writerData`; runs on the main thread between two drivers.

#include "director/ProofDirector.h"

#include "director/ProofDirectorObserver.h"
#include "director/ProofDirector_p.h"
#include "director/jobs.h"

#include <utility>

/// The goal of a model run, as it is named: neither its number nor its status is looked at. None
/// when there is no such obligation. Called with `domMutex` held.
std::optional<ProofDirector::address_t> ProofDirector::onlyGoal() const
{
    if (settings.onlyGoalAt) {
        return settings.onlyGoalAt->first < obligations.size() ? settings.onlyGoalAt : std::nullopt;
    }
    const QStringList parts = QString::fromStdString(settings.onlyGoal).split(QLatin1Char('.'));
    for (std::size_t i = 0; i < obligations.size(); ++i) {
        if (parts.first() == QString::fromStdString(obligations[i].first)) {
            const qint64 goal = qint64(parts.value(1).toInt()) - 1;
            return address_t(i, static_cast<std::size_t>(goal));
        }
    }
    return std::nullopt;
}

void ProofDirector::selectForDriver(std::vector<addresses_t>& batches)
{
    const std::lock_guard<std::mutex> lock(domMutex);
    if (modelRun) {
        const std::optional<address_t> goal = onlyGoal();
        if (goal) {
            batches.push_back({*goal});
        }
        return;
    }
    for (std::size_t i = 0; i < obligations.size(); ++i) {
        addresses_t batch;
        const std::vector<po_data_t>& goals = obligations[i].second;
        for (std::size_t j = 0; j < goals.size(); ++j) {
            if (goals[j].drivers.contains(driver.name)) {
                batch.emplace_back(i, j);
            }
        }
        batches.push_back(std::move(batch));
    }
}

void ProofDirector::produceWriterData(const QString& directory, const QString& inputFile,
                                      const std::vector<addresses_t>& batches)
{
    const file_parts_t parts = {directory, inputFile, QString::fromStdString(mechanism.name),
                                driver.name, driver.ext};
    std::vector<writer_data_t> runs;
    for (planned_job_t& job : planJobs(driver.group, batches, parts)) {
        QStringList args = job.goalWords;
        args << QStringLiteral("-i") << inputFile << QStringLiteral("-o") << job.file;
        if (modelRun) {
            args << QStringLiteral("-m");
        }
        addParametersBits(args, driver.writer);
        runs.push_back({driver.writer.path, args, job.file, std::move(job.goals)});
    }
    {
        const std::lock_guard<std::mutex> lock(jobMutex);
        nextToWrite = 0;
        nextToProve = 0;
        jobStates = std::vector<job_state_t>(runs.size());
    }
    const std::lock_guard<std::mutex> lock(fileMutex);
    writerData = std::move(runs);
}
