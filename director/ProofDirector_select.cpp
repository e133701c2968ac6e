// Selection. For the driver being played: which goals it is to work on, in batches of one per
// obligation, and the writer runs that the driver's group makes of the batches. Leaves the runs in
// `writerData`; runs on the main thread between two drivers.

#include "director/ProofDirector.h"

#include "director/ProofDirectorObserver.h"
#include "director/ProofDirector_p.h"

#include <QDir>

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

void appendGoalWords(QStringList& words, std::size_t obligation, std::size_t goal)
{
    words << QStringLiteral("-a") << QString::number(obligation) << QString::number(goal);
}

} // namespace

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

/// One writer run: the words of its goals, its files, and the writer's own parameters.
ProofDirector::writer_data_t ProofDirector::writerRun(const QString& file,
                                                      const QStringList& goalWords,
                                                      const QString& inputFile,
                                                      const addresses_t& positions) const
{
    QStringList args = goalWords;
    args << QStringLiteral("-i") << inputFile << QStringLiteral("-o") << file;
    if (modelRun) {
        args << QStringLiteral("-m");
    }
    addParametersBits(args, driver.writer);
    return {driver.writer.path, args, file, positions};
}

void ProofDirector::produceWriterData(const QString& directory, const QString& inputFile,
                                      const std::vector<addresses_t>& batches)
{
    std::vector<writer_data_t> runs;
    const QDir folder(directory);
    const QString base = stemOf(inputFile);
    const QString mech = fileNamePart(QString::fromStdString(mechanism.name));
    const QString drv = fileNamePart(driver.name);
    const QString ext = fileNamePart(driver.ext);

    switch (driver.group) {
    case mechanism::group_t::none:
        for (const addresses_t& batch : batches) {
            for (const auto& [obligation, goal] : batch) {
                QStringList words;
                appendGoalWords(words, obligation, goal);
                const QString name = QStringLiteral("%1_%2_%3_%4_%5.%6")
                                         .arg(base, mech, drv, QString::number(obligation),
                                              QString::number(goal), ext);
                runs.push_back(
                    writerRun(pathIn(folder, name), words, inputFile, {{obligation, goal}}));
            }
        }
        break;
    case mechanism::group_t::related:
        for (std::size_t position = 0; position < batches.size(); ++position) {
            if (batches[position].empty()) {
                continue;
            }
            // The batch's position, not the obligation's index: in a model run they differ.
            QStringList words;
            for (const auto& [obligation, goal] : batches[position]) {
                appendGoalWords(words, position, goal);
            }
            const QString name = QStringLiteral("%1_%2_%3_%4.%5")
                                     .arg(base, mech, drv, QString::number(position), ext);
            runs.push_back(writerRun(pathIn(folder, name), words, inputFile, batches[position]));
        }
        break;
    case mechanism::group_t::full: {
        QStringList words;
        addresses_t all;
        for (const addresses_t& batch : batches) {
            for (const auto& [obligation, goal] : batch) {
                appendGoalWords(words, obligation, goal);
                all.emplace_back(obligation, goal);
            }
        }
        const QString name = QStringLiteral("%1_%2_%3.%4").arg(base, mech, drv, ext);
        runs.push_back(writerRun(pathIn(folder, name), words, inputFile, all));
        break;
    }
    }
    {
        const std::lock_guard<std::mutex> lock(entryMutex);
        nextEntry = 0;
        nextProof = 0;
        jobStates = std::vector<job_state_t>(runs.size());
    }
    const std::lock_guard<std::mutex> lock(fileMutex);
    writerData = std::move(runs);
}
