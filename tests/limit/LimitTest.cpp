// The real program. Its output is a pipe that everything it starts inherits: the end of the pipe
// comes when nothing of that is left, and a test that hangs has found what outlives.

#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class Limit : public testing::Test
{
protected:
    /// Runs words for the shell, in the test's directory, with "mechlimit" along PATH.
    void start(const std::string& words)
    {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        const std::string command =
            "cd " + dir.path() + " && PATH=" LIMIT_FOLDER ":$PATH; " + words;
        child = ::fork();
        if (child == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        output = ends[0];
    }

    /// What it prints, up to the end of the pipe, and then the exit status, -N for signal N.
    std::string rest() const
    {
        std::string text;
        for (char byte = 0; ::read(output, &byte, 1) == 1;) {
            text += byte;
        }
        int status = 0;
        ::close(output);
        ::waitpid(child, &status, 0);
        return text + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
    }

    /// Runs each case of a golden file, after `before`, and adds what it complains of.
    void expectRuns(const std::string& name, const std::string& before)
    {
        test::expectCases("limit/golden/" + name + ".txt", [&](const std::string& words) {
            start("exec 2>err; " + before + words);
            std::string result = rest() + "\n";
            result += test::contentOf(dir.path("err"));
            const std::string group = " " + std::to_string(::getpgrp()) + "\n";
            return test::replaced(result.substr(0, result.find("Runs COMMAND")), group, " GROUP\n");
        });
    }

    test::TempDir dir;
    pid_t child = 0;
    int output = -1;
};

TEST_F(Limit, ACommandWithinItsLimitsIsAsWithoutThem)
{
    expectRuns("within", "");
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // they need all there is
    start("ulimit -S -v 900000; exec mechlimit 0 2000 sh -c 'ulimit -v'");
    EXPECT_EQ(rest(), "900000\n0");
#endif
}

TEST_F(Limit, AtALimitAllDescendantsGoAndTheWordStandsOnALineOfItsOwn)
{
    // Of an odd name, and there for ever, or never the same process.
    dir.script("a) S 1", "while [ $# = 1 ]; do sleep 1000; done; setsid './a) S 1' & exit");
    expectRuns("reached", "ulimit -c 0; exec 2>/dev/null mechlimit ");
}

TEST_F(Limit, WhatCannotStartOrSpeakIsACrash)
{
    dir.write("plain", "");
    dir.script("strange", "");
    dir.write("strange", "\x7f\x45LF"); // which a shell would take for a command
    expectRuns("crashes", "PATH=$PATH: exec mechlimit ");
}

TEST_F(Limit, SignalsArePassedOnAndNothingOutlivesWhatIsKilled)
{
    expectRuns("signals", "");
}

} // namespace
