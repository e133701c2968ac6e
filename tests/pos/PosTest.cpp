// Status words, operations on whole documents, totals.

#include "pos/pos_p.h"
#include "pos/walk.h"
#include "tests/support/Golden.h"
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

/// All counts, under the names of what they count.
std::string shown(const metrics_t& all)
{
    std::ostringstream out;
    out << "total " << all.total << ", unproved " << all.unproved << ", proved " << all.proved
        << ", unreliably " << all.unreliablyProved << ", disproved " << all.disproved
        << ", externally " << all.provedExternally << ", by the prover " << all.provedByProver;
    for (const auto& [name, m] : all.mechanisms) {
        out << "\n"
            << name << ": " << m->unproved << ' ' << m->unknown << ' ' << m->proved << ' '
            << m->unreliablyProved << ' ' << m->disproved;
        for (const auto& [driver, d] : m->drivers) {
            out << ", " << driver << ' ' << d->unproved << ' ' << d->unknown << ' ' << d->proved
                << ' ' << d->disproved;
        }
    }
    return out.str() + "\n";
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
    test::expectCases("pos/golden/expected.txt", [](const std::string& records) -> std::string {
        const QDomDocument doc = test::documentOf(goalWith("Unproved", records));
        const QDomElement goal = *goalsOf(*obligationsOf(doc).begin()).begin();
        try {
            return strOfProofStatus(expectedStatus(goal)).toStdString() + "\n";
        } catch (const std::out_of_range&) {
            return "out of range\n";
        }
    });
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
    bool modified = false;
    test::expectCases("pos/golden/rewrites.txt", [&modified](const std::string& input) {
        const bool removal = input.rfind("remove", 0) == 0; // of the mechanism "é"
        QDomDocument doc = test::documentOf(input.substr(input.find('\n')));
        const QByteArray before = doc.toByteArray();
        if (removal) {
            EXPECT_TRUE(removeMechanism(doc, "é", modified));
        } else {
            unprove(doc);
        }
        EXPECT_EQ(modified, removal && doc.toByteArray() != before);
        return doc.toString(XML_INDENT).toStdString();
    });
    QDomDocument null;
    EXPECT_FALSE(removeMechanism(null, "é", modified));
}

TEST(Pos, EachGoalCountsOnceAndEachRecordUnderItsName)
{
    const test::TempDir dir;
    const std::string path = dir.path("é.pos");
    test::expectCases("pos/golden/totals.txt", [&](const std::string& text) {
        dir.write("é.pos", text);
        metrics_t all;
        EXPECT_TRUE(getMetrics(path, all));
        EXPECT_TRUE(getMetrics(path, all)); // adds to the last total only
        EXPECT_FALSE(getMetrics(dir.path("missing.pos"), all));
        return shown(all);
    });
    std::list<std::string> names = {"before"};
    EXPECT_FALSE(getMechanisms(dir.path("missing.pos"), names));
    EXPECT_EQ(names, std::list<std::string>{"before"});
    EXPECT_TRUE(getMechanisms(path, names));
    EXPECT_EQ(names, (std::list<std::string>{"n", "m", ""})); // in order of appearance
    EXPECT_TRUE(getMechanisms(dir.write("cut.pos", test::contentOf(path).substr(8)), names));
    EXPECT_TRUE(names.empty());

    metrics_t all;
    for (const char* records : {"<Mechanism status='Proved'/><Mechanism status='x'/>",
                                "<Mechanism><Driver status='x'/></Mechanism>"}) {
        const std::string odd = dir.write("x.pos", goalWith("Proved", records));
        EXPECT_THROW(getMetrics(odd, all), std::out_of_range) << records;
    }
}
