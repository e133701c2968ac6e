#pragma once

// The replay engine: plays one proof mechanism over one component.
//
// A ProofDirector reads its mechanism file when it is made, loads the component's POS document,
// and then, driver by driver, picks the goals still to be run, has the driver's writer turn them
// into secondary files, pipes the prover into the reader, merges one verdict per goal into the
// document and saves it. It owns the document, the mechanism and, while they run, the children.
//
// A program calls prepareProcess() of base/Process.h first of all, before it uses anything else of
// these libraries: it sets what they need of a process. In a program that ignores SIGCHLD every
// prover and reader would pass for crashed.
//
// Failures are results and message lines, never exceptions of its own: a file that cannot be read
// or written makes the operation return false; a child that fails is reported on the standard log
// stream, or to the observer, and collected in `getErrors`, and the run goes on. Words that the
// formats do not know and addresses out of range raise std::out_of_range. `play` and `replay` pass
// it on from whichever thread raised it, once the workers have ended and the secondary files are
// removed.
//
// A director is made, loaded, played and destroyed by one thread. `stop` may be called from any
// other thread at any time between construction and destruction; the worker bodies (`writeJob`,
// `proveJob`, `writeAndProveJob`) from several threads at once after `prepareDriver`.
//
// A program that wants to see the jobs while they run gives the director an observer
// (director/ProofDirectorObserver.h).
//
// Files and arguments are UTF-8 texts; making a director makes UTF-8 the encoding that Qt uses
// towards the system, for the whole process.

#include "director/ProofDirectorSettings.h"
#include "mechanism/Mechanism.h"
#include "pos/pos.h"

#include <QDomDocument>
#include <QDomElement>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

class ProcessGroups;
class ReaderLines;
class SavedFile;
class SaveGroup;
enum class job_end_t : int;
enum class verdict_t : int;
enum class WriterEnd;
struct PairResult;
struct WriterResult;
struct job_ended_t;

namespace pos
{
class DocumentText;
}

class ProofDirector : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(ProofDirector)

public:
    /// Where a goal stands: obligation index and goal index, both from 0, in document order.
    using address_t = std::pair<std::size_t, std::size_t>;
    using addresses_t = std::vector<address_t>;

    /// One goal.
    struct po_data_t {
        pos::status_t status = pos::UNPROVED; ///< for this mechanism, as the director sees it
        QStringList drivers;                  ///< this mechanism's drivers still to run on the goal
        QDomElement element; ///< the goal's `Mechanism` element: a handle into the document
    };
    using obligations_t = std::vector<std::pair<const std::string, std::vector<po_data_t>>>;

    /// One writer run.
    struct writer_data_t {
        QString cmd;
        QStringList args;
        QString po2filename;   ///< the secondary file that the run produces
        addresses_t positions; ///< the goals of the run; handed on to the prover run
    };

    /// One prover run, followed by its reader run.
    struct prover_data_t {
        QString cmdp;
        QStringList argsp;
        QString cmdr;
        QStringList argsr;
        QString inpath; ///< the secondary file
        addresses_t po_addresses;
    };

    /// Reads the mechanism file; `isLoaded` tells whether that went well.
    explicit ProofDirector(const ProofDirectorSettings& settings);

    /// The same with the settings of these names, without limits and without an observer.
    ProofDirector(const std::string& componentName, const std::string& mechanismFile,
                  const std::string& posPath, const std::string& pogPath,
                  const std::string& directory, bool xmlReport, unsigned int workers,
                  int traceLevel, const std::string& onlyDriver, const std::string& onlyGoal,
                  bool onlyFast);

    /// Neither saves the POS file nor kills children.
    ~ProofDirector() override;

    /// True when the mechanism file was read.
    bool isLoaded() const;

    /// The base name of the mechanism file; the POS file knows the mechanism by it.
    std::string getMechanismName() const;

    /// The messages about children that failed, translated, in the order of the failures.
    QStringList getErrors() const;

    /// Loads the POS document for a first play: every driver is a candidate for every open goal.
    /// Returns true when the mechanism was registered in at least one goal, so that the document
    /// must be saved; false also when the file cannot be read. To be called once.
    bool loadPosFile();

    /// Loads the POS document for a replay: the drivers that reached a verdict run again. Returns
    /// false when the file cannot be read or some goal does not know the mechanism. To be called
    /// once.
    bool reloadPosFile();

    /// Replaces the content of the POS file by the document, in one step, and returns whether that
    /// went well; on failure the file keeps its content. A file that is missing is not made, and a
    /// document without a root element is never written. May be called from any thread; calls made
    /// at the same time share a save.
    bool savePosFile();

    /// True when some goal still has a driver to run.
    bool hasWork() const;

    /// First play: loads the POS document, registering the mechanism in it where it is unknown,
    /// and plays the drivers.
    void play();

    /// Replay: loads the POS document and plays the drivers; when it cannot be loaded, says so in
    /// the report.
    void replay();

    /// Kills every running writer, prover and reader with all that they started in their process
    /// groups, removes the current driver's secondary files and saves the POS document, in that
    /// order. No child starts from then on, and no further verdict is merged. Starts that were
    /// under way are waited for after the save, for a few seconds at most, and what they started is
    /// killed too. Meant to be followed by the program's end.
    void stop();

    // The steps of a play, for tools that run some of them by themselves: load, then for a driver
    // `prepareDriver`, the worker bodies on any number of threads, and `finishDriver`.

    /// Takes driver `index` of the mechanism as the one being played and prepares its jobs: goals,
    /// command lines, job counter, report cursor. Finishes the driver before it, if nobody has. An
    /// index out of range raises std::out_of_range.
    void prepareDriver(std::size_t index);

    /// Appends the batches of goals for the current driver: one per obligation, perhaps empty; in a
    /// play of one goal a single batch that holds this goal, or none.
    void selectForDriver(std::vector<addresses_t>& batches);

    /// Replaces the writer runs of the current driver by those for `batches`. `directory` takes the
    /// secondary files; `inputFile` is handed to the writer.
    void produceWriterData(const QString& directory, const QString& inputFile,
                           const std::vector<addresses_t>& batches);

    /// Replaces the prover runs by one per writer run, whose goals they take over.
    void produceProverData();

    /// Worker bodies: take jobs of the current driver, until none is left, and write, prove, or
    /// write and prove each. Each job is taken at most once to be written and once to be proved;
    /// nobody may prove a job that another worker still writes.
    void writeJob();
    void proveJob();
    void writeAndProveJob();

    /// Runs the writer of job `index`; raises std::out_of_range when there is no such job. The
    /// outcome shows in the log, in `getErrors`, and in whether the secondary file exists: a file
    /// that an earlier run has left is removed first. When that fails, the job has failed, too.
    void writeEntry(const std::size_t& index);

    /// Runs prover and reader of job `index`, merges and reports the verdicts and saves the POS
    /// document; raises std::out_of_range when there is no such job. Does nothing when the job has
    /// failed before its writer was run.
    void proveEntry(const std::size_t& index);

    /// Ends a driver, when no worker body runs: kills what its tools have left behind, removes its
    /// secondary files and forgets its jobs.
    void finishDriver();

    friend std::ostream& operator<<(std::ostream& out, const ProofDirector& director);

private:
    // ProofDirector_load.cpp
    bool readPosFile(QDomDocument& document) const;
    void takeDocument(const QDomDocument& document);
    bool
    appendObligations(const std::function<bool(QDomElement& goal, po_data_t& record)>& recordGoal);
    QDomElement registerMechanism(QDomElement& goal, pos::status_t status);
    po_data_t goalToPlay(QDomElement& goal, bool& registered);
    bool isOpen(pos::status_t status, const QDomElement& entry) const;

    // ProofDirector_save.cpp
    std::error_code saveDocument();
    void reportFailedSave(const std::error_code& failure) const;

    // ProofDirector_select.cpp
    std::optional<address_t> onlyGoal() const;

    // ProofDirector_work.cpp

    /// What has become of a job. All but the first belongs to whoever runs the job.
    struct job_state_t {
        bool proofTaken = false;                     ///< it was handed out for writing and proving
        bool failed = false;                         ///< it must not be proved
        std::chrono::steady_clock::time_point begun; ///< when its writer, or else its prover, began

        /// What the observer is going to be told; null without one, and once it was told.
        std::unique_ptr<job_ended_t> record;
    };

    job_state_t& beginJob(std::size_t index);
    bool takeJobToWrite(bool proves, std::size_t& index);
    bool takeJobToProve(std::size_t& index);
    void abandonJobs();
    void attempt(const std::size_t& index, const std::function<void()>& job);
    void runJobs(const std::function<bool(std::size_t& index)>& take,
                 const std::function<void(std::size_t index)>& run);
    void runInline();
    void runWorkers();
    void traceWriting(std::size_t index) const;
    void traceProving(std::size_t index) const;

    // ProofDirector_write.cpp
    bool removeLeftFile(const QString& file, job_state_t& state);
    void judgeWriter(const writer_data_t& run, const WriterEnd& end, bool found);

    // ProofDirector_prove.cpp

    /// What a job has to tell once it is merged.
    struct story_t {
        std::string trace;
        std::string report;
    };

    PairResult runProver(const prover_data_t& job, job_state_t& state);
    job_end_t judgePair(const prover_data_t& job, const PairResult& result);
    void tellEnd(const job_end_t& end, const prover_data_t& job, const PairResult& result);
    void mergeVerdicts(const prover_data_t& job, const QByteArray& output, job_state_t& state);
    void tell(const story_t& story) const;
    bool reportVerdicts(const prover_data_t& job, ReaderLines lines, story_t& story,
                        job_ended_t* record);
    void reportHeadings(std::size_t obligation, std::string& marks);
    void applyVerdict(const address_t& address, const verdict_t& verdict, std::string& traced);

    // ProofDirector_update.cpp
    void updateStatus(const address_t& address, const verdict_t& verdict);

    // ProofDirector_observe.cpp
    void announceDriver(std::size_t index);
    void announceJob(std::size_t index, job_state_t& state);
    std::vector<QStringList> driversOfGoals(std::size_t goals, const QStringList& later) const;
    bool endJob(std::size_t index);
    bool loseJob(std::size_t index, const job_end_t& end);
    void endAllJobs();
    std::size_t roomForErrors(const job_state_t& state) const;
    static void recordErrors(const QByteArray& printed, job_state_t& state);
    static void recordWriter(const writer_data_t& run, const WriterResult& result, bool found,
                             job_state_t& state);
    static void recordPair(const prover_data_t& job, const PairResult& result, job_state_t& state);

    // ProofDirector_play.cpp
    bool isPlayed(const mechanism::driver_t& candidate) const;
    void playDrivers();
    void playDriver(std::size_t index);
    void removeSecondaryFiles();

    // ProofDirector.cpp

    void tellFailure(const std::string& line, const QString& message, const QString& file = {});
    void report(const std::string& words) const;

    /// A progress line, prefixed; empty unless the trace level asks for it.
    std::string tracedLine(const std::string& line) const;

    /// Writes such a line. Not to be called with `domMutex` held.
    void traceLine(const std::string& line) const;

    // Set at construction, only read afterwards.
    const ProofDirectorSettings settings;
    const bool modelRun; ///< one goal is played for a model, and keeps its status
    const QString driverFilter;
    const QString pos;
    const QString pog;
    const QString dir;
    const bool xml;
    bool loaded = false;
    mechanism::mechanism_t mechanism;

    /// The POS document. Guarded by `domMutex`, as are the goal records and the counters below.
    QDomDocument dom;

    /// Messages about failed children. Guarded by `jobMutex`.
    QStringList errors;

    /// Where writers, provers and readers run; has a lock of its own.
    std::unique_ptr<ProcessGroups> processes;

    /// Index of the next job to hand out for writing (and perhaps proving), and of the next one
    /// for proving alone. Guarded by `jobMutex`.
    std::size_t nextToWrite = 0;
    std::size_t nextToProve = 0;

    std::vector<job_state_t> jobStates; ///< one per job; `jobMutex` guards who runs which
    mutable std::mutex jobMutex;

    /// The driver being played. Changed between the workers of two drivers only.
    mechanism::driver_t driver;

    std::size_t doneCount = 0; ///< headings written for this driver; guarded by `domMutex`
    int unprovedCount = 0;     ///< goals still unproved, for the report; guarded by `domMutex`
    mutable std::mutex domMutex;

    /// Held while a job's marks are made and written, so that the marks of two jobs never mix.
    /// Taken before `domMutex`.
    std::mutex reportMutex;

    /// The obligations of the document, each with its name and goals. Guarded by `domMutex`.
    obligations_t obligations;

    /// The jobs of the current driver: element k of both is of job k. Replaced between the workers
    /// of two drivers only; `writerData` under `fileMutex`, because `stop` reads it at any time.
    std::vector<writer_data_t> writerData;
    std::vector<prover_data_t> proverData;
    std::mutex fileMutex;

    /// The text of `dom`, kept up to date obligation by obligation. Guarded by `domMutex`.
    std::unique_ptr<pos::DocumentText> text;

    /// Who waits for the next save; has a lock of its own.
    std::unique_ptr<SaveGroup> saves;

    /// The file at `pos`. Used by the one thread that carries out a save.
    std::unique_ptr<SavedFile> posFile;

    bool stopped = false; ///< no verdict is merged any more; guarded by `domMutex`
};

// Diagnostic dumps, in UTF-8.

std::ostream& operator<<(std::ostream& out, const ProofDirector& director);
std::ostream& operator<<(std::ostream& out, const ProofDirector::writer_data_t& data);
std::ostream& operator<<(std::ostream& out, const ProofDirector::prover_data_t& data);
std::ostream& operator<<(std::ostream& out, const ProofDirector::po_data_t& data);
std::ostream& operator<<(std::ostream& out, const ProofDirector::obligations_t& obligations);
