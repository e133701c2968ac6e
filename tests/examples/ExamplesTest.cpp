// The example's tools and mechanisms, which others start from.

#include "tests/support/Golden.h"
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
    dir.write("problem", "; answers 3\n");
    test::expectCases("examples/golden/verdicts.txt", [this](const std::string& said) {
        dir.write("said", said + "\n");
        EXPECT_EQ(run("smt-reader problem < said"), 0) << said;
        return out();
    });
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
    test::expectCases("examples/golden/changes.txt", [this](const std::string& goals) {
        const std::size_t middle = goals.find(" -> ");
        dir.write("before", test::posText(goals.substr(0, middle)));
        dir.write("after", test::posText(goals.substr(middle + 4)));
        const int status = run("pos-changes before after");
        return std::to_string(status) + "\n" + out();
    });
    dir.write("before", test::posText("Proved"));
    EXPECT_EQ(run("pos-changes before gone"), 2);
    dir.write("after", "<Proof_Obligations>");
    EXPECT_EQ(run("pos-changes before after"), 2);
}

} // namespace
