// Children that behave badly: none of them may hang the tool or leave anything behind.

#include "director/ChildProcess.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace test
{

/// Asked, when there is one, before the system starts a program ("wait", "sync" and "unlink" for
/// other calls): what it answers is the system's refusal, or 0. To be changed when nothing can
/// start.
std::function<int(const std::string& program)> beforeStart;

int refusal(const std::string& program)
{
    return beforeStart ? beforeStart(program) : 0;
}

} // namespace test

// These take the place of the C library's own, whose parameters have reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,bugprone-reserved-identifier)

extern "C" int pidfd_open(pid_t child, unsigned int flags)
{
    errno = test::refusal("wait");
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_pidfd_open, child, flags));
}

extern "C" int fsync(int file)
{
    errno = test::refusal("sync");
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int unlink(const char* file)
{
    errno = test::refusal("unlink");
    return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, file, 0));
}

extern "C" int __clone(int (*body)(void*), void* stack, int flags, void* given, ...)
{
    static const auto start = reinterpret_cast<decltype(&__clone)>(::dlsym(RTLD_NEXT, "__clone"));
    errno = test::refusal("clone");
    return errno != 0 ? -1 : start(body, stack, flags, given);
}

extern "C" int posix_spawn(pid_t* child, const char* program,
                           const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const words[],
                           char* const environment[])
{
    static const auto start =
        reinterpret_cast<decltype(&posix_spawn)>(::dlsym(RTLD_NEXT, "posix_spawn"));
    const int error = test::refusal(program);
    return error != 0 ? error : start(child, program, actions, attributes, words, environment);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name,bugprone-reserved-identifier)

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

TEST_F(Children, AnEndThatNobodyCanTellIsACrash)
{
    ::signal(SIGCHLD, SIG_IGN); // before the first start, which settles what signals tools get
    const Command look = {QStringLiteral("/bin/dd"), // a shell has its own ideas about signals
                          {QStringLiteral("if=/proc/self/status"),
                           QStringLiteral("of=") + QString::fromStdString(dir.path("status"))}};
    EXPECT_EQ(runPair({look, {}, script("r", "cat"), 9}, groups).end, PairEnd::ProverCrashed);
    const std::string status = test::contentOf(dir.path("status"));
    const std::string ignored = status.substr(status.find("SigIgn:") + 7);
    EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGCHLD - 1) & 1, 0U);
    const Command quick = {QStringLiteral("/bin/true"), {}}; // gone before anybody waits for it
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(runPair({quick, {}, quick, 9}, groups).end, PairEnd::ProverCrashed);
    }
    EXPECT_EQ(runWriter({script("w", ":")}, groups).end, WriterEnd::Crashed);
    ::signal(SIGCHLD, SIG_DFL);
}

TEST_F(Children, NoAmountOfOutputBlocksThePairAndTooMuchOfItIsNoAnswer)
{
    const std::string noise = "head -c 500000 /dev/zero";
    const PairResult result = pair(noise + "; " + noise + " >&2", "cat; " + noise + " >&2");
    EXPECT_EQ(result.end, PairEnd::Read);
    EXPECT_EQ(result.output.size(), 500000);
    // One byte more, before the reader ends, as it ends, and without an end.
    for (const std::string reader : {"cat; echo; sleep 60", "cat; echo", "cat; yes"}) {
        const PairResult flood = pair(noise + "; exec sleep 1000 >&-", reader);
        EXPECT_EQ(flood.end, PairEnd::TooMuch) << reader;
        EXPECT_EQ(flood.prover.signal, SIGKILL) << "nobody waits for it";
        EXPECT_TRUE(flood.output.isEmpty());
    }
}

TEST_F(Children, AReaderThatOpensItsOutputAnewLosesNothing)
{
    const std::string body = "echo Unknown >/dev/stdout; echo Proved | tee /dev/stdout";
    const std::clock_t begin = std::clock();
    const Command reader = script("r", body + "; exec >&- 2>&-; sleep 1");
    EXPECT_EQ(runPair({script("p", ":"), {}, reader, 99, 99}, groups).output,
              "Unknown\nProved\nProved\n");
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 8) << "a pipe that has ended is looked at";
}

TEST_F(Children, TheReaderAlwaysSeesTheEndOfItsInput)
{
    // Of a file, of a file that is not there, of none, and of a pipe that nobody writes into.
    dir.write("in", "abc");
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    for (const std::string file : {"in", "not written", "", "pipe"}) {
        const std::string input = file.empty() ? "" : dir.path(file);
        EXPECT_EQ(pair("cat", "wc -c", input.c_str()).output, file == "in" ? "3\n" : "0\n") << file;
    }
    const std::string late =
        "exec 3<>" + dir.path("pipe") + "; { sleep 0.1; echo ab >&3; } & exec 3>&-; cat";
    EXPECT_EQ(pair(late, "wc -c", dir.path("pipe").c_str()).output, "3\n");
    const Command missing = {QStringLiteral("/nonexistent/tool"), {}};
    EXPECT_EQ(runPair({missing, {}, script("r", "wc -c"), 9}, groups).output, "0\n");
    EXPECT_EQ(runPair({script("p", ":"), {}, missing, 9}, groups).end, PairEnd::Read);
    EXPECT_EQ(runPair({script("p", "exec yes"), {}, missing, 9}, groups).prover.signal, SIGPIPE);
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
    EXPECT_EQ(pair(killed, "cat").end, PairEnd::ProverCrashed);
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
    EXPECT_EQ(runWriter({script("w", killed)}, groups).end, WriterEnd::Crashed);
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
}

TEST_F(Children, AToolThatKillsItsOwnGroupCrashesAndHarmsNobodyElse)
{
    pair(":", ":"); // whose group the other gets
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
    EXPECT_EQ(runPair(run, groups).end, PairEnd::TimeLimit);
    EXPECT_TRUE(test::hasEnded(pidIn("pid"), true));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "somebody is not reaped";
    EXPECT_EQ(pair("echo x", "cat").output, "x\n");
    run.timeLimit = std::chrono::milliseconds(500);
    run.prover = script("late", "sleep 0.9");
    EXPECT_EQ(runPair(run, groups).end, PairEnd::TimeLimit);
}

TEST_F(Children, ALimitedProverIsStartedLikeAnyOther)
{
    dir.write("in", "fed\n");
    PairRun run = {{}, QString::fromStdString(dir.path("in")), script("r", "cat"), 500000};
    const std::string look =
        "cat; cut -d ' ' -f 5 /proc/self/stat; ls /proc/self/fd; readlink "
        "/proc/self/fd/[02]; grep SigIgn /proc/self/status | cut -c 18-; "
        "echo $1 $HOME; ulimit -v; ulimit -Hv"; // the C library ignores two signals of its own
    const std::string programs[] = {dir.script("look", look), "/nonexistent/tool", dir.path(),
                                    dir.path("in"), "/bin/grep"};
    const rlimit own = {rlim_t(1) << 62, rlim_t(1) << 62}; // which no start raises
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &own), 0);
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
        run.memoryLimit = 2 * own.rlim_cur;
        const PairResult limited = runPair(run, groups);
        EXPECT_EQ(limited.prover.error, plain.prover.error) << program;
        EXPECT_TRUE(program != "/bin/grep" || plain.output.contains("200"));
        EXPECT_TRUE(program != programs[0] || plain.output.contains("/dev/null")) << "is to waste";
        EXPECT_EQ(limited.output.toStdString(), plain.output.toStdString()) << program;
    }
    run.prover.path = QString::fromStdString(programs[0]);
    run.memoryLimit = rlim_t(1) << 40;
    EXPECT_TRUE(runPair(run, groups).output.endsWith("\n1073741824\n1073741824\n")) << "for good";
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t now;
    ::pthread_sigmask(SIG_UNBLOCK, &some, &now);
    EXPECT_EQ(sigismember(&now, SIGUSR1) + sigismember(&now, SIGUSR2), 1);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "only the guard is left, and lives";
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
        EXPECT_EQ(after.start(words, streams, lease.id(), 1 << 30), 0);
    });
    EXPECT_TRUE(test::hasEnded(after.id(), true));
    EXPECT_FALSE(lease.start([] {}));
    EXPECT_EQ(pair("touch " + dir.path("late"), ":").end, PairEnd::Stopped);
    EXPECT_EQ(runWriter({script("w", "touch " + dir.path("late"))}, groups).end,
              WriterEnd::Stopped);
    EXPECT_FALSE(test::exists(dir.path("late")));
}

TEST_F(Children, WhatTheSystemRefusesIsReportedWithItsReason)
{
    // A pair has three starts, of guard, prover and reader, and two waits; a writer one less each.
    for (const int error : {EAGAIN, ENOMEM, EMFILE, ENFILE, EACCES}) {
        for (int which = 0; which < 5; ++which) {
            SCOPED_TRACE(std::to_string(error) + " " + std::to_string(which));
            int steps = 0;
            test::beforeStart = [&](const std::string& /*program*/) {
                return steps++ == which ? error : 0;
            };
            const bool own = error == EACCES && (which == 1 || which == 2); // the program's fault
            PairRun run = {script("p", ":"), {}, script("r", "cat"), 9};
            run.memoryLimit = which % 2 << 30; // which takes another way to start the prover
            const PairResult result = runPair(run, groups);
            EXPECT_EQ(result.end, own ? PairEnd::Read : PairEnd::Refused);
            EXPECT_EQ(result.refusal, own ? QString() : qt_error_string(error));
            EXPECT_EQ(result.prover.error, which == 1 ? error : 0);
            groups.endIdle();
            steps = 0;
            const WriterResult written = runWriter({script("w", ":"), 9}, groups);
            EXPECT_EQ(written.end, which < 3 ? WriterEnd::NotStarted : WriterEnd::Exited);
            EXPECT_EQ(written.writer.error, which < 3 ? error : 0);
            groups.endIdle();
        }
    }
    test::beforeStart = nullptr;
}

TEST_F(Children, ARefusedStartWaitsForAnotherJob)
{
    const struct {
        const char* label;
        const char* body;
        int refused; ///< which start; 0 is the first guard
        int starts;
    } rows[] = {{"no group, but another job's", "sleep 0.4", 1, 6},
                {"no group, and the other is given up", "sleep 0.4; kill -9 $$", 1, 7},
                {"no prover, and no reader without it", "sleep 0.4", 2, 7},
                {"no writer", "sleep 0.4", 2, 5}};
    for (const auto& [label, body, refused, expected] : rows) {
        SCOPED_TRACE(label);
        std::atomic<int> starts{0};
        test::beforeStart = [&, which = refused](const std::string& program) {
            const int start = program == "wait" ? -1 : starts++;
            while (start == 0 && starts == 1) { // the other job comes while a guard is started
                ::usleep(1000);
            }
            return start == which ? EAGAIN : 0;
        };
        const Command tool = script("p", body);
        const PairRun run = {tool, {}, script("r", "cat"), 9};
        const auto job = [&, writes = expected == 5] {
            const bool refusal = writes ? runWriter({tool}, groups).end == WriterEnd::NotStarted
                                        : runPair(run, groups).end == PairEnd::Refused;
            EXPECT_FALSE(refusal);
        };
        const auto begin = std::chrono::steady_clock::now();
        std::thread other(job);
        job();
        other.join();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(25)) << "late";
        EXPECT_EQ(starts, expected);
        groups.endIdle(); // after which as many may run as ever
    }
    test::beforeStart = nullptr;
}

TEST_F(Children, WithoutRoomForItsFilesAJobIsRefused)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the undefined sanitizer needs a pipe to check a pointer";
#endif
    const PairRun run = {script("p", "echo x"), {}, script("r", "cat"), 9};
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const int highest = ::dup(0);
    ::close(highest);
    int refused = 0;
    for (unsigned int room = 0; room < 16; ++room) {
        const rlimit few = {static_cast<rlim_t>(highest) + room, before.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        const PairResult result = runPair(run, groups);
        refused += result.end == PairEnd::Refused ? 1 : 0;
        EXPECT_EQ(result.end == PairEnd::Read, result.refusal.isEmpty()) << room;
        const WriterResult written = runWriter({run.prover, 9}, groups);
        EXPECT_EQ(written.end == WriterEnd::Exited, written.writer.error == 0) << room;
    }
    EXPECT_GE(refused, 8) << "each file of a job in turn";
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(runPair(run, groups).output, "x\n");
    groups.endIdle();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a guard is left";
}

} // namespace
