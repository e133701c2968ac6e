#include "pos/pos.h"
#include "pos/pos_p.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>

using namespace pos;

namespace
{

/// A document with one goal, `status` being its attribute and `records` what it holds.
std::string goalWith(const std::string& status, const std::string& records)
{
    return "<Proof_Obligations><Proof_Obligation><Tag>po</Tag><Simple_Goal status='" + status +
           "'>" + records + "</Simple_Goal></Proof_Obligation></Proof_Obligations>";
}

status_t expectedWith(const std::string& records)
{
    const QDomDocument doc = test::documentOf(goalWith("Unproved", records));
    return expectedStatus(
        doc.documentElement().firstChildElement().firstChildElement(TAG_SIMPLE_GOAL));
}

} // namespace

TEST(PosOperations, RefutationOutweighsProofAndReliableOutweighsUnreliable)
{
    const std::vector<std::pair<const char*, status_t>> rows = {
        {"", UNPROVED},
        {"<Proof_State proofState='Proved'/>", UNPROVED}, // not a word of the prover
        {"<Proof_State proofState='Proved(Util)'/>", PROVED},
        {"<Proof_State/><Proof_State proofState='Proved(0)'/>", UNPROVED}, // the first counts
        {"<Proof_State proofState='Proved(1)'/><Mechanism status='Disproved'/>", DISPROVED},
        {"<Proof_State proofState='Proved(1)'/><iapa><status value='Invalid'/></iapa>", DISPROVED},
        {"<iapa><status value='Valid'/></iapa>", UNRELIABLY_PROVED},
        {"<iapa><status value='Valid'/></iapa><Mechanism status='Proved'/>", PROVED},
        {"<iapa><status value='Unknown'/></iapa>", UNPROVED},
        {"<Mechanism status='Unknown'><Driver status='Proved'/></Mechanism>", UNPROVED},
        {"<Mechanism status='UnreliablyProved'/><Mechanism status='Unproved'/>", UNRELIABLY_PROVED},
    };
    for (const auto& [records, expected] : rows) {
        EXPECT_EQ(expectedWith(records), expected) << records;
    }
    for (const char* records :
         {"<iapa/>", "<iapa><status/></iapa>", "<iapa><status value='Proved'/></iapa>",
          "<Mechanism/>", "<Mechanism status='Proved(1)'/>", "<Mechanism status='Valid'/>"}) {
        EXPECT_THROW(expectedWith(records), std::out_of_range) << records;
    }
}

TEST(PosOperations, InvariantReportsTheFirstGoalThatDisagreesAndNothingElse)
{
    const std::string agrees = goalWith("Proved(2)", "<Proof_State proofState='Proved(0)'/>");
    const QDomDocument differs = test::documentOf(
        "<r><x><Simple_Goal status='Valid'/></x><Proof_Obligation><Simple_Goal/>"
        "<other><Simple_Goal status='Proved'/></other></Proof_Obligation><Proof_Obligation>"
        "<Simple_Goal status='Proved'><Mechanism status='Disproved'/></Simple_Goal>"
        "<Simple_Goal status='Unknown'/></Proof_Obligation></r>");
    const test::Captured err(std::cerr);
    EXPECT_TRUE(checkPosInvariant(QDomDocument()));
    EXPECT_TRUE(checkPosInvariant(test::documentOf(agrees)));
    EXPECT_FALSE(checkPosInvariant(differs));
    EXPECT_EQ(err.text(), "    <Simple_Goal status=\"Proved\">\n"
                          "        <Mechanism status=\"Disproved\"/>\n"
                          "    </Simple_Goal>\n");
}

TEST(PosOperations, UnproveAndRemovalRewriteWhatTheyMustAndNothingElse)
{
    const std::string refuted = "<iapa><status value='Invalid'/></iapa>";
    const std::string proved = "<Proof_State proofState='Proved(3)'/>";
    const auto remove = [](bool expectModified) {
        return [expectModified](QDomDocument& doc) {
            bool modified = !expectModified;
            EXPECT_TRUE(removeMechanism(doc, "é", modified));
            EXPECT_EQ(modified, expectModified);
        };
    };
    struct row_t {
        const char* label;
        std::function<void(QDomDocument&)> operation;
        std::string before;
        std::string after;
    };
    const row_t rows[] = {
        {"unprove asks neither analyser nor drivers", unprove,
         goalWith("Disproved",
                  refuted + "<Mechanism status='x'><Driver status='Proved'/></Mechanism>"),
         goalWith("Unproved",
                  refuted + "<Mechanism status='Unproved'><Driver status='Proved'/></Mechanism>")},
        {"unprove keeps what the prover proved", unprove, goalWith("Disproved", proved),
         goalWith("Proved", proved)},
        {"first of a name goes and the status follows", remove(true),
         goalWith("Proved", "<Mechanism name='e' status='Disproved'/>"
                            "<Mechanism name='é' status='Proved'/><Mechanism name='é'"
                            " status='Unknown'/>"),
         goalWith("Disproved", "<Mechanism name='e' status='Disproved'/>"
                               "<Mechanism name='é' status='Unknown'/>")},
        {"a word that still holds stays as it is written", remove(true),
         goalWith("Proved(1)", proved + "<Mechanism name='é' status='Unproved'/>"),
         goalWith("Proved(1)", proved)},
        {"no match leaves even nonsense alone", remove(false),
         goalWith("nonsense", "<Mechanism name='É'/><Mechanism/>"),
         goalWith("nonsense", "<Mechanism name='É'/><Mechanism/>")},
        {"an unknown word leaves what was rewritten",
         [&remove](QDomDocument& doc) {
             EXPECT_THROW(remove(true)(doc), std::out_of_range);
         },
         goalWith("Proved", "<Mechanism name='é'/><Mechanism status='?'/>"),
         goalWith("Proved", "<Mechanism status='?'/>")},
    };
    for (const row_t& row : rows) {
        QDomDocument doc = test::documentOf(row.before);
        row.operation(doc);
        EXPECT_EQ(doc.toByteArray(), test::documentOf(row.after).toByteArray()) << row.label;
    }
    QDomDocument null;
    bool modified = true;
    EXPECT_FALSE(removeMechanism(null, "é", modified));
    EXPECT_FALSE(modified);
}

TEST(PosOperations, MechanismsAreListedOnceInOrderOfAppearance)
{
    const test::TempDir dir;
    std::list<std::string> names = {"before"};
    EXPECT_FALSE(getMechanisms(dir.path("missing.pos"), names));
    EXPECT_EQ(names, std::list<std::string>{"before"});
    const std::string goals = "<r><Proof_Obligation><Simple_Goal><Mechanism name='b'/>"
                              "<Mechanism name='a'/></Simple_Goal><Simple_Goal status='Unknown'>"
                              "<Mechanism name='b'/><Mechanism name='c'/><Mechanism/></Simple_Goal>"
                              "</Proof_Obligation></r>";
    EXPECT_TRUE(getMechanisms(dir.write("é.pos", goals), names));
    EXPECT_EQ(names, (std::list<std::string>{"b", "a", "c", ""}));
    EXPECT_TRUE(getMechanisms(dir.write("cut.pos", goals.substr(0, goals.size() - 3)), names));
    EXPECT_TRUE(names.empty());
    EXPECT_THROW(getMechanisms(dir.write("bad.pos", goalWith("Valid", "")), names),
                 std::out_of_range);
}
