// How far a play is: the line, and the time left; what goals add up to.

#include "mechtool/Progress.h"
#include "mechtool/Totals.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

progress_t busy()
{
    progress_t progress;
    progress.done = 1200;
    progress.all = 40000;
    progress.secondsLeft = 200;
    progress.proved = 980;
    progress.refuted = 12;
    progress.failed = 3;
    progress.mechanism = QStringLiteral("smt");
    progress.driver = QStringLiteral("quick");
    progress.longest = QStringLiteral("put_ring.3");
    progress.longestSeconds = 12.34;
    progress.jobsPerSecond = 25.31;
    return progress;
}

TEST(Progress, TheLineShowsWhatMattersMostInWholeParts)
{
    progress_t begun;
    begun.all = 7;
    begun.mechanism = QStringLiteral("m");
    begun.driver = QStringLiteral("d");
    begun.longest = QStringLiteral("a.1");
    begun.longestSeconds = 0.9;
    progress_t long_ = busy();
    long_.driver = QString(100, QLatin1Char('d'));
    long_.longest = QString(100, QLatin1Char('g'));
    progress_t wide = busy();
    wide.driver = QString(5, QChar(0x8a3c));
    progress_t last = busy();
    last.secondsLeft = 0.2;
    last.longestSeconds = 4000;
    last.jobsPerSecond = 0.25;
    const struct {
        const char* label;
        progress_t progress;
        int width;
        const char* line;
    } rows[] = {
        {"no room", busy(), 4, ""},
        {"20", busy(), 20, "1200/40000, quick"},
        {"40", busy(), 40, "1200/40000, 3 min 20 s left, 980 proved"},
        {"80", busy(), 80,
         "1200/40000, 3 min 20 s left, 980 proved, 12 refuted, quick, a job runs 12.3 s"},
        {"200", busy(), 200,
         "1200/40000 goals, 3 min 20 s left, 980 proved, 12 refuted, smt/quick, put_ring.3 runs "
         "12.3 s, 3 failed, 25.3 jobs/s"},
        {"nothing known yet", begun, 80, "0/7 goals, 0 proved, m/d"},
        {"names too long", long_, 100,
         "1200/40000 goals, 3 min 20 s left, 980 proved, 12 refuted, a job runs 12.3 s, 3 failed, "
         "25.3 jobs/s"},
        {"wide characters", wide, 70,
         "1200/40000 goals, 3 min 20 s left, 980 proved, 12 refuted, "
         "\xe8\xa8\xbc\xe8\xa8\xbc\xe8\xa8\xbc\xe8\xa8\xbc\xe8\xa8\xbc"},
        {"the last job", last, 100,
         "1200/40000 goals, 980 proved, 12 refuted, smt/quick, a job runs 1 h 06 min, 3 failed, "
         "0.25 jobs/s"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(progressLine(row.progress, row.width).toStdString(), row.line);
    }
    for (int width = 0; width < 140; ++width) {
        EXPECT_LE(progressLine(busy(), width).size(), width);
    }
}

TEST(Progress, TheTimeLeftIsShownAsCoarselyAsItIsKnown)
{
    const struct {
        double seconds;
        const char* text;
    } rows[] = {
        {0.6, "1 s left"},
        {9.2, "9 s left"},
        {31, "35 s left"},
        {59.9, "1 min 00 s left"},
        {61, "1 min 00 s left"},
        {599, "9 min 50 s left"},
        {620, "10 min left"},
        {3599, "1 h 00 min left"},
        {2 * 3600, "2 h 00 min left"},
        {1e300, "27777 h 47 min left"},
    };
    for (const auto& row : rows) {
        progress_t progress;
        progress.all = 9;
        progress.secondsLeft = row.seconds;
        EXPECT_EQ(progressLine(progress, 200).section(QStringLiteral(", "), 1, 1).toStdString(),
                  row.text);
    }
}

TEST(TimeLeft, RunsDownSteadilyWhereJobsComeInBursts)
{
    TimeLeft left;
    double before = 0;
    for (int tick = 0; tick < 3300; ++tick) {
        // Ten goals every two seconds: 5 a second, of 1500.
        const double goals = std::max(0, 1500 - (tick / 20) * 10);
        left.pass(0.1, tick % 20 == 0 ? 10 : 0, goals);
        if (tick < 19) {
            EXPECT_FALSE(left.seconds());
        }
        if (tick < 100) {
            continue;
        }
        ASSERT_TRUE(left.seconds());
        const double truth = goals / 5;
        EXPECT_NEAR(*left.seconds(), truth, 3 + truth * 0.15) << tick;
        EXPECT_GE(*left.seconds(), 0) << tick;
        if (tick > 100) {
            EXPECT_LT(std::abs(*left.seconds() - before), 1) << tick;
        }
        before = *left.seconds();
    }
}

TEST(TimeLeft, FollowsADriverOfAnotherPace)
{
    TimeLeft left;
    for (int tick = 0; tick < 600; ++tick) {
        left.pass(0.1, 10, 1000);
    }
    const double before = *left.seconds();
    EXPECT_NEAR(before, 10, 2);
    left.driverBegins();
    left.pass(1, 0, 1000); // too early to tell: the time runs on
    EXPECT_NEAR(*left.seconds(), before - 1, 0.01);
    for (int tick = 0; tick < 900; ++tick) {
        left.pass(0.1, tick % 10 == 0 ? 1 : 0, 1000);
    }
    EXPECT_NEAR(*left.seconds(), 1000, 250);
    for (int tick = 0; tick < 600; ++tick) { // nothing ends any more
        left.pass(0.1, 0, 1000);
    }
    EXPECT_GT(*left.seconds(), 1500);
}

TEST(Totals, AGoalThatOneOfTwoMechanismsProvedIsProvedExternally)
{
    Totals totals;
    totals.add({pos::PROVED, false, {}, {}, {{{}, pos::PROVED, {}}, {{}, pos::UNPROVED, {}}}});
    EXPECT_EQ(totals.provedExternally, 1U);
}

} // namespace
