// Children that behave badly: none of them may hang the tool or leave anything behind.

#include "director/ChildProcess.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

class Children : public testing::Test
{
protected:
    Command script(const std::string& name, const std::string& body)
    {
        return {QString::fromStdString(dir.script(name, body)), {}};
    }
    PairResult pair(const std::string& prover, const std::string& reader,
                    const std::string& input = "")
    {
        return runPair(script("p", prover), QString::fromStdString(input), script("r", reader),
                       children);
    }

    test::TempDir dir;
    ChildList children;
    const Command missing{QStringLiteral("/nonexistent/tool"), {}};
};

TEST_F(Children, AWritersEndIsSeenAsItWas)
{
    EXPECT_EQ(runWriter(script("w", "exit 3"), children), WriterEnd::Exited);
    EXPECT_EQ(runWriter(script("w", "kill -9 $$"), children), WriterEnd::Crashed);
    // It finds its input empty, and may print more than a pipe holds.
    EXPECT_EQ(runWriter(script("w", "cat; head -c 300000 /dev/zero; head -c 300000 /dev/zero >&2"),
                        children),
              WriterEnd::Exited);
    EXPECT_EQ(runWriter(missing, children), WriterEnd::NotStarted);
}

TEST_F(Children, NoAmountOfOutputBlocksThePair)
{
    const PairResult result = pair("head -c 500000 /dev/zero; head -c 500000 /dev/zero >&2",
                                   "cat; head -c 500000 /dev/zero >&2");
    EXPECT_EQ(result.end, PairEnd::Read);
    EXPECT_EQ(result.output.size(), 500000);
}

TEST_F(Children, TheReaderAlwaysSeesTheEndOfItsInput)
{
    const std::string count = "wc -c";
    const auto output = [](const PairResult& result) {
        EXPECT_EQ(result.end, PairEnd::Read);
        return result.output.trimmed().toStdString();
    };
    EXPECT_EQ(output(pair("cat", count, dir.write("in", "abc"))), "3");
    EXPECT_EQ(output(pair("cat", count, dir.path("not written"))), "0");
    EXPECT_EQ(output(pair("cat", count)), "0");
    EXPECT_EQ(output(runPair(missing, {}, script("r", count), children)), "0");
    EXPECT_EQ(output(runPair(script("p", ":"), {}, missing, children)), "");
    // A pipe that nobody writes into does not keep the prover's start waiting.
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(output(pair("cat", count, dir.path("pipe"))), "0");
}

TEST_F(Children, AGrandchildThatHoldsTheReadersOutputHoldsNobody)
{
    const PairResult result = pair(":", "echo Proved; sleep 60 & echo $! >" + dir.path("pid"));
    EXPECT_EQ(result.output, "Proved\n");
    ::kill(std::stoi(test::contentOf(dir.path("pid"))), SIGKILL);
}

TEST_F(Children, ACrashLosesTheOutput)
{
    // The reader would never end by itself.
    EXPECT_EQ(pair("kill -9 $$", "echo Proved; exec sleep 1000").end, PairEnd::ProverCrashed);
    const PairResult result = pair("echo x", "cat; kill -9 $$");
    EXPECT_EQ(result.end, PairEnd::ReaderCrashed);
    EXPECT_TRUE(result.output.isEmpty());
}

TEST_F(Children, AStopKillsBothAndNothingStartsAfterIt)
{
    ASSERT_EQ(::mkfifo(dir.path("up").c_str(), 0600), 0);
    const std::string started = dir.path("up");
    PairResult result;
    std::thread worker([&] {
        result = pair("echo p > " + started + "; exec sleep 1000", "exec sleep 1000");
    });
    EXPECT_EQ(test::contentOf(started), "p\n"); // waits for the prover
    children.killAll();
    worker.join();
    EXPECT_EQ(result.end, PairEnd::ProverCrashed);
    EXPECT_EQ(pair("touch " + dir.path("late"), ":").end, PairEnd::Stopped);
    EXPECT_EQ(runWriter(script("w", "touch " + dir.path("late")), children), WriterEnd::Stopped);
    EXPECT_FALSE(test::exists(dir.path("late")));
}

TEST_F(Children, ARefusedStartIsAFailedJobAndTheNextOneGoesOn)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the undefined sanitizer needs a pipe to check a pointer";
#endif
    const Command prover = script("p", "echo x");
    const Command reader = script("r", "cat");
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit before = limit;
    int refused = 0;
    const int highest = ::dup(0);
    ::close(highest);
    for (int room = 0; room < 12; ++room) {
        limit.rlim_cur = static_cast<rlim_t>(highest) + static_cast<rlim_t>(room);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        const PairResult result = runPair(prover, {}, reader, children);
        if (result.end == PairEnd::Refused) {
            ++refused;
            EXPECT_FALSE(result.refusal.isEmpty());
        } else {
            EXPECT_EQ(result.end, PairEnd::Read) << room;
        }
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_GE(refused, 5) << "each file of a job in turn";
    EXPECT_EQ(runPair(prover, {}, reader, children).output, "x\n");
}

} // namespace
