// The example's tools and mechanisms, which others start from.

#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

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
                                    " && PATH=" PROGRAMS ":" EXAMPLES "/tools:" EXAMPLES
                                    "/smtlib:$PATH && exec >out 2>err && " +
                                    words;
        return WEXITSTATUS(std::system(command.c_str())); // NOLINT(*-env33-c): a shell is meant
    }

    std::string out() const
    {
        return test::contentOf(dir.path("out"));
    }

    /// What becomes of words for the shell: what they print, and their exit status unless it is 0.
    std::string outcome(const std::string& words) const
    {
        const int status = run(words);
        const std::string text = out() + test::contentOf(dir.path("err"));
        return test::replaced(text, dir.path(), "DIR") +
               (status != 0 ? "status " + std::to_string(status) + "\n" : "");
    }

    /// A resource file with the tools as they are, and this program in the place of mechlimit.
    void writeResources(const std::string& limit) const
    {
        std::string text = test::contentOf(EXAMPLES "/resources.in");
        text = test::replaced(text, "@TOOLS@", EXAMPLES "/tools");
        dir.write("rc", test::replaced(text, "@LIMIT@/mechlimit", limit));
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
    writeResources(dir.path("limit"));
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

TEST_F(Examples, AFolderOfQueriesBecomesAComponent)
{
    dir.write("query", "(check-sat)");
    ASSERT_EQ(run("mkdir -p 'queries & more/b/<c>' 'queries & more/b d' 'queries & more/empty' && "
                  "cd 'queries & more' && cp ../query B.smt2 && cp ../query b/a.smt2 && "
                  "cp ../query 'b/<c>/ \"é'\\''.smt2' && cp ../query b/a-b.smt2 && "
                  "ln -s ../../query 'b d/&link.smt2' && cp ../query b/notes.txt && "
                  "cd b && component-of .. -o ../../c"),
              0)
        << test::contentOf(dir.path("err"));
    test::expectGolden(
        "examples/golden/component.txt",
        outcome("cat c.pog c.pos; mv c.pog b.pog && smt-copy -a 2 0 -i b.pog -o copy"));
    EXPECT_EQ(test::contentOf(dir.path("copy")),
              "; answers 1\n\n(set-option :print-success false)\n"
              "(echo \"goal 0\")\n(check-sat)");
}

TEST_F(Examples, OnlySingleQueriesAreGoals)
{
    run("mkdir q");
    // The answer is the byte of the question, or why there is none.
    test::expectCases("examples/golden/queries.txt", [this](const std::string& query) {
        dir.write("q/a.smt2", query);
        return outcome("rm -f q.p* && component-of q && "
                       "sed -n 's/.* question=\"\\(.*\\)\".*/\\1/p' q.pog");
    });
}

TEST_F(Examples, WhatIsNoComponentLeavesNothingBehind)
{
    dir.write("query", "(check-sat)");
    // Each case runs in a folder of its own, where "ls" then tells what there is.
    test::expectCases("examples/golden/no-component.txt", [this](const std::string& commands) {
        return outcome("rm -rf w && mkdir -p w/d && cd w && cp ../query d/a.smt2 && " + commands +
                       "; status=$?; ls; exit $status");
    });
}

TEST_F(Examples, AGoalIsCopiedAsItWasOrNotAtAll)
{
    dir.write("query", "(set-option :print-success true)\n(set-logic QF_LIA)\n"
                       "(declare-const x Int)\n(assert (> x 3))\n(check-sat)(get-info :name)\n");
    ASSERT_EQ(run("mkdir d && cp query d/a.smt2 && cp query d/b.smt2 && component-of d"), 0);
    test::expectCases("examples/golden/copies.txt", [this](const std::string& commands) {
        return outcome("rm -f c*; " + commands +
                       "; status=$?; ls c* 2>/dev/null && cat c; exit $status");
    });
    // A solver that reports its successes still answers the question.
    EXPECT_EQ(outcome("smt-copy -a 0 0 -i d.pog -o c && cvc5 --lang=smt2 <c | smt-reader c && "
                      "z3 -smt2 -in <c | smt-reader c"),
              "Disproved\nDisproved\n");
}

// What Z3 4.8 and cvc5 1.0 answer. Later ones may solve more.
TEST_F(Examples, EveryQueryHasTheVerdictsOfItsSolvers)
{
    writeResources(LIMIT);
    ASSERT_EQ(run("component-of " EXAMPLES "/smtlib/problems"), 0);
    const std::string z3 = R"(<Driver name="Z3" status="Proved"/>)";
    const std::string cvc5 = R"(<Driver name="CVC5" status="Proved"/>)";
    std::string text;
    for (const auto& [mechanism, drivers] :
         std::map<std::string, std::string>{{"z3", z3}, {"cvc5", cvc5}, {"both", z3 + cvc5}}) {
        std::string goal = R"("Unproved"><Mechanism name="NAME" status="Unproved">)"
                           "DRIVERS</Mechanism></Simple_Goal>";
        goal = test::replaced(test::replaced(goal, "DRIVERS", drivers), "NAME", mechanism);
        dir.write("before", test::replaced(test::contentOf(dir.path("problems.pos")),
                                           R"("Unproved"/>)", goal));
        text += outcome(
            "cp before after && mechrun -r rc -s after -p problems.pog -d . -c 2 -m " EXAMPLES
            "/smtlib/mechanisms/" +
            mechanism + ".xml >report && pos-changes before after");
    }
    test::expectGolden("examples/golden/solved.txt", text);
}

} // namespace
