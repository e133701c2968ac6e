// Whole answers of the commands that only read.

#include "tests/mechtool/MechtoolRun.h"
#include "tests/support/Golden.h"

#include <cstdlib>

namespace
{

class Answers : public testing::Test
{
protected:
    /// Compares what becomes of commands of a shell, which run one case after the other in one
    /// folder: what they print, and their exit status unless it is 0. "mechtool" is the program,
    /// "page" shows a page without its script and style, with a line for each element of note,
    /// and "object" a JSON object with a line for each object in it.
    void expectAnswers(const std::string& golden) const
    {
        const std::string begin =
            "exec </dev/null >out 2>&1; mechtool() { " MECHTOOL " \"$@\"; }\n"
            "page() { sed -e '/^<meta/d; /<style>/,/<\\/style>/d; /<script>/,/<\\/script>/d' -e "
            "'s/ *<\\(path\\|svg class=.plot\\|table\\|option\\|label\\|figure\\)/\\n<\\1/g' "
            "page.html | sed '/^$/d'; }\n"
            "object() { tr -s ' \\n' '  ' | sed 's/ [{\\[] /\\n&/g; s/ $/\\n/'; }\n";
        test::expectCases(golden, [&](const std::string& commands) {
            dir.write("commands", begin + commands);
            const int status = // NOLINTNEXTLINE(*-env33-c): a shell is meant
                std::system(("cd " + dir.path() + " && LC_ALL=C sh commands").c_str());
            return test::contentOf(dir.path("out")) +
                   (status != 0 ? "status " + std::to_string(WEXITSTATUS(status)) + "\n" : "");
        });
    }

    test::TempDir dir;
};

TEST_F(Answers, ShowDiffAndCheckPrintTheWholeOfTheirAnswers)
{
    expectAnswers("mechtool/golden/answers.txt");
}

TEST_F(Answers, ReportsHoldTheWholeOfTheirAnswers)
{
    expectAnswers("mechtool/golden/reports.txt");
}

} // namespace
