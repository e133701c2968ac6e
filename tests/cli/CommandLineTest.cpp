// Options, help, trace of the command line, exit statuses.

#include "tests/cli/Program.h"

namespace
{

const std::string HELP =
    "mechrun -r resources (-m mech.xml | -M dir) -s comp.pos -p comp.pog -d bdp/mech [-h]\n"
    "\t-r, --resources=FILE\n\t\tResource file\n\t-m, --mechanism=FILE\n\t\tFile with proof "
    "mechanism description\n\t-M, --mechanism-directory=DIR\n\t\tDirectory with proof mechanism "
    "descriptions\n\t-s,  --pos=FILE\n\t\tFile with proof obligation statuses\n\t-p, --pog=FILE\n"
    "\t\tFile with proof obligations\n\t-d,  --directory=DIRECTORY\n\t\tDirectory for temporary "
    "files\n\t-h, --help\n\t\tPrints this and exits with error code\n";

std::string totals(const std::string& component)
{
    return "End of proof\n\nTOTAL for " + component +
           "\t Proved 0\t Proved externally 0\t Unreliably proved 0\t Disproved 0\t Unproved 0\n";
}

class CommandLine : public Program
{
};

TEST_F(CommandLine, ABadOneGivesTheHelpTextAndNothingElse)
{
    const std::vector<std::string> rows[] = {
        {},
        {"-h"},
        {"--help"},
        {"--nonsense"},
        {"--p", "x"}, // ambiguous
        {"-s"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "-m", "m.xml", "-M", "."},
        {"-d", "", "-s", "c.pos", "-p", "c.pog", "-M", "."},
        {"-d", ".", "-s", "c.pos", "-M", "."},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "-M", ".", "-c", "0"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "-M", ".", "-c", "-3"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "-M", ".", "-c", "abc"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "-M", ".", "--concurrency", "2"},
        {"-d", ".", "-s", "c.pos", "-p", "c.pog", "--mechanism-directory", "."},
    };
    for (const std::vector<std::string>& row : rows) {
        const Outcome outcome = run(row);
        const std::string label = row.empty() ? "none" : row.front() + " ... " + row.back();
        EXPECT_EQ(outcome.status, 1) << label;
        EXPECT_EQ(outcome.out, HELP) << label;
        EXPECT_EQ(outcome.err, "") << label;
    }
}

TEST_F(CommandLine, LongFormsAndLaterValuesCount)
{
    dir.write("x.y/comp.pos", "<Proof_Obligations/>");
    const Outcome outcome = run({"-s", "other", "--pos", "x.y/comp.pos", "--pog=c", "--directory",
                                 ".", "--mechanism-directory=.", "--concurrency=2", "--trace=0"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, totals("comp"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandLine, TheTraceEchoesTheWordsAsTyped)
{
    dir.write("comp.pos", "<Proof_Obligations/>");
    const Outcome outcome =
        run({"word", "-s", "comp.pos", "é", "-p", "c", "-d", ".", "-M", ".", "-t", "-2"});
    EXPECT_EQ(outcome.err,
              "[mechrun]\ncommand = \"mechrun word -s comp.pos é -p c -d . -M . -t -2 \"\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(CommandLine, AnUnreadablePosFileIsSaidAndTheTotalsFollow)
{
    const Outcome plain = run({"-s", "c.pos", "-p", "c", "-d", ".", "-M", "."});
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.out,
              "ErrorFile not readable c.pos\nErrorFile not readable c.pos\n" + totals("c"));
    const Outcome xml = run({"-s", "c.pos", "-p", "c", "-d", ".", "-M", ".", "-x"});
    EXPECT_EQ(xml.out,
              "<proof>\n<error>File not readable c.pos</error>\n"
              "<error>File not readable c.pos</error>\n\n<proofResult>\n\n<total>TOTAL for c\t "
              "Proved 0\t Proved externally 0\t Unreliably proved 0\t Disproved 0\t Unproved 0"
              "</total>\n</proofResult>\n</proof>\n");
}

} // namespace
