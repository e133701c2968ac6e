// What POS files record, as tables, as CSV and as JSON.

#include "pos/pos.h"
#include "tests/mechtool/MechtoolRun.h"

#include <algorithm>

#include <pty.h>

namespace
{

using Show = MechtoolRun;

const char* const RING = R"(<Proof_Obligations>
<Proof_Obligation><Tag>put</Tag>
 <Simple_Goal status='Proved'><Proof_State proofState='Unproved'/><iapa><status value='Valid'/></iapa>
  <Mechanism name='smt' status='Proved'><Driver name='Z3' status='Proved'/><Driver name='E'/>
  </Mechanism></Simple_Goal>
 <Simple_Goal status='Proved'><Proof_State proofState='Proved(1)'/>
  <Mechanism name='smt' status='Proved'><Driver name='Z3' status='Proved'/></Mechanism></Simple_Goal>
</Proof_Obligation>
<Proof_Obligation><Tag>get</Tag></Proof_Obligation>
<Proof_Obligation><Tag>put</Tag>
 <Simple_Goal status='Proved'><Mechanism name='smt' status='Proved'/>
  <Mechanism name='atp' status='Proved'><Driver name='E' status='Proved'/></Mechanism></Simple_Goal>
 <Simple_Goal status='Unknown'/>
</Proof_Obligation>
</Proof_Obligations>)";

TEST_F(Show, JsonHasTheTotalsThatAReplayReports)
{
    const std::string file = MECHRUN_EXAMPLES "/buffer.pos";
    pos::metrics_t metrics;
    ASSERT_TRUE(pos::getMetrics(file, metrics));
    const QJsonValue answer = jsonOf(run("show --json " + file + " " + file).out);
    EXPECT_EQ(textAt(answer, "format"), "mechtool-show");
    EXPECT_EQ(at(answer, "version").toInt(), 1);
    EXPECT_EQ(at(answer, "components").toArray().size(), 2);
    const std::pair<const char*, std::uint32_t> rows[] = {
        {"goals", metrics.total},
        {"proved", metrics.proved},
        {"unreliablyProved", metrics.unreliablyProved},
        {"disproved", metrics.disproved},
        {"unproved", metrics.unproved},
        {"provedByMechanisms", metrics.provedExternally},
        {"provedByProver", metrics.provedByProver},
    };
    for (const auto& [key, expected] : rows) {
        EXPECT_EQ(at(answer, std::string("totals/") + key).toInt(-1), 2 * int(expected)) << key;
        EXPECT_EQ(at(answer, std::string("components/1/totals/") + key).toInt(-1), int(expected));
    }
    EXPECT_EQ(at(answer, "mechanisms").toArray().size(), int(metrics.mechanisms.size()));
    for (const QJsonValue mechanism : at(answer, "mechanisms").toArray()) {
        const auto& record = metrics.mechanisms.at(textAt(mechanism, "name"));
        EXPECT_EQ(at(mechanism, "unproved").toInt(), 2 * int(record->unproved));
        for (const QJsonValue driver : at(mechanism, "drivers").toArray()) {
            EXPECT_EQ(at(driver, "proved").toInt(),
                      2 * int(record->drivers.at(textAt(driver, "name"))->proved));
        }
    }
}

/// Names that would harm a terminal or a line of values, in every place that has one.
const char* const HOSTILE = "<Proof_Obligations><Proof_Obligation><Tag>=a,\"\xc2\x9b" // CSI
                            "2J\xe2\x80\xae&#10;\\</Tag>"
                            "<Simple_Goal status='Proved'><Proof_State proofState='&#9;,'/>"
                            "<iapa><status value='&#13;'/></iapa>"
                            "<Mechanism name='\xc2\x9b&#10;' status='Proved'>"
                            "<Driver name='\xf3\xa0\x80\x81' status='Proved'/></Mechanism>"
                            "</Simple_Goal></Proof_Obligation></Proof_Obligations>";

TEST_F(Show, NoNameReachesTheTerminalUnescaped)
{
    dir.write("h.pos", HOSTILE);
    dir.write("i.pos", test::replaced(HOSTILE, "Proved", "Unproved"));
    dir.write("j.pos", "<Proof_Obligations/>");
    for (const std::string words :
         {"show h.pos --goals", "show h.pos --goals --json", "show h.pos --obligation='=*'",
          "diff h.pos i.pos", "diff h.pos j.pos", "check i.pos --baseline h.pos"}) {
        const outcome_t shown = run(words);
        EXPECT_EQ(shown.status, words[0] == 's' ? 0 : 1) << shown.err;
        EXPECT_TRUE(std::all_of(shown.out.begin(), shown.out.end(), [](char c) {
            return c == '\n' || (c >= ' ' && c < 0x7f);
        })) << shown.out;
    }
    const QJsonValue goal =
        at(jsonOf(run("show h.pos --goals --json").out), "components/0/goals/0");
    EXPECT_EQ(textAt(goal, "obligation"), "=a,\"\xc2\x9b"
                                          "2J\xe2\x80\xae\n\\");
    EXPECT_EQ(at(goal, "number").toInt(), 1);
    EXPECT_EQ(textAt(goal, "goal"), "=a,\"\\x9b2J\\u202e\\n\\\\.1");
    EXPECT_EQ(textAt(goal, "status") + textAt(goal, "analyser"), "Proved\r");
    EXPECT_EQ(textAt(goal, "mechanisms/0/drivers/0/name"), "\xf3\xa0\x80\x81");
    dir.write("ring.pos", RING);
    const QJsonValue ring = jsonOf(run("show ring.pos --json").out);
    EXPECT_TRUE(at(ring, "components/0/goals").isUndefined());
    EXPECT_EQ(textAt(ring, "components/0/obligations/2"),
              R"({"disproved":0,"goals":2,"name":"put#2","proved":1,"tag":"put","unknown":1,)"
              R"("unproved":0,"unreliablyProved":0})");
    EXPECT_EQ(at(ring, "mechanisms/0/provedOnlyHere").toInt(), 1);
}

TEST_F(Show, CsvHasALineForEachGoalAndQuotesWhatNeedsIt)
{
    dir.write("h.pos", HOSTILE);
    EXPECT_EQ(run("show h.pos --csv").out,
              "file,obligation,number,goal,status,prover,analyser,\"\xc2\x9b\n\",\"\xc2\x9b\n/"
              "\xf3\xa0\x80\x81\"\n"
              "h.pos,\"=a,\"\"\xc2\x9b"
              "2J\xe2\x80\xae\n\\\",1,\"=a,\"\"\\x9b2J\\u202e\\n\\\\.1\",Proved,\"\t,\",\"\r\","
              "Proved,Proved\n");
    dir.write("ring.pos", RING);
    EXPECT_EQ(run("show ring.pos --csv --goals --obligation put#2").out,
              "file,obligation,number,goal,status,prover,analyser,smt,atp,atp/E\n"
              "ring.pos,put#2,1,put#2.1,Proved,,,Proved,Proved,Proved\n"
              "ring.pos,put#2,2,put#2.2,Unknown,,,,,\n");
}

TEST_F(Show, CsvHasNoControlCharactersForATerminal)
{
    dir.write("h.pos", HOSTILE);
    int master = -1;
    int slave = -1;
    ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    run(std::string("show h.pos --csv >") + ::ttyname(slave));
    ::close(slave);
    std::string text;
    char block[4096];
    for (ssize_t count; (count = ::read(master, block, sizeof block)) > 0;) {
        text.append(block, static_cast<std::size_t>(count));
    }
    ::close(master);
    EXPECT_NE(text.find("h.pos,\"=a,\"\"\\x9b2J\\u202e\r\n\\\",1,"), std::string::npos) << text;
}

TEST_F(Show, WhatCannotBeAnsweredIsReportedInOneLine)
{
    dir.write("ring.pos", RING);
    dir.write("empty.pos", "");
    dir.write("cut.pos", "<Proof_Obligations>\n<Proof_Obligation>");
    dir.write("other.pos", "<html/>");
    dir.write("word.pos", "<Proof_Obligations><Proof_Obligation><Tag>put</Tag><Simple_Goal/>"
                          "<Simple_Goal><Mechanism name='smt' status='Fine\x7f'/></Simple_Goal>"
                          "</Proof_Obligation></Proof_Obligations>");
    const struct {
        const char* words;
        const char* line; ///< what it holds
    } rows[] = {
        {"show", "an argument is missing"},
        {"diff ring.pos", "an argument is missing"},
        {"diff ring.pos ring.pos ring.pos", "unexpected argument ring.pos"},
        {"show ring.pos none.pos", "none.pos: there is no such file"},
        {"diff none.pos ring.pos", "none.pos: there is no such file"},
        {"diff ring.pos .", ".: this is a folder"},
        {"show empty.pos", "empty.pos: the file is empty"},
        {"diff ring.pos cut.pos", "cut.pos: not well-formed: line 2"},
        {"show ring.pos other.pos", "other.pos: no POS file"},
        {"show word.pos",
         "word.pos: goal put.2: Mechanism \"smt\" has the unknown status \"Fine\\x7f\""},
        {"diff word.pos ring.pos", "goal put.2: Mechanism \"smt\" has the unknown status"},
        {"show ring.pos --csv --json", "choose one"},
        {"show ring.pos --status proved", "proved is no status: give one of Proved, Unre"},
        {"show ring.pos --status Disproved", "no goal is selected"},
        {"show ring.pos --obligation put --obligation 'x*'", "--obligation=x* fits no obligation"},
        {"show ring.pos >/dev/full", "standard output cannot be written"},
        {"show ring.pos >&-", "standard output cannot be written"},
        {"show ring.pos --'\x1b[2J'", "\\x1b[2J"},
        {"'\x1b[2J'", "there is no command \"\\x1b[2J\""},
        {"diff ring.pos ring.pos >/dev/full", "standard output cannot be written"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const outcome_t outcome = run(row.words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(row.line), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

TEST_F(Show, HelpIsAnAnswer)
{
    EXPECT_EQ(run("").out, run("--help").out);
    EXPECT_EQ(run("-h").out, run("help").out);
    EXPECT_EQ(run("help diff").out.find("Usage: mechtool diff "), 0U);
    EXPECT_EQ(run("--version").out.find("mechtool "), 0U);
}

TEST_F(Show, AReaderThatEndsEarlyIsReported)
{
    std::string goals;
    for (int i = 0; i < 5000; ++i) {
        goals += "Proved/Proved/Proved ";
    }
    dir.write("big.pos", test::posText(goals)); // more than a pipe holds
    run("show --goals big.pos | head -n 1 >/dev/null");
    EXPECT_NE(test::contentOf(dir.path("err")).find("standard output cannot be written"),
              std::string::npos);
}

} // namespace
