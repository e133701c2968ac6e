// Children that behave badly: none of them may hang the tool or leave anything behind.

#include "director/ChildProcess.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

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
    PairResult pair(const std::string& prover, const std::string& reader, const char* input = "")
    {
        return runPair(script("p", prover), QString::fromUtf8(input), script("r", reader),
                       children);
    }

    test::TempDir dir;
    ChildList children;
};

TEST_F(Children, NoAmountOfOutputBlocksThePair)
{
    const PairResult result = pair("head -c 500000 /dev/zero; head -c 500000 /dev/zero >&2",
                                   "cat; head -c 500000 /dev/zero >&2");
    EXPECT_EQ(result.end, PairEnd::Read);
    EXPECT_EQ(result.output.size(), 500000);
}

TEST_F(Children, TheReaderAlwaysSeesTheEndOfItsInput)
{
    // Of a file, of one that is not there, of none, and of a pipe that nobody writes into.
    dir.write("in", "abc");
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    for (const std::string file : {"in", "not written", "", "pipe"}) {
        const std::string input = file.empty() ? "" : dir.path(file);
        EXPECT_EQ(pair("cat", "wc -c", input.c_str()).output, file == "in" ? "3\n" : "0\n") << file;
    }
    const Command missing = {QStringLiteral("/nonexistent/tool"), {}};
    EXPECT_EQ(runPair(missing, {}, script("r", "wc -c"), children).output, "0\n");
    EXPECT_EQ(runPair(script("p", ":"), {}, missing, children).end, PairEnd::Read);
}

TEST_F(Children, AGrandchildThatHoldsTheReadersOutputHoldsNobody)
{
    const PairResult result = pair(":", "echo Proved; sleep 60 & echo $! >" + dir.path("pid"));
    EXPECT_EQ(result.output, "Proved\n");
    EXPECT_EQ(::kill(std::stoi(test::contentOf(dir.path("pid"))), SIGKILL), 0) << "has ended";
}

TEST_F(Children, NothingStartsAfterAStop)
{
    children.killAll();
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
    const rlim_t before = limit.rlim_cur;
    int refused = 0;
    const int highest = ::dup(0);
    ::close(highest);
    for (unsigned int room = 0; room < 12; ++room) {
        limit.rlim_cur = static_cast<rlim_t>(highest) + room;
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        const PairResult result = runPair(prover, {}, reader, children);
        refused += result.end == PairEnd::Refused ? 1 : 0;
        EXPECT_EQ(result.end == PairEnd::Read, result.refusal.isEmpty()) << room;
    }
    limit.rlim_cur = before;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_GE(refused, 5) << "each file of a job in turn";
    EXPECT_EQ(runPair(prover, {}, reader, children).output, "x\n");
}

} // namespace
