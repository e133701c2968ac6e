#include "app/Termination.h"
#include "director/ProofDirector.h"

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
                // Another signal would come too late, and so its handler must not run.
                ::_exit(std::signal(SIGTERM, SIG_DFL) == SIG_IGN ? status : 2);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status));
            ASSERT_EQ(WEXITSTATUS(status), signalled ? 1 : 0);
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
