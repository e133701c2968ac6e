#pragma once

// The real program, run in a directory of its own, in the poorest locale.

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

struct Outcome {
    int status = 0; ///< exit status; -N when signal N ended the program
    std::string out;
    std::string err;
};

class Program : public testing::Test
{
protected:
    /// Starts the program, with the three standard streams only, on words separated by blanks; its
    /// output goes to the files "out" and "err" of the test's directory.
    pid_t start(const std::string& commandLine)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            std::istringstream words("mechrun " + commandLine);
            std::vector<char*> arguments;
            for (std::string word; words >> word;) {
                arguments.push_back(::strdup(word.c_str()));
            }
            arguments.push_back(nullptr);
            ::setenv("LC_ALL", "C", 1);
            ::close_range(3, ~0U, 0); // whatever the test runner left open
            const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
            if (::chdir(dir.path().c_str()) == 0 && ::dup2(::open("out", flags, 0600), 1) == 1 &&
                ::dup2(::open("err", flags, 0600), 2) == 2) {
                ::execv(MECHRUN_BINARY, arguments.data());
            }
            ::_exit(127);
        }
        return child;
    }

    static int statusOf(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    Outcome run(const std::string& commandLine)
    {
        const int status = statusOf(start(commandLine));
        return {status, test::contentOf(dir.path("out")), test::contentOf(dir.path("err"))};
    }

    test::TempDir dir;
};
