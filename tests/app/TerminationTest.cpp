#include "app/Termination.h"
#include "director/ProofDirector.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <iostream>

#include <sys/wait.h>
#include <unistd.h>

/// Takes the system's place, and only tells of it.
extern "C" unsigned int alarm(unsigned int seconds)
{
    std::cout << seconds;
    return 0;
}

namespace
{

TEST(Termination, OnceTheSignalIsHandledTheStatusIsOneAndTheReportIsComplete)
{
    for (const char* const signal : {"none", "at the end", "before"}) {
        const bool signalled = signal[0] != 'n';
        for (int round = 0; round < 50; ++round) {
            int ends[2];
            ASSERT_EQ(::pipe(ends), 0);
            const pid_t child = ::fork();
            if (child == 0) {
                ::dup2(ends[1], STDOUT_FILENO);
                installTermination();
                std::cout << "report";
                signalled ? ::raise(SIGTERM) : 0; // its thread has hardly begun
                signal[0] == 'b' ? ::pause() : 0;
                const int status = statusAtEnd(EXIT_SUCCESS);
                // Another signal would come too late, and so its handler must not run.
                ::_exit(std::signal(SIGTERM, SIG_DFL) == SIG_IGN ? status : 2);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status));
            ASSERT_EQ(WEXITSTATUS(status), signalled ? 1 : 0);
            ::close(ends[1]);
            char text[9] = {};
            EXPECT_GE(::read(ends[0], text, signal[0] == 'b' ? 8 : 6), 0);
            EXPECT_STREQ(text, signal[0] == 'b' ? "report30" : "report") << signal;
            ::close(ends[0]);
        }
    }
}

TEST(Termination, NothingIsStoppedOnceItIsDeleted)
{
    setDirector(
        std::make_unique<ProofDirector>("c", "m.xml", "", "", "", false, 1, 0, "", "", false));
    EXPECT_NE(director, nullptr);
    deleteDirector();
    EXPECT_EQ(director, nullptr);
}

} // namespace
