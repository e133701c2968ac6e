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
    dir.write("rc", "ORN*Proof*Smt_Writer: " EXAMPLES "/tools/smt-writer\n"
                    "ORN*Proof*Smt_Reader: " EXAMPLES "/tools/smt-reader\n"
                    "ORN*Proof*Mech_Limit: " +
                        dir.path("limit") + "\n");
    // What stands in the place of mechlimit, and what a goal a job and all in one come to.
    test::expectCases("examples/golden/no-attempt.txt", [&](const std::string& limit) {
        dir.script("limit", limit);
        std::string text;
        for (const std::string mechanism : {"direct", "sweep"}) {
            dir.write("b.pos", before);
            EXPECT_EQ(run("mechrun -r rc -s b.pos -p " EXAMPLES "/buffer.pog -d . -m " EXAMPLES
                          "/mechanisms/" +
                          mechanism + ".xml"),
                      0);
            const bool same = test::contentOf(dir.path("b.pos")) == before;
            text += mechanism + (same ? ": as it was\n" : ": changed\n");
        }
        return text + test::contentOf(dir.path("err"));
    });
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
