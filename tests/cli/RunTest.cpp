// Whole runs of the program over small components.

#include "tests/cli/Program.h"

#include <algorithm>
#include <csignal>
#include <sys/stat.h>

namespace
{

using test::Goal;

class Run : public Program
{
protected:
    /// A mechanism file DIR/name.xml whose reader prints `words`, one a goal.
    void mechanism(const std::string& name, const std::string& trust, const std::string& words,
                   const std::string& prover = "cat")
    {
        test::Driver driver;
        driver.attributes = "group='related'";
        driver.writer = dir.script("bin/writer", "while [ \"$1\" != -o ]; do shift; done\n"
                                                 "echo goals > \"$2\"");
        driver.prover = dir.script("bin/prover-" + name, prover);
        driver.reader = dir.script("bin/reader-" + name, "cat >&2; printf '" + words + "'");
        dir.write("mechs/" + name + ".xml", test::mechanismText(trust, {driver}));
    }

    std::vector<std::string> options(const std::vector<std::string>& more)
    {
        std::vector<std::string> all = {"-s", "comp.pos", "-p", "comp.pog", "-d", "tmp"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    void SetUp() override
    {
        dir.write("tmp/here", "");
    }

    bool temporaryFilesAreGone() const
    {
        return !test::exists(dir.path("tmp/comp_mech_D1_0.po2"));
    }
};

TEST_F(Run, ReportsMarksAndTotalsInBothForms)
{
    mechanism("mech", "always", "Proved\\nUnknown\\nDisproved\\n");
    const std::string pos = test::posText({{{}, {}, {}}, {{"Proved", "Unproved", "D1=Proved"}}});
    dir.write("comp.pos", pos);
    const Outcome plain = run(options({"-m", "mechs/mech.xml"}));
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.err, "");
    EXPECT_EQ(plain.out,
              "Proving comp with external mechanism mech\n\tProof driver D1, still 3 unproved PO\n"
              "\t\tPO_0\n\t\t\t+-!\n\nEnd of proof\n\nTOTAL for comp\t Proved 2\t Proved "
              "externally 1\t Unreliably proved 0\t Disproved 1\t Unproved 1\n");
    EXPECT_EQ(test::statusesOf(dir.path("comp.pos")),
              "Proved/Proved/Proved Unproved/Unknown/Unknown Disproved/Disproved/Disproved "
              "Proved/Unproved/Proved");
    EXPECT_TRUE(temporaryFilesAreGone());
    const std::string saved = test::contentOf(dir.path("comp.pos"));

    dir.write("comp.pos", pos);
    const Outcome xml = run(options({"-M", "mechs", "-x", "-c", "3"}));
    EXPECT_EQ(xml.out,
              "<proof>\n<proving>Proving comp with external mechanism mech</proving>\n"
              "<proofPass>\tProof driver D1, still 3 unproved PO</proofPass>\n\t\t<operation><name>"
              "PO_0</name>\n\t\t\t<p/><m/><d/>\n</operation>\n\n<proofResult>\n\n<total>TOTAL for "
              "comp\t Proved 2\t Proved externally 1\t Unreliably proved 0\t Disproved 1\t "
              "Unproved 1</total>\n</proofResult>\n</proof>\n");
    EXPECT_EQ(test::contentOf(dir.path("comp.pos")), saved) << "the same bytes every time";
}

TEST_F(Run, TheTraceTellsTheWholeStory)
{
    mechanism("mech", "never", "Proved\\n");
    dir.write("comp.pos", test::posText({{{}}}));
    const Outcome outcome = run(options({"-m", "mechs/mech.xml", "-t", "1"}));
    const std::string p = "-- ProofDirector -- ";
    const std::string bin = dir.path("bin/");
    const std::string playing = p + "Playing 0-th driver (D1)\n";
    const std::string file = "tmp/comp_mech_D1_0.po2";
    EXPECT_EQ(outcome.err,
              "[mechrun]\ncommand = \"mechrun -s comp.pos -p comp.pog -d tmp -m mechs/mech.xml -t "
              "1 \"\n" +
                  p +
                  "Created a ProofDirector for comp from mechs/mech.xml\nxml: 0 "
                  "concurrency: 1 loaded: 1 trace: 1\n" +
                  p + "Start loading POS file.\n" + p + "Loading POS file completed.\n" + playing +
                  playing + p + "Driver has proof obligations to process.\n" + p +
                  "Driver producing writer data\n" + p + "Driver producing prover data\n" + p +
                  "Issuing writing command " + bin + "writer -a 0 0 -i comp.pog -o " + file + "\n" +
                  p + "to generate " + file + "\n" + p + "Issuing proving command " + bin +
                  "prover-mech \n and reading command " + bin + "reader-mech \n" + p +
                  "processing command output Proved\n" + p +
                  "updating proof status of proof obligation 0,0 to Proved for driver D1\n" + p +
                  "Saving new DOM in POS file comp.pos\n" + p +
                  "Destroyed ProofDirector for component comp\n");
}

TEST_F(Run, AMechanismThatCannotBeReadEndsTheRun)
{
    mechanism("mech", "always", "Proved\\n");
    // The second mechanism: missing, with a tool that is not there, or out of the directory.
    dir.write("mechs/tool.xml", test::mechanismText("always", {test::Driver()}));
    dir.write("outside.xml", "<mechanism/>");
    const std::pair<const char*, const char*> rows[] = {
        {"gone", "Cannot open 'mechs/gone.xml'.\n"},
        {"tool", "Empty tool path\nCannot locate tool w\n"},
        {"../outside", "Cannot open 'mechs/../outside.xml'.\n"},
    };
    for (const auto& [name, message] : rows) {
        std::string pos = test::posText({{{}}});
        const std::string more = std::string("<Mechanism name=\"") + name + "\"/></Simple_Goal>";
        pos.replace(pos.find("</Simple_Goal>"), 14, more);
        dir.write("comp.pos", pos);
        const Outcome outcome = run(options({"-M", "mechs", "-x"}));
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_EQ(outcome.err, message) << name;
        EXPECT_NE(outcome.out.find("<p/>"), std::string::npos) << "the first one was played";
        EXPECT_EQ(outcome.out.find("total"), std::string::npos) << name;
    }
}

TEST_F(Run, AnUnknownWordEndsTheRunAfterWhatWasDue)
{
    dir.write("comp.pos", test::posText({{{"Valid", "Unproved", ""}}}));
    const Outcome outcome = run(options({"-M", "mechs", "-x"}));
    EXPECT_EQ(outcome.status, -SIGABRT);
    EXPECT_EQ(outcome.out, "<proof>\n");
    EXPECT_NE(outcome.err.find("map::at"), std::string::npos) << outcome.err;
}

TEST_F(Run, AReplayWithoutADocumentIsSaid)
{
    mechanism("mech", "always", "Proved\\n");
    const Outcome outcome = run(options({"-m", "mechs/mech.xml"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find("End of")),
              "Proving comp with external mechanism mech\nError comp .pos\n"
              "ErrorFile not readable comp.pos\n");
}

TEST_F(Run, TextsAreUtf8InEveryLocale)
{
    environment = {{"LC_ALL", "C"}, {"LANG", "C"}};
    // The prover finds its file by a name with non-ASCII characters and tells what it was given.
    test::Driver driver;
    driver.name = "Dé %1";
    driver.attributes = "ext='π'";
    driver.writer = dir.script("my tools/wrïter", "while [ \"$1\" != -o ]; do shift; done\n"
                                                  "echo Proved > \"$2\"");
    driver.prover = dir.script("my tools/prover", "printf %s \"$1\" > told; cat \"$1\"");
    driver.proverAttributes = "input='file'";
    driver.proverParameters = "<param value='${file}'/>";
    driver.reader = "/bin/cat";
    dir.write("mechs/mech.xml", test::mechanismText("always", {driver}));
    std::string pos = test::posText({{{"Unproved", "Unproved", "D1=Proved"}}});
    pos.replace(pos.find("D1"), 2, driver.name);
    pos.replace(pos.find("PO_0"), 4, "Prédicat");
    dir.write("cömp.pos", pos);
    const Outcome outcome =
        run({"-s", "cömp.pos", "-p", "cömp.pog", "-d", "tmp", "-m", "mechs/mech.xml"});
    EXPECT_NE(outcome.out.find("\t\tPrédicat\n\t\t\t+\n"), std::string::npos)
        << outcome.out << outcome.err;
    EXPECT_EQ(test::contentOf(dir.path("told")), "tmp/cömp_mech_Dé %1_0_0.π");
    EXPECT_EQ(test::statusesOf(dir.path("cömp.pos")), "Proved/Proved/Proved");
}

TEST_F(Run, ResourcesAndBareNamesLocateTools)
{
    test::Driver driver;
    driver.writer = "writer";
    driver.reader = "/nowhere\" resource=\"Any*Reader";
    driver.prover = "cat"; // the one in the current directory, never that of PATH
    dir.script("writer", "while [ \"$1\" != -o ]; do shift; done; : > \"$2\"");
    dir.script("cat", "echo Disproved");
    dir.write("mechs/mech.xml", test::mechanismText("always", {driver}));
    dir.write("rc", "ORN*Proof*Reader: /bin//cat\n");
    dir.write("comp.pos", test::posText({{{}}}));
    const Outcome outcome = run(options({"-r", "rc", "-m", "mechs/mech.xml"}));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(test::statusesOf(dir.path("comp.pos")), "Disproved/Disproved/Disproved");
}

TEST_F(Run, ChildrenGetDefaultSignalsAndNoForeignFiles)
{
    mechanism("mech", "always", "Proved\\n",
              "grep -E 'Sig(Blk|Ign)' /proc/self/status > child; ls /proc/self/fd >> child");
    dir.write("comp.pos", test::posText({{{}}}));
    // Started under a parent that blocks and ignores what it likes.
    sigset_t mask;
    sigset_t before;
    sigemptyset(&mask);
    sigaddset(&mask, SIGTERM);
    sigaddset(&mask, SIGPIPE);
    sigaddset(&mask, SIGALRM);
    ::sigprocmask(SIG_BLOCK, &mask, &before);
    std::signal(SIGCHLD, SIG_IGN); // would hide from it how its tools ended
    const pid_t program = start(options({"-m", "mechs/mech.xml"}));
    std::signal(SIGCHLD, SIG_DFL);
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(finish(program).err, "");
    EXPECT_EQ(test::statusesOf(dir.path("comp.pos")), "Proved/Proved/Proved");
    const std::string child = test::contentOf(dir.path("child"));
    EXPECT_NE(child.find("SigBlk:\t0000000000000000"), std::string::npos) << child;
    for (const char* set : {"SigBlk:\t", "SigIgn:\t"}) {
        const std::size_t at = child.find(set);
        ASSERT_NE(at, std::string::npos) << child;
        const unsigned long bits = std::stoul(child.substr(at + 8, 16), nullptr, 16);
        EXPECT_EQ(bits & (1UL << (SIGTERM - 1)), 0U) << set;
        EXPECT_EQ(bits & (1UL << (SIGPIPE - 1)), 0U) << set;
    }
    // Its three streams, and what ls opened for itself.
    EXPECT_EQ(std::count(child.begin(), child.end(), '\n'), 2 + 4) << child;
}

TEST_F(Run, ATerminationSignalKeepsWhatWasReachedAndLeavesNoChild)
{
    mechanism("mech", "always", "Proved\\n");
    test::Driver slow;
    slow.name = "D2";
    slow.writer = dir.path("bin/writer");
    slow.prover = dir.script("bin/slow", "echo $$ > up; exec sleep 1000");
    slow.reader = "/bin/cat";
    std::string text = test::contentOf(dir.path("mechs/mech.xml"));
    const std::string second = test::mechanismText("always", {slow});
    const std::size_t from = second.find("<driver");
    text.insert(text.find("</mechanism>"), second.substr(from, second.find("</mechanism>") - from));
    dir.write("mechs/mech.xml", text);
    for (const char* workers : {"1", "4"}) {
        ::unlink(dir.path("up").c_str());
        ASSERT_EQ(::mkfifo(dir.path("up").c_str(), 0600), 0);
        dir.write("comp.pos", test::posText({{{"Unproved", "Unproved", "D1=Proved D2=Unproved"}},
                                             {{"Unproved", "Unproved", "D2=Proved"}}}));
        const pid_t program = start(options({"-M", "mechs", "-c", workers}));
        const int prover = std::stoi(test::contentOf(dir.path("up"))); // waits for the prover
        ::kill(program, SIGTERM);
        ::kill(program, SIGTERM);
        const Outcome outcome = finish(program);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out.find("TOTAL"), std::string::npos);
        EXPECT_EQ(test::statusesOf(dir.path("comp.pos")),
                  "Proved/Proved/Proved,Unproved Unproved/Unproved/Proved");
        EXPECT_FALSE(test::exists(dir.path("tmp/comp_mech_D2_1_0.po2")));
        for (int i = 0; i < 1000 && ::kill(prover, 0) == 0; ++i) {
            ::usleep(10000); // dead, but perhaps not yet reaped by its new parent
            if (test::contentOf("/proc/" + std::to_string(prover) + "/stat").find(") Z") !=
                std::string::npos) {
                break;
            }
        }
        EXPECT_EQ(test::contentOf("/proc/" + std::to_string(prover) + "/cmdline"), "");
    }
}

TEST_F(Run, AReportThatNobodyReadsKeepsNoStopFromSaving)
{
    mechanism("mech", "always", "Proved\\n");
    std::string pos = test::posText({{{}}});
    pos.replace(pos.find("PO_0"), 4, std::string(200000, 'Z')); // more than a pipe holds
    dir.write("comp.pos", pos);
    ASSERT_EQ(::mkfifo(dir.path("out").c_str(), 0600), 0);
    const int reader = ::open(dir.path("out").c_str(), O_RDONLY | O_NONBLOCK);
    const pid_t program = start(options({"-m", "mechs/mech.xml"}));
    char byte = 0;
    while (::read(reader, &byte, 1) == 0 || byte != 'Z') {
        ::usleep(1000); // the report has reached the heading, and is stuck in it
    }
    ::kill(program, SIGTERM);
    int status = 0;
    ::waitpid(program, &status, 0);
    ::close(reader);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
    EXPECT_EQ(test::statusesOf(dir.path("comp.pos")), "Proved/Proved/Proved");
}

TEST_F(Run, AFileInAnotherEncodingIsSavedAsUtf8AndSaysSo)
{
    mechanism("mech", "always", "Proved\\n");
    std::string pos = test::posText({{{}}});
    pos.replace(pos.find("PO_0"), 4, "\xE9t\xE9");
    dir.write("comp.pos", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n" + pos);
    EXPECT_NE(run(options({"-m", "mechs/mech.xml"})).out.find("été"), std::string::npos);
    const std::string saved = test::contentOf(dir.path("comp.pos"));
    EXPECT_NE(saved.find("UTF-8"), std::string::npos) << saved;
    EXPECT_NE(saved.find("été"), std::string::npos) << saved;
}

} // namespace
