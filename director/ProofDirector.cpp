// Life of a director and what can be asked of it. Construction reads the mechanism file and nothing
// else: whether there is anything to play shows when the POS document is loaded.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "base/Process.h"
#include "base/SavedFile.h"
#include "director/ProcessGroups.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "pos/document_text.h"

#include <sstream>

ProofDirector::ProofDirector(const std::string& componentName, const std::string& mechanismFile,
                             const std::string& posPath, const std::string& pogPath,
                             const std::string& directory, bool xmlReport, unsigned int workers,
                             int traceLevel, const std::string& onlyDriver,
                             const std::string& onlyGoal, bool onlyFast)
    : driverFilter(QString::fromStdString(onlyDriver)),
      goalFilter(QString::fromStdString(onlyGoal)), pos(QString::fromStdString(posPath)),
      pog(QString::fromStdString(pogPath)), dir(QString::fromStdString(directory)), xml(xmlReport),
      concurrency(workers), trace(traceLevel), fastOnly(onlyFast), component(componentName),
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
    loaded = mechanism::ofFile(QString::fromStdString(mechanismFile), mechanism);
    if (trace == TRACE_PROGRESS) {
        std::ostringstream lines;
        lines << LOG_PREFIX << "Created a ProofDirector for " << component << " from "
              << mechanismFile << "\nxml: " << xml << " concurrency: " << concurrency
              << " loaded: " << loaded << " trace: " << trace << "\n";
        writeLog(lines.str());
    }
}

ProofDirector::~ProofDirector()
{
    traceLine("Destroyed ProofDirector for component " + component);
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
    const std::lock_guard<std::mutex> lock(entryMutex);
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

void ProofDirector::addError(const QString& message)
{
    const std::lock_guard<std::mutex> lock(entryMutex);
    errors.append(message);
}

std::string ProofDirector::tracedLine(const std::string& line) const
{
    return trace == TRACE_PROGRESS ? LOG_PREFIX + line + "\n" : std::string();
}

void ProofDirector::traceLine(const std::string& line) const
{
    if (trace == TRACE_PROGRESS) {
        writeLog(tracedLine(line));
    }
}
