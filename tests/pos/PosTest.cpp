// Status words, operations on whole documents, totals.

#include "pos/goal_status.h"
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
    test::expectCases("pos/golden/first.txt", [](const std::string& xml) {
        const QDomDocument doc = test::documentOf(xml);
        const QDomElement obligation = *obligationsOf(doc).begin();
        const QDomElement goal = *goalsOf(obligation).begin();
        EXPECT_TRUE(mechanismOf(goal, QStringLiteral("x")).isNull());
        const QDomElement mechanism = mechanismOf(goal, QStringLiteral("m"));
        EXPECT_EQ(statusOf(mechanism), UNPROVED) << "by default";
        QString text = tagOf(obligation) + QStringLiteral("\nmechanism: ") +
                       statusWordOf(mechanismOf(goal, QString())) + QStringLiteral("\n");
        for (const char* name : {"d", "", "no such"}) {
            const QDomElement driver = driverOf(mechanism, QString::fromUtf8(name));
            text += QString::fromUtf8(name) + QStringLiteral(": ") + statusWordOf(driver) +
                    QString::fromUtf8(isLastDriver(driver) ? ", the last\n" : "\n");
        }
        return text.toStdString();
    });
}

TEST(Pos, RefutationOutweighsProofAndReliableOutweighsUnreliable)
{
    test::expectCases("pos/golden/expected.txt", [](const std::string& records) -> std::string {
        const QDomDocument doc = test::documentOf(goalWith("Unproved", records));
        const QDomElement goal = *goalsOf(*obligationsOf(doc).begin()).begin();
        try {
            const std::string word = strOfProofStatus(expectedStatus(goal)).toStdString();
            const status_t alone = expectedStatusWithoutAnalyser(goal);
            return word + (alone == expectedStatus(goal) ? "\n" : ", but for the analyser\n");
        } catch (const std::out_of_range&) {
            return "out of range\n";
        }
    });
}

TEST(Pos, TheInvariantReportsTheFirstGoalThatDisagreesAndNothingElse)
{
    test::expectCases("pos/golden/invariant.txt", [](const std::string& xml) {
        const test::Captured err(std::cerr);
        const bool holds = checkPosInvariant(test::documentOf(xml));
        return (holds ? "holds\n" : "differs\n") + err.text();
    });
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
    QDomDocument odd = test::documentOf(goalWith("Proved", "<Mechanism name='&#xD800;'/>"));
    EXPECT_TRUE(removeMechanism(odd, QString(QChar(0xD800)).toStdString(), modified) && modified)
        << "a name that UTF-8 has no form for";
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
    EXPECT_THROW(getMechanisms(dir.write("x.pos", goalWith("x", "")), names), std::out_of_range);

    metrics_t all;
    for (const char* records : {"<Mechanism status='Proved'/><Mechanism status='x'/>",
                                "<Mechanism><Driver status='x'/></Mechanism>"}) {
        const std::string odd = dir.write("x.pos", goalWith("Proved", records));
        EXPECT_THROW(getMetrics(odd, all), std::out_of_range) << records;
    }
}
