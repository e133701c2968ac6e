// The real program, run in a directory of its own, in the poorest locale.

#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>

#include <fcntl.h>
#include <sys/fanotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

const std::string FILES = "-s comp.pos -p comp.pog -d tmp ";

struct Outcome {
    int status = 0; ///< exit status; -N when signal N ended the program
    std::string out;
    std::string err;
};

class Run : public testing::Test
{
protected:
    /// Starts the program, with the three standard streams only, on words for the shell. Its input
    /// is text that no tool may see; its output goes to the files "out" and "err" of the test's
    /// directory. `before` are words of a program that starts it.
    pid_t start(const std::string& words, const std::string& before = "")
    {
        const std::string command = "cd " + dir.path() +
                                    " && exec </etc/passwd >out 2>err && PATH=" + MECHRUN_FOLDER +
                                    ":$PATH LC_ALL=C exec " + before + "mechrun " + words;
        const pid_t child = ::fork();
        if (child == 0) {
            ::close_range(3, ~0U, 0);     // whatever the test runner left open
            std::signal(SIGINT, SIG_DFL); // which the test runner may ignore
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            ::_exit(127);
        }
        return child;
    }

    static int statusOf(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    Outcome run(const std::string& words, const std::string& before = "")
    {
        const int status = statusOf(start(words, before));
        return {status, test::contentOf(dir.path("out")), test::contentOf(dir.path("err"))};
    }

    /// Makes the mechanism "mech" of these drivers, the status file, and a folder for the others.
    void component(const std::vector<test::Driver>& drivers, const std::string& goals)
    {
        dir.write("tmp/here", "");
        dir.write("mechs/mech.xml", test::mechanismText("always", drivers));
        std::string pos = test::posText(goals);
        // So many that they hardly ever keep their order by chance.
        dir.write("comp.pos", pos.insert(pos.find('>'), " a='1' b='2' c='3' d='4' e='5' f='6'"));
    }

    std::string statuses() const
    {
        return test::statusesOf(dir.path("comp.pos"));
    }

    test::TempDir dir;
};

TEST_F(Run, ABadCommandLineGivesTheHelpTextAndNothingElse)
{
    for (const char* row :
         {"", "--help", "--nonsense", "-s", "-d . -s c.pos -p c.pog",
          "-d . -s c.pos -p c.pog -m m.xml -M .", "--directory= -s c.pos -p c.pog -M .",
          "-d . -s c.pos -M .", "-d . -p c.pog -M .", "-d . -s c.pos -p c.pog -M . -c 0",
          "-d . -s c.pos -p c.pog -M . --concurrency 2", "-d . -s c.pos -p c.pog -M . --trace 1",
          "-d . -s c.pos -p c.pog --mechanism m.xml",
          "-d . -s c.pos -p c.pog --mechanism-directory ."}) {
        SCOPED_TRACE(row);
        const Outcome outcome = run(row);
        EXPECT_EQ(outcome.status, 1);
        test::expectGolden("cli/golden/help.txt", outcome.out);
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(Run, ARunWithNothingToPlaySaysWhyAndPrintsTheTotals)
{
    dir.write("x.y/comp.pos", "<Proof_Obligations/>");
    dir.write("odd.pos", test::posText("Valid/Unproved/Proved"));
    dir.write("m.xml", test::mechanismText("always", {}));
    test::expectCases("cli/golden/nothing.txt", [this](const std::string& arguments) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        return outcome.err + outcome.out;
    });
    const Outcome outcome = run("-s odd.pos -p c -d . -M . -x"); // a word that nobody knows
    EXPECT_EQ(outcome.status, -SIGABRT);
    EXPECT_EQ(outcome.out, "<proof>\n");
}

TEST_F(Run, ReportsMarksAndTotalsInBothFormsAndTracesItsSteps)
{
    const test::Driver driver =
        test::driverSaying(dir, "D1", "Proved Disproved", "group='related'");
    const std::string open = "Unproved/Unproved/Proved ";
    const std::string rest = "| Unproved/Unknown/Unproved Proved/Unproved/Proved";
    const std::vector<test::Driver> drivers = {driver, test::driverSaying(dir, "D2", "")};
    std::string saved; // the same bytes every time
    test::expectCases("cli/golden/play.txt", [&](const std::string& arguments) {
        component(drivers, open + open + rest);
        const Outcome outcome = run(FILES + arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(statuses(), "Proved/Proved/Proved Disproved/Disproved/Disproved " + rest);
        EXPECT_FALSE(test::exists(dir.path("tmp/comp_mech_D1_0.po2")));
        const std::string pos = test::contentOf(dir.path("comp.pos"));
        EXPECT_EQ(pos, saved.empty() ? pos : saved);
        saved = pos;
        const std::regex thread("Thread [0-9]+");
        const std::string trace = std::regex_replace(outcome.err, thread, "Thread N");
        return outcome.out + test::replaced(trace, dir.path(), "DIR");
    });
}

TEST_F(Run, AMechanismThatCannotBeReadEndsTheRun)
{
    // The second mechanism: missing, or out of the directory.
    dir.write("outside.xml", "<mechanism/>");
    for (const std::string name : {"gone", "../outside"}) {
        component({test::driverSaying(dir, "D1", "Proved")}, "Unproved/Unproved/Proved");
        std::string pos = test::contentOf(dir.path("comp.pos"));
        pos.insert(pos.find("</Simple_Goal>"), "<Mechanism name='" + name + "'/>");
        dir.write("comp.pos", pos);
        const Outcome outcome = run(FILES + "-M mechs -x");
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_EQ(outcome.err, "Cannot open 'mechs/" + name + ".xml'.\n");
        EXPECT_NE(outcome.out.find("<p/>"), std::string::npos) << "the first one was played";
        EXPECT_EQ(outcome.out.find("total"), std::string::npos) << name;
    }
}

TEST_F(Run, TextsAreUtf8WhateverTheLocaleAndTheEncodingOfTheFile)
{
    // The prover finds its file by a name with non-ASCII characters and tells what it was given.
    component({{"Dé %1",
                "ext='π'",
                {dir.script("my tools/wrïter", "while [ \"$1\" != -o ]; do shift; done\n"
                                               "cat > \"$2\"; echo Proved >> \"$2\"")},
                {dir.script("my tools/prover", "printf %s \"$1\" > told; cat - \"$1\"; echo >&2 x"),
                 "input='file'", "<param value='${file}'/>"}}},
              "");
    dir.write("cömp.pos", "<?xml version='1.0' encoding='ISO-8859-1'?><r><Proof_Obligation><Tag>"
                          "Pr\xE9"
                          "dicat</Tag><Simple_Goal><Mechanism name='mech'>"
                          "<Driver name='D\xE9 %1' status='Proved'/></Mechanism></Simple_Goal>"
                          "</Proof_Obligation></r>");
    const Outcome outcome = run("-s cömp.pos -p cömp.pog -d tmp -m mechs/mech.xml");
    EXPECT_NE(outcome.out.find("\t\tPrédicat\n\t\t\t+\n"), std::string::npos)
        << outcome.out << outcome.err;
    EXPECT_EQ(test::contentOf(dir.path("told")), "tmp/cömp_mech_Dé %1_0_0.π");
    EXPECT_EQ(test::statusesOf(dir.path("cömp.pos")), "Proved/Proved/Proved");
    const std::string saved = test::contentOf(dir.path("cömp.pos"));
    EXPECT_NE(saved.find("Prédicat"), std::string::npos);
    EXPECT_NE(saved.find("encoding='UTF-8'"), std::string::npos) << saved;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Run, ResourcesAndBareNamesLocateTools)
{
    dir.script("writer", "while [ \"$1\" != -o ]; do shift; done; : > \"$2\"");
    dir.script("cat", "echo Disproved"); // this one, never the one along PATH
    dir.write("first", "ORN*Proof*Reader: /bin/false\nORN*Proof*P: /bin/false\n");
    dir.write("rc", "ORN*Proof*Reader: /bin//cat\n"); // in the place of the first
    const test::Tool reader = {"/nowhere", "resource='Any*Reader'"};
    component({{"D1", "", {"writer"}, {"cat", "resource='P'"}, reader}},
              "Unproved/Unproved/Proved");
    EXPECT_EQ(run(FILES + "-r first --resources rc -m mechs/mech.xml").err, "");
    EXPECT_EQ(statuses(), "Disproved/Disproved/Disproved");
}

TEST_F(Run, ChildrenGetDefaultSignalsAndNoForeignFiles)
{
    // No shell in between, which would have its own ideas about signals.
    test::Driver driver = test::driverSaying(dir, "D1", "Proved");
    driver.prover = {"/bin/cat", "", "<param value='/proc/self/status'/>"};
    driver.reader.path =
        dir.script("reader", "cat > child; ls /proc/self/fd /proc/$(cut -d ' ' -f 5 "
                             "/proc/self/stat)/fd > files; echo Proved");
    component({driver}, "Unproved/Unproved/Proved");
    // Ignored, SIGCHLD would hide from the program how its tools ended. SIGHUP is nohup's.
    const Outcome outcome = run(FILES + "-m mechs/mech.xml",
                                "env --ignore-signal=CHLD --ignore-signal=HUP --block-signal ");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(statuses(), "Proved/Proved/Proved");
    const std::string child = test::contentOf(dir.path("child"));
    // SIGPIPE and SIGTERM share a digit; SIGHUP is in the last one.
    const QRegularExpression untouched(
        QStringLiteral("SigBlk:\t0{16}\nSigIgn:\t.{12}[028a].{2}[13579bdf]"));
    EXPECT_TRUE(untouched.match(QString::fromStdString(child)).hasMatch()) << child;
    // Its three streams and what ls opened for itself; the pipe of the guard; two headings.
    const std::string files = test::contentOf(dir.path("files"));
    EXPECT_EQ(std::count(files.begin(), files.end(), '\n'), 8) << files;
}

TEST_F(Run, WhateverEndsTheProgramLeavesNoProcessAndNoVerdictIsLost)
{
    const struct {
        const char* label;
        int signal;
        int status;
        const char* role; ///< the tool that never ends
    } rows[] = {
        {"a stop during a writer", SIGTERM, 1, "writer"},
        {"a stop during a prover", SIGTERM, 1, "prover"},
        {"a kill during a prover", SIGKILL, -SIGKILL, "prover"},
        {"a kill during a reader", SIGKILL, -SIGKILL, "reader"},
        {"an interrupt during a writer", SIGINT, -SIGINT, "writer"},
    };
    for (const auto& row : rows) {
        test::Driver slow = test::driverSaying(dir, "D2", "Proved");
        const std::string role = row.role;
        test::Tool& tool = role == "writer"   ? slow.writer
                           : role == "prover" ? slow.prover
                                              : slow.reader;
        // The guard takes no notice of a signal to its group, but the partner of a reader would.
        tool.path = dir.script("slow", "trap '' TERM; " +
                                           std::string(role == "reader" ? "" : "kill -TERM 0; ") +
                                           ": > tmp/comp_mech_D2_1_0.po2; sleep 1000 & "
                                           "echo $! $$ > up; wait");
        component({test::driverSaying(dir, "D1", "Proved"), slow},
                  "Unproved/Unproved/Proved,Unproved | Unproved/Unproved/Unproved,Proved");
        ::unlink(dir.path("up").c_str());
        ASSERT_EQ(::mkfifo(dir.path("up").c_str(), 0600), 0);
        const pid_t program = start(FILES + "-M mechs -c 4");
        std::istringstream up(test::contentOf(dir.path("up"))); // waits for the tool
        ::kill(program, row.signal);
        ::kill(program, row.signal);
        EXPECT_EQ(statusOf(program), row.status) << row.label;
        const std::string out = test::contentOf(dir.path("out"));
        EXPECT_NE(out.find("D2, still 1 unproved"), std::string::npos) << row.label;
        EXPECT_EQ(out.find("TOTAL"), std::string::npos) << row.label;
        EXPECT_EQ(statuses(), "Proved/Proved/Proved,Unproved | Unproved/Unproved/Unproved,Proved")
            << row.label;
        EXPECT_EQ(test::exists(dir.path("tmp/comp_mech_D2_1_0.po2")), row.status != 1) << row.label;
        for (int pid = 0; up >> pid;) {
            EXPECT_TRUE(test::hasEnded(pid, true)) << row.label;
        }
    }
}

TEST_F(Run, AStopSavesAtOnceAlthoughAStartDoesNotEnd)
{
    // The system asks us before it runs the tool, as it would ask a file server, and we do not
    // answer.
    const int question = ::fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY);
    if (question < 0) {
        GTEST_SKIP() << "only root may hold a start up";
    }
    const struct {
        const char* workers;
        int signal;
    } rows[] = {{"-c 1", SIGTERM}, {"-c 3", SIGTERM}, {"-c 3", SIGKILL}};
    for (const auto& [workers, signal] : rows) {
        SCOPED_TRACE(workers + std::to_string(signal));
        test::Driver stuck = test::driverSaying(dir, "D2", "Proved");
        stuck.prover.path = dir.path("stuck");
        std::filesystem::copy("/bin/cat", stuck.prover.path,
                              std::filesystem::copy_options::overwrite_existing);
        component({test::driverSaying(dir, "D1", "Proved"), stuck},
                  "Unproved/Unproved/Proved,Unproved | Unproved/Unproved/Unproved,Proved");
        const std::string pos = test::contentOf(dir.path("comp.pos"));
        ASSERT_EQ(::fanotify_mark(question, FAN_MARK_ADD, FAN_OPEN_EXEC_PERM, AT_FDCWD,
                                  stuck.prover.path.c_str()),
                  0);
        const pid_t program = start(FILES + "-M mechs " + workers);
        fanotify_event_metadata event = {};
        EXPECT_GT(::read(question, &event, sizeof event), 0); // it is about to start
        dir.write("comp.pos", pos);                           // what the stop saves is to be seen
        const auto begin = std::chrono::steady_clock::now();
        ::kill(program, signal);
        EXPECT_EQ(statusOf(program), signal == SIGTERM ? 1 : -SIGKILL);
        EXPECT_TRUE(test::hasEnded(event.pid, true)) << "it keeps the guard waiting";
        if (signal == SIGTERM) {
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
            EXPECT_EQ(statuses(),
                      "Proved/Proved/Proved,Unproved | Unproved/Unproved/Unproved,Proved");
            EXPECT_FALSE(test::exists(dir.path("tmp/comp_mech_D2_1_0.po2")));
        }
    }
    ::close(question);
}

TEST_F(Run, StandardStreamsThatAreClosedHarmNothing)
{
    test::Driver driver = test::driverSaying(dir, "D1", "Proved");
    driver.prover.path = dir.script("bin/complaining", "echo a complaint >&2 && cat");
    component({driver}, "Unproved/Unproved/Proved");
    // A file that took the place of one would get the report, a reader the complaints of its
    // prover.
    EXPECT_EQ(run(FILES + "-m mechs/mech.xml <&- >&- 2>&-").status, 0);
    EXPECT_EQ(statuses(), "Proved/Proved/Proved");
    // The pipe that wakes the thread of a stop would get the report, too.
    dir.script("bin/complaining", "kill $PPID; exec sleep 9");
    component({driver}, "Unproved/Unproved/Proved");
    EXPECT_EQ(run(FILES + "-m mechs/mech.xml <&- >&- 2>&-").status, 1);
}

TEST_F(Run, AStreamThatNobodyReadsEndsNothingAndKeepsNoStopFromSaving)
{
    const struct {
        const char* label;
        const char* stream; ///< nobody reads it on from the mark
        std::string mark;
        const char* options;
        bool stopped; ///< otherwise the reader goes away
    } rows[] = {
        {"the report is closed", "out", "+++++", "", false},
#if !defined(__SANITIZE_THREAD__) // there a signal waits for the write that is stuck
        {"the report is full", "out", "+++++", "", true},
        {"the trace is full", "err", "obligation 0,0 ", "-t 1", true},
#endif
    };
    const auto begin = std::chrono::steady_clock::now();
    constexpr int GOALS = 5000; // their marks fill more than a pipe of one page
    const std::string proved = "Proved/Proved/Proved";
    for (const auto& row : rows) {
        test::Driver driver = test::driverSaying(dir, "D1", "", "group='full'");
        driver.writer.path = dir.script("w", "for file; do :; done; echo x > \"$file\"");
        driver.reader.path = dir.script("r", "yes Proved | head -n " + std::to_string(GOALS));
        std::string goals;
        std::string after;
        for (int goal = 0; goal < GOALS; ++goal) {
            goals += "Unproved/Unproved/Proved ";
            after += (goal == 0 ? "" : " ") + proved;
        }
        component({driver}, goals);
        ::unlink(dir.path("out").c_str());
        ::unlink(dir.path("err").c_str());
        ASSERT_EQ(::mkfifo(dir.path(row.stream).c_str(), 0600), 0);
        const int reader = ::open(dir.path(row.stream).c_str(), O_RDONLY | O_NONBLOCK);
        ::fcntl(reader, F_SETPIPE_SZ, 4096);
        const pid_t program = start(FILES + "-m mechs/mech.xml " + row.options);
        std::string seen;
        while (seen.find(row.mark) == std::string::npos) {
            char byte = 0;
            ::read(reader, &byte, 1) == 1 ? seen.push_back(byte) : void(::usleep(1000));
        }
        row.stopped ? ::kill(program, SIGTERM) : ::close(reader);
        EXPECT_EQ(statusOf(program), row.stopped ? 1 : 0) << row.label;
        EXPECT_EQ(statuses(), after) << row.label;
        row.stopped ? ::close(reader) : 0;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30)) << "a stop hung";
}

} // namespace
