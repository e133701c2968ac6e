// The example's tools and mechanisms, which others start from.

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/wait.h>

namespace
{

class Examples : public testing::Test
{
protected:
    /// Runs words for the shell in the test's directory; the exit status. What they print is in
    /// "out" and "err".
    int run(const std::string& words) const
    {
        const std::string command = "cd " + dir.path() +
                                    " && PATH=" PROGRAMS ":" EXAMPLES "/tools:$PATH && "
                                    "exec >out 2>err && " +
                                    words;
        return WEXITSTATUS(std::system(command.c_str())); // NOLINT(*-env33-c): a shell is meant
    }

    std::string out() const
    {
        return test::contentOf(dir.path("out"));
    }

    test::TempDir dir;
};

TEST_F(Examples, OnlyASolversOwnWordsAreVerdicts)
{
    const std::string error = "(error \"line 7 column 3: unknown constant x\")\n";
    const std::string memory = "(error \"std::bad_alloc\")\n";
    const std::string rows[][2] = {
        // A problem of three goals: what the solver prints, and the verdicts.
        {"goal 0\nunsat\n\"goal 1\"\nsat\n\ngoal 2\nunknown\n", "Proved\nDisproved\nUnknown\n"},
        {"goal 0\nunsat\n" + error + "goal 1\ntimeout\ngoal 2\nsat\n" + error,
         "Proved\nUnknown\nDisproved\n"},
        {"", ""},
        {"Error: invalid command line option: -smmt2\nFor usage information: z3 -h\n", ""},
        // Nothing shows that the solver began, and only the time limit is sure of its reason.
        {"Error: invalid command line option: -smmt2\n\nmemout\n", ""},
        {"\ntimeout\n", "Unknown\nUnknown\nUnknown\n"},
        // A limit ended the run: what it did not come to is unknown. Otherwise it has no answer.
        {"goal 0\nunsat\ngoal 1\n\nmemout\n", "Proved\nUnknown\nUnknown\n"},
        {"goal 0\nunsat\ngoal 1\n", "Proved\n"},
        {"goal 0\ntimeout\ngoal 1\n", "Unknown\n"},
        {"goal 0\nunsat\ngoal 1\nSegmentation fault\n", "Proved\n"},
        // An error is no answer, whatever follows it, unless the memory was its reason.
        {"goal 0\n" + error + "sat\ngoal 1\nunsat\ngoal 2\n\ntimeout\n", "Proved\nUnknown\n"},
        {"goal 0\n" + error + "\nmemout\n", "Unknown\nUnknown\n"},
        {"goal 0\n" + memory + "\nmemout\n", "Unknown\nUnknown\nUnknown\n"},
        {"goal 0\n" + memory + "sat\n", ""},
        {error + "goal 0\nsat\ngoal 1\nsat\ngoal 2\nsat\n\ntimeout\n", ""},
    };
    dir.write("problem", "; answers 3\n");
    for (const auto& [said, verdicts] : rows) {
        dir.write("said", said);
        EXPECT_EQ(run("smt-reader problem < said"), 0) << said;
        EXPECT_EQ(out(), verdicts) << said;
    }
    dir.write("model", "; answers 1 model\n");
    dir.write("said", "goal 0\nsat\n(\n  (define-fun x () Int 0)\n)\n\ntimeout\n");
    run("smt-reader model < said");
    EXPECT_EQ(out(), "Disproved\n(\n  (define-fun x () Int 0)\n)\n\n");
}

TEST_F(Examples, AProverThatDidNotTryLeavesTheFileAsItIs)
{
    const std::string before = test::contentOf(EXAMPLES "/buffer.pos");
    // What stands in the place of mechlimit, what the log says of a run over all goals, and whether
    // a verdict comes.
    const std::string rows[][3] = {
        {"echo 'Error: invalid command line option: -smmt2'; exit 109",
         "Unexpected number of results. Expected: 14 Found: 1\n", ""},
        {"exec mechlimit 60 1000 python3 -ISc 'import mmap; m = mmap.mmap(-1, 900 << 20); exit(1)'",
         "Unexpected number of results. Expected: 14 Found: 1\n", ""},
        {"exec mechlimit 1 0 no-such-solver", "Driver prover crashed.\n", ""},
        {"exec mechlimit 0.01 0 sleep 60", "", "Unknown"},
    };
    dir.write("rc", "ORN*Proof*Smt_Writer: " EXAMPLES "/tools/smt-writer\n"
                    "ORN*Proof*Smt_Reader: " EXAMPLES "/tools/smt-reader\n"
                    "ORN*Proof*Mech_Limit: " +
                        dir.path("limit") + "\n");
    for (const auto& [limit, log, verdict] : rows) {
        dir.script("limit", limit);
        for (const std::string mechanism : {"direct", "sweep"}) { // a goal a job, all in one
            dir.write("b.pos", before);
            EXPECT_EQ(run("mechrun -r rc -s b.pos -p " EXAMPLES "/buffer.pog -d . -m " EXAMPLES
                          "/mechanisms/" +
                          mechanism + ".xml"),
                      0);
            EXPECT_EQ(test::contentOf(dir.path("b.pos")) == before, verdict.empty()) << limit;
        }
        EXPECT_EQ(test::contentOf(dir.path("err")), log) << limit;
    }
}

TEST_F(Examples, ChangesTellWhetherAGoalGotWorse)
{
    struct Row {
        const char* before;
        const char* after;
        int status;
    };
    const Row rows[] = {
        {"Unproved", "Unknown", 0},
        {"Unproved", "Disproved", 0},
        {"UnreliablyProved", "Proved", 0},
        {"Proved", "UnreliablyProved", 1},
        {"Proved", "Disproved", 1},
        {"UnreliablyProved", "Unknown", 1},
        {"Disproved", "Unproved", 1},
        {"Unproved Proved", "Unproved Proved Unproved", 0},
        {"Unproved Proved | Proved", "Unproved | Proved", 1},
        {"Proved", "Nonsense", 2},
    };
    for (const auto& [before, after, status] : rows) {
        dir.write("before", test::posText(before));
        dir.write("after", test::posText(after));
        EXPECT_EQ(run("pos-changes before after"), status) << before << " -> " << after;
    }
    EXPECT_EQ(run("pos-changes before gone"), 2);
    dir.write("after", "<Proof_Obligations>");
    EXPECT_EQ(run("pos-changes before after"), 2);
    dir.write("after", test::posText("Proved Unproved"));
    EXPECT_EQ(run("pos-changes before after"), 0);
    EXPECT_NE(out().find("PO_0.2                   -          Unproved"), std::string::npos);
}

} // namespace
