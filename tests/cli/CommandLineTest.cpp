// Options, help, and runs that have nothing to play.

#include "tests/cli/Program.h"

#include <csignal>

namespace
{

const std::string HELP =
    "mechrun -r resources (-m mech.xml | -M dir) -s comp.pos -p comp.pog -d bdp/mech [-h]\n"
    "\t-r, --resources=FILE\n\t\tResource file\n\t-m, --mechanism=FILE\n\t\tFile with proof "
    "mechanism description\n\t-M, --mechanism-directory=DIR\n\t\tDirectory with proof mechanism "
    "descriptions\n\t-s,  --pos=FILE\n\t\tFile with proof obligation statuses\n\t-p, --pog=FILE\n"
    "\t\tFile with proof obligations\n\t-d,  --directory=DIRECTORY\n\t\tDirectory for temporary "
    "files\n\t-h, --help\n\t\tPrints this and exits with error code\n";

class CommandLine : public Program
{
};

TEST_F(CommandLine, ABadOneGivesTheHelpTextAndNothingElse)
{
    for (const char* row :
         {"", "-h", "--help", "--nonsense", "--p ambiguous", "-s", "-d . -s c.pos -p c.pog",
          "-d . -s c.pos -p c.pog -m m.xml -M .", "--directory= -s c.pos -p c.pog -M .",
          "-d . -s c.pos -M .", "-d . -s c.pos -p c.pog -M . -c 0",
          "-d . -s c.pos -p c.pog -M . -c -3", "-d . -s c.pos -p c.pog -M . -c abc",
          "-d . -s c.pos -p c.pog -M . --concurrency 2",
          "-d . -s c.pos -p c.pog --mechanism-directory ."}) {
        const Outcome outcome = run(row);
        EXPECT_EQ(outcome.status, 1) << row;
        EXPECT_EQ(outcome.out, HELP) << row;
        EXPECT_EQ(outcome.err, "") << row;
    }
}

TEST_F(CommandLine, ARunThatHasNothingToPlaySaysWhyAndPrintsTheTotals)
{
    dir.write("x.y/comp.pos", "<Proof_Obligations/>");
    dir.write("odd.pos", test::posText("Valid/Unproved/Proved"));
    dir.write("m.xml", test::mechanismText("always", {}));
    const std::string totals = "\t Proved 0\t Proved externally 0\t Unreliably proved 0"
                               "\t Disproved 0\t Unproved 0";
    const std::string end = "End of proof\n\nTOTAL for c" + totals + "\n";
    const std::string endOfComp = "End of proof\n\nTOTAL for comp" + totals + "\n";
    const std::string rows[][3] = {
        // Later values count, and long forms.
        {"-s other --pos x.y/comp.pos --pog=c --directory . --mechanism-directory=. "
         "--concurrency=2 --trace=0",
         endOfComp, ""},
        // The trace echoes the words as typed.
        {"word -s x.y/comp.pos é -p c -d . -M . -t -2", endOfComp,
         "[mechrun]\ncommand = \"mechrun word -s x.y/comp.pos é -p c -d . -M . -t -2 \"\n"},
        // The status file is not there.
        {"-s c.pos -p c -d . -M .",
         "ErrorFile not readable c.pos\nErrorFile not readable c.pos\n" + end, ""},
        {"-s c.pos -p c -d . -M . -x",
         "<proof>\n<error>File not readable c.pos</error>\n<error>File not readable c.pos</error>\n"
         "\n<proofResult>\n\n<total>TOTAL for c" +
             totals + "</total>\n</proofResult>\n</proof>\n",
         ""},
        {"-s c.pos -p c -d . -m m.xml",
         "Proving c with external mechanism m\nError c .pos\nErrorFile not readable c.pos\n" + end,
         ""},
    };
    for (const auto& [arguments, out, err] : rows) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.out, out) << arguments;
        EXPECT_EQ(outcome.err, err) << arguments;
    }
    const Outcome outcome = run("-s odd.pos -p c -d . -M . -x"); // a word that nobody knows
    EXPECT_EQ(outcome.status, -SIGABRT);
    EXPECT_EQ(outcome.out, "<proof>\n");
}

} // namespace
