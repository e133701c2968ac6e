// The commands that write a POS file: new, reset and forget.

#include "director/ProofDirector.h"
#include "mechtool/Command.h"
#include "mechtool/Component.h"
#include "mechtool/SavedDocument.h"
#include "tests/mechtool/MechtoolRun.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>

namespace
{

using test::contentOf;
using test::posText;
using test::statusesOf;

class Edit : public MechtoolRun
{
protected:
    /// Plays the mechanism "mech", whose driver DN prints the N-th of the verdicts.
    void play(const std::string& trust, const std::vector<std::string>& verdicts)
    {
        std::vector<test::Driver> drivers;
        drivers.reserve(verdicts.size());
        for (const std::string& verdict : verdicts) {
            drivers.push_back(
                test::driverSaying(dir, "D" + std::to_string(drivers.size() + 1), verdict));
        }
        const test::Captured report(std::cout);
        ProofDirector director("c", dir.write("mech.xml", test::mechanismText(trust, drivers)),
                               dir.path("c.pos"), dir.write("c.pog", "p\n"), dir.path(), false, 1,
                               0, "", "", false);
        director.play();
    }

    /// Runs the program on the file "c.pos" of this text; that nothing but it is in the folder
    /// afterwards, and that it is as it was unless `mayChange`.
    outcome_t runOn(const std::string& text, const std::string& words, bool mayChange)
    {
        dir.write("c.pos", text);
        outcome_t outcome = run(words);
        EXPECT_EQ(contentOf(dir.path("c.pos")) == text, !mayChange);
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name == "c.pos" || name == "out" || name == "err") << name;
        }
        return outcome;
    }
};

TEST_F(Edit, NewMakesAFileThatIsInOrderOrNone)
{
    const struct {
        const char* label;
        const char* list;
        const char* line; ///< of the output, or of the error
        int status;
    } rows[] = {
        {"two", "! no goal\n\nput 2\na b<&\"'> 0\r\nput\t1", "c.pos: 3 goals in 3 obligations\n",
         0},
        {"empty", "", "c.pos: 0 goals in 0 obligations\n", 0},
        {"no number", "put 1\nget\n", "list:2: \"get\" does not end with a number", 2},
        {"negative", "put -1\n", "list:1: \"put -1\" does not end", 2},
        {"byte order mark", "\xef\xbb\xbf! no goal", "c.pos: 0 goals in 0 obligations\n", 0},
        {"no tag", "3\n", "list:1: \"3\" does not end", 2},
        {"control", "a\x01 1\n", "list:1: the tag \"a\\x01\" holds a character", 2},
        {"no character", "a\xef\xbf\xbf 1\n", "holds a character that XML does not allow", 2},
        {"too many", "a 9999999\nb 2\n", "list:2: more than 10000000 goals", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        dir.write("list", row.list);
        const outcome_t made = run("new c.pos list");
        EXPECT_EQ(made.status, row.status);
        EXPECT_NE((row.status == 0 ? made.out : made.err).find(row.line), std::string::npos)
            << made.out << made.err;
        EXPECT_EQ(test::exists(dir.path("c.pos")), row.status == 0);
        EXPECT_EQ(run("check c.pos").status, row.status);
        EXPECT_TRUE(row.status != 0 || std::filesystem::status(dir.path("c.pos")).permissions() ==
                                           std::filesystem::status(dir.path("list")).permissions());
        std::filesystem::remove(dir.path("c.pos"));
    }
    dir.write("list", " a \t 1\n");
    EXPECT_EQ(run("new c.pos - <list").out, "c.pos: 1 goal in 1 obligation\n");
    EXPECT_NE(contentOf(dir.path("c.pos")).find("<Tag>a</Tag>"), std::string::npos);
    EXPECT_NE(run("new none/c.pos /dev/null").err.find("choose a folder"), std::string::npos);
    EXPECT_NE(run("new d.pos /proc/self/mem").err.find("check the file"), std::string::npos);
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        EXPECT_EQ(entry.path().string().find("c.pos.new"), std::string::npos);
        EXPECT_NE(entry.path().filename(), "d.pos");
    }
    dir.write("c.pos", "mine");
    EXPECT_NE(run("new c.pos /dev/null").err.find("remove it first"), std::string::npos);
    EXPECT_EQ(contentOf(dir.path("c.pos")), "mine");
}

TEST_F(Edit, ResetChangesWhatIsAskedForAndTheGoalFollows)
{
    const std::string all = "Proved/Proved/Proved UnreliablyProved/UnreliablyProved/Proved,Unproved"
                            " | Unproved/Unknown/Unknown Disproved/Disproved/Disproved";
    const std::string analyser =
        test::replaced(posText("Unproved/Unknown/Unknown Disproved/Proved/Proved Proved/Proved"),
                       "<Mechanism", "<iapa><status value='Invalid'/></iapa><Mechanism");
    const struct {
        const char* label;
        std::string text;
        const char* options;
        const char* statuses; ///< null: the file is as it was
        const char* line;
    } rows[] = {
        {"all", posText(all), "",
         "Unproved/Unproved/Proved Unproved/Unproved/Proved,Unproved"
         " | Unproved/Unproved/Unknown Unproved/Unproved/Disproved",
         "4 of 4 goals changed"},
        {"given up", posText(all), "--status Unknown",
         "Proved/Proved/Proved UnreliablyProved/UnreliablyProved/Proved,Unproved"
         " | Unproved/Unproved/Unknown Disproved/Disproved/Disproved",
         "1 of 4 goals changed"},
        {"obligation, two words, mechanism", posText(all),
         "--obligation 'PO_[0]' --status Proved --status=Disproved --mechanism mech",
         "Unproved/Unproved/Proved UnreliablyProved/UnreliablyProved/Proved,Unproved"
         " | Unproved/Unknown/Unknown Disproved/Disproved/Disproved",
         "1 of 4 goals changed"},
        {"obligation alone", posText(all), "--obligation PO_1",
         "Proved/Proved/Proved UnreliablyProved/UnreliablyProved/Proved,Unproved"
         " | Unproved/Unproved/Unknown Unproved/Unproved/Disproved",
         "2 of 4 goals changed"},
        {"would change", posText(all), "--dry-run", nullptr, "4 of 4 goals would change"},
        {"nothing stands so", posText("Proved/Unproved Unproved"), "--status Unproved", nullptr,
         "0 of 2 goals changed"},
        {"nothing to reset", posText("Unproved/Unproved Unproved /"), "", nullptr,
         "0 of 3 goals changed"},
        {"another proof stays",
         test::replaced(posText("Proved/Proved"), "<Mechanism",
                        "<Proof_State proofState='Proved(1)'/><Mechanism"),
         "--mechanism mech", "Proved/Unproved", "1 of 1 goal changed"},
        {"another mechanism",
         test::replaced(posText("Proved/Proved"), "<Mechanism",
                        "<Mechanism name='x' status='Proved'/><Mechanism"),
         "--mechanism x", "Proved/Proved", "1 of 1 goal changed"},
        {"a mechanism that is recorded twice",
         test::replaced(posText("Proved/Proved"), "<Mechanism",
                        "<Mechanism name='mech' status='Proved'/><Mechanism"),
         "--mechanism mech", "Unproved/Unproved/Unproved", "1 of 1 goal changed"},
        // The first and the last goal were played against the word of the analyser.
        {"an analyser that was not heard", analyser, "--mechanism mech",
         "Unproved/Unproved/Unknown Disproved/Unproved/Proved Unproved/Unproved",
         "3 of 3 goals changed"},
        {"an unknown word elsewhere", posText("Unproved/Unknown Foo/Proved | Unproved/Bar"),
         "--status Unknown", "Unproved/Unproved Foo/Proved | Unproved/Bar", "1 of 3 goals changed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const outcome_t outcome =
            runOn(row.text, std::string("reset c.pos ") + row.options, row.statuses != nullptr);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "c.pos: " + std::string(row.line) + "\n");
        if (row.statuses != nullptr) {
            EXPECT_EQ(statusesOf(dir.path("c.pos")), row.statuses);
        }
    }
}

TEST_F(Edit, AfterAResetAPlayGoesOn)
{
    const struct {
        const char* label;
        const char* trust;
        const char* before;
        const char* option;
        const char* after;
    } rows[] = {
        {"redundancy that was interrupted", "redundancy",
         "UnreliablyProved/UnreliablyProved/Proved,Unproved", "--status UnreliablyProved",
         "Proved/Proved/Proved,Proved"},
        {"redundancy whose last driver gave up", "redundancy",
         "UnreliablyProved/Unknown/Proved,Unknown", "--status Unknown",
         "Proved/Proved/Proved,Proved"},
        {"given up", "always", "Unproved/Unknown/Unknown,Unknown", "--status Unknown",
         "Proved/Proved/Proved,Unknown"},
    };
    for (const auto& row : rows) {
        for (const char* const analyser : {"", "<iapa><status value='Invalid'/></iapa>"}) {
            SCOPED_TRACE(std::string(row.label) + analyser);
            dir.write("c.pos", test::replaced(posText(row.before), "<Mechanism",
                                              std::string(analyser) + "<Mechanism"));
            play(row.trust, {"Proved", "Proved"});
            ASSERT_EQ(statusesOf(dir.path("c.pos")), row.before);
            EXPECT_EQ(run(std::string("reset c.pos ") + row.option).status, 0);
            play(row.trust, {"Proved", "Proved"});
            EXPECT_EQ(statusesOf(dir.path("c.pos")), row.after);
        }
    }
}

TEST_F(Edit, ForgetRemovesEveryRecordOfAName)
{
    const std::string twice = "<Mechanism name='a\x7f' status='Proved'/>"
                              "<Mechanism name='a\x7f' status='Unknown'/><Mechanism name='mech'";
    const std::string text = test::replaced(posText("Proved/Unproved Disproved/Disproved Unproved"),
                                            "<Mechanism name='mech'", twice);
    const outcome_t shown = runOn(text, "forget c.pos 'a\\x7f'", true);
    EXPECT_EQ(shown.out, "c.pos: 2 of 3 goals changed\n") << shown.err;
    EXPECT_EQ(statusesOf(dir.path("c.pos")), "Unproved/Unproved Disproved/Disproved Unproved");
    EXPECT_EQ(contentOf(dir.path("c.pos")).find("a\x7f"), std::string::npos);
    EXPECT_EQ(runOn(text, "forget c.pos mech 'a\x7f'", true).status, 0);
    EXPECT_EQ(statusesOf(dir.path("c.pos")), "Unproved Unproved Unproved");
    EXPECT_EQ(runOn(text, "forget c.pos mech --dry-run", false).out,
              "c.pos: 2 of 3 goals would change\n");
}

TEST_F(Edit, WhatCannotBeDoneLeavesTheFileAlone)
{
    const std::string good = posText("Proved/Proved Unproved Disproved/Disproved");
    const struct {
        const char* label;
        std::string text;
        const char* words;
        const char* line;
    } rows[] = {
        {"no such mechanism", good, "reset c.pos --mechanism x",
         "\"x\" is recorded: there are mech\n"},
        {"no mechanism", posText("Unproved"), "forget c.pos x", "\"x\" is recorded: there is none"},
        {"one of two", good, "forget c.pos mech x", "no mechanism \"x\" is recorded"},
        {"no mechanism named", good, "forget c.pos", "an argument is missing"},
        {"no such obligation", good, "reset c.pos --obligation x", "--obligation=x"},
        {"no such word", good, "reset c.pos --status 'Proved(1)'", "give one of Proved,"},
        {"unknown option", good, "reset c.pos --force", "force"},
        {"two files", good, "reset c.pos d.pos", "unexpected argument d.pos"},
        {"unknown word, partial reset", posText("Unproved | Unproved Foo/Proved"),
         "reset c.pos --mechanism mech",
         "c.pos: goal PO_1.2: Simple_Goal: status \"Foo\" is not one of Unproved"},
        {"unknown word, forget", test::replaced(good, "<Mechanism", "<iapa/><Mechanism"),
         "forget c.pos mech", "c.pos: goal PO_0.1: iapa: there is no value"},
        {"malformed", good.substr(0, good.size() - 5), "reset c.pos", "not well-formed: line 1"},
        {"another kind", "<mechanism/>", "reset c.pos", "it holds <mechanism>"},
        {"empty", "", "reset c.pos", "the file is empty"},
        {"missing", good, "forget none.pos mech", "none.pos: there is no such file"},
        {"folder", good, "reset .", "this is a folder"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const outcome_t outcome = runOn(row.text, row.words, false);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(row.line), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.find("map::at"), std::string::npos);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    const outcome_t full = runOn(good, "reset c.pos >/dev/full", true);
    EXPECT_EQ(full.status, 2);
    EXPECT_NE(full.err.find("standard output cannot be written"), std::string::npos);
}

TEST_F(Edit, AFileThatSomeoneElseHasChangedIsNotReplaced)
{
    const QString file = QString::fromStdString(
        dir.write("c.pos", test::replaced(posText("Proved/Proved"), "<Proof_Obligations>",
                                          "<?xml version='1.0' "
                                          "encoding='ISO-8859-1'?>"
                                          "<Proof_Obligations author='\xe9'>")));
    const file_stamp_t read = stampOf(file);
    QDomDocument document = loadDocument(file);
    saveDocument(file, document, read);
    const std::string saved = contentOf(dir.path("c.pos"));
    EXPECT_NE(saved.find("encoding='UTF-8'"), std::string::npos);
    EXPECT_NE(saved.find("author=\"\xc3\xa9\""), std::string::npos);
    for (const char* const change : {"same size", "another file"}) {
        SCOPED_TRACE(change);
        const auto earlier =
            std::chrono::floor<std::chrono::hours>(std::filesystem::file_time_type::clock::now());
        std::filesystem::last_write_time(dir.path("c.pos"), earlier);
        const file_stamp_t old = stampOf(file);
        std::string other = saved;
        other.back() = ' ';
        const std::string written = dir.write(change[0] == 's' ? "c.pos" : "d.pos", other);
        std::filesystem::last_write_time(written, earlier);
        if (change[0] == 's') { // within the same second
            std::filesystem::last_write_time(written, earlier + std::chrono::nanoseconds(1));
        } else {
            std::filesystem::rename(dir.path("d.pos"), dir.path("c.pos"));
        }
        EXPECT_THROW(saveDocument(file, document, old), CannotAnswer);
        EXPECT_EQ(contentOf(dir.path("c.pos")), other);
    }
    std::filesystem::remove(dir.path("c.pos"));
    EXPECT_THROW(saveDocument(file, document, stampOf(file)), CannotAnswer);
    EXPECT_FALSE(test::exists(dir.path("c.pos")));
}

} // namespace
