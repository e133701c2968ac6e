// Life of a director and what can be asked of it. Construction reads the mechanism file and nothing
// else: whether there is anything to play shows when the POS document is loaded.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "base/Process.h"
#include "base/SavedFile.h"
#include "director/ProcessGroups.h"
#include "director/ProofDirectorObserver.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "pos/document_text.h"

#include <ostream>
#include <sstream>

ProofDirector::ProofDirector(const std::string& componentName, const std::string& mechanismFile,
                             const std::string& posPath, const std::string& pogPath,
                             const std::string& directory, bool xmlReport, unsigned int workers,
                             int traceLevel, const std::string& onlyDriver,
                             const std::string& onlyGoal, bool onlyFast)
    : ProofDirector({componentName, mechanismFile, posPath, pogPath, directory, xmlReport, workers,
                     traceLevel, onlyDriver, onlyFast, onlyGoal, std::nullopt})
{
}

ProofDirector::ProofDirector(const ProofDirectorSettings& asked)
    : settings(asked), modelRun(asked.onlyGoalAt || !asked.onlyGoal.empty()),
      driverFilter(QString::fromStdString(asked.onlyDriver)),
      pos(QString::fromStdString(asked.posPath)), pog(QString::fromStdString(asked.pogPath)),
      dir(QString::fromStdString(asked.directory)), xml(asked.xmlReport),
      processes(std::make_unique<ProcessGroups>()), text(std::make_unique<pos::DocumentText>()),
      saves(std::make_unique<SaveGroup>(
          [this] {
              return saveDocument();
          },
          [this](const std::error_code& failure) {
              reportFailedSave(failure);
          })),
      posFile(std::make_unique<SavedFile>(pos))
{
    useUtf8Everywhere();
    loaded = mechanism::ofFile(QString::fromStdString(settings.mechanismFile), mechanism);
    if (settings.traceLevel == TRACE_PROGRESS) {
        std::ostringstream lines;
        lines << LOG_PREFIX << "Created a ProofDirector for " << settings.component << " from "
              << settings.mechanismFile << "\nxml: " << xml << " concurrency: " << settings.workers
              << " loaded: " << loaded << " trace: " << settings.traceLevel << "\n";
        writeLog(lines.str());
    }
}

ProofDirector::~ProofDirector()
{
    traceLine("Destroyed ProofDirector for component " + settings.component);
}

bool ProofDirector::isLoaded() const
{
    return loaded;
}

std::string ProofDirector::getMechanismName() const
{
    return mechanism.name;
}

QStringList ProofDirector::getErrors() const
{
    const std::lock_guard<std::mutex> lock(jobMutex);
    return errors;
}

bool ProofDirector::hasWork() const
{
    const std::lock_guard<std::mutex> lock(domMutex);
    for (const auto& [name, goals] : obligations) {
        for (const po_data_t& goal : goals) {
            if (!goal.drivers.isEmpty()) {
                return true;
            }
        }
    }
    return false;
}

/// Takes down a failure in a job: writes the line to the log, unless an observer is told instead,
/// and keeps the message for `getErrors`, with the name of the driver and perhaps of a file.
void ProofDirector::tellFailure(const std::string& line, const QString& message,
                                const QString& file)
{
    if (settings.observer == nullptr) {
        writeLog(line);
    }
    const std::lock_guard<std::mutex> lock(jobMutex);
    errors.append(file.isNull() ? message.arg(driver.name) : message.arg(driver.name, file));
}

/// Writes to the report in one piece.
void ProofDirector::report(const std::string& words) const
{
    if (settings.report != nullptr) {
        *settings.report << words << std::flush;
    }
}

std::string ProofDirector::tracedLine(const std::string& line) const
{
    return settings.traceLevel == TRACE_PROGRESS ? LOG_PREFIX + line + "\n" : std::string();
}

void ProofDirector::traceLine(const std::string& line) const
{
    if (settings.traceLevel == TRACE_PROGRESS) {
        writeLog(tracedLine(line));
    }
}
