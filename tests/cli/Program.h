#pragma once

// The real program, run in a directory of its own.

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <map>
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
    /// Starts the program in the test's directory, with the three standard streams only; its output
    /// goes to the files "out" and "err".
    pid_t start(const std::vector<std::string>& arguments)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            std::vector<char*> words = {const_cast<char*>("mechrun")};
            for (const std::string& argument : arguments) {
                words.push_back(const_cast<char*>(argument.c_str()));
            }
            words.push_back(nullptr);
            for (const auto& [name, value] : environment) {
                ::setenv(name.c_str(), value.c_str(), 1);
            }
            ::close_range(3, ~0U, 0); // whatever the test runner left open
            const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
            if (::chdir(dir.path().c_str()) == 0 && ::dup2(::open("out", flags, 0600), 1) == 1 &&
                ::dup2(::open("err", flags, 0600), 2) == 2) {
                ::execv(MECHRUN_BINARY, words.data());
            }
            ::_exit(127);
        }
        return child;
    }

    Outcome finish(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
                test::contentOf(dir.path("out")), test::contentOf(dir.path("err"))};
    }

    Outcome run(const std::vector<std::string>& arguments)
    {
        return finish(start(arguments));
    }

    test::TempDir dir;
    std::map<std::string, std::string> environment;
};
