#include "pos/pos.h"
#include "pos/printmetrics.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <stdexcept>

using namespace pos;

namespace
{

const char* const COMPONENT =
    "<r><Proof_Obligation>"
    "<Simple_Goal status='Proved'><Proof_State proofState='Proved(Util)'/>"
    "<Mechanism name='m' status='Unproved'/></Simple_Goal>"
    "<Simple_Goal status='Proved'><Proof_State proofState='Proved'/>"
    "<Mechanism name='m' status='Proved'><Driver name='d' status='Proved'/>"
    "<Driver name='e' status='UnreliablyProved'/></Mechanism>"
    "<Mechanism name='n' status='Proved(0)'><Driver name='d' status='Unknown'/></Mechanism>"
    "</Simple_Goal>"
    "<Simple_Goal status='Unknown'><Mechanism name='m' status='Unknown'>"
    "<Driver name='d' status='Disproved'/></Mechanism></Simple_Goal>"
    "</Proof_Obligation><Other><Simple_Goal status='nonsense'/></Other><Proof_Obligation>"
    "<Simple_Goal/><Simple_Goal status='Unproved'/><Simple_Goal status='Unproved'/>"
    "<Simple_Goal status='UnreliablyProved'><Mechanism name='m' status='UnreliablyProved'/>"
    "</Simple_Goal>"
    "<Simple_Goal status='Disproved'><Mechanism name='m' status='Disproved'>"
    "<Driver name='d'/></Mechanism></Simple_Goal>"
    "</Proof_Obligation></r>";

/// The counters in the order of their declaration, those of mechanisms and drivers after a name.
std::string summaryOf(const metrics_t& all)
{
    std::ostringstream out;
    out << all.total << ' ' << all.unproved << ' ' << all.proved << ' ' << all.unreliablyProved
        << ' ' << all.disproved << ' ' << all.provedExternally << ' ' << all.provedByProver;
    for (const auto& [name, m] : all.mechanisms) {
        out << "; " << name << ' ' << m->unproved << ' ' << m->unknown << ' ' << m->proved << ' '
            << m->unreliablyProved << ' ' << m->disproved;
        for (const auto& [driver, d] : m->drivers) {
            out << ", " << driver << ' ' << d->unproved << ' ' << d->unknown << ' ' << d->proved
                << ' ' << d->disproved;
        }
    }
    return out.str();
}

} // namespace

TEST(PosMetrics, EachGoalCountsOnceAndEachRecordUnderItsName)
{
    const test::TempDir dir;
    const std::string path = dir.write("c.pos", COMPONENT);
    const std::string records = "; m 1 1 1 1 1, d 1 0 1 1, e 0 0 0 0; n 0 0 1 0 0, d 0 1 0 0";
    metrics_t metrics;
    EXPECT_TRUE(getMetrics(path, metrics));
    EXPECT_EQ(summaryOf(metrics), "8 3 2 1 1 1 1" + records);
    EXPECT_TRUE(getMetrics(path, metrics)); // adds to the last total only
    EXPECT_EQ(summaryOf(metrics), "8 3 2 1 1 1 2" + records);
    EXPECT_FALSE(getMetrics(dir.path("missing.pos"), metrics));
    EXPECT_EQ(summaryOf(metrics), "8 3 2 1 1 1 2" + records);
}

TEST(PosMetrics, UnknownWordAtAnyLevelRaises)
{
    const test::TempDir dir;
    for (const char* goal :
         {"<Simple_Goal status=''/>", "<Simple_Goal><Mechanism status='Valid'/></Simple_Goal>",
          "<Simple_Goal><Mechanism status='Proved'/><Mechanism status='x'/></Simple_Goal>",
          "<Simple_Goal><Mechanism status='Proved'><Driver "
          "status='x'/></Mechanism></Simple_Goal>"}) {
        const std::string path = dir.write("c.pos", std::string("<r><Proof_Obligation>") + goal +
                                                        "</Proof_Obligation></r>");
        metrics_t metrics;
        EXPECT_THROW(getMetrics(path, metrics), std::out_of_range) << goal;
    }
}

TEST(PosMetrics, ReportClosesWithTheTotalsInBothForms)
{
    const test::TempDir dir;
    const std::string good = dir.write("c.pos", COMPONENT);
    const std::string missing = dir.path("missing.pos");
    const std::string totals = "TOTAL for comp\t Proved 2\t Proved externally 1"
                               "\t Unreliably proved 1\t Disproved 1\t Unproved 3";
    const std::string zeros = "TOTAL for comp\t Proved 0\t Proved externally 0"
                              "\t Unreliably proved 0\t Disproved 0\t Unproved 0";
    struct row_t {
        const char* label;
        std::string path;
        bool xml;
        std::string output;
    };
    const row_t rows[] = {
        {"plain", good, false, "End of proof\n\n" + totals + "\n"},
        {"xml", good, true,
         "\n<proofResult>\n\n<total>" + totals + "</total>\n</proofResult>\n</proof>\n"},
        {"plain, unreadable", missing, false,
         "ErrorFile not readable " + missing + "\nEnd of proof\n\n" + zeros + "\n"},
        {"xml, unreadable", missing, true,
         "<error>File not readable " + missing + "</error>\n\n<proofResult>\n\n<total>" + zeros +
             "</total>\n</proofResult>\n</proof>\n"},
    };
    for (const row_t& row : rows) {
        const test::Captured out(std::cout);
        print_metrics(row.path, row.xml, "comp");
        EXPECT_EQ(out.text(), row.output) << row.label;
    }
}
