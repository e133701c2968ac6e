// What an observer sees of a play, and what the limits of the settings do to a job.

#include "director/ProofDirector.h"
#include "director/ProofDirectorObserver.h"
#include "director/job_end.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <mutex>
#include <stdexcept>

#include <sys/resource.h>
#include <unistd.h>

namespace test
{
extern std::function<int(const std::string& program)> beforeStart; // ChildProcessTest.cpp
} // namespace test

namespace
{

std::string textOf(const tool_run_t& run)
{
    if (!run.started) {
        return run.error == 0 ? "no turn" : "not started (" + std::to_string(run.error) + ")";
    }
    return run.signal != 0 ? "signal " + std::to_string(run.signal)
                           : "status " + std::to_string(run.status);
}

std::string textOf(const job_ended_t& job)
{
    static const char* const ends[] = {
        "read",    "leftFile",  "proverCrashed", "readerCrashed", "wrongCount", "tooMuch",
        "refused", "timeLimit", "memoryLimit",   "outOfMemory",   "stopped"};
    std::ostringstream text;
    text << ends[static_cast<int>(job.end)] << ", " << job.found << " of " << job.wanted << ":";
    for (const QString& verdict : job.verdicts) {
        text << " " << (verdict.isNull() ? "-" : verdict.toStdString());
    }
    text << "\nwriter: " << textOf(job.writer) << (job.hasSecondaryFile ? ", file" : ", no file")
         << "\nprover: " << textOf(job.prover) << "\nreader: " << textOf(job.reader) << "\n"
         << job.reason.toStdString() << job.model.toStdString();
    const QByteArray& errors = job.errorOutput;
    text << (errors.size() < 100 ? errors.toStdString() : std::to_string(errors.size()) + " bytes")
         << "\n";
    return text.str();
}

/// Writes down what it is told.
class Watcher : public ProofDirectorObserver
{
public:
    void driverBegins(const driver_begins_t& driver) override
    {
        EXPECT_TRUE(running.empty());
        text << driver.mechanism.toStdString() << "/" << driver.driver.toStdString() << ": "
             << driver.jobs << " jobs, " << driver.goals << " goals, " << driver.goalsLater
             << " later, " << driver.goalsOpen << " open, timeout " << driver.timeout
             << (driver.fedByFile ? ", fed\n" : "\n");
    }
    void jobBegins(const job_begins_t& job) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_TRUE(running.insert({job.index, job.goals}).second);
        ++begun;
    }
    void jobEnded(const job_ended_t& job) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(running[job.index], job.goals);
        running.erase(job.index);
        ++ends[job.end];
        text << textOf(job);
        last.reset(new job_ended_t(job));
    }

    std::mutex mutex;
    std::map<std::size_t, ProofDirector::addresses_t> running;
    std::size_t begun = 0;
    std::map<job_end_t, int> ends;
    std::ostringstream text;
    std::unique_ptr<job_ended_t> last; ///< its goals are gone
};

class Observed : public testing::Test
{
protected:
    Observed()
    {
        settings.component = "comp";
        settings.mechanismFile = dir.path("mech.xml");
        settings.posPath = dir.path("comp.pos");
        settings.pogPath = dir.path("comp.pog");
        settings.directory = dir.path();
        settings.observer = &watcher;
    }

    /// Replays the drivers over the goals, and sees that the log is silent.
    std::string replay(const std::vector<test::Driver>& drivers, const std::string& goals)
    {
        dir.write("mech.xml", test::mechanismText("always", drivers));
        dir.write("comp.pos", test::posText(goals));
        const test::Captured logged(std::clog);
        const test::Captured report(std::cout);
        ProofDirector director(settings);
        EXPECT_TRUE(director.isLoaded());
        director.replay();
        EXPECT_EQ(logged.text(), "");
        EXPECT_TRUE(watcher.running.empty());
        errors = director.getErrors().join(QLatin1Char('\n')).toStdString();
        return report.text();
    }

    test::TempDir dir;
    Watcher watcher;
    ProofDirectorSettings settings;
    std::string errors;
};

const std::string OPEN = "Unproved/Unproved/Proved";

TEST_F(Observed, EachEndOfAJobHasItsRecord)
{
    // The bodies of writer, prover and reader ("#" cannot be executed), and a setting.
    test::expectCases("director/golden/job-ends.txt", [this](const std::string& input) {
        std::istringstream lines(input);
        test::Driver driver = {"D1", "group='full'"};
        const std::pair<std::string, test::Tool*> tools[] = {
            {"w", &driver.writer}, {"p", &driver.prover}, {"r", &driver.reader}};
        std::string body;
        for (const auto& [name, tool] : tools) {
            std::getline(lines, body);
            tool->path = dir.script(name, "cd " + dir.path() + "; " + body);
            body == "#" ? dir.write(name, "#!/nonexistent/shell") : "";
        }
        std::getline(lines, body);
        settings.keepErrorOutput = body == "keep";
        settings.timeLimit = std::chrono::milliseconds(body == "time" ? 600 : 0);
        settings.memoryLimit = body == "memory" ? 1 << 30 : 0;
        const std::string file = dir.path("comp_mech_D1.po2");
        if (input.find("in the way") == 0) {
            std::filesystem::create_directory(file);
        }
        watcher.text.str("");
        replay({driver}, OPEN + " " + OPEN);
        std::filesystem::remove(file);
        const std::string left = test::contentOf(dir.path("left"));
        EXPECT_TRUE(left.empty() || test::hasEnded(std::stoi(left), true));
        return watcher.text.str() + test::replaced(errors, dir.path(), "DIR") + "\n" +
               test::statusesOf(settings.posPath) + "\n";
    });
}

TEST_F(Observed, DriversAreToldWithWhatIsLeftToDo)
{
    const test::Driver proves = driverSaying(dir, "D1", "Proved", "fast='true'");
    test::Driver tries = driverSaying(dir, "D2", "Unknown", "group='related'");
    tries.prover = {"/bin/cat", "timeout='7' input='file'", "<param value='${file}'/>"};
    const test::Driver last = driverSaying(dir, "D3", "Unknown", "fast='true'");
    const std::string goals = "Unproved/Unproved/Proved,Proved,Proved | "
                              "Unproved/Unproved/Unknown,Proved,Unknown";
    for (const bool fast : {false, true}) {
        settings.onlyFast = fast;
        replay({proves, tries, last}, goals);
        watcher.text << "--\n";
    }
    settings.onlyFast = false;
    settings.onlyGoalAt = {1, 0}; // which none of them would play otherwise but D2
    replay({proves, tries, last}, goals);
    test::expectGolden("director/golden/drivers.txt", watcher.text.str());
}

TEST_F(Observed, AJobTellsItsCommandsItsCostAndItsModel)
{
    test::Driver driver = {"D1", "group='full'"};
    driver.writer.path = dir.script("w w", "touch $7");
    driver.writer.parameters = "<param value='w'/>";
    driver.prover = {
        dir.script("p", "dd if=/dev/zero of=/dev/null bs=300M count=1 status=none; exit 1"), "",
        "<param name='-p' value='${file}'/>"};
    // The system works for the prover; the reader works for itself.
    driver.reader.path = dir.script("r", "i=0; while [ $i -lt 99999 ]; do i=$((i + 1)); done; "
                                         "printf 'Disproved\\nx = 1\\n\\ny = 2\\n'");
    driver.reader.parameters = "<param value='${file}'/>";
    settings.onlyGoal = "PO_0.2";
    settings.report = nullptr;
    settings.memoryLimit = 1 << 30; // under which a model with its verdict counts all the same
    EXPECT_EQ(replay({driver}, OPEN + " " + OPEN), "");
    EXPECT_EQ(test::statusesOf(settings.posPath), OPEN + " " + OPEN);
    ASSERT_TRUE(watcher.last);
    const job_ended_t& job = *watcher.last;
    EXPECT_EQ(job.verdicts, QStringList(QStringLiteral("Disproved")));
    EXPECT_EQ(job.model, "x = 1\n\ny = 2\n");
    EXPECT_EQ(job.writerCommand.program.toStdString(), dir.path("w w"));
    EXPECT_EQ(job.writerCommand.arguments.join(QLatin1Char(' ')).toStdString(),
              "-a 0 1 -i " + settings.pogPath + " -o " + job.secondaryFile.toStdString() + " -m w");
    EXPECT_EQ(job.proverCommand.program.toStdString(), dir.path("p"));
    EXPECT_EQ(job.proverCommand.arguments, QStringList({QStringLiteral("-p"), job.secondaryFile}));
    EXPECT_EQ(job.readerCommand.program.toStdString(), dir.path("r"));
    EXPECT_EQ(job.readerCommand.arguments, QStringList(job.secondaryFile));
    EXPECT_GT(job.prover.processorSeconds, 0.005);
    EXPECT_GT(job.reader.processorSeconds, 0.005);
    EXPECT_GT(job.wallSeconds, job.prover.processorSeconds / 2);
    rusage ours = {};
    ::getrusage(RUSAGE_SELF, &ours); // what is not larger than this process cannot be told
    EXPECT_TRUE(job.prover.peakKiB > 300 << 10 || ours.ru_maxrss > 300 << 10) << job.prover.peakKiB;
    EXPECT_EQ(job.reader.peakKiB, 0) << "less than this process has";
}

/// Looks into the status file when a job ends, and may end the play when job 20 begins.
class Stopper final : public Watcher
{
public:
    void jobBegins(const job_begins_t& job) override
    {
        Watcher::jobBegins(job);
        if (job.index == 20 && end) {
            while (!test::exists(folder + "/comp_mech_D1_18_0.po2.up") ||
                   !test::exists(folder + "/comp_mech_D1_19_0.po2.up")) {
                ::usleep(1000);
            }
            end();
        }
    }
    void jobEnded(const job_ended_t& job) override
    {
        if (job.end == job_end_t::read) {
            EXPECT_NE(test::contentOf(folder + "/comp.pos").find("author"), std::string::npos);
            EXPECT_FALSE(job.verdicts.isEmpty());
        }
        Watcher::jobEnded(job);
    }

    std::function<void()> end;
    std::string folder;
};

TEST_F(Observed, EachJobOfManyWorkersEndsOnceAlsoWhenItIsStopped)
{
    std::string goals;
    for (int obligation = 0; obligation < 40; ++obligation) {
        goals += OPEN + " | ";
    }
    test::Driver driver = driverSaying(dir, "D1", "Proved");
    const std::string pauses = ": > $1.up; . " + dir.path("pause") + ";; esac; ";
    const std::string prover = "case $1 in *_7_0*|*_17_0*) kill -9 $$;; *3_0*) exit;; *_18_0*) ";
    const std::string reader = "read x || { printf '\\nx\\ny\\n'; exit; }; case $1 in *_19_0*) ";
    const std::string file = "<param value='${file}'/>";
    driver.prover = {dir.script("p", prover + pauses + "echo x"), "", file};
    driver.reader = {dir.script("r", reader + pauses + "echo Proved"), "", file};
    dir.write("mech.xml", test::mechanismText("always", {driver}));
    const struct {
        int kind; ///< it comes to its end, is stopped, or fails
        unsigned int workers;
        const char* pause; ///< of the two jobs before job 20
    } rows[] = {{0, 4, ":"}, {1, 4, "exec sleep 1000"}, {1, 1, ":"}, {2, 4, "sleep 0.2"}};
    for (const auto& [kind, workers, pause] : rows) {
        SCOPED_TRACE(pause);
        dir.write("comp.pos", test::posText(goals));
        dir.write("pause", pause);
        ::unlink(dir.path("comp_mech_D1_18_0.po2.up").c_str());
        ::unlink(dir.path("comp_mech_D1_19_0.po2.up").c_str());
        Stopper stopper;
        stopper.folder = dir.path();
        settings.observer = &stopper;
        settings.workers = workers;
        settings.report = nullptr;
        settings.memoryLimit = kind == 1 ? 20 << 20 : 0;
        ProofDirector director(settings);
        const auto stop = [&] {
            director.stop();
        };
        const auto fail = [] { // as no observer may: it stands for a worker that cannot go on
            throw std::runtime_error("20");
        };
        const std::function<void()> ends[] = {{}, stop, fail};
        stopper.end = ends[kind];
        if (kind == 2) {
            EXPECT_THROW(director.replay(), std::runtime_error);
        } else {
            director.replay();
        }
        EXPECT_TRUE(stopper.running.empty());
        EXPECT_EQ(stopper.begun == 40, !stopper.end);
        EXPECT_EQ(stopper.ends[job_end_t::stopped] == 0, !stopper.end);
        EXPECT_LE(stopper.ends[job_end_t::proverCrashed] + stopper.ends[job_end_t::memoryLimit], 2)
            << "what a stop kills has not crashed";
        EXPECT_EQ(stopper.ends[job_end_t::readerCrashed], 0);
    }
}

TEST_F(Observed, AJobThatAnExceptionEndsHasStopped)
{
    settings.onlyGoal = "PO_0.9";
    EXPECT_THROW(replay({driverSaying(dir, "D1", "Proved")}, OPEN), std::out_of_range);
    EXPECT_EQ(watcher.ends[job_end_t::stopped], 1);
    EXPECT_TRUE(watcher.last->verdicts.isEmpty()) << "they count for nothing";
    settings.onlyGoal.clear();
    test::beforeStart = [](const std::string& program) {
        return program == "sync" ? throw std::bad_alloc() : 0; // as its verdicts are being saved
    };
    replay({driverSaying(dir, "D1", "Proved")}, OPEN);
    test::beforeStart = nullptr;
    EXPECT_EQ(watcher.ends[job_end_t::read], 1) << "they count, and are in the next save";
}

TEST(JobEnd, WhoFailsUnderAMemoryLimitHasNotTried)
{
    const struct {
        const char* label;
        PairEnd end;
        int status;
        std::int64_t peakKiB;
        std::uint64_t limit;
        bool complete;
        bool decisive;
        job_end_t expected;
    } rows[] = {
        {"no limit, any status", PairEnd::Read, 1, 0, 0, true, false, job_end_t::read},
        {"an ordinary end", PairEnd::Read, 0, 999, 1 << 20, true, false, job_end_t::read},
        {"a failure", PairEnd::Read, 1, 1, 1 << 20, true, false, job_end_t::memoryLimit},
        {"a failure with all verdicts", PairEnd::Read, 1, 1, 1 << 20, true, true, job_end_t::read},
        {"one too many", PairEnd::Read, 1, 1, 1 << 20, false, true, job_end_t::memoryLimit},
        {"wrong count", PairEnd::Read, 0, 1, 1 << 20, false, true, job_end_t::wrongCount},
        {"a crash near it", PairEnd::ProverCrashed, 0, 512, 1 << 20, true, false,
         job_end_t::memoryLimit},
        {"a crash far from it", PairEnd::ProverCrashed, 0, 511, 1 << 20, true, false,
         job_end_t::proverCrashed},
        {"a crash without one", PairEnd::ProverCrashed, 0, 512, 0, true, false,
         job_end_t::proverCrashed},
        {"the reader's own fault", PairEnd::ReaderCrashed, 1, 512, 1 << 20, false, false,
         job_end_t::readerCrashed},
    };
    for (const auto& row : rows) {
        pair_facts_t facts;
        facts.end = row.end;
        facts.prover.status = row.status;
        facts.prover.peakKiB = row.peakKiB;
        facts.memoryLimit = row.limit;
        facts.complete = row.complete;
        facts.decisive = row.decisive;
        EXPECT_EQ(endOfJob(facts), row.expected) << row.label;
    }
}

} // namespace
