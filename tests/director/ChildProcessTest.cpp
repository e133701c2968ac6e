// Children that behave badly: none of them may hang the tool or leave anything behind.

#include "director/ChildProcess.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
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
        return runPair({script("p", prover), QString::fromUtf8(input), script("r", reader), 500000},
                       groups);
    }
    pid_t pidIn(const std::string& name) const
    {
        return std::stoi(test::contentOf(dir.path(name)));
    }

    test::TempDir dir;
    ProcessGroups groups;
};

TEST_F(Children, NoAmountOfOutputBlocksThePairAndTooMuchOfItIsNoAnswer)
{
    const std::string noise = "head -c 500000 /dev/zero";
    const PairResult result = pair(noise + "; " + noise + " >&2", "cat; " + noise + " >&2");
    EXPECT_EQ(result.end, PairEnd::Read);
    EXPECT_EQ(result.output.size(), 500000);
    // One byte more, before the reader ends, as it ends, and without an end.
    for (const std::string reader : {"cat; echo; sleep 60", "cat; echo", "cat; yes"}) {
        const PairResult flood = pair(noise + "; exec sleep 0.1", reader);
        EXPECT_EQ(flood.end, PairEnd::TooMuch) << reader;
        EXPECT_TRUE(flood.output.isEmpty());
    }
}

TEST_F(Children, AReaderThatOpensItsOutputAnewLosesNothing)
{
    const std::string body = "echo Unknown >/dev/stdout; echo Proved | tee /dev/stdout";
    const std::clock_t begin = std::clock();
    EXPECT_EQ(pair(":", body + "; exec >&-; sleep 1").output, "Unknown\nProved\nProved\n");
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 2) << "a pipe that has ended is looked at";
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
    EXPECT_EQ(runPair({missing, {}, script("r", "wc -c"), 9}, groups).output, "0\n");
    EXPECT_EQ(runPair({script("p", ":"), {}, missing, 9}, groups).end, PairEnd::Read);
}

TEST_F(Children, AGrandchildHoldsNobodyAndEndsWithItsGroup)
{
    const PairResult result = pair(":", "echo Proved; sleep 60 & echo $! >" + dir.path("pid"));
    EXPECT_EQ(result.output, "Proved\n");
    EXPECT_FALSE(test::hasEnded(pidIn("pid"))) << "somebody has waited for it";
    groups.endIdle();
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a guard is left";
}

TEST_F(Children, WhatIsLeftOfAToolThatWasKilledEndsAtOnce)
{
    const std::string killed = "sleep 1000 & echo $! >" + dir.path("pid") + "; kill -KILL $$";
    EXPECT_EQ(pair(":", killed).end, PairEnd::ReaderCrashed);
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
    EXPECT_EQ(runWriter({script("w", killed)}, groups).end, WriterEnd::Crashed);
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
}

TEST_F(Children, AToolThatKillsItsOwnGroupCrashesAndHarmsNobodyElse)
{
    std::thread other([this] {
        const Command slow = script("slow", "echo > " + dir.path("up") + "; cat; sleep 0.2");
        EXPECT_EQ(runWriter({slow}, groups).end, WriterEnd::Exited);
    });
    while (!test::exists(dir.path("up"))) {
        ::usleep(1000);
    }
    const std::string guard = "cut -d ' ' -f 5 /proc/self/stat";
    const std::string next = "cat /proc/$(" + guard + ")/cmdline"; // which needs a guard, too
    for (const std::string signal : {"TERM", "KILL"}) {
        EXPECT_EQ(pair("kill -" + signal + " 0; sleep 9", "cat").end, PairEnd::ProverCrashed);
        EXPECT_TRUE(pair(next, "cat").output.contains("mechrun-guard")) << signal;
    }
    other.join();
    groups.endIdle();
    pair(guard + " >" + dir.path("pid") + "; { sleep 0.1; kill -KILL 0; } >&2 &", ":");
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
    EXPECT_TRUE(pair(next, "cat").output.contains("mechrun-guard"));
    groups.endIdle();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a guard is left";
}

TEST_F(Children, ATimeLimitEndsTheGroupAndTheNextJobHasAnother)
{
    PairRun run = {script("slow", "trap '' TERM; sleep 1000 & echo $! >" + dir.path("pid") +
                                      "; kill -STOP $$"),
                   {},
                   script("slow-r", "cat"),
                   9};
    run.timeLimit = std::chrono::milliseconds(100);
    for (int round = 0; round < 3; ++round) {
        const PairResult late = runPair(run, groups);
        EXPECT_EQ(late.end, PairEnd::TimeLimit);
        EXPECT_EQ(late.prover.signal, SIGKILL);
        EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
        const PairResult next = pair("cat /proc/$(cut -d ' ' -f 5 /proc/self/stat)/cmdline", "cat");
        EXPECT_TRUE(next.output.contains("mechrun-guard"));
    }
    groups.endIdle();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "somebody is not reaped";
}

TEST_F(Children, ALimitedProverIsStartedLikeAnyOther)
{
    dir.write("in", "fed\n");
    PairRun run = {{}, QString::fromStdString(dir.path("in")), script("r", "cat"), 500000};
    const std::string look = "cat; cut -d ' ' -f 5 /proc/self/stat; ls /proc/self/fd; readlink "
                             "/proc/self/fd/[02]; grep SigIgn /proc/self/status | cut -c 18-; "
                             "echo $1 $HOME"; // the C library ignores two signals of its own
    const std::string programs[] = {dir.script("look", look), "/nonexistent/tool", dir.path(),
                                    dir.path("in"), "/bin/grep"};
    sigset_t some;
    sigemptyset(&some);
    sigaddset(&some, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    for (const std::string& program : programs) {
        run.prover = {QString::fromStdString(program),
                      {QStringLiteral("SigBlk"), QStringLiteral("/proc/self/status")}};
        run.memoryLimit = 0;
        const PairResult plain = runPair(run, groups);
        run.memoryLimit = std::uint64_t(1) << 30;
        const PairResult limited = runPair(run, groups);
        EXPECT_EQ(limited.prover.error, plain.prover.error) << program;
        EXPECT_TRUE(program != "/bin/grep" || plain.output.contains("200"));
        EXPECT_EQ(limited.output.toStdString(), plain.output.toStdString()) << program;
    }
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t now;
    ::pthread_sigmask(SIG_UNBLOCK, &some, &now);
    EXPECT_EQ(sigismember(&now, SIGUSR1) + sigismember(&now, SIGUSR2), 1);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "only the guard is left, and lives";
}

TEST_F(Children, AnEndThatNobodyCanTellIsACrash)
{
    ::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(pair("kill -9 $$", "echo Proved").end, PairEnd::ProverCrashed);
    const Command quick = {QStringLiteral("/bin/true"), {}}; // gone before anybody waits for it
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(runPair({quick, {}, quick, 9}, groups).end, PairEnd::ProverCrashed);
    }
    EXPECT_EQ(runWriter({script("w", ":")}, groups).end, WriterEnd::Crashed);
    ::signal(SIGCHLD, SIG_DFL);
}

TEST_F(Children, NothingStartsAfterAStop)
{
    const Arguments words({QStringLiteral("/bin/sleep"), {QStringLiteral("1000")}});
    Child during;
    Child after;
    const GroupLease lease(groups);
    const Streams streams(0, 1, 2, lease.lifeline());
    lease.start([&] { // what a start under way brings in does not live on
        groups.closeAndKill();
        EXPECT_EQ(during.start(words, streams, lease.id()), 0);
        groups.awaitStarts(std::chrono::milliseconds(100));
        EXPECT_TRUE(test::hasEnded(during.id(), true));
        EXPECT_EQ(after.start(words, streams, lease.id()), 0);
    });
    EXPECT_TRUE(test::hasEnded(after.id(), true));
    EXPECT_FALSE(lease.start([] {}));
    EXPECT_EQ(pair("touch " + dir.path("late"), ":").end, PairEnd::Stopped);
    EXPECT_EQ(runWriter({script("w", "touch " + dir.path("late"))}, groups).end,
              WriterEnd::Stopped);
    EXPECT_FALSE(test::exists(dir.path("late")));
}

TEST_F(Children, ARefusedStartWaitsForOthersAndAloneIsAFailedJob)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the undefined sanitizer needs a pipe to check a pointer";
#endif
    const Command prover = script("p", "echo x");
    const Command reader = script("r", "cat");
    const auto run = [&] {
        return runPair({prover, {}, reader, 9}, groups);
    };
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t before = limit.rlim_cur;
    int refused = 0;
    unsigned int enough = 0; // for one pair
    const int highest = ::dup(0);
    ::close(highest);
    for (unsigned int room = 0; room < 16; ++room) {
        limit.rlim_cur = static_cast<rlim_t>(highest) + room;
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        const PairResult result = run();
        refused += result.end == PairEnd::Refused ? 1 : 0;
        enough = result.end == PairEnd::Refused ? room + 1 : enough;
        EXPECT_EQ(result.end == PairEnd::Read, result.refusal.isEmpty()) << room;
    }
    EXPECT_GE(refused, 8) << "each file of a job in turn";
    limit.rlim_cur = static_cast<rlim_t>(highest) + enough;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<std::thread> workers;
    workers.reserve(4);
    for (int worker = 0; worker < 4; ++worker) {
        workers.emplace_back([&] {
            for (int job = 0; job < 10; ++job) {
                EXPECT_EQ(run().output, "x\n");
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    limit.rlim_cur = before;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(run().output, "x\n");
    groups.endIdle();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a guard is left";
}

} // namespace
