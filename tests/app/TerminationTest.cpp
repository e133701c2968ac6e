#include "app/Termination.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

TEST(Termination, OnceTheSignalIsHandledTheStatusIsOne)
{
    for (const bool signalled : {true, false}) {
        for (int round = 0; round < 50; ++round) {
            const pid_t child = ::fork();
            if (child == 0) {
                installTermination();
                signalled ? ::raise(SIGTERM) : 0; // its thread has hardly begun
                const int status = statusAtEnd(EXIT_SUCCESS);
                if (!signalled) {
                    ::kill(::getpid(), SIGTERM); // too late to be heard
                    ::usleep(1000);
                }
                ::_exit(status);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status));
            ASSERT_EQ(WEXITSTATUS(status), signalled ? 1 : 0);
        }
    }
}

} // namespace
