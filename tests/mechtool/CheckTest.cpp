// What check finds in a POS file, and what it requires of the goals.

#include "tests/mechtool/MechtoolRun.h"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

namespace
{

using test::posText;

class Check : public MechtoolRun
{
protected:
    /// One obligation "a" with the goal.
    static std::string withGoal(const std::string& goal)
    {
        return "<Proof_Obligations><Proof_Obligation><Tag>a</Tag>" + goal +
               "</Proof_Obligation></Proof_Obligations>";
    }

    /// Checks the file "c.pos"; what is printed must be the lines after the name of the file and
    /// before the summary.
    void expectFindings(const std::string& text, const std::vector<std::string>& lines,
                        const std::string& options = "")
    {
        dir.write("c.pos", text);
        const outcome_t outcome = run("check c.pos " + options);
        std::string expected;
        for (const std::string& line : lines) {
            expected += "c.pos: " + line + "\n";
        }
        const std::size_t last = outcome.out.rfind("c.pos: ");
        EXPECT_EQ(outcome.out.substr(0, last), expected) << outcome.err;
        const std::string count = std::to_string(lines.size());
        EXPECT_EQ(outcome.out.find("c.pos: " + (lines.empty()       ? "in order, "
                                                : lines.size() == 1 ? "1 finding, "
                                                                    : count + " findings, "),
                                   last),
                  last)
            << outcome.out;
        EXPECT_EQ(outcome.status, lines.empty() ? 0 : 1);
        EXPECT_EQ(outcome.err, "");
    }

    /// A mechanism file with these drivers, whose tools are all there.
    void writeMechanism(const std::string& file, const std::vector<std::string>& drivers)
    {
        std::vector<test::Driver> made;
        made.reserve(drivers.size());
        for (const std::string& name : drivers) {
            made.push_back({name});
        }
        dir.write(file, test::mechanismText("always", made));
    }
};

// NOLINTBEGIN(bugprone-suspicious-missing-comma): long texts take several lines
TEST_F(Check, EveryFaultOfAGoalIsNamed)
{
    const std::string words = "is not one of Unproved, Proved, UnreliablyProved, Disproved";
    const struct {
        const char* label;
        const char* goal;
        std::vector<std::string> findings;
    } rows[] = {
        {"in order",
         "<Simple_Goal status='Disproved'><Proof_State proofState='Proved(Util)'/><iapa><status "
         "value='Valid'/></iapa><Mechanism name='m' status='Disproved'><Driver name='d' "
         "status='Disproved'/></Mechanism></Simple_Goal>",
         {}},
        {"no goal", "", {}},
        {"every record has a fault",
         "<Simple_Goal status='proved'><Proof_State proofState='Proved'/><iapa><status "
         "value='Proved'/></iapa><Mechanism name='m' status='Valid'><Driver name='d' "
         "status='UnreliablyProved'/></Mechanism></Simple_Goal>",
         {"goal a.1: Simple_Goal: status \"proved\" " + words,
          "goal a.1: Proof_State: proofState \"Proved\" is not one of Unproved, Proved(0), "
          "Proved(1), Proved(2), Proved(3), Proved(Util)",
          "goal a.1: iapa: value \"Proved\" is not one of Unproved, Unknown, Valid, Invalid",
          "goal a.1: mechanism \"m\": status \"Valid\" is not one of Unproved, Unknown, Proved, "
          "UnreliablyProved, Disproved",
          "goal a.1: mechanism \"m\", driver \"d\": status \"UnreliablyProved\" is not one of "
          "Unproved, Unknown, Proved, Disproved"}},
        {"what must be there",
         "<Simple_Goal><Proof_State/><iapa/><Mechanism><Driver/></Mechanism></Simple_Goal>",
         {"goal a.1: Simple_Goal: there is no status",
          "goal a.1: Proof_State: there is no "
          "proofState",
          "goal a.1: iapa: there is no value", "goal a.1: mechanism \"\": there is no name",
          "goal a.1: mechanism \"\": there is no status",
          "goal a.1: mechanism \"\", driver \"\": there is no name",
          "goal a.1: mechanism \"\", driver \"\": there is no status"}},
        {"twice, in the second goal",
         "<Simple_Goal status='Unproved'/><Simple_Goal status='Unproved'><Mechanism name='&#27;/' "
         "status='Unknown'><Driver name='d' status='Unknown'/><Driver name='d' status='Unknown'/>"
         "</Mechanism><Mechanism name='&#27;/' status='Unknown'/></Simple_Goal>",
         {"goal a.2: mechanism \"\\x1b/\", driver \"d\": it is recorded twice",
          "goal a.2: mechanism \"\\x1b/\": it is recorded twice",
          "mechanism \"\\x1b/\": with a \"/\" in its name it cannot be replayed from a folder of "
          "mechanisms"}},
        {"the rule",
         "<Simple_Goal status='Proved'/><Simple_Goal status='Unproved'><Mechanism name='m' "
         "status='Proved'/></Simple_Goal><Simple_Goal status='Unproved'><iapa><status "
         "value='Valid'/></iapa></Simple_Goal>",
         {"goal a.1: found Proved, expected Unproved", "goal a.2: found Unproved, expected Proved",
          "goal a.3: found Unproved, expected UnreliablyProved by the word of the analyser"}},
        {"a word for mechanisms only",
         "<Simple_Goal status='Unknown'/>",
         {"goal a.1: Simple_Goal: status \"Unknown\" " + words,
          "goal a.1: found Unknown, expected Unproved"}},
        {"something else with a status",
         "<Simple_Goal status='Unproved'><Note/></Simple_Goal>",
         {}},
        {"obligations",
         "</Proof_Obligation><Proof_Obligation><Simple_Goal status='Unproved'/>",
         {"obligation 2: there is no tag"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        expectFindings(withGoal(row.goal), row.findings);
    }
    for (const std::string record : // each tells that this is no file of proof obligations
         {"<Proof_State proofState='Unproved'/>", "<iapa><status value='Unknown'/></iapa>",
          "<Mechanism name='m' status='Unknown'/>"}) {
        expectFindings(withGoal("<Simple_Goal>" + record + "</Simple_Goal>"),
                       {"goal a.1: Simple_Goal: there is no status"});
    }
}
// NOLINTEND(bugprone-suspicious-missing-comma)

TEST_F(Check, AFileOfAnotherKindIsAFindingAndAnUnreadableFileNoAnswer)
{
    dir.write("good.pos", posText("Unproved"));
    dir.write("bad.pos", "<Proof_Obligations>\n<Proof_Obligation>\n</Proof_Obligations>");
    dir.write("other.pos", "<mechanism/>");
    dir.write("empty.pos", "");
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    std::filesystem::resize_file(dir.write("large.pos", ""), (512U << 20U) + 1);
    const struct {
        const char* words;
        int status;
        const char* line;
    } rows[] = {
        {"bad.pos good.pos", 1, "bad.pos: not well-formed: line 3: "},
        {"bad.pos good.pos", 1, "good.pos: in order, 1 goal\n"},
        {"good.pos other.pos", 1, "other.pos: no POS file: it holds <mechanism>"},
        {"empty.pos", 1, "empty.pos: the file is empty"},
        {"empty.pos none.pos", 2, "none.pos: there is no such file"},
        {".", 2, "this is a folder"},
        {"pipe", 2, "this is no regular file"},
        {"large.pos", 2, "the file is larger than 512 MiB"},
        {"good.pos -m pipe", 2, "this is no regular file"},
        {"", 2, "an argument is missing"},
        {"good.pos good.pos --baseline good.pos", 2, "unexpected argument good.pos"},
        {"good.pos --baseline bad.pos", 2, "bad.pos: not well-formed"},
        {"good.pos --require all", 2, "--require=all is no level"},
        {"good.pos -m x -m y", 2, "only one -m is compared with"},
        {"good.pos -m x -M y", 2, "give either -m FILE or -M DIR"},
        {"good.pos -M .", 2, "no mechanism file NAME.xml"},
        {"good.pos -M none", 2, "there is no such folder"},
        {"good.pos >/dev/full", 2, "standard output cannot be written"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const outcome_t outcome = run(std::string("check ") + row.words);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_NE((row.status == 2 ? outcome.err : outcome.out).find(row.line), std::string::npos)
            << outcome.out << outcome.err;
    }
}

TEST_F(Check, RecordsAndMechanismFilesMustAgree)
{
    const std::string one =
        posText("Unproved/Unproved/Unproved Unproved/Unproved/Unproved,Unproved");
    writeMechanism("mech.xml", {"D1", "D2"});
    expectFindings(one, {"goal PO_0.1: mechanism \"mech\": driver \"D2\" is not recorded"},
                   "-m mech.xml");
    writeMechanism("all/mech.xml", {"D2", "D1"});
    writeMechanism("all/broken.xml", {});
    expectFindings(one,
                   {"goal PO_0.1: mechanism \"mech\": driver \"D2\" is not recorded",
                    "goal PO_0.2: mechanism \"mech\": its drivers are recorded in another order or "
                    "number than in its file"},
                   "-M all");
    writeMechanism("mech.xml", {"E"});
    expectFindings(posText("Unproved Unproved/Unproved/Unknown"),
                   {"goal PO_0.2: mechanism \"mech\": driver \"E\" is not recorded",
                    "goal PO_0.2: mechanism \"mech\": driver \"D1\" is recorded, and not in the "
                    "file of the mechanism",
                    "mechanism \"mech\": it is recorded on 1 of 2 goals, and a replay of it needs "
                    "all"},
                   "-m mech.xml");
    expectFindings("<Proof_Obligations/>", {}, "-m mech.xml");
    const std::string renamed = test::replaced(posText("Unproved/Unproved"), "'mech'", "'other'");
    expectFindings(renamed,
                   {"mechanism \"mech\": it is recorded on 0 of 1 goal, and a replay of it needs "
                    "all"},
                   "-m mech.xml");
    expectFindings(renamed, {"mechanism \"other\": there is no file all/other.xml"}, "-M all");
    expectFindings(test::replaced(renamed, "'other'", "'../mech'"),
                   {"mechanism \"../mech\": its name leads out of the folder of mechanisms"},
                   "-M all");
}

TEST_F(Check, AMechanismThatDoesNotLoadIsExplained)
{
    const std::string tools =
        "<writer path='/bin/cat'/><prover name='p' path='/no/p\x7f' resource='P'>"
        "<expand name='e'/></prover><reader path='/bin/cat'/></driver>";
    const std::string driver = "<driver name='d\x7f'>" + tools;
    const std::string definition = "<definition name='e'/>";
    const struct {
        const char* label;
        std::string text;
        const char* line;
    } rows[] = {
        {"malformed", "<mechanism>\n", "m.xml: not well-formed: line 2: "},
        {"empty", "", "m.xml: not well-formed: line 1: "},
        {"another kind", posText("Unproved"), "m.xml: no mechanism file: it holds <Proof_"},
        {"no driver", "<mechanism/>", "m.xml: the mechanism has no driver"},
        {"trust", "<mechanism trust='Always'>" + driver + "</mechanism>",
         "m.xml: unknown trust \"Always\""},
        {"group", "<mechanism><driver group='all'>" + tools + "</mechanism>",
         "m.xml: driver \"\": unknown group \"all\""},
        {"expansion", "<mechanism>" + driver + "</mechanism>",
         "m.xml: driver \"d\\x7f\": its prover expands \"e\""},
        {"expansion of the reader",
         "<mechanism>" + definition +
             test::replaced(driver, "<reader path='/bin/cat'/>",
                            "<reader path='/bin/cat'><expand name='r'/></reader>") +
             "</mechanism>",
         "its reader expands \"r\""},
        {"second definition", "<mechanism><definition/>" + definition + driver + "</mechanism>",
         "its prover expands \"e\""},
        {"tool",
         "<mechanism>" + definition + test::replaced(driver, "/no/p\x7f", "/bin/cat") +
             test::replaced(driver, "'d", "'e") + "</mechanism>",
         "m.xml: driver \"e\\x7f\": Tool path does not exists: /no/p\\x7f, Cannot locate prover "
         "p: "},
    };
    dir.write("c.pos", posText("Unproved"));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        dir.write("m.xml", row.text);
        const outcome_t outcome = run("check c.pos -m m.xml");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find(row.line), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    dir.write("r", "ORN*Proof*P: /bin/cat\n");
    EXPECT_EQ(run("check c.pos -m m.xml -r m.xml -r r").status, 1) << "recorded on no goal";
    EXPECT_NE(run("check c.pos -m m.xml -r none").err.find("none: there is no such file"),
              std::string::npos);
    EXPECT_NE(run("check c.pos -m .").err.find("no regular file"), std::string::npos);
}

TEST_F(Check, TheGateStopsWhatIsBelowTheLevel)
{
    const std::string all = posText("Proved/Proved UnreliablyProved/UnreliablyProved "
                                    "Unproved/Unknown Disproved/Disproved");
    expectFindings(all,
                   {"goal PO_0.2: UnreliablyProved, required is proved",
                    "goal PO_0.3: Unproved, required is proved",
                    "goal PO_0.4: Disproved, required is proved"},
                   "--require proved");
    expectFindings(all,
                   {"goal PO_0.2: UnreliablyProved, required is settled",
                    "goal PO_0.3: Unproved, required is settled"},
                   "--require settled");
    expectFindings(all, {"goal PO_0.4: Disproved, required is not-refuted"},
                   "--require not-refuted");
    expectFindings(posText("Proved/Proved | Foo"),
                   {"goal PO_1.1: Simple_Goal: status \"Foo\" is not one of Unproved, Proved, "
                    "UnreliablyProved, Disproved",
                    "what is required of its goals was not tried: unknown words are in the way"},
                   "--require proved");
}

TEST_F(Check, TheGateStopsWhatHasBeenLost)
{
    dir.write("old.pos",
              posText("Proved/Proved UnreliablyProved/UnreliablyProved Unproved "
                      "Proved/Proved Unproved | UnreliablyProved Unproved | Unproved | "));
    expectFindings(
        posText("Disproved/Disproved Proved/Proved UnreliablyProved/UnreliablyProved"),
        {"goal PO_0.1: it was Proved, and is Disproved", "obligation PO_0 has 3 goals, and had 5",
         "goal PO_0.4: it was Proved, and is gone", "obligation PO_1 is gone, which had 2 goals",
         "goal PO_1.1: it was UnreliablyProved, and is gone",
         "obligation PO_2 is gone, which had 1 goal", "obligation PO_3 is gone, which had 0 goals"},
        "--baseline old.pos");
    dir.write("old.pos", posText("Unproved Unproved | Proved/Proved"));
    expectFindings(posText("Proved/Proved Unproved/Unknown | Proved/Proved | Unproved"), {},
                   "--baseline old.pos");
}

} // namespace
