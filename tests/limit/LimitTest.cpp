// The real program. Its output is a pipe that everything it starts inherits: the end of the pipe
// comes when nothing of that is left, and a test that hangs has found what outlives.

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <csignal>

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

    std::string line() const
    {
        std::string text;
        for (char byte = 0; byte != '\n' && ::read(output, &byte, 1) == 1;) {
            text += byte;
        }
        return text;
    }

    /// What follows, up to the end of the pipe, and then the exit status, -N for signal N.
    std::string rest() const
    {
        std::string text;
        for (std::string next; !(next = line()).empty();) {
            text += next;
        }
        int status = 0;
        ::close(output);
        ::waitpid(child, &status, 0);
        return text + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
    }

    test::TempDir dir;
    pid_t child = 0;
    int output = -1;
};

TEST_F(Limit, ACommandWithinItsLimitsIsAsWithoutThem)
{
    const std::string group = std::to_string(::getpgrp());
    const std::string rows[][2] = {
        {"echo in | exec mechlimit 60 900 sh -c 'cat; echo \"$0\"; exit 3' 'a  b'", "in\na  b\n3"},
        {"exec mechlimit 0 0 sh -c 'kill -TERM $$'", "-15"},
        {"exec mechlimit 0 900 sh -c 'kill -SEGV $$'", "-11"}, // far from the limit
        {"exec mechlimit 0 900 sh -c 'exit 101'", "101"},
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // they need all there is
        {"ulimit -S -v 900000; exec mechlimit 0 2000 sh -c 'ulimit -v'", "900000\n0"},
#endif
        {"exec mechlimit 0 0 cut -d ' ' -f 5 /proc/self/stat", group + "\n0"},
        {"exec env --ignore-signal=CHLD mechlimit 0 0 grep -c '^SigIgn:.*1....$' /proc/self/status",
         "1\n0"},
        // Nothing stays behind.
        {"exec mechlimit 0 0 sh -c 'sleep 1000 & setsid sleep 1000 & echo'", "\n0"},
    };
    for (const auto& [words, expected] : rows) {
        start(words);
        EXPECT_EQ(rest(), expected) << words;
    }
}

TEST_F(Limit, AtALimitAllDescendantsGoAndTheWordStandsOnALineOfItsOwn)
{
    dir.script("chain", "setsid sh ./chain & exit"); // never the same process
    const std::string some = "0 64 sh -c 'head -c 40M /dev/zero | tail -c 40M | wc -c; ";
    const std::string reserve = "0 1000 /usr/bin/python3 -ISc 'import mmap, os, time; "
                                "m = mmap.mmap(-1, 900 << 20); time.sleep(0.2); ";
    const std::string rows[][2] = {
        {"0.2 0 sh -c 'printf half; sleep 1000 & setsid sh -c \"sleep 1000 & sleep 1000\" & wait'",
         "half\ntimeout\n0"},
        {"1 0 sh -c 'trap \"\" TERM; ./chain; sleep 1000'", "\ntimeout\n0"},
        {"0 64 tail /dev/zero", "\nmemout\n0"},
        // What is reserved is no evidence, nor is what any program needs.
        {reserve + "exit(1)'", "1"},
        {reserve + "os.abort()'", "-6"},
        {"0 40 sh -c 'head -c 22M /dev/zero | tail -c 22M | wc -c; exit 1'", "23068672\n1"},
        // More than half of the limit, and less than a crash takes.
        {some + "exit 0'", "41943040\n0"},
        {some + "exit 1'", "41943040\n\nmemout\n0"},
        {some + "kill -ABRT $$'", "41943040\n-6"},
        {"0 64 sh -c 'tail /dev/zero; kill -ABRT $$'", "\nmemout\n0"},
    };
    for (const auto& [words, expected] : rows) {
        start("ulimit -c 0; exec mechlimit " + words + " 2>/dev/null");
        EXPECT_EQ(rest(), expected) << words;
    }
}

TEST_F(Limit, WhatCannotStartOrSpeakIsACrash)
{
    dir.write("plain", "");
    dir.script("strange", "");
    dir.write("strange", "\x7f\x45LF"); // which a shell would take for a command
    const std::string usage = "usage: mechlimit SECONDS";
    const std::string rows[][2] = {
        {"0 0 no-such-command", "no-such-command: No such file"},
        {"0 0 ./plain <&-", "./plain: Permission denied"},
        {"0 0 /", "/: Permission denied"},
        {"0 0 strange", "strange: Exec format error"},
        {"0 0 ./strange", "./strange: Exec format error"},
        {"5 sh", usage},
        {"1x 0 true", usage},
        {"-1 0 true", usage},
        {"nan 0 true", usage},
        {"1. 0 true", usage},
        {"0 1.5 true", usage},
        {"0.0000001 0 sleep 9 >/dev/full", "cannot write 'timeout': No space"},
    };
    for (const auto& [words, reason] : rows) {
        start("exec 2>err; PATH=$PATH:. exec mechlimit " + words);
        EXPECT_EQ(rest().substr(0, 1), "-") << words;
        EXPECT_NE(test::contentOf(dir.path("err")).find(reason), std::string::npos)
            << words << "\n"
            << test::contentOf(dir.path("err"));
    }
}

TEST_F(Limit, SignalsArePassedOn)
{
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGTERM}) {
        const std::string name = std::to_string(number);
        start("SIGNAL=" + name +
              " exec mechlimit 0 0 sh -c 'trap \"echo got $SIGNAL; exit 7\" $SIGNAL; "
              "sleep 1000 & echo ready; wait'");
        EXPECT_EQ(line(), "ready\n");
        ::kill(child, number);
        EXPECT_EQ(rest(), "got " + name + "\n7");
    }
}

TEST_F(Limit, NothingOutlivesItsParentAndTheCommandNotEvenAKilledMechlimit)
{
    start("mechlimit 0 0 sh -c 'trap \"\" TERM; setsid sleep 1000 & echo ready; wait'; true");
    EXPECT_EQ(line(), "ready\n");
    ::kill(child, SIGKILL);
    EXPECT_EQ(rest(), "-9");
    start("exec mechlimit 0 0 sh -c 'echo ready; exec sleep 1000'");
    EXPECT_EQ(line(), "ready\n");
    ::kill(child, SIGKILL);
    EXPECT_EQ(rest(), "-9");
}

} // namespace
