// What verdicts are worth: every case of the rules, in tables.

#include "director/verdict.h"

#include <gtest/gtest.h>

using mechanism::trust_t;

/// What a record becomes by a verdict of the second driver of "d D DD D": the letter of its new
/// status, upper case when the document takes it; "+" when the other drivers are left, "-" when
/// none is.
static std::string outcome(pos::status_t old, verdict_t verdict, trust_t trust, bool last)
{
    const QStringList drivers = QStringLiteral("d D DD D").split(QLatin1Char(' '));
    const QStringList left = driversAfter(drivers, drivers.at(1), old, verdict, trust);
    const pos::status_t status = statusAfter(old, verdict, trust, last);
    const char letter = (setsMechanismStatus(old, status) ? "NKUPD" : "nkupd")[status];
    const bool others = left.join(QLatin1Char(' ')) == QStringLiteral("d DD D");
    return letter + std::string(left.isEmpty() ? "-" : others ? "+" : "?");
}

TEST(Verdict, EveryRowOfTheStatusRuleHolds)
{
    const struct {
        const char* label;
        verdict_t verdict;
        bool last;              ///< whether the driver is the last one
        const char* byTrust[3]; ///< never, redundancy, always: after N, K, U, P and D
    } rows[] = {
        {"refuted", verdict_t::disproved, false, {"D-D-D-D-d-", "D-D-D-D-d-", "D-D-D-D-d-"}},
        {"refuted last", verdict_t::disproved, true, {"D-D-D-D-d-", "D-D-D-D-d-", "D-D-D-D-d-"}},
        {"proved", verdict_t::proved, false, {"U-U-u-U-U-", "U+U+P-U+U+", "P-P-P-p-P-"}},
        {"proved last", verdict_t::proved, true, {"U-U-u-U-U-", "U+U+P-U+U+", "P-P-P-p-P-"}},
        {"unknown", verdict_t::unknown, false, {"n+k+u+p+d+", "n+k+u+p+d+", "n+k+u+p+d+"}},
        {"unknown last", verdict_t::unknown, true, {"K+k+K+K+K+", "K+k+K+K+K+", "K+k+K+K+K+"}},
    };
    for (const auto& row : rows) {
        for (const trust_t trust : {trust_t::never, trust_t::redundancy, trust_t::always}) {
            SCOPED_TRACE(row.label + (", trust " + std::to_string(int(trust))));
            std::string outcomes;
            for (int old = pos::UNPROVED; old <= pos::DISPROVED; ++old) {
                outcomes += outcome(pos::status_t(old), row.verdict, trust, row.last);
            }
            EXPECT_EQ(outcomes, row.byTrust[int(trust)]);
        }
    }
}

TEST(Verdict, AGoalRisesFromTheWordsThatLeaveRoom)
{
    const struct {
        const char* before;
        bool rises[3]; ///< by an unreliable proof, by a proof, by a refutation
    } rows[] = {
        {"Unproved", {true, true, true}},        {"UnreliablyProved", {false, true, true}},
        {"Unknown", {false, false, false}},      {"Proved", {false, false, false}},
        {"Proved(Util)", {false, false, false}}, {"Disproved", {false, false, false}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        for (const auto status : {pos::UNRELIABLY_PROVED, pos::PROVED, pos::DISPROVED}) {
            EXPECT_EQ(raisesGoal(QString::fromUtf8(row.before), status),
                      row.rises[status - pos::UNRELIABLY_PROVED])
                << status;
        }
    }
}
