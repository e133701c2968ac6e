// Whole runs of the program over small components.

#include "tests/cli/Program.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/stat.h>

namespace
{

const std::string FILES = "-s comp.pos -p comp.pog -d tmp ";

class Run : public Program
{
protected:
    void SetUp() override
    {
        dir.write("tmp/here", "");
    }

    /// Makes the mechanism "mech" of these drivers, and the status file.
    void component(const std::vector<test::Driver>& drivers, const std::string& goals)
    {
        dir.write("mechs/mech.xml", test::mechanismText("always", drivers));
        dir.write("comp.pos", test::posText(goals));
    }

    /// The driver D1, working and proving its goal.
    test::Driver proving() const
    {
        return test::driverSaying(dir, "D1", "Proved");
    }

    std::string statuses() const
    {
        return test::statusesOf(dir.path("comp.pos"));
    }
};

TEST_F(Run, ReportsMarksAndTotalsInBothForms)
{
    test::Driver driver =
        test::driverSaying(dir, "D1", "Proved Unknown Disproved Disproved Disproved");
    driver.attributes = "group='related'";
    const std::string open = "Unproved/Unproved/Proved ";
    const std::string rest = "Unproved/Unknown/Unproved Unproved/Unknown/Unproved "
                             "Proved/Unproved/Proved Unproved/Unknown/Unproved";
    component({driver}, open + open + open + open + open + "| " + rest);
    const Outcome plain = run(FILES + "-m mechs/mech.xml");
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.err, "");
    EXPECT_EQ(plain.out,
              "Proving comp with external mechanism mech\n\tProof driver D1, still 8 unproved PO\n"
              "\t\tPO_0\n\t\t\t+-!!!\n\nEnd of proof\n\nTOTAL for comp\t Proved 2\t Proved "
              "externally 1\t Unreliably proved 0\t Disproved 3\t Unproved 4\n");
    const std::string disproved = "Disproved/Disproved/Disproved ";
    EXPECT_EQ(statuses(), "Proved/Proved/Proved Unproved/Unknown/Unknown " + disproved + disproved +
                              disproved + "| " + rest);
    EXPECT_FALSE(test::exists(dir.path("tmp/comp_mech_D1_0.po2")));
    const std::string saved = test::contentOf(dir.path("comp.pos"));

    component({driver}, open + open + open + open + open + "| " + rest);
    EXPECT_EQ(run(FILES + "-M mechs -x -c 3").out,
              "<proof>\n<proving>Proving comp with external mechanism mech</proving>\n"
              "<proofPass>\tProof driver D1, still 8 unproved PO</proofPass>\n\t\t<operation><name>"
              "PO_0</name>\n\t\t\t<p/><m/><d/><d/><d/>\n</operation>\n\n<proofResult>\n\n<total>"
              "TOTAL for comp\t Proved 2\t Proved externally 1\t Unreliably proved 0\t Disproved 3"
              "\t Unproved 4</total>\n</proofResult>\n</proof>\n");
    EXPECT_EQ(test::contentOf(dir.path("comp.pos")), saved) << "the same bytes every time";
}

TEST_F(Run, TheTraceTellsTheWholeStory)
{
    component({proving()}, "Unproved/Unproved/Proved");
    QString story = QString::fromStdString(run(FILES + "-m mechs/mech.xml -t 1").err);
    story.replace(QString::fromStdString(dir.path()), QStringLiteral("DIR"));
    story.replace(QStringLiteral("-- ProofDirector -- "), QStringLiteral("> "));
    EXPECT_EQ(story.toStdString(),
              "[mechrun]\ncommand = \"mechrun -s comp.pos -p comp.pog -d tmp -m mechs/mech.xml -t "
              "1 \"\n> Created a ProofDirector for comp from mechs/mech.xml\n"
              "xml: 0 concurrency: 1 loaded: 1 trace: 1\n"
              "> Start loading POS file.\n> Loading POS file completed.\n"
              "> Playing 0-th driver (D1)\n> Playing 0-th driver (D1)\n"
              "> Driver has proof obligations to process.\n> Driver producing writer data\n"
              "> Driver producing prover data\n> Issuing writing command DIR/writer -a 0 0 -i "
              "comp.pog -o tmp/comp_mech_D1_0_0.po2\n> to generate tmp/comp_mech_D1_0_0.po2\n"
              "> Issuing proving command /bin/cat \n and reading command DIR/reader-D1 \n"
              "> processing command output Proved\n"
              "> updating proof status of proof obligation 0,0 to Proved for driver D1\n"
              "> Saving new DOM in POS file comp.pos\n"
              "> Destroyed ProofDirector for component comp\n");
}

TEST_F(Run, AMechanismThatCannotBeReadEndsTheRun)
{
    // The second mechanism: missing, with a tool that is not there, or out of the directory.
    dir.write("mechs/tool.xml", test::mechanismText("always", {{"D1", "", {""}}}));
    dir.write("outside.xml", "<mechanism/>");
    const std::pair<std::string, const char*> rows[] = {
        {"gone", "Cannot open 'mechs/gone.xml'.\n"},
        {"tool", "Empty tool path\nCannot locate tool w\n"},
        {"../outside", "Cannot open 'mechs/../outside.xml'.\n"},
    };
    for (const auto& [name, message] : rows) {
        component({proving()}, "Unproved/Unproved/Proved");
        std::string pos = test::contentOf(dir.path("comp.pos"));
        pos.insert(pos.find("</Simple_Goal>"), "<Mechanism name='" + name + "'/>");
        dir.write("comp.pos", pos);
        const Outcome outcome = run(FILES + "-M mechs -x");
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_EQ(outcome.err, message) << name;
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
                                               "echo Proved > \"$2\"")},
                {dir.script("my tools/prover", "printf %s \"$1\" > told; cat - \"$1\""),
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
    EXPECT_NE(test::contentOf(dir.path("cömp.pos")).find("Prédicat"), std::string::npos);
}

TEST_F(Run, ResourcesAndBareNamesLocateTools)
{
    dir.script("writer", "while [ \"$1\" != -o ]; do shift; done; : > \"$2\"");
    dir.script("cat", "echo Disproved"); // this one, never that of PATH
    dir.write("rc", "ORN*Proof*Reader: /bin//cat\n");
    component({{"D1", "", {"writer"}, {"cat"}, {"/nowhere", "resource='Any*Reader'"}}},
              "Unproved/Unproved/Proved");
    EXPECT_EQ(run(FILES + "-r rc -m mechs/mech.xml").err, "");
    EXPECT_EQ(statuses(), "Disproved/Disproved/Disproved");
}

TEST_F(Run, ChildrenGetDefaultSignalsAndNoForeignFiles)
{
    // No shell in between, which would have its own ideas about signals.
    test::Driver driver = proving();
    driver.prover = {"/bin/cat", "", "<param value='/proc/self/status'/>"};
    driver.reader.path = dir.script("reader", "cat > child; ls /proc/self/fd > files; echo Proved");
    component({driver}, "Unproved/Unproved/Proved");
    // Started under a parent that blocks and ignores what it likes.
    sigset_t mask;
    sigfillset(&mask);
    ::sigprocmask(SIG_BLOCK, &mask, nullptr);
    std::signal(SIGCHLD, SIG_IGN); // would hide from it how its tools ended
    const pid_t program = start(FILES + "-m mechs/mech.xml");
    std::signal(SIGCHLD, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &mask, nullptr);
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_EQ(test::contentOf(dir.path("err")), "");
    EXPECT_EQ(statuses(), "Proved/Proved/Proved");
    const std::string child = test::contentOf(dir.path("child"));
    EXPECT_NE(child.find("SigBlk:\t0000000000000000"), std::string::npos) << child;
    const std::size_t ignored = child.find("SigIgn:\t");
    ASSERT_NE(ignored, std::string::npos) << child;
    const unsigned long bits = std::stoul(child.substr(ignored + 8, 16), nullptr, 16);
    EXPECT_EQ(bits & (1UL << (SIGTERM - 1) | 1UL << (SIGPIPE - 1)), 0U) << child;
    // Its three streams, and what ls opened for itself.
    const std::string files = test::contentOf(dir.path("files"));
    EXPECT_EQ(std::count(files.begin(), files.end(), '\n'), 4) << files;
}

TEST_F(Run, ATerminationSignalKeepsWhatWasReachedAndLeavesNoChild)
{
    test::Driver slow = test::driverSaying(dir, "D2", "Proved");
    slow.prover.path = dir.script("slow", "echo $$ > up; exec sleep 1000");
    for (const char* workers : {"1", "4"}) {
        component({proving(), slow}, "Unproved/Unproved/Proved,Unproved | "
                                     "Unproved/Unproved/Unproved,Proved");
        ASSERT_EQ(::mkfifo(dir.path("up").c_str(), 0600), 0);
        const pid_t program = start(FILES + "-M mechs -c " + workers);
        const std::string prover = test::contentOf(dir.path("up")); // waits for the prover
        ::unlink(dir.path("up").c_str());
        ::kill(program, SIGTERM);
        ::kill(program, SIGTERM);
        EXPECT_EQ(statusOf(program), 1);
        EXPECT_EQ(test::contentOf(dir.path("out")).find("TOTAL"), std::string::npos);
        EXPECT_EQ(statuses(), "Proved/Proved/Proved,Unproved | Unproved/Unproved/Unproved,Proved");
        EXPECT_FALSE(test::exists(dir.path("tmp/comp_mech_D2_1_0.po2")));
        const std::string process = "/proc/" + prover.substr(0, prover.size() - 1);
        for (int i = 0; i < 1000 && !test::contentOf(process + "/cmdline").empty(); ++i) {
            ::usleep(10000); // killed, but perhaps not yet gone
        }
        EXPECT_EQ(test::contentOf(process + "/cmdline"), "");
    }
}

TEST_F(Run, StandardStreamsThatAreClosedHarmNothing)
{
    test::Driver driver = proving();
    driver.prover.path = dir.script("bin/complaining", "cat; echo a complaint >&2");
    component({driver}, "Unproved/Unproved/Proved");
    // A file that took the place of one would get the report, a reader the complaints of its
    // prover.
    const std::string command = "cd " + dir.path() + " && exec " + MECHRUN_BINARY + " " + FILES +
                                "-m mechs/mech.xml <&- >&- 2>&-";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(statuses(), "Proved/Proved/Proved");
}

TEST_F(Run, AReportThatNobodyReadsEndsNothingAndKeepsNoStopFromSaving)
{
#if defined(__SANITIZE_THREAD__)
    const std::vector<bool> rows = {false}; // there a signal waits for the write that is stuck
#else
    const std::vector<bool> rows = {true, false};
#endif
    for (const bool stopped : rows) {
        component({proving()}, "Unproved/Unproved/Proved");
        std::string pos = test::contentOf(dir.path("comp.pos"));
        pos.replace(pos.find("PO_0"), 4, std::string(200000, 'Z')); // more than a pipe holds
        dir.write("comp.pos", pos);
        ::unlink(dir.path("out").c_str());
        ASSERT_EQ(::mkfifo(dir.path("out").c_str(), 0600), 0);
        const int reader = ::open(dir.path("out").c_str(), O_RDONLY | O_NONBLOCK);
        const pid_t program = start(FILES + "-m mechs/mech.xml");
        char byte = 0;
        while (::read(reader, &byte, 1) == 0 || byte != 'Z') {
            ::usleep(1000); // the report has reached the heading, and is stuck in it
        }
        if (stopped) {
            ::kill(program, SIGTERM);
            EXPECT_EQ(statusOf(program), 1);
            ::close(reader);
        } else {
            ::close(reader);
            EXPECT_EQ(statusOf(program), 0);
        }
        EXPECT_EQ(statuses(), "Proved/Proved/Proved");
    }
}

} // namespace
