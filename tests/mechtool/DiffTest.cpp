// What differs between two states of a component.

#include "tests/mechtool/MechtoolRun.h"

namespace
{

using Diff = MechtoolRun;

const char* const FIRST = // an obligation before all others
    "<Proof_Obligations><Proof_Obligation><Tag>first</Tag></Proof_Obligation>";

TEST_F(Diff, WhatWasLostComesFirstAndTheLastLineSumsUp)
{
    dir.write("old.pos", test::posText("Proved/Proved/Proved Unproved Proved/Proved/Proved|Proved "
                                       "Disproved|Unknown"));
    dir.write("new.pos",
              test::replaced(test::posText("Unproved/Unproved/Unknown Proved/Proved/Proved "
                                           "Proved/Proved/Unproved|Proved"),
                             "<Proof_Obligations>", FIRST));
    const outcome_t outcome = run("diff old.pos new.pos");
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.out, R"(Worse
  goal    before  after     records
  PO_0.1  Proved  Unproved  mech: Proved -> Unproved; mech/D1: Proved -> Unknown

Better
  goal    before    after   records
  PO_0.2  Unproved  Proved  mech: - -> Proved; mech/D1: - -> Proved

Worth the same, with other records
  goal    before  after   records
  PO_0.3  Proved  Proved  mech/D1: Proved -> Unproved

Obligations that came, went or have another number of goals
  obligation  before                          after
  PO_1        2 goals: 1 Proved, 1 Disproved  1 goal: 1 Proved
  PO_2        1 goal: 1 Unknown               -
  first       -                               0 goals

4 goals compared: 1 worse, 1 better, 1 with other records; 3 obligations not the same
)");
    const outcome_t same = run("diff old.pos ./old.pos");
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "no differences: 6 goals compared\n");
}

TEST_F(Diff, JsonHasTheSame)
{
    dir.write("old.pos", test::posText("Proved/Proved/Proved Unproved|Proved Disproved Unknown"));
    dir.write("new.pos",
              test::replaced(test::posText("Unproved/Unproved/Unknown Unknown/Proved|Proved"),
                             "<Proof_Obligations>", FIRST));
    const outcome_t outcome = run("diff --json old.pos new.pos");
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    const QJsonValue answer = jsonOf(outcome.out);
    EXPECT_EQ(textAt(answer, "format"), "mechtool-diff");
    EXPECT_EQ(textAt(answer, "old"), "old.pos");
    EXPECT_EQ(textAt(answer, "summary"),
              R"({"better":0,"compared":3,"obligations":2,"other":1,"worse":1})");
    EXPECT_EQ(textAt(answer, "worse/0/goal"), "PO_0.1");
    EXPECT_EQ(textAt(answer, "worse/0/before"), "Proved");
    EXPECT_EQ(textAt(answer, "worse/0/after"), "Unproved");
    EXPECT_EQ(textAt(answer, "worse/0/records/1"),
              R"({"after":"Unknown","before":"Proved","driver":"D1","mechanism":"mech",)"
              R"("record":"driver"})");
    EXPECT_EQ(textAt(answer, "other/0/records/0"),
              R"({"after":"Proved","before":null,"mechanism":"mech","record":"mechanism"})");
    EXPECT_EQ(textAt(answer, "obligations/0"),
              R"({"after":{"disproved":0,"goals":1,"proved":1,"unknown":0,"unproved":0,)"
              R"("unreliablyProved":0},"before":{"disproved":1,"goals":3,"proved":1,"unknown":1,)"
              R"("unproved":0,"unreliablyProved":0},"name":"PO_1","tag":"PO_1"})");
    const QJsonValue same = jsonOf(run("diff --json old.pos old.pos").out);
    EXPECT_EQ(at(same, "summary/compared").toInt(), 5);
    EXPECT_TRUE(at(same, "worse").isArray());
}

} // namespace
