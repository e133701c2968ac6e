// What an observer sees of a play, and what the limits of the settings do to a job.

#include "director/ProofDirector.h"
#include "director/ProofDirectorObserver.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <mutex>

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
    static const char* const ends[] = {"read",     "leftFile",  "proverCrashed", "readerCrashed",
                                       "wrongCount", "tooMuch", "refused", "timeLimit",
                                       "memoryLimit", "outOfMemory", "stopped"};
    std::ostringstream text;
    text << ends[static_cast<int>(job.end)] << ", " << job.found << " of " << job.wanted << ":";
    for (const QString& verdict : job.verdicts) {
        text << " " << (verdict.isNull() ? "-" : verdict.toStdString());
    }
    text << "\nwriter: " << textOf(job.writer) << (job.hasSecondaryFile ? ", file" : ", no file")
         << "\nprover: " << textOf(job.prover) << "\nreader: " << textOf(job.reader) << "\n"
         << job.reason.toStdString() << job.model.toStdString() << job.errorOutput.toStdString();
    return text.str();
}

/// Keeps what it is told.
class Watcher final : public ProofDirectorObserver
{
public:
    void driverBegins(const driver_begins_t& driver) override
    {
        text << driver.mechanism.toStdString() << "/" << driver.driver.toStdString() << ": "
             << driver.jobs << " jobs, " << driver.goals << " goals, " << driver.goalsLater
             << " later, " << driver.goalsOpen << " open, timeout " << driver.timeout
             << (driver.fedByFile ? ", fed\n" : "\n");
    }
    void jobBegins(const job_begins_t& job) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(++begun[job.index], 1);
        goals += job.goals.size();
    }
    void jobEnded(const job_ended_t& job) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(--begun[job.index], 0);
        saved = savedFile.empty() || test::contentOf(savedFile).find("Proved") != std::string::npos;
        text << textOf(job);
        seconds = job.wallSeconds;
        prover = job.prover;
        commands = job.writerCommand.program + QStringLiteral(" ") +
                   job.writerCommand.arguments.join(QLatin1Char(' ')) + QStringLiteral("\n") +
                   job.proverCommand.program + QStringLiteral(" ") +
                   job.proverCommand.arguments.join(QLatin1Char(' ')) + QStringLiteral("\n") +
                   job.readerCommand.program + QStringLiteral(" ") +
                   job.readerCommand.arguments.join(QLatin1Char(' ')) + QStringLiteral("\n");
    }

    std::mutex mutex;
    std::map<std::size_t, int> begun;
    std::size_t goals = 0;
    std::ostringstream text;
    double seconds = 0;
    tool_run_t prover;
    QString commands;
    std::string savedFile;
    bool saved = false;
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
    // The bodies of writer, prover and reader; an empty one cannot be executed.
    test::expectCases("director/golden/job-ends.txt", [this](const std::string& input) {
        std::istringstream lines(input);
        test::Driver driver = {"D1", "group='full'"};
        for (auto& [name, tool] : {std::pair<std::string, test::Tool*>("w", &driver.writer),
                                   {"p", &driver.prover},
                                   {"r", &driver.reader}}) {
            std::string body;
            std::getline(lines, body);
            tool->path = dir.script(name, body);
            if (body.empty()) {
                dir.write(name, "#!/nonexistent/shell");
            }
        }
        if (driver.writer.path.empty()) {
        }
        watcher.text.str("");
        replay({driver}, OPEN + " " + OPEN);
        return watcher.text.str() + "\n" + test::replaced(errors, dir.path(), "DIR") + "\n" +
               test::statusesOf(settings.posPath) + "\n";
    });
}

} // namespace
