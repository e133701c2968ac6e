// Playing, confirming and looking at one goal, with tiny tools; signals and limits.

#include "tests/mechtool/MechtoolRun.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <pty.h>

namespace
{

const std::string FILES = " -s comp.pos -p comp.pog ";

class Play : public MechtoolRun
{
protected:
    /// Makes the status file and the mechanism "mech" with these drivers.
    void component(const std::vector<test::Driver>& drivers, const std::string& goals,
                   const std::string& trust = "always")
    {
        dir.write("comp.pos", test::posText(goals));
        dir.write("comp.pog", "");
        dir.write("temp/here", "");
        dir.write("m/mech.xml", test::mechanismText(trust, drivers));
    }

    test::Driver driver(const std::string& name, const std::string& verdict,
                        const std::string& attributes = "")
    {
        return test::driverSaying(dir, name, verdict, attributes);
    }

    /// A driver whose prover is a script.
    test::Driver driverWith(const std::string& name, const std::string& prover)
    {
        test::Driver made = driver(name, "Proved");
        made.prover = {dir.script("prover-" + name, prover), "timeout='1'", ""};
        return made;
    }

    /// A driver whose prover tells its process number, and runs for ever.
    test::Driver driverThatHangs()
    {
        return driverWith("D1", "echo $$ > pid.new; mv pid.new pid; trap '' TERM; "
                                "while :; do sleep 100; done");
    }

    int pidOfProver() const
    {
        while (!test::exists(dir.path("pid"))) {
            ::usleep(2000);
        }
        return std::stoi(test::contentOf(dir.path("pid")));
    }

    std::string statuses() const
    {
        return test::statusesOf(dir.path("comp.pos"));
    }

    /// No temporary folder is left.
    bool isClean() const
    {
        for (int i = 0; i < 1000 && !std::filesystem::is_empty(dir.path("tmp")); ++i) {
            ::usleep(5000);
        }
        return std::filesystem::is_empty(dir.path("tmp"));
    }

    void SetUp() override
    {
        std::filesystem::create_directory(dir.path("tmp"));
        ::setenv("TMPDIR", dir.path("tmp").c_str(), 1);
    }
    void TearDown() override
    {
        ::unsetenv("TMPDIR");
        EXPECT_TRUE(isClean());
    }
};

TEST_F(Play, EveryOpenGoalIsRunAndTheTableTells)
{
    const struct {
        const char* label;
        const char* words;
        const char* before;
        const char* after;
        int status;
        const char* out; ///< a line of it
    } rows[] = {
        {"registers", "", "Unproved Proved Unknown",
         "Proved/Proved/Unknown,Proved Proved/Unproved/Unproved,Unproved "
         "Proved/Proved/Unknown,Proved",
         0, "  mech       D1              2       0        0        2            0  "},
        {"nothing open", "", "Proved", "Proved/Unproved/Unproved,Unproved", 0, "1 Proved"},
        {"one driver", "--driver D2", "Unproved", "Proved/Proved/Unproved,Proved", 0,
         "  mech       D2              1       1        0        0            0  "},
        {"fast", "--fast", "Unproved", "Unproved/Unproved/Unknown,Unproved", 0,
         "comp: 1 goal: 0 Proved, 0 UnreliablyProved, 0 Disproved, 0 Unknown, 1 Unproved"},
        {"gate met", "--require proved", "Unproved", "Proved/Proved/Unknown,Proved", 0, "1 Proved"},
        {"gate not met", "--fast --require settled -j 3", "Unproved Proved",
         "Unproved/Unproved/Unknown,Unproved Proved/Unproved/Unproved,Unproved", 1, "PO_0.1"},
        {"report", "--report -d temp", "Unproved", "Proved/Proved/Unknown,Proved", 0,
         "Proving comp with external mechanism mech\n\tProof driver D1, still 1 unproved PO\n"},
        {"end of the report", "--report", "Unproved", "Proved/Proved/Unknown,Proved", 0,
         "\nEnd of proof\n\nTOTAL for comp\t Proved 1\t Proved externally 1\t"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        component({driver("D1", "Unknown", "fast='true'"), driver("D2", "Proved")}, row.before);
        const outcome_t outcome = run("play -M m" + FILES + row.words);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_EQ(statuses(), row.after);
        EXPECT_NE(outcome.out.find(row.out), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out.find("Some jobs failed"), std::string::npos) << outcome.out;
        const std::string saved = test::contentOf(dir.path("comp.pos"));
        EXPECT_EQ(run("play -m m/mech.xml --driver D1" + FILES).status, 0);
        EXPECT_EQ(saved, test::contentOf(dir.path("comp.pos"))) << "nothing is left for D1";
    }
    const auto written = std::filesystem::last_write_time(dir.path("comp.pos"));
    EXPECT_EQ(run("play -M m" + FILES).status, 0);
    EXPECT_TRUE(written == std::filesystem::last_write_time(dir.path("comp.pos")));
    const std::string none = dir.path("none");
    ::setenv("TMPDIR", none.c_str(), 1);
    EXPECT_EQ(run("play -M m -d temp" + FILES).status, 0);
    EXPECT_EQ(run("play -M m" + FILES).err,
              "mechtool play: no folder can be made in " + none +
                  ": No such file or directory: set TMPDIR, or give one with -d\n");
}

TEST_F(Play, WhatCannotBePlayedIsReportedBeforeTheFirstJob)
{
    const struct {
        const char* words;
        const char* error;
    } rows[] = {
        {"", "give either -m FILE or -M DIR"},
        {"-m m/mech.xml -M m", "give either -m FILE or -M DIR"},
        {"-m m/mech.xml -p comp.pog", "--pos is missing"},
        {"-m m/mech.xml -s comp.pos", "--pog is missing"},
        {"-m m/none.xml -s comp.pos -p comp.pog", "m/none.xml: there is no such file"},
        {"-m m/mech.xml -m m/more/mech.xml -s comp.pos -p comp.pog",
         "two mechanisms of the name \"mech\""},
        {"-m m/mech.xml -s none.pos -p comp.pog", "none.pos: there is no such file"},
        {"-m m/mech.xml -s m -p comp.pog", "m: this is a folder"},
        {"-m m/mech.xml -s m/mech.xml -p comp.pog", "no POS file"},
        {"-m m/mech.xml -s goals.pog -p comp.pog", "are these the proof obligations (-p)?"},
        {"-m m/mech.xml -s bad.pos -p comp.pog", "bad.pos: not well-formed: line 1"},
        {"-m m/mech.xml -s word.pos -p comp.pog", "goal PO_0.1"},
        {"-m m/mech.xml -s comp.pos -p none.pog", "none.pog: the proof obligations cannot be read"},
        {"-m m/mech.xml -s comp.pos -p m",
         "m: the proof obligations cannot be read: it is a folder"},
        {"-m m/mech.xml -s comp.pos -p comp.pog -d none", "none: this is no folder"},
        {"-m m/mech.xml -s comp.pos -p comp.pog -d comp.pog", "comp.pog: this is no folder"},
        {"-m m/mech.xml -s comp.pos -p comp.pog --driver D9", "no mechanism has a driver \"D9\""},
        {"-m m/lost.xml -s comp.pos -p comp.pog", "m/lost.xml: driver \"D1\""},
        {"-m m/mech.xml -s comp.pos -p comp.pog -j 0", "--jobs=0 is no whole number from 1 on"},
        {"-m m/mech.xml -s comp.pos -p comp.pog --time-limit 0",
         "--time-limit=0 is no whole number"},
        {"-m m/mech.xml -s comp.pos -p comp.pog --memory-limit 0",
         "--memory-limit=0 is no whole number"},
        {"-m m/mech.xml -s comp.pos -p comp.pog --progress=x", "write auto, always or never"},
        {"-m m/mech.xml -s comp.pos -p comp.pog --journal none/j", "none/j"},
        {"-m m/mech.xml -s comp.pos -p comp.pog -r none", "none: there is no such file"},
        {"-m m/mech.xml -s comp.pos -p comp.pog more", "unexpected argument more"},
    };
    component({driver("D1", "Proved")}, "Unproved/Unproved/Proved");
    dir.write("m/more/mech.xml", test::mechanismText("always", {driver("D1", "Proved")}));
    dir.write("m/lost.xml", test::mechanismText("always", {{"D1", "", {"/none"}, {}, {}}}));
    dir.write("bad.pos", "<Proof_Obligations><x>");
    dir.write("goals.pog", "<Proof_Obligations><Proof_Obligation><Simple_Goal><Goal>x</Goal>"
                           "</Simple_Goal></Proof_Obligation></Proof_Obligations>");
    dir.write("word.pos", test::posText("Prooved"));
    const std::string before = test::contentOf(dir.path("comp.pos"));
    for (const auto& row : rows) {
        for (const std::string command : {"play", "replay"}) {
            SCOPED_TRACE(command + " " + row.words);
            const outcome_t outcome = run(command + " " + row.words);
            EXPECT_EQ(outcome.status, 2);
            EXPECT_EQ(outcome.out, "");
            EXPECT_EQ(outcome.err.find("mechtool " + command + ": "), 0U);
            EXPECT_NE(outcome.err.find(row.error), std::string::npos) << outcome.err;
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        }
    }
    EXPECT_EQ(before, test::contentOf(dir.path("comp.pos")));
}

TEST_F(Play, AReplayConfirmsEveryVerdictByItself)
{
    // The drivers of "mech" are D1 and D2; those of "other" say what was recorded.
    const struct {
        const char* label;
        const char* trust;
        const char* first; ///< what D1 says now
        const char* second;
        const char* words;
        const char* before; ///< records of "mech"
        const char* other;  ///< status of "other" and its driver, or any record; empty: none
        int status;
        const char* section;
        const char* summary;
        const char* updated;
    } rows[] = {
        {"confirmed", "always", "Proved", "Unknown", "", "Proved/Proved/Proved,Unknown", "", 0, "",
         "1 of 1 verdict confirmed; 0 goals worse, 0 better", "Proved/Proved/Proved,Unknown"},
        {"lost", "always", "Unknown", "", "",
         "Proved/Proved/Proved,Unproved Proved/Proved/Proved,Unproved", "", 1,
         "Lost:", "0 of 2 verdicts confirmed; 2 goals worse, 0 better",
         "Unproved/Unproved/Unknown,Unproved Unproved/Unproved/Unknown,Unproved"},
        {"refuted", "always", "Disproved", "", "", "Proved/Proved/Proved,Unproved", "", 1,
         "Contradictions", "1 goal worse", "Disproved/Disproved/Disproved,Unproved"},
        {"proved that was refuted", "always", "Proved", "", "",
         "Disproved/Disproved/Disproved,Unproved", "", 1, "Contradictions", "1 goal worse",
         "Proved/Proved/Proved,Unproved"},
        {"refutation lost", "always", "Unknown", "", "", "Disproved/Disproved/Disproved,Unproved",
         "", 1, "Lost:", "1 goal worse, 0 better", "Unproved/Unproved/Unknown,Unproved"},
        {"refutation not asked for", "always", "Unknown", "", "--only-proved",
         "Disproved/Disproved/Disproved,Unproved", "", 0, "",
         "0 of 0 verdicts confirmed; 0 goals worse", "Disproved/Disproved/Disproved,Unproved"},
        {"proved by another", "always", "Unknown", "", "", "Proved/Proved/Proved,Unproved",
         "Proved", 0, "Lost records", "1 of 2 verdicts confirmed; 0 goals worse",
         "Proved/Unproved/Unknown,Unproved"},
        {"the same, strictly", "always", "Unknown", "", "--strict", "Proved/Proved/Proved,Unproved",
         "Proved", 1, "Lost records", "0 goals worse", "Proved/Unproved/Unknown,Unproved"},
        {"hidden by the first driver", "always", "Proved", "Unknown", "",
         "Proved/Proved/Proved,Proved", "", 0, "Lost records",
         "1 of 2 verdicts confirmed; 0 goals worse", "Proved/Proved/Proved,Unknown"},
        {"no redundancy any more", "redundancy", "Proved", "Unknown", "",
         "Proved/Proved/Proved,Proved", "", 1, "Lost:", "1 of 2 verdicts confirmed; 1 goal worse",
         "Unproved/Unknown/Proved,Unknown"},
        {"open, though proved", "always", "Proved", "", "", "Unproved/Unproved/Proved,Unproved", "",
         0, "Gained", "0 goals worse, 1 better", "Proved/Proved/Proved,Unproved"},
        {"open, though refuted", "always", "Disproved", "", "",
         "Unproved/Unproved/Disproved,Unproved", "", 0, "Gained", "0 goals worse, 1 better",
         "Disproved/Disproved/Disproved,Unproved"},
        {"open, though recorded as proved", "always", "Proved", "", "",
         "Unproved/Proved/Proved,Unproved", "", 0,
         "Gained: the goal stands better than before\n  goal    mechanism  driver  before    after "
         "  "
         "why\n  PO_0.1  -          -       Unproved",
         "0 goals worse, 1 better", "Proved/Proved/Proved,Unproved"},
        {"the same, and the analyser's word", "always", "Unknown", "", "",
         "Unproved/Proved/Proved,Unproved", "<iapa><status value='Valid'/></iapa>", 0,
         "Lost records", "0 of 1 verdict confirmed; 0 goals worse, 1 better",
         "UnreliablyProved/Unproved/Unknown,Unproved"},
        {"refuted by the first of two", "always", "Disproved", "", "",
         "Disproved/Proved/Proved,Unproved", "Disproved", 1, "Contradictions",
         "1 of 2 verdicts confirmed; 1 goal worse", "Disproved/Disproved/Disproved,Unproved"},
        {"played against the analyser's word", "always", "Proved", "Unknown", "",
         "Proved/Proved/Proved,Proved", "<iapa><status value='Invalid'/></iapa>", 0, "Lost records",
         "1 of 2 verdicts confirmed; 0 goals worse, 0 better", "Proved/Proved/Proved,Unknown"},
        {"proof and the analyser's word", "always", "Unknown", "", "",
         "Proved/Proved/Proved,Unproved", "<iapa><status value='Valid'/></iapa>", 1,
         "Lost:", "1 goal worse", "UnreliablyProved/Unproved/Unknown,Unproved"},
        {"proved without a driver that was asked", "always", "Proved", "Unknown", "--driver D2",
         "Proved/Proved/Unproved,Unproved", "", 0, "", "0 of 0 verdicts confirmed; 0 goals worse",
         "Proved/Proved/Unproved,Unproved"},
        {"proved without a driver", "always", "Proved", "", "", "Proved/Proved/Unproved,Unproved",
         "", 1, "Lost:", "1 goal worse", "Unproved/Unproved/Unproved,Unproved"},
        {"lost, but another driver was not asked", "always", "Unknown", "Proved", "--driver D1",
         "Proved/Proved/Proved,Proved", "", 0, "Lost records",
         "0 of 1 verdict confirmed; 0 goals worse", "Proved/Proved/Unknown,Proved"},
        {"open, and its driver says the opposite", "always", "Disproved", "", "",
         "Unproved/Unproved/Proved,Unproved", "", 1, "Contradictions", "1 goal worse, 0 better",
         "Disproved/Disproved/Disproved,Unproved"},
        {"unreliably proved without a driver", "never", "Proved", "", "",
         "UnreliablyProved/UnreliablyProved/Unproved,Unproved", "", 1, "Lost:", "1 goal worse",
         "Unproved/Unproved/Unproved,Unproved"},
        {"a refutation beside a proof", "always", "Proved", "", "--only-proved",
         "Disproved/Disproved/Proved,Disproved", "", 0, "",
         "1 of 1 verdict confirmed; 0 goals worse, 0 better",
         "Disproved/Disproved/Proved,Disproved"},
        {"one proof of two lost, the other not asked", "redundancy", "Unknown", "Proved",
         "--driver D1", "Proved/Proved/Proved,Proved", "", 1, "Lost:", "1 goal worse",
         "UnreliablyProved/UnreliablyProved/Unknown,Proved"},
        {"a refutation beside a lost proof", "always", "Unknown", "", "--only-proved",
         "Disproved/Disproved/Proved,Disproved", "", 0, "Lost records", "0 goals worse",
         "Disproved/Disproved/Unknown,Disproved"},
        {"driver that is not fast", "always", "Proved", "Unknown", "--fast",
         "Proved/Proved/Proved,Proved", "", 0, "", "1 of 1 verdict confirmed; 0 goals worse",
         "Proved/Proved/Proved,Proved"},
        {"one of two proofs not asked for", "redundancy", "Proved", "Unknown", "--driver D1",
         "Proved/Proved/Proved,Proved", "", 0, "", "1 of 1 verdict confirmed; 0 goals worse",
         "Proved/Proved/Proved,Proved"},
        {"driver not asked for", "always", "Unknown", "Proved", "--driver D2",
         "Proved/Proved/Proved,Proved", "Proved", 0, "", "1 of 1 verdict confirmed",
         "Proved/Proved/Proved,Proved"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        component({driver("D1", row.first, "fast='true'"), driver("D2", row.second)}, row.before,
                  row.trust);
        dir.write("m/other.xml",
                  test::mechanismText("always",
                                      {driver("D3", *row.other == 'D' ? row.other : "Proved")}));
        if (*row.other != '\0') {
            const std::string record = *row.other == '<'
                                           ? row.other
                                           : std::string("<Mechanism name='other' status='") +
                                                 row.other + "'><Driver name='D3' status='" +
                                                 row.other + "'/></Mechanism>";
            dir.write("comp.pos", test::replaced(test::contentOf(dir.path("comp.pos")),
                                                 "</Simple_Goal>", record + "</Simple_Goal>"));
        }
        const std::string before = test::contentOf(dir.path("comp.pos"));
        const outcome_t outcome = run("replay -M m" + FILES + row.words);
        EXPECT_EQ(outcome.status, row.status) << outcome.err << outcome.out;
        EXPECT_EQ(outcome.out.find(row.section), 0U) << outcome.out;
        EXPECT_NE(outcome.out.find(row.summary), std::string::npos) << outcome.out;
        EXPECT_EQ(before, test::contentOf(dir.path("comp.pos")));
        const std::string stood = statuses();
        const auto written = std::filesystem::last_write_time(dir.path("comp.pos"));
        const outcome_t updated = run("replay --update -M m" + FILES + row.words);
        EXPECT_EQ(updated.status, row.status);
        EXPECT_EQ(updated.out, outcome.out);
        EXPECT_EQ(statuses(), row.updated);
        EXPECT_EQ(written == std::filesystem::last_write_time(dir.path("comp.pos")),
                  stood == row.updated);
    }
}

TEST_F(Play, ALostJobConfirmsNothingAndSaysWhy)
{
    const std::string crash = "while [ \"$1\" != -o ]; do shift; done; echo x > \"$2\"; kill -9 $$";
    const struct {
        bool crashes; ///< the writer, which leaves its file: the reader says Proved
        const char* prover;
        const char* reason;
    } rows[] = {{false, "kill -SEGV $$", "SIGSEGV"},
                {true, "cat", "the writer was ended by SIGKILL"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        test::Driver played = driverWith("D1", row.prover);
        if (row.crashes) {
            played.writer = {dir.script("crash", crash)};
        }
        component({played}, "Proved/Proved/Proved");
        EXPECT_EQ(run("replay -M m" + FILES).status, 1);
        component({played}, "Proved/Proved/Proved Proved Unproved/Unproved/Unknown");
        const outcome_t outcome = run("replay -M m --update" + FILES);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.out.find("PO_0.1  mech       D1      Proved  not confirmed"),
                  std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.out.find(row.reason), std::string::npos) << outcome.out;
        EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 6) << outcome.out;
        EXPECT_NE(outcome.out.find("PO_0.2  -          -       Proved  Unproved       no record"),
                  std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.err.find(row.reason), std::string::npos) << outcome.err;
        EXPECT_EQ(statuses(), "Unproved/Unproved/Proved Unproved Unproved/Unproved/Unknown")
            << "the driver is asked again by the next replay";
    }
}

TEST_F(Play, AReplayOfWhatCannotBeJudgedIsRefused)
{
    const std::string record =
        "<Mechanism name='mech' status='Proved'><Driver name='D1' status='Proved'/>";
    const struct {
        const char* label;
        std::string goal;
        const char* error;
    } rows[] = {
        {"mechanism twice", record + "</Mechanism>" + record + "</Mechanism>", "recorded twice"},
        {"driver twice", record + "<Driver name='D1' status='Proved'/></Mechanism>",
         "recorded twice"},
        {"analyser", record + "</Mechanism><iapa><status value='Nope'/></iapa>", "\"Nope\""},
        {"no mechanism", "", "records no mechanism: play it first"},
        {"name that is a path", "<Mechanism name='../m/mech' status='Proved'/>",
         "records a mechanism \"../m/mech\", which is no file name"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        component({driver("D1", "Unknown")}, "Proved");
        dir.write("comp.pos", "<Proof_Obligations><Proof_Obligation><Tag>PO_0</Tag><Simple_Goal "
                              "status='Proved'>" +
                                  row.goal +
                                  "</Simple_Goal></Proof_Obligation></Proof_Obligations>");
        const outcome_t outcome = run("replay -M m" + FILES);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find(row.error), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(run("replay -m m/mech.xml" + FILES).err,
              "mechtool replay: comp.pos records nothing of mechanism \"mech\": play it first\n");
}

TEST_F(Play, WhatChangesUnderARunIsNoticed)
{
    const struct {
        const char* label;
        const char* prover; ///< of D1; a second mechanism is played after it
        const char* command;
        const char* error;
    } rows[] = {
        {"mechanism gone", "rm -f m/z.xml; cat", "play", "m/z.xml: it cannot be read any more"},
        {"mechanism gone", "rm -f m/z.xml; cat", "replay", "m/z.xml: "},
        {"other file", "cp more.pos comp.pos; cat", "replay", "it has changed since it was read"},
        {"second run",
         "cat; cd m; cp ../more.pos comp.pos; ln -sf ../comp.pos link.pos; exec >>../second 2>&1; "
         "for f in link.pos ../more.pos comp.pos; do " MECHTOOL " reset $f; done",
         "play", ""},
        {"second run of an update",
         "cat; exec >>second 2>&1; [ -e one ] || " MECHTOOL " forget comp.pos z", "replay --update",
         ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.label) + " " + row.command);
        const bool plays = std::string(row.command) == "play";
        component({driverWith("D1", row.prover)}, plays ? "Unproved" : "Proved/Proved/Proved");
        dir.write("m/z.xml", test::mechanismText("always", {driver("D2", "Proved")}));
        if (!plays) {
            dir.write("comp.pos",
                      test::replaced(test::contentOf(dir.path("comp.pos")), "</Simple_Goal>",
                                     "<Mechanism name='z' status='Proved'><Driver name='D2' "
                                     "status='Proved'/></Mechanism></Simple_Goal>"));
        }
        dir.write("more.pos", test::posText("Proved Proved Proved"));
        const outcome_t outcome = run(std::string(row.command) + " -M m -j 1" + FILES);
        EXPECT_EQ(outcome.status, *row.error == '\0' ? 0 : 2) << outcome.out;
        EXPECT_NE(outcome.err.find(row.error), std::string::npos) << outcome.err;
        EXPECT_EQ(test::contentOf(dir.path("comp.pos")).find("name=\"\""), std::string::npos);
    }
    const std::string busy = ": another mechtool is playing or changing it: wait for its end\n";
    EXPECT_EQ(test::contentOf(dir.path("second")),
              "mechtool reset: link.pos" + busy + "../more.pos: 3 of 3 goals changed\n" +
                  "comp.pos: 3 of 3 goals changed\nmechtool forget: comp.pos" + busy);
}

TEST_F(Play, AsManyJobsRunAtOnceAsAreAskedForAndAPlayThatIsNotSavedHasFailed)
{
    const std::string meets = "mkdir one 2>&- && exec timeout 9 cat meet; timeout 9 tee meet";
    const std::string proved = " Proved/Proved/Proved Proved/Proved/Proved Proved/Proved/Proved";
    const std::string goals =
        "Unproved/Unproved/Unproved Unproved/Unproved/Unproved" + proved + proved;
    component({driverWith("D1", meets)}, goals);
    const std::string limited =
        "cd " + dir.path() +
        "; mkfifo meet 2>&-; trap '' XFSZ; ulimit -f 1; exec >out 2>err " MECHTOOL " ";
    dir.write("list", "a 99");
    dir.write("new.xml", test::mechanismText("always", {driver("D2", "Proved")}));
    dir.write("big.pos", test::posText(goals + " Proved/Proved/Proved,Proved" + proved));
    for (const std::string& words : // the file that is written has no room
         std::vector<std::string>{"play -M m -j 2" + FILES, "reset big.pos", "new c.pos list",
                                  "report big.pos --html page", "report big.pos --html list",
                                  "play -m new.xml --fast -s big.pos -p comp.pog",
                                  "replay -M m" + FILES}) {
        EXPECT_EQ(WEXITSTATUS(std::system((limited + words).c_str())), 2) << words;
    }
    component({driverWith("D1", "mkdir half 2>&- && exec cat; kill -TERM $PPID; exec sleep 100")},
              goals);
    const std::string stopped = limited + "play -M m -j 1" + FILES;
    EXPECT_EQ(WEXITSTATUS(std::system(stopped.c_str())), 128 + SIGTERM);
    EXPECT_NE(test::contentOf(dir.path("err"))
                  .find("stopped: 1 of 2 goals done; the POS file could not be saved: make room, "),
              std::string::npos);
    EXPECT_FALSE(test::exists(dir.path("c.pos")) || test::exists(dir.path("page")));
    EXPECT_EQ(test::contentOf(dir.path("list")), "a 99");
    for (const char* const several :
         {" -j2", std::thread::hardware_concurrency() > 1 ? "" : "-j2"}) {
        std::filesystem::remove(dir.path("one"));
        component({driverWith("D1", meets)}, goals);
        EXPECT_EQ(run(std::string("play -M m ") + several + FILES).status, 0);
        EXPECT_EQ(statuses().find("Unproved"), std::string::npos) << several;
    }
}

TEST_F(Play, DriversThatOnlyTheRecordsOrOnlyTheFileKnowAreReported)
{
    component({driver("D\xc3\xa9", "Proved"), driver("D2", "Proved")}, "");
    const std::string goal =
        "<Simple_Goal status='Unproved'><Mechanism name='other' status='Unproved'/>"
        "<Mechanism name='mech' status='Unproved'><Driver name='D\xe9' status='Proved'/>"
        "<Driver name='D9\x7f' status='Proved'/></Mechanism></Simple_Goal>";
    dir.write("comp.pos", "<?xml version='1.0' encoding='ISO-8859-1'?><Proof_Obligations>"
                          "<Proof_Obligation><Tag>PO_0</Tag>" +
                              goal + goal + "</Proof_Obligation></Proof_Obligations>");
    const outcome_t quiet = run("replay --quiet -m m/mech.xml" + FILES);
    EXPECT_EQ(quiet.err, "");
    EXPECT_NE(quiet.out.find("2 of 4 verdicts confirmed"), std::string::npos) << quiet.out;
    const outcome_t outcome = run("replay -m m/mech.xml --fast" + FILES);
    EXPECT_NE(outcome.out.find("  D9\\x7f  Proved  not confirmed  the mechanism file has no such "),
              std::string::npos);
    EXPECT_EQ(outcome.err,
              "mechtool replay: the POS file records driver D9\\x7f of mechanism mech on 2 goals, "
              "but the mechanism file has no such driver: it is not run\n"
              "mechtool replay: driver D2 is new in mechanism mech: it is not run on 2 goals whose "
              "records do not know it (\"mechtool forget\" removes the records)\n");
}

TEST_F(Play, AModelIsPrintedAndTheFileStays)
{
    test::Driver with = driver("D1\x7f", "Disproved 'x = 1' '\\\\\x1b[2J'");
    component({with, driver("D2", "Proved"), driverWith("D3", "kill -KILL $$")},
              "Unproved|Proved/Unproved/Unproved Proved");
    const std::string before = test::contentOf(dir.path("comp.pos"));
    const outcome_t outcome = run("model -m m/mech.xml --goal PO_1.2" + FILES);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("D1\\x7f: Disproved after "), std::string::npos);
    EXPECT_NE(outcome.err.find("PO_1.2: the prover was ended by SIGKILL"), std::string::npos);
    EXPECT_NE(outcome.out.find("\n  x = 1\n  \\\\\\x1b[2J\nD2: Proved after "), std::string::npos)
        << outcome.out;
    EXPECT_EQ(run("model -m m/mech.xml --driver D2 --goal PO_0.1" + FILES).status, 1);
    EXPECT_NE(
        run("model -m m/mech.xml --goal PO_1.3" + FILES).err.find("the nearest are PO_1.1, PO_1.2"),
        std::string::npos);
    EXPECT_NE(run("model -m m/mech.xml -m m/mech.xml --goal PO_0.1" + FILES).err.find("once"),
              std::string::npos);
    EXPECT_EQ(before, test::contentOf(dir.path("comp.pos")));
    component({driverWith("D1", "kill -KILL $$")}, "Unproved");
    EXPECT_NE(run("model -m m/mech.xml --quiet --goal PO_0.1 2>&1" + FILES)
                  .out.find(" s\nmechtool model: no driver came to a verdict on goal PO_0.1: see "),
              std::string::npos);
}

TEST_F(Play, ASignalIsAnOrderlyStop)
{
    const std::string words = " -M m -j 1 -d temp" + FILES;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (const std::string command : {"play", "replay"}) {
            SCOPED_TRACE(command + " " + std::to_string(signal));
            ::unlink(dir.path("pid").c_str());
            component({driverThatHangs()}, "Unproved/Unproved/Proved Unproved/Unproved/Proved");
            const std::string before = test::contentOf(dir.path("comp.pos"));
            ::signal(SIGHUP, signal == SIGHUP ? SIG_DFL : SIG_IGN); // as nohup does
            ::signal(SIGINT, SIG_IGN);                              // as a shell does with "&"
            const pid_t child = start(command + words);
            ::signal(SIGHUP, SIG_DFL);
            ::signal(SIGINT, SIG_DFL);
            const int prover = pidOfProver();
            EXPECT_TRUE(test::exists(dir.path("temp/comp_mech_D1_0_0.po2")));
            signal == SIGHUP ? 0 : ::kill(child, SIGHUP);
            ::kill(child, signal);
            const outcome_t outcome = end(child);
            EXPECT_EQ(outcome.status, 128 + signal);
            EXPECT_NE(outcome.err.find("stopped: 0 of 2 goals done; the POS file "),
                      std::string::npos)
                << outcome.err;
            EXPECT_TRUE(std::filesystem::is_empty(dir.path("tmp")));
            EXPECT_FALSE(test::exists(dir.path("temp/comp_mech_D1_0_0.po2")));
            EXPECT_TRUE(test::hasEnded(prover, true));
            EXPECT_EQ(command == "replay", before == test::contentOf(dir.path("comp.pos")));
        }
    }
}

TEST_F(Play, AStopKeepsWhatIsDoneAndOnlyASecondInterruptHurriesIt)
{
    // The first job is proved, and the second one stops the play with these signals.
    const std::string proves =
        "ls /proc/self/fd >open; mkdir one 2>&- && exec cat; echo $PPID >tool; ";
    const std::string waits = "; exec sleep 100";
    const std::string two = "kill -STOP $PPID; kill -HUP $PPID; kill -TERM $PPID; kill -CONT $PPID";
    const std::string goals = "Unproved/Unproved/Unproved Unproved/Unproved/Unproved";
    component({driverWith("D1", proves + two + waits)}, goals);
    const outcome_t stopped = run("play -M m -j 1" + FILES);
    EXPECT_TRUE(stopped.status == 128 + SIGHUP || stopped.status == 128 + SIGTERM);
    EXPECT_EQ(stopped.err, "stopped: 1 of 2 goals done; the POS file holds them; "
                           "run the same command to go on\n");
    EXPECT_EQ(statuses(), "Proved/Proved/Proved Unproved/Unproved/Unproved");
    EXPECT_EQ(test::contentOf(dir.path("open")), "0\n1\n2\n3\n") << "and 3 is the folder's own";

    // The last step of a stop is held up until the interrupt has come.
    dir.script("bin/rm", "kill -INT $(cat tool); sleep 1; exec /bin/rm \"$@\"");
    component({driverWith("D1", "echo $PPID >tool; kill -TERM $PPID" + waits)}, "Unproved");
    const std::string path = ::getenv("PATH");
    ::setenv("PATH", (dir.path("bin:") + path).c_str(), 1);
    EXPECT_EQ(run("play -M m" + FILES).status, 128 + SIGINT);
    ::setenv("PATH", path.c_str(), 1);
}

TEST_F(Play, ALineIsDrawnWhereATerminalShowsIt)
{
    const struct {
        const char* terminal; ///< where the error stream goes
        const char* words;
        bool isDrawn;
    } rows[] = {
        {"xterm", "", true},
        {"xterm", "--progress=always", true},
        {"xterm", "--progress=never", false},
        {"xterm", "--report >&2", false},
        {"dumb", "", false},
        {"", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.terminal) + row.words);
        int master = -1;
        int slave = -1;
        ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
        ::setenv("TERM", row.terminal, 1);
        component({driverWith("D\xc2\x9b", "sleep 0.4; cat")}, "Unproved");
        EXPECT_EQ(run("play -M m 2>" + std::string(::ttyname(slave)) + FILES + row.words).status,
                  0);
        ::fcntl(master, F_SETFL, O_NONBLOCK);
        std::string text(4096, '\0');
        text.resize(std::size_t(std::max(ssize_t(0), ::read(master, &text[0], text.size()))));
        EXPECT_EQ(text.find("0/1 goals, 0 proved, mech/D") != std::string::npos, row.isDrawn)
            << text;
        EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos) << text;
        EXPECT_EQ(text.find("mechtool play: 1/1"), std::string::npos) << text;
        ::close(slave);
        ::close(master);
    }
    ::setenv("TERM", "dumb", 1);
    dir.write("comp.pos", test::posText("Unproved"));
    EXPECT_EQ(run("play -M m --progress=always" + FILES).err.find("mechtool play: 1/1 goals"), 0U);
}

TEST_F(Play, NothingIsLeftOfAKilledPlay)
{
    for (const bool withItsGroup : {false, true}) {
        SCOPED_TRACE(withItsGroup);
        std::filesystem::remove(dir.path("pid"));
        component({driverThatHangs()}, "Unproved");
        const pid_t child = start("play -M m" + FILES, "setsid ");
        const int prover = pidOfProver();
        ::kill(withItsGroup ? -child : child, SIGKILL);
        EXPECT_EQ(end(child).status, -SIGKILL);
        EXPECT_TRUE(test::hasEnded(prover, true));
        EXPECT_TRUE(isClean());
    }
}

TEST_F(Play, AJobBeyondALimitIsLostAndTheNextOneRuns)
{
    // The first job of two hangs, or wants too much memory; the other is proved.
    const struct {
        const char* words;
        const char* fault;
        const char* said;
    } rows[] = {
        {"--time-limit 1", "echo why >&2; sleep 100 & wait", "time limit"},
        {"--memory-limit 100", "exec /bin/dd if=/dev/zero of=/dev/null bs=900M count=1",
         "memory limit"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        ::unlink(dir.path("first").c_str());
        component({driverWith("D1", std::string("mkdir first 2>&- && { ") + row.fault +
                                        "; }; sleep 0.1; cat")},
                  "Unproved/Unproved/Unproved Unproved/Unproved/Unproved");
        std::filesystem::remove_all(dir.path("first"));
        const outcome_t outcome =
            run(std::string("play -M m -j 1 --keep-failed kept ") + row.words + FILES);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(statuses(), "Unproved/Unproved/Unproved Proved/Proved/Proved");
        EXPECT_NE(outcome.err.find(row.said), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("PO_0.1"), std::string::npos) << outcome.err;
        // Prover and reader print at once.
        const std::string errors = test::contentOf(dir.path("kept/mech_D1_PO_0.1/errors.txt"));
        EXPECT_TRUE(errors == "noise\nnoise\nwhy\n" || errors == "noise\nwhy\nnoise\n") << errors;
        EXPECT_NE(outcome.out.find("  1       1        0        0            1  "),
                  std::string::npos)
            << outcome.out;
    }
    EXPECT_NE(test::contentOf(dir.path("out")).find("\nSome jobs failed. "), std::string::npos);
    EXPECT_EQ(run("play -M m > /dev/full" + FILES).status, 2);
}

} // namespace
