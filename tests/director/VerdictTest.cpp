// What verdicts are worth: every case of the rules, in tables.

#include "director/verdict.h"
#include "tests/support/Golden.h"

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
    // A line for each trust; after N, K, U, P and D.
    std::string text;
    for (const verdict_t verdict : {verdict_t::disproved, verdict_t::proved, verdict_t::unknown}) {
        for (const bool last : {false, true}) {
            text += strOfVerdict(verdict).toStdString() + (last ? " by the last driver\n" : "\n");
            for (const trust_t trust : {trust_t::never, trust_t::redundancy, trust_t::always}) {
                text += "trust " + std::to_string(int(trust)) + ":";
                for (int old = pos::UNPROVED; old <= pos::DISPROVED; ++old) {
                    text += " " + outcome(pos::status_t(old), verdict, trust, last);
                }
                text += "\n";
            }
        }
    }
    test::expectGolden("director/golden/status-rule.txt", text);
}

TEST(Verdict, AGoalRisesFromTheWordsThatLeaveRoom)
{
    test::expectCases("director/golden/rises.txt", [](const std::string& before) {
        std::string words;
        for (const auto status : {pos::UNRELIABLY_PROVED, pos::PROVED, pos::DISPROVED}) {
            const bool rises = raisesGoal(QString::fromStdString(before), status);
            words += rises ? pos::strOfProofStatus(status).toStdString() + "\n" : "";
        }
        return words;
    });
}
