// Status words, operations on whole documents, totals.

#include "pos/pos_p.h"
#include "pos/walk.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <stdexcept>

using namespace pos;

namespace
{

/// A document with one goal, `status` being its attribute and `records` what it holds.
std::string goalWith(const std::string& status, const std::string& records)
{
    return "<r><Proof_Obligation><Simple_Goal status='" + status + "'>" + records +
           "</Simple_Goal></Proof_Obligation></r>";
}

status_t expectedWith(const std::string& records)
{
    const QDomDocument doc = test::documentOf(goalWith("Unproved", records));
    return expectedStatus(doc.documentElement().firstChild().firstChildElement());
}

} // namespace

TEST(Pos, OnlyTheWordsOfTheFormatAreRead)
{
    std::ostringstream out;
    for (const auto& [status, mark] : charOfStatus) {
        out << std::setw(30) << status << std::setw(0) << mark << ' '; // the word is never padded
        EXPECT_EQ(proofStatusOfAttrValue(strOfProofStatus(status)), status);
    }
    EXPECT_EQ(out.str(), "Unproved- Unknown- UnreliablyProved* Proved+ Disproved! ");
    for (const char* word : {"Proved(0)", "Proved(1)", "Proved(2)", "Proved(3)", "Proved(Util)"}) {
        EXPECT_EQ(proofStatusOfAttrValue(QString::fromUtf8(word)), PROVED) << word;
    }
    for (const char* word : {"", "proved", "Proved "}) {
        EXPECT_THROW(proofStatusOfAttrValue(QString::fromUtf8(word)), std::out_of_range) << word;
    }
    EXPECT_THROW(strOfProofStatus(static_cast<status_t>(5)), std::out_of_range);
}

TEST(Pos, TheFirstElementOfExactlyANameIsFound)
{
    const QDomDocument doc = test::documentOf(
        "<r><Tag>r</Tag><Proof_Obligation><x><Tag>x</Tag></x><Tag>a<b>b</b></Tag><Tag>c</Tag>"
        "<Simple_Goal><x><Mechanism name='m'/></x><Mechanism name='M' status='1'/>"
        "<Mechanism name='mm' status='2'/><Mechanism status='3'/><Mechanism name='m'>"
        "<Driver name='D' status='4'/><Driver name='dd' status='5'/><Driver name='d' status='6'/>"
        "<x/><Driver name='d' status='7'/><Driver status='8'/><x/></Mechanism>"
        "<Mechanism name='m' status='9'/></Simple_Goal></Proof_Obligation></r>");
    const QDomElement obligation = *obligationsOf(doc).begin();
    EXPECT_EQ(tagOf(obligation), QStringLiteral("ab"));
    const QDomElement goal = *goalsOf(obligation).begin();
    EXPECT_EQ(statusWordOf(mechanismOf(goal, QString())), QStringLiteral("3"));
    EXPECT_TRUE(mechanismOf(goal, QStringLiteral("x")).isNull());
    const QDomElement mechanism = mechanismOf(goal, QStringLiteral("m"));
    EXPECT_EQ(statusOf(mechanism), UNPROVED) << "by default";
    const struct {
        const char* driver;
        const char* status;
        bool last;
    } rows[] = {{"d", "6", false}, {"", "8", true}, {"no such", "Unproved", true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.driver);
        const QDomElement driver = driverOf(mechanism, QString::fromUtf8(row.driver));
        EXPECT_EQ(statusWordOf(driver).toStdString(), row.status);
        EXPECT_EQ(isLastDriver(driver), row.last);
    }
}

TEST(Pos, RefutationOutweighsProofAndReliableOutweighsUnreliable)
{
    const std::pair<const char*, status_t> rows[] = {
        {"<Proof_State proofState='Proved'/>", UNPROVED}, // not a word of the prover
        {"<Proof_State/><Proof_State proofState='Proved(0)'/>", UNPROVED}, // the first counts
        {"<Proof_State proofState='Proved(1)'/><iapa><status value='Invalid'/></iapa>", DISPROVED},
        {"<iapa><status value='Valid'/></iapa>", UNRELIABLY_PROVED},
        {"<iapa><status value='Valid'/></iapa><Mechanism status='Proved'/>", PROVED},
        {"<iapa><status value='Unknown'/></iapa>", UNPROVED},
        {"<Mechanism status='Unknown'><Driver status='Proved'/></Mechanism>", UNPROVED},
        {"<Mechanism status='UnreliablyProved'/><Mechanism status='Unproved'/>", UNRELIABLY_PROVED},
        {"<Mechanism status='Disproved'/><Mechanism status='Proved'/>", DISPROVED},
    };
    for (const auto& [records, expected] : rows) {
        EXPECT_EQ(expectedWith(records), expected) << records;
    }
    for (const char* records : {"<iapa/>", "<iapa><status value='Proved'/></iapa>", "<Mechanism/>",
                                "<Mechanism status='Proved(1)'/>"}) {
        EXPECT_THROW(expectedWith(records), std::out_of_range) << records;
    }
}

TEST(Pos, TheInvariantReportsTheFirstGoalThatDisagreesAndNothingElse)
{
    const QDomDocument differs = test::documentOf(
        "<r><x><Simple_Goal status='Valid'/></x><Proof_Obligation><Simple_Goal/>"
        "<other><Simple_Goal status='Proved'/></other></Proof_Obligation><Proof_Obligation>"
        "<Simple_Goal status='Proved(2)'><Proof_State proofState='Proved(0)'/></Simple_Goal>"
        "<Simple_Goal status='Proved'><Mechanism status='Disproved'/></Simple_Goal>"
        "<Simple_Goal status='Unknown'/></Proof_Obligation></r>");
    const test::Captured err(std::cerr);
    EXPECT_TRUE(checkPosInvariant(test::documentOf(goalWith("Unproved", ""))));
    EXPECT_FALSE(checkPosInvariant(differs));
    EXPECT_EQ(err.text(), "    <Simple_Goal status=\"Proved\">\n"
                          "        <Mechanism status=\"Disproved\"/>\n    </Simple_Goal>\n");
}

TEST(Pos, UnproveAndRemovalRewriteWhatTheyMustAndNothingElse)
{
    const std::string analysed = "<iapa><status value='Invalid'/></iapa><Driver status='x'/>";
    const std::string proved = "<Proof_State proofState='Proved(3)'/>";
    const std::string drivers = "><Driver status='Proved'/></Mechanism>";
    const std::string odd = goalWith("nonsense", "<Mechanism name='É'/>");
    const struct {
        bool removal; ///< of the mechanism "é"
        std::string before;
        std::string after;
    } rows[] = {
        // Neither analyser nor drivers are asked.
        {false, goalWith("Disproved", analysed + "<Mechanism status='x'" + drivers),
         goalWith("Unproved", analysed + "<Mechanism status='Unproved'" + drivers)},
        {false, goalWith("Disproved", proved), goalWith("Proved", proved)},
        // The first of a name only.
        {true,
         goalWith("Proved", "<Mechanism name='e' status='Disproved'/><Mechanism name='é'"
                            " status='Proved'/><Mechanism name='é' status='Unknown'/>"),
         goalWith("Disproved", "<Mechanism name='e' status='Disproved'/>"
                               "<Mechanism name='é' status='Unknown'/>")},
        // A word that still holds stays.
        {true, goalWith("Proved(1)", proved + "<Mechanism name='é'/>"),
         goalWith("Proved(1)", proved)},
        {true, odd, odd},
    };
    bool modified = false;
    for (const auto& row : rows) {
        QDomDocument doc = test::documentOf(row.before);
        if (row.removal) {
            EXPECT_TRUE(removeMechanism(doc, "é", modified));
        } else {
            unprove(doc);
        }
        EXPECT_EQ(doc.toByteArray(), test::documentOf(row.after).toByteArray());
        EXPECT_EQ(modified, row.removal && row.before != row.after);
    }
    QDomDocument null;
    EXPECT_FALSE(removeMechanism(null, "é", modified));
}

TEST(Pos, EachGoalCountsOnceAndEachRecordUnderItsName)
{
    const test::TempDir dir;
    const std::string path = dir.write(
        "é.pos",
        "<r><Proof_Obligation>"
        "<Simple_Goal status='Proved'><Proof_State proofState='Proved(Util)'/></Simple_Goal>"
        "<Simple_Goal status='Proved'><Proof_State proofState='Proved'/>"
        "<Mechanism name='n' status='Unproved'/>"
        "<Mechanism name='n' status='Proved'><Driver name='d' status='Proved'/>"
        "<Driver name='e' status='UnreliablyProved'/></Mechanism>"
        "<Mechanism name='m' status='Proved(0)'><Driver name='d' status='Unknown'/></Mechanism>"
        "</Simple_Goal><Simple_Goal status='Unknown'><Mechanism name='n' status='Unknown'>"
        "<Driver name='d' status='Disproved'/></Mechanism></Simple_Goal>"
        "</Proof_Obligation><Other><Simple_Goal status='nonsense'/></Other><Proof_Obligation>"
        "<Simple_Goal/><Simple_Goal status='Unproved'/><Simple_Goal status='Unproved'/>"
        "<Simple_Goal status='UnreliablyProved'><Mechanism name='n' status='UnreliablyProved'/>"
        "</Simple_Goal><Simple_Goal status='Disproved'><Mechanism name='n' status='Disproved'>"
        "<Driver name='d'/></Mechanism><Mechanism/></Simple_Goal></Proof_Obligation></r>");
    std::list<std::string> names = {"before"};
    EXPECT_FALSE(getMechanisms(dir.path("missing.pos"), names));
    EXPECT_EQ(names, std::list<std::string>{"before"});
    EXPECT_TRUE(getMechanisms(path, names));
    EXPECT_EQ(names, (std::list<std::string>{"n", "m", ""})); // in order of appearance
    EXPECT_TRUE(getMechanisms(dir.write("cut.pos", test::contentOf(path).substr(8)), names));
    EXPECT_TRUE(names.empty());

    metrics_t all;
    EXPECT_TRUE(getMetrics(path, all));
    EXPECT_TRUE(getMetrics(path, all)); // adds to the last total only
    EXPECT_FALSE(getMetrics(dir.path("missing.pos"), all));
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
    EXPECT_EQ(out.str(), "8 3 2 1 1 1 2;  1 0 0 0 0; m 0 0 1 0 0, d 0 1 0 0; "
                         "n 1 1 1 1 1, d 1 0 1 1, e 0 0 0 0");
    for (const char* records : {"<Mechanism status='Proved'/><Mechanism status='x'/>",
                                "<Mechanism><Driver status='x'/></Mechanism>"}) {
        const std::string odd = dir.write("x.pos", goalWith("Proved", records));
        EXPECT_THROW(getMetrics(odd, all), std::out_of_range) << records;
    }
}
