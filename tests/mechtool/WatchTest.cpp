// What is seen of a play: lines, journal, kept files, counts, and the line at the foot of a
// terminal.

#include "mechtool/Watch.h"
#include "base/LogLine.h"
#include "mechtool/Command.h"
#include "mechtool/FailedJob.h"
#include "mechtool/Journal.h"
#include "tests/support/Support.h"

#include <QDir>
#include <QJsonDocument>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using goals_t = std::vector<address_t>;

const goals_t ONE = {{0, 0}};
const goals_t TWO = {{0, 1}, {1, 0}};
const goals_t FIVE = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 4}};

component_t component()
{
    component_t made;
    made.name = QStringLiteral("comp");
    made.obligations.resize(2);
    made.obligations[0].name = QStringLiteral("put_ring");
    made.obligations[0].goals.resize(5);
    made.obligations[1].name = QStringLiteral("a\x1b[2J");
    made.obligations[1].goals.resize(1);
    return made;
}

driver_begins_t driverOf(const char* name, std::size_t goals, bool isFed = false)
{
    driver_begins_t driver;
    driver.mechanism = QStringLiteral("smt");
    driver.driver = QString::fromUtf8(name);
    driver.fedByFile = isFed;
    driver.goals = driver.jobs = goals;
    driver.goalsOpen = 6;
    return driver;
}

/// A job whose tools did what they should, with these verdicts; "-" is none.
job_ended_t jobOf(const goals_t& goals, const char* verdicts, std::size_t index = 0)
{
    job_ended_t job{index, goals};
    for (const QString& word : QString::fromUtf8(verdicts).split(QLatin1Char(' '))) {
        job.verdicts << (word == QLatin1String("-") ? QString() : word);
    }
    job.wanted = job.found = goals.size();
    job.wallSeconds = 0.25;
    job.writer.started = job.prover.started = job.reader.started = true;
    job.secondaryFile = QStringLiteral("/t/f 1.po2");
    job.hasSecondaryFile = true;
    job.writerCommand = {QStringLiteral("/bin/writer"), {QStringLiteral("-o"), job.secondaryFile}};
    job.proverCommand = {QStringLiteral("prover"), {QStringLiteral("$x"), QString()}};
    job.readerCommand = {QStringLiteral("/bin/reader"), {}};
    return job;
}

job_ended_t crashed(const goals_t& goals, std::size_t index = 0)
{
    job_ended_t job = jobOf(goals, "", index);
    job.verdicts.clear();
    job.end = job_end_t::proverCrashed;
    job.prover.signal = SIGSEGV;
    return job;
}

/// Lets the error stream of the process go elsewhere.
class ErrorStream
{
public:
    explicit ErrorStream(int to) : before(::dup(STDERR_FILENO))
    {
        ::dup2(to, STDERR_FILENO);
    }
    ~ErrorStream()
    {
        ::dup2(before, STDERR_FILENO);
        ::close(before);
    }
    ErrorStream(const ErrorStream&) = delete;
    ErrorStream& operator=(const ErrorStream&) = delete;

private:
    int before;
};

class WatchTest : public testing::Test
{
protected:
    /// What is written to the error stream while `use` uses a watch, which then ends.
    std::string linesOf(const watch_settings_t& settings, const std::function<void(Watch&)>& use)
    {
        const int file = ::open(dir.path("err").c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        {
            const ErrorStream stream(file);
            Watch watch(settings);
            watch.setComponent(component());
            use(watch);
        }
        ::close(file);
        return test::contentOf(dir.path("err"));
    }

    watch_settings_t settings()
    {
        watch_settings_t made;
        made.command = QStringLiteral("play");
        return made;
    }

    QString path(const char* name)
    {
        return QString::fromStdString(dir.path(name));
    }

    test::TempDir dir;
};

job_ended_t endedBy(job_end_t end, job_ended_t job)
{
    job.end = end;
    return job;
}

TEST_F(WatchTest, AFailedJobIsALineWithItsCause)
{
    job_ended_t unnamed = crashed(FIVE);
    unnamed.prover.signal = 40;
    job_ended_t stopped = endedBy(job_end_t::stopped, crashed(ONE));
    stopped.writer.signal = SIGKILL; // which is how a stop ends it
    job_ended_t noFile = jobOf(ONE, "Proved");
    noFile.hasSecondaryFile = false;
    noFile.writer.status = 3;
    job_ended_t noReader = endedBy(job_end_t::wrongCount, crashed(TWO));
    noReader.found = 1;
    noReader.reader.started = false;
    noReader.reader.error = ENOENT;
    job_ended_t refused = endedBy(job_end_t::refused, noReader);
    refused.reason = QStringLiteral("full");
    const struct {
        const char* label;
        job_ended_t job;
        std::string line; ///< from the goals to the failure
    } rows[] = {
        {"all well", jobOf(ONE, "Unknown"), ""},
        {"stopped", stopped, ""},
        {"crash", crashed(ONE), "put_ring.1: the prover was ended by SIGSEGV"},
        {"many goals", unnamed,
         "put_ring.1, put_ring.2, put_ring.3 and 2 more: the prover was ended by signal 40"},
        {"count", noReader,
         "put_ring.2, a\\x1b[2J.1: the reader printed 1 line, expected 2; the reader could not be "
         "started: No such file or directory"},
        {"no verdict", jobOf(TWO, "Proved -"),
         "put_ring.2, a\\x1b[2J.1: the reader gave no verdict on a\\x1b[2J.1"},
        {"no file", noFile, "put_ring.1: the writer left no file /t/f 1.po2, its exit status is 3"},
        {"limit", endedBy(job_end_t::timeLimit, crashed(ONE)),
         "put_ring.1: the prover or its reader reached the time limit"},
        {"reader", endedBy(job_end_t::readerCrashed, crashed(ONE)),
         "put_ring.1: the reader crashed"},
        {"refused", refused,
         "put_ring.2, a\\x1b[2J.1: the system refused to start the prover or the reader: full"},
        {"endless", endedBy(job_end_t::tooMuch, crashed(ONE)),
         "put_ring.1: the reader printed without end"},
        {"memory", endedBy(job_end_t::outOfMemory, crashed(ONE)),
         "put_ring.1: mechtool has no memory left for it"},
        {"memory limit", endedBy(job_end_t::memoryLimit, crashed(ONE)),
         "put_ring.1: the prover failed under the memory limit"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const auto use = [&](Watch& watch) {
            watch.driverBegins(driverOf("quick", 6));
            watch.jobEnded(row.job);
        };
        EXPECT_EQ(linesOf(settings(), use),
                  row.line.empty() ? ""
                                   : "mechtool play: smt/quick: " + row.line +
                                         ", after 0.25 s; by hand: /bin/writer -o './f 1.po2'" +
                                         (row.job.writer.status == 0 ? " &&" : ";") +
                                         " ./prover '$x' '' | /bin/reader\n");
        watch_settings_t quiet = settings();
        quiet.quiet = true;
        EXPECT_EQ(linesOf(quiet, use), "");
    }
    const std::string lines = linesOf(settings(), [](Watch& watch) {
        watch.driverBegins(driverOf("a\nb", 6, true));
        job_ended_t job = crashed(ONE);
        job.writer.signal = SIGKILL;
        watch.jobEnded(job);
        job_ended_t left = endedBy(job_end_t::leftFile, job_ended_t{0, ONE});
        left.secondaryFile = QStringLiteral("f");
        left.reason = QStringLiteral("busy");
        watch.jobEnded(left);
        job.writer = {};
        job.writer.error = ENOENT;
        job.end = job_end_t::read;
        job.hasSecondaryFile = false;
        job.prover = job.reader = {};
        job.proverCommand = {};
        watch.jobEnded(job);
    });
    EXPECT_EQ(lines,
              "mechtool play: smt/a\\nb: put_ring.1: the writer was ended by SIGKILL; the "
              "prover was ended by SIGSEGV, after 0.25 s; by hand: /bin/writer -o './f "
              "1.po2'; ./prover '$x' '' < './f 1.po2' | /bin/reader\n"
              "mechtool play: smt/a\\nb: put_ring.1: f, left by an earlier run, cannot be "
              "removed: busy, after 0.00 s\n"
              "mechtool play: smt/a\\nb: put_ring.1: the writer could not be started: No such "
              "file or directory, after 0.25 s; by hand: /bin/writer -o './f 1.po2'\n");
}

TEST_F(WatchTest, TheJournalHoldsALineAJobAfterATornOne)
{
    watch_settings_t journaling = settings();
    journaling.quiet = true;
    journaling.journal = QString::fromStdString(dir.write("journal", "{\"version\":1,\"ti"));
    linesOf(journaling, [](Watch& watch) {
        watch.driverBegins(driverOf("quick", 6));
        job_ended_t job = jobOf(TWO, "Proved -");
        job.writer = {};
        job.writer.error = EACCES;
        job.prover.processorSeconds = 1.5000001;
        job.prover.peakKiB = 4096;
        job.prover.status = 3;
        watch.jobEnded(job);
    });
    linesOf(journaling, [](Watch& watch) { // after a whole line
        watch.driverBegins(driverOf("quick", 6));
        watch.jobEnded(crashed(ONE));
    });
    std::string words;
    for (int end = 0; end <= int(job_end_t::stopped); ++end) {
        words += wordOfEnd(job_end_t(end)).toStdString() + ",";
    }
    EXPECT_EQ(words, "read,left file,prover crashed,reader crashed,wrong count,too much,refused,"
                     "time limit,memory limit,out of memory,stopped,");
    const QRegularExpression time(QStringLiteral("\"time\":\"[0-9]{4}-[-0-9T:.]{18}Z\","));
    EXPECT_EQ(QString::fromStdString(test::contentOf(dir.path("journal"))).remove(time),
              QStringLiteral("{\"version\":1,\"ti\n"
                             R"({"component":"comp","driver":"quick","end":"read",)"
                             R"("goals":["put_ring.2","a\\x1b[2J.1"],"mechanism":"smt",)"
                             R"("prover":{"memory":4096,"seconds":1.5,"status":3},)"
                             R"("reader":{"seconds":0,"status":0},"seconds":0.25,)"
                             R"("verdicts":["Proved",null],"version":1,)"
                             R"("writer":{"error":"Permission denied"}})"
                             "\n"
                             R"({"component":"comp","driver":"quick","end":"prover crashed",)"
                             R"("goals":["put_ring.1"],"mechanism":"smt",)"
                             R"("prover":{"seconds":0,"signal":"SIGSEGV"},)"
                             R"("reader":{"seconds":0,"status":0},"seconds":0.25,"verdicts":[],)"
                             R"("version":1,"writer":{"seconds":0,"status":0}})"
                             "\n"));
}

std::string lossLines(const std::string& journal, const std::string& reason)
{
    return journal + " cannot be written: " + reason + ": the play goes on without\n" + journal +
           " lacks 3 lines\n";
}

TEST_F(WatchTest, AJournalThatCannotBeWrittenIsReportedOnceAndTheLossAtTheEnd)
{
    const struct {
        const char* label;
        QString file;
        std::string reason;
    } rows[] = {
        {"full disk", QStringLiteral("/dev/full"), "No space left on device"},
        {"removed", path("gone"), "the file was removed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        watch_settings_t journaling = settings();
        journaling.quiet = true;
        journaling.journal = row.file;
        const std::string lines = linesOf(journaling, [&](Watch& watch) {
            ::unlink(dir.path("gone").c_str());
            watch.driverBegins(driverOf("quick", 6));
            for (int i = 0; i < 3; ++i) {
                watch.jobEnded(jobOf(ONE, "Proved"));
            }
            watch.end();
            EXPECT_EQ(watch.goalsDone(), 1U);
        });
        EXPECT_EQ(lines,
                  lossLines("mechtool play: the journal " + row.file.toStdString(), row.reason));
    }
    watch_settings_t impossible = settings();
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0); // that nobody reads
    for (const char* const name : {"", "pipe"}) {
        impossible.journal = path(name);
        EXPECT_THROW(Watch{impossible}, CannotAnswer);
    }
    impossible.journal = QString();
    impossible.keepFailed = QString::fromStdString(dir.write("file", "")) + QStringLiteral("/x");
    EXPECT_THROW(Watch{impossible}, CannotAnswer);
}

TEST_F(WatchTest, OnAFullDiskNoHalfIsLeftOrTakenForAWhole)
{
    watch_settings_t both = settings();
    both.quiet = true;
    both.journal = QString::fromStdString(dir.write("journal", std::string(900, 'x') + '\n'));
    both.keepFailed = path("kept");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 1000;
    const std::string lines = linesOf(both, [&](Watch& watch) {
        watch.driverBegins(driverOf("quick", 6));
        job_ended_t job = crashed(ONE);
        job.errorOutput = QByteArray(2000, 'e');
        ::setrlimit(RLIMIT_FSIZE, &limit);
        watch.jobEnded(job);
        watch.jobEnded(job); // of which not even a part has room
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        watch.jobEnded(jobOf(ONE, "Proved"));
        watch.jobEnded(jobOf(ONE, "Proved"));
    });
    EXPECT_NE(lines.find("kept: File too large: "), std::string::npos) << lines;
    EXPECT_NE(lines.find("journal lacks 2 lines\n"), std::string::npos) << lines;
    EXPECT_FALSE(test::exists(dir.path("kept/smt_quick_put_ring.1/errors.txt")));
    const QString journal = QString::fromStdString(test::contentOf(dir.path("journal")));
    EXPECT_EQ(journal.section(QLatin1Char('\n'), 1, 1).size(), 1000 - 901);
    EXPECT_EQ(journal.count(QLatin1Char('\n')), 4) << "two whole lines after the torn one";
}

/// What a program prints; "?" before it when it failed.
std::string outputOf(const std::string& command)
{
    std::FILE* pipe = ::popen(("cd / && " + command + " 2>/dev/null").c_str(), "r");
    std::string output;
    char block[256];
    while (std::fgets(block, sizeof block, pipe) != nullptr) {
        output += block;
    }
    return (::pclose(pipe) == 0 ? "" : "?") + output;
}

TEST_F(WatchTest, WhatIsKeptOfAFailedJobRunsOnItsOwnCopy)
{
    // An earlier run's folder, and a link out of the folder, in the way of the names.
    ::mkdir(dir.path("kept").c_str(), 0700);
    ::mkdir(dir.path("other").c_str(), 0700);
    const std::string cut(56, 'm');
    const std::string folder = dir.path("kept/_._s" + cut + "__q_._put_ring.1");
    ::mkdir(folder.c_str(), 0700);
    ASSERT_EQ(::symlink("../other", (folder + "-2").c_str()), 0);
    watch_settings_t keeping = settings();
    keeping.quiet = true;
    keeping.keepFailed = path("kept");
    driver_begins_t driver = driverOf("-q\xc3\xa9.", 6, true);
    driver.mechanism = QString::fromStdString("../s" + cut + "more");
    job_ended_t job = crashed(ONE);
    job.secondaryFile = path("it's.a.po2");
    job.errorOutput = QByteArray("what \xff went wrong\n");
    job.writerCommand = {
        QString::fromStdString(dir.script("write", "echo written >\"$1\"; echo noise")),
        {job.secondaryFile}};
    // The prover is one of the current folder, whose name needs quotes, and reads a file there.
    const QString before = QDir::currentPath();
    dir.write("it's $x/mark", "here\n");
    dir.script("it's $x/prove", "cat - \"$1\" mark; echo \"$2$#\"");
    QDir::setCurrent(path("it's $x"));
    job.proverCommand = {QStringLiteral("prove"),
                         {job.secondaryFile, QStringLiteral("$HOME '\n"), QString()}};
    job.readerCommand = {QStringLiteral("/bin/cat"), {}};
    linesOf(keeping, [&](Watch& watch) {
        watch.driverBegins(driver);
        dir.write("it's.a.po2", "kept\n");
        watch.jobEnded(job);
        ::unlink(dir.path("it's.a.po2").c_str());
        ::mkfifo(dir.path("it's.a.po2").c_str(), 0600); // which is not copied
        job.hasSecondaryFile = false;
        watch.jobEnded(job);
        watch.jobEnded(endedBy(job_end_t::leftFile, job_ended_t{0, ONE})); // without commands
        watch.jobEnded(jobOf(ONE, "Proved"));
    });
    EXPECT_EQ(test::contentOf(folder + "-3/errors.txt"), "what \xff went wrong\n");
    EXPECT_EQ(outputOf(folder + "-3/run.sh"), "kept\nkept\nhere\n$HOME '\n3\n");
    EXPECT_EQ(outputOf(folder + "-4/run.sh"), "written\nwritten\nhere\n$HOME '\n3\n");
    EXPECT_TRUE(test::exists(folder + "-3/it_s.a.po2"));
    EXPECT_EQ(outputOf("ls " + folder + "-5"), "errors.txt\n");
    EXPECT_FALSE(test::exists(folder + "-6"));
    EXPECT_FALSE(test::exists(folder + "/run.sh"));
    EXPECT_FALSE(test::exists(dir.path("other/run.sh")));

    QDir::setCurrent(before);
    const std::string lines = linesOf(keeping, [&](Watch& watch) {
        outputOf("rm -r " + dir.path("kept"));
        watch.driverBegins(driver);
        watch.jobEnded(job);
        watch.jobEnded(job);
    });
    EXPECT_EQ(lines, "mechtool play: a failed job cannot be kept in " + dir.path("kept") +
                         ": No such file or directory: the play goes on\n");
}

TEST_F(WatchTest, GoalsCountOnceAMechanismAndOnceADriver)
{
    linesOf(settings(), [](Watch& watch) {
        const auto play = [&watch](const char* driver, const job_ended_t& job) {
            watch.driverBegins(driverOf(driver, job.goals.size()));
            watch.jobEnded(job);
        };
        play("quick", jobOf(FIVE, "Proved Disproved Unknown - Proved"));
        play("slow", jobOf(TWO, "Proved Proved"));
        play("slow", crashed(ONE));
        play("quick", jobOf(ONE, "Unknown"));
        EXPECT_EQ(watch.goalsAll(), 6U);
        EXPECT_EQ(watch.goalsDone(), 6U);
        driver_begins_t other = driverOf("quick", 1);
        other.mechanism = QStringLiteral("sat");
        watch.driverBegins(other);
        watch.jobEnded(jobOf(ONE, "Proved"));
        EXPECT_EQ(watch.goalsAll(), 12U);
        EXPECT_EQ(watch.goalsDone(), 7U);

        std::string table;
        for (const tally_t& tally : watch.tallies()) {
            table += tally.mechanism.toStdString() + "/" + tally.driver.toStdString();
            for (const std::size_t count :
                 {tally.run, tally.proved, tally.refuted, tally.unknown, tally.failed}) {
                table += " " + std::to_string(count);
            }
            table += "\n";
        }
        EXPECT_EQ(table, "smt/quick 6 2 1 2 1\nsmt/slow 2 2 0 0 1\nsat/quick 1 1 0 0 0\n");
    });
}

TEST(Score, CountsWhatIsRunAndExpectsTheRest)
{
    Score score;
    driver_begins_t driver = driverOf("quick", 6);
    driver.goalsLater = 12;
    for (const double seconds : {2.0, 1.5}) { // two passes
        score.driverBegins(driver);
        score.jobEnded(jobOf(FIVE, "Proved Disproved Unknown - Unknown"), false, seconds);
        score.jobEnded(endedBy(job_end_t::stopped, crashed(ONE)), true, 9);
        EXPECT_EQ(score.runsLeft(), 1 + 12 * 4 / 6.0);
    }
    score.jobEnded(jobOf(FIVE, "Proved Proved"), false, 3);
    EXPECT_EQ(score.runsLeft(), 12 * 7 / 11.0) << "more ran than was expected";
    EXPECT_EQ(score.goals().proved, 2U);
    EXPECT_EQ(score.tallies().at(0).seconds, 5);
}

TEST_F(WatchTest, OffATerminalPlainLinesComeNowAndThen)
{
    using namespace std::chrono_literals;
    const struct {
        const char* label;
        progress_mode_t mode;
        bool quiet;
        std::chrono::milliseconds period;
        int least;
        int most;
    } rows[] = {
        {"now and then", progress_mode_t::automatic, false, 50ms, 1, 5},
        {"a short play", progress_mode_t::automatic, false, 30s, 0, 0},
        {"a short play, always", progress_mode_t::always, false, 30s, 1, 1},
        {"never", progress_mode_t::never, false, 50ms, 0, 0},
        {"quiet", progress_mode_t::always, true, 50ms, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        watch_settings_t plain = settings();
        plain.progress = row.mode;
        plain.quiet = row.quiet;
        plain.plainPeriod = row.period;
        std::istringstream lines(linesOf(plain, [](Watch& watch) {
            watch.driverBegins(driverOf("quick", 6));
            watch.jobEnded(jobOf(ONE, "Proved"));
            std::this_thread::sleep_for(250ms);
        }));
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            EXPECT_EQ(line.rfind("mechtool play: 1/6 goals, 1 proved, smt/quick, ", 0), 0U) << line;
            EXPECT_NE(line.find(" jobs/s"), std::string::npos) << line;
        }
        EXPECT_GE(count, row.least);
        EXPECT_LE(count, row.most);
    }
}

TEST_F(WatchTest, AJobThatRunsFarBeyondItsTimeoutIsReportedOnce)
{
    watch_settings_t impatient = settings();
    impatient.slow = 0.05;
    impatient.plainPeriod = std::chrono::milliseconds(20); // which is how often it looks
    impatient.progress = progress_mode_t::never;
    const std::string lines = linesOf(impatient, [](Watch& watch) {
        driver_begins_t driver = driverOf("quick", 6);
        driver.timeout = 2;
        watch.driverBegins(driver);
        watch.jobBegins({6, ONE}); // whose end nobody tells
        watch.driverBegins(driver);
        watch.jobBegins({7, FIVE});
        watch.jobBegins({8, ONE});
        watch.jobEnded(jobOf(ONE, "Proved", 8));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    });
    EXPECT_EQ(lines.rfind("mechtool play: smt/quick: put_ring.1, put_ring.2, put_ring.3 and 2 "
                          "more: has run for 0.",
                          0),
              0U)
        << lines;
    EXPECT_EQ(lines.find('\n'), lines.size() - 1) << lines;
}

/// Runs `work` on four threads, which are numbered.
void inFour(const std::function<void(std::size_t)>& work)
{
    std::vector<std::thread> workers;
    for (std::size_t i = 0; i < 4; ++i) {
        workers.emplace_back(work, i);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
}

/// What a terminal shows: enough of one for carriage returns, line ends and erasing.
struct Screen {
    std::vector<std::string> rows = {""};
    std::size_t column = 0;
    std::size_t widest = 0;
    int returns = 0; ///< to the begin of the last row, without a line end

    void take(const std::string& text)
    {
        for (std::size_t i = 0; i < text.size(); ++i) {
            std::string& row = rows.back();
            if (text[i] == '\r') {
                column = 0;
                returns += text[i + 1] == '\n' ? 0 : 1;
            } else if (text[i] == '\n') {
                rows.emplace_back();
            } else if (text.compare(i, 3, "\x1b[K") == 0) {
                row.resize(column);
                i += 2;
            } else {
                row.resize(std::max(row.size(), column + 1));
                row[column++] = text[i];
                if (row.rfind("mechtool", 0) != 0) {
                    widest = std::max(widest, column);
                }
            }
        }
    }
};

TEST_F(WatchTest, OnATerminalOneLineIsRedrawnBelowWholeLinesAndGoneAtTheEnd)
{
    ::setenv("TERM", "xterm", 1);
    for (const unsigned short columns : std::initializer_list<unsigned short>{39, 100}) {
        SCOPED_TRACE(columns);
        const bool isWide = columns == 100; // and long enough to know the time left
        const unsigned rounds = isWide ? 90 : 20;
        int master = -1;
        int slave = -1;
        const winsize size = {24, columns, 0, 0};
        ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, &size), 0);
        std::string text;
        std::thread terminal([&] {
            char block[4096];
            for (ssize_t count; (count = ::read(master, block, sizeof block)) > 0;) {
                text.append(block, static_cast<std::size_t>(count));
            }
        });
        {
            const ErrorStream stream(slave);
            ::close(slave);
            Watch watch(settings());
            watch.setComponent(component());
            watch.driverBegins(driverOf("quick", 600));
            watch.jobBegins({0, ONE});
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            watch.jobBegins({2, TWO}); // which began later
            for (unsigned i = 0; i < rounds; ++i) {
                watch.jobEnded(i % 20 == 7 ? crashed(TWO, 1) : jobOf(TWO, "Proved Proved", 1));
                writeLog("mechtool log\n");
                std::cerr << "mechtool "
                          << "err" << i << std::endl;
                std::this_thread::sleep_for(std::chrono::milliseconds(25));
            }
            watch.end();
            std::cerr << "mechtool end" << std::endl;
            watch.end();
        }
        terminal.join();
        ::close(master);
        Screen screen;
        screen.take(text);
        EXPECT_LT(screen.widest, columns);
        EXPECT_GE(screen.widest, columns / 2U);
        EXPECT_GE(screen.returns, int(rounds / 10));
        EXPECT_NE(text.find("/600"), std::string::npos);
        EXPECT_EQ(text.find(" s left") != std::string::npos, isWide);
        EXPECT_EQ(text.find("refuted"), std::string::npos);
        EXPECT_NE(text.find(" 1 failed"), std::string::npos);
        EXPECT_EQ(text.find("put_ring.1 runs 1.") != std::string::npos, isWide) << text;
        ASSERT_EQ(screen.rows.size(), rounds * 2 + (rounds + 12) / 20 + 2);
        EXPECT_EQ(screen.rows.back(), "");
        screen.rows.pop_back();
        EXPECT_EQ(screen.rows.back(), "mechtool end");
        for (const std::string& row : screen.rows) {
            EXPECT_EQ(row.rfind("mechtool ", 0), 0U) << row;
            EXPECT_EQ(row.find("mechtool ", 1), std::string::npos) << row;
            EXPECT_TRUE(row.size() <= 14 || row.find("SIGSEGV") != std::string::npos) << row;
        }
    }
    ::setenv("TERM", "dumb", 1);
}

TEST_F(WatchTest, AnErrorStreamThatNobodyReadsOrReadsLateHoldsNobody)
{
    for (const bool isRead : {false, true}) {
        SCOPED_TRACE(isRead);
        int ends[2] = {-1, -1};
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        ::fcntl(ends[1], F_SETFL, isRead ? O_NONBLOCK : 0);
        QByteArray text;
        std::thread reader;
        {
            const ErrorStream stream(ends[1]);
            ::close(ends[1]);
            Watch watch(settings());
            watch.setComponent(component());
            watch.driverBegins(driverOf("quick", 6));
            inFour([&watch](std::size_t worker) {
                for (int k = 0; k < 5000; ++k) {
                    watch.jobBegins({worker, ONE});
                    watch.jobEnded(crashed(ONE, worker));
                }
            });
            EXPECT_EQ(watch.tallies().at(0).failed, 20000U);
            reader = std::thread([&] {
                char block[4096];
                for (ssize_t n; isRead && (n = ::read(ends[0], block, sizeof block)) > 0;) {
                    text.append(block, static_cast<int>(n));
                }
            });
            watch.end();
        }
        reader.join();
        ::close(ends[0]); // which lets the thread of the line go
        int lines = text.count("SIGSEGV");
        const QRegularExpression lost(
            QStringLiteral("([0-9]+) lines are missing here: nobody has"));
        for (auto match = lost.globalMatch(QString::fromUtf8(text)); match.hasNext();) {
            lines += match.next().captured(1).toInt();
        }
        EXPECT_EQ(lines, isRead ? 20000 : 0);
        EXPECT_LT(text.size(), 2200000) << "of three megabytes";
    }
}

TEST_F(WatchTest, ManyWorkersWriteWholeLines)
{
    watch_settings_t busy = settings();
    busy.journal = path("journal");
    busy.keepFailed = path("kept");
    busy.plainPeriod = std::chrono::milliseconds(1);
    std::istringstream lines(linesOf(busy, [](Watch& watch) {
        watch.driverBegins(driverOf("quick", 6));
        inFour([&watch](std::size_t worker) {
            for (int k = 0; k < 50; ++k) {
                watch.jobBegins({worker, TWO});
                watch.jobEnded(k % 2 == 0 ? jobOf(TWO, "Proved Proved", worker)
                                          : crashed(TWO, worker));
                writeLog("mechtool log\n");
            }
        });
        EXPECT_EQ(watch.goalsDone(), 2U);
        EXPECT_EQ(watch.tallies().at(0).run, 200U);
        std::cerr << "mechtool log";
    }));
    int failed = 0;
    int logged = 0; // the last one without its line end
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(line.rfind("mechtool ", 0), 0U) << line;
        failed += line.find("SIGSEGV") != std::string::npos ? 1 : 0;
        logged += line == "mechtool log" ? 1 : 0;
    }
    EXPECT_EQ(failed, 100);
    EXPECT_EQ(logged, 201);
    std::istringstream journal(test::contentOf(dir.path("journal")));
    int entries = 0;
    for (std::string line; std::getline(journal, line); ++entries) {
        EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(line)).isObject()) << line;
    }
    EXPECT_EQ(entries, 200);
    EXPECT_EQ(outputOf("ls " + dir.path("kept") + " | wc -l"), "100\n");
}

} // namespace
