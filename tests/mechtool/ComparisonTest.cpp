// What is different between two states of a component.

#include "mechtool/Comparison.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

namespace
{

TEST(Comparison, AStatusIsWorseByWhatItIsWorth)
{
    // From the best to the worst; what stands together is worth the same.
    const std::vector<std::vector<pos::status_t>> worth = {
        {pos::PROVED}, {pos::UNRELIABLY_PROVED}, {pos::UNPROVED, pos::UNKNOWN}, {pos::DISPROVED}};
    for (std::size_t i = 0; i < worth.size(); ++i) {
        for (std::size_t j = 0; j < worth.size(); ++j) {
            for (const pos::status_t before : worth[i]) {
                for (const pos::status_t after : worth[j]) {
                    SCOPED_TRACE(std::to_string(before) + " to " + std::to_string(after));
                    EXPECT_EQ(isWorse(before, after), i < j);
                }
            }
        }
    }
}

component_t componentOf(const std::string& xml)
{
    return viewOf(test::documentOf(xml), QStringLiteral("c.pos"));
}

/// Obligations with goals that record nothing: a tag and a number of goals for each.
std::string textOf(const std::string& tagsAndGoals)
{
    std::string text;
    std::istringstream words(tagsAndGoals);
    for (std::string tag; words >> tag;) {
        int goals = 0;
        words >> goals;
        text += "<Proof_Obligation><Tag>" + tag + "</Tag>";
        for (int i = 0; i < goals; ++i) {
            text += "<Simple_Goal/>";
        }
        text += "</Proof_Obligation>";
    }
    return "<Proof_Obligations>" + text + "</Proof_Obligations>";
}

TEST(Comparison, ObligationsAreMatchedByTagAndPlace)
{
    const struct {
        const char* label;
        const char* before;
        const char* after;
        const char* expected; ///< "PLACE>PLACE" of each obligation that is not the same
        std::size_t compared;
    } rows[] = {
        {"the same", "a 1 b 2", "a 1 b 2", "", 3},
        {"nothing at all", "", "", "", 0},
        {"another order", "a 1 b 2", "b 2 a 1", "", 3},
        {"came and went", "a 1 b 1", "b 1 c 1", "0>- ->1 ", 1},
        {"an obligation without goals came", "a 1", "a 1 e 0", "->1 ", 1},
        {"another number of goals", "a 3 b 1", "a 2 b 2", "0>0 1>1 ", 3},
        {"the second of a tag went", "a 1 b 1 a 4", "a 1 b 1", "2>- ", 2},
        {"a first of the tag came before", "b 1 a 4", "a 1 b 1 a 4", "1>0 ->2 ", 2},
        {"a tag that reads like a place", "a 1 a 2", "a#2 1 a 1 a 2", "->0 ", 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const comparison_t comparison =
            comparisonOf(componentOf(textOf(row.before)), componentOf(textOf(row.after)));
        std::string found;
        const auto place = [](const std::optional<std::size_t>& index) {
            return index ? std::to_string(*index) : "-";
        };
        for (const obligation_change_t& change : comparison.obligations) {
            found += place(change.before) + ">" + place(change.after) + " ";
        }
        EXPECT_EQ(found, row.expected);
        EXPECT_EQ(comparison.compared, row.compared);
        EXPECT_TRUE(comparison.goals.empty());
        EXPECT_EQ(comparison.isSame(), found.empty());
    }
}

/// The changes of records as "WHOSE:BEFORE>AFTER", after the kind of change of each goal.
std::string changesOf(const comparison_t& comparison)
{
    std::string text;
    for (const goal_change_t& goal : comparison.goals) {
        text += "WB="[static_cast<int>(goal.change)] + std::to_string(goal.after.second + 1);
        for (const record_change_t& record : goal.records) {
            const QString whose[] = {QStringLiteral("prover"), QStringLiteral("analyser"),
                                     record.mechanism,
                                     record.mechanism + QLatin1Char('/') + record.driver};
            const auto word = [](const QString& one) {
                return one.isNull() ? QStringLiteral("-") : one;
            };
            text += QStringLiteral(" %1:%2>%3")
                        .arg(whose[static_cast<int>(record.kind)], word(record.before),
                             word(record.after))
                        .toStdString();
        }
        text += '\n';
    }
    return text;
}

TEST(Comparison, TheRecordsThatChangedAreTold)
{
    const auto mechanism = [](const std::string& name, const std::string& status,
                              const std::string& drivers = "") {
        return "<Mechanism name='" + name + "' status='" + status + "'>" + drivers + "</Mechanism>";
    };
    const std::string proved = "<Driver name='d' status='Proved'/>";
    const std::string unknown = "<Driver name='d' status='Unknown'/>";
    const std::string e = "<Driver name='e' status='Proved'/>";
    const struct {
        const char* label;
        std::string before;
        std::string after;
        const char* expected;
    } rows[] = {
        {"the same", mechanism("m", "Proved", proved), mechanism("m", "Proved", proved), ""},
        {"a driver alone", mechanism("m", "Proved", proved), mechanism("m", "Proved", unknown),
         "=1 m/d:Proved>Unknown\n"},
        {"another order", mechanism("m", "Proved", proved + e) + mechanism("n", "Unknown"),
         mechanism("n", "Unknown") + mechanism("m", "Proved", e + proved), ""},
        {"a mechanism came", "", mechanism("m", "Proved", proved), "=1 m:->Proved m/d:->Proved\n"},
        {"a mechanism went", mechanism("m", "Proved", proved) + mechanism("n", "Unknown"),
         mechanism("n", "Unknown"), "=1 m:Proved>- m/d:Proved>-\n"},
        {"another mechanism", mechanism("m", "Proved"), mechanism("n", "Proved"),
         "=1 m:Proved>- n:->Proved\n"},
        {"a name twice", mechanism("m", "Proved") + mechanism("m", "Unknown"),
         mechanism("m", "Proved") + mechanism("m", "Disproved"), "=1 m:Unknown>Disproved\n"},
        {"drivers came and went", mechanism("m", "Proved", proved), mechanism("m", "Proved", e),
         "=1 m/d:Proved>- m/e:->Proved\n"},
        {"prover", "<Proof_State proofState='Proved(0)'/>", "<Proof_State proofState='Proved(1)'/>",
         "=1 prover:Proved(0)>Proved(1)\n"},
        {"analyser", "", "<iapa><status value='Valid'/></iapa>", "=1 analyser:->Valid\n"},
    };
    const auto withGoal = [](const std::string& records) {
        return "<Proof_Obligations><Proof_Obligation><Tag>a</Tag><Simple_Goal>" + records +
               "</Simple_Goal></Proof_Obligation></Proof_Obligations>";
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(changesOf(comparisonOf(componentOf(withGoal(row.before)),
                                         componentOf(withGoal(row.after)))),
                  row.expected);
    }
}

TEST(Comparison, WhatIsLostComesFirst)
{
    const comparison_t comparison = comparisonOf(
        componentOf(test::posText("Unproved Unproved Proved Proved Unproved Unproved")),
        componentOf(test::posText("Unknown Proved Proved UnreliablyProved Proved Disproved")));
    EXPECT_EQ(changesOf(comparison), "W4\nW6\nB2\nB5\n=1\n");
    EXPECT_EQ(comparison.count(change_t::worse), 2U);
    EXPECT_FALSE(comparison.isSame());
}

} // namespace
