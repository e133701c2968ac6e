// The steps of a play, each with its faults, over small components and shell tools.

#include "tests/director/ProofDirectorTest.h"

#include <iostream>
#include <sstream>
#include <thread>

#include <sys/stat.h>

using test::Captured;
using test::Goal;

namespace
{

std::string joined(const QStringList& words)
{
    return words.join(QLatin1Char(' ')).toStdString();
}

/// "status{drivers}" of each record.
std::string recordsOf(const ProofDirector::obligations_t& obligations)
{
    std::ostringstream text;
    for (const auto& [name, goals] : obligations) {
        for (const ProofDirector::po_data_t& goal : goals) {
            text << goal.status << "{" << joined(goal.drivers) << "} ";
        }
    }
    return text.str();
}

} // namespace

TEST_F(ProofDirectorTest, PlayOffersOpenGoalsToEveryDriver)
{
    const std::vector<std::vector<Goal>> goals = {
        {{"Unproved", "Unproved", "D1=Unknown D2=Proved"}, {"Proved", "Unproved", "D1=Proved"}},
        {{"UnreliablyProved", "Unproved", "D1=Proved"}, {"Unproved", "Unknown", "D1=Unknown"}},
        {{"Unknown", "none", ""}, {"Disproved", "none", ""}}};
    for (const char* trust : {"always", "never"}) {
        Settings settings;
        settings.trust = trust;
        ProofDirector& director = make({driverNamed("D1"), driverNamed("D2")}, goals, settings);
        EXPECT_TRUE(director.loadPosFile());
        const bool reopens = std::string(trust) == "always";
        EXPECT_EQ(recordsOf(obligations()),
                  std::string("Unproved{D1 D2} Proved{} ") +
                      (reopens ? "Unproved{D1} " : "UnreliablyProved{} ") +
                      "Unproved{} Unproved{D1 D2} Disproved{} ");
        EXPECT_EQ(unprovedCount(), 2);
        EXPECT_TRUE(director.hasWork());
        EXPECT_TRUE(director.savePosFile());
        EXPECT_EQ(test::statusesOf(posPath),
                  "Unproved/Unproved/Unknown,Proved Proved/Unproved/Proved "
                  "UnreliablyProved/Unproved/Proved Unproved/Unknown/Unknown "
                  "Unproved/Unproved/Unproved,Unproved Disproved/Unproved/Unproved,Unproved");
        EXPECT_NE(test::contentOf(posPath).find("author=\"proof_director\""), std::string::npos);
    }
}

TEST_F(ProofDirectorTest, ReplayOffersGoalsToTheDriversThatHadAVerdict)
{
    ProofDirector& director =
        make({driverNamed("D1")},
             {{{"Unproved", "Unproved", "D1=Proved D2=Unproved D3=Disproved D4=Proved(0)"}},
              {{"Unknown", "Unproved", "D1=Proved"}, {"Unproved", "Unknown", "D1=Proved"}}},
             {});
    EXPECT_TRUE(director.reloadPosFile());
    EXPECT_EQ(recordsOf(obligations()), "Unproved{D1 D3} Unproved{} Unproved{} ");
    EXPECT_EQ(unprovedCount(), 2);

    make({driverNamed("D1")}, {{{}, {"Unproved", "none", ""}}}, {});
    EXPECT_FALSE(made->reloadPosFile());
}

TEST_F(ProofDirectorTest, AnUnusableDocumentIsNeverSaved)
{
    struct Row {
        const char* label;
        const char* content;
        bool loads;
    };
    const Row rows[] = {{"half a document", "<Proof_Obligations><Proof_Obligation>", true},
                        {"empty", "", true}};
    for (const Row& row : rows) {
        make({driverNamed("D1")}, {{{}}}, {});
        dir.write("comp.pos", row.content);
        EXPECT_EQ(made->reloadPosFile(), row.loads) << row.label;
        EXPECT_FALSE(made->hasWork()) << row.label;
        EXPECT_FALSE(made->savePosFile()) << row.label;
        made->stop();
        EXPECT_EQ(test::contentOf(posPath), row.content) << row.label;
    }
    make({driverNamed("D1")}, {{{}}}, {});
    const std::string before = test::contentOf(posPath);
    EXPECT_FALSE(made->savePosFile()) << "never loaded";
    EXPECT_EQ(test::contentOf(posPath), before);

    ASSERT_TRUE(made->reloadPosFile());
    ::unlink(posPath.c_str());
    EXPECT_FALSE(made->savePosFile());
    EXPECT_FALSE(test::exists(posPath)) << "a file that has gone is not made anew";
}

TEST_F(ProofDirectorTest, TheGroupDecidesHowGoalsShareAWriterRun)
{
    struct Row {
        const char* group;
        const char* filter;
        const char* runs; // "file: arguments | prover's goals"; FILE stands for its path
    };
    const Row rows[] = {
        {"none", "",
         "c_mech_D%1_0_1.po2: -a 0 1 -i P -o FILE | 0,1\n"
         "c_mech_D%1_2_0.po2: -a 2 0 -i P -o FILE | 2,0\n"
         "c_mech_D%1_2_1.po2: -a 2 1 -i P -o FILE | 2,1\n"},
        {"related", "",
         "c_mech_D%1_0.po2: -a 0 1 -i P -o FILE | 0,1\n"
         "c_mech_D%1_2.po2: -a 2 0 -a 2 1 -i P -o FILE | 2,0 2,1\n"},
        {"full", "", "c_mech_D%1.po2: -a 0 1 -a 2 0 -a 2 1 -i P -o FILE | 0,1 2,0 2,1\n"},
        {"none", "PO_1.1", "c_mech_D%1_1_0.po2: -a 1 0 -i P -o FILE -m | 1,0\n"},
        {"related", "PO_2.1", "c_mech_D%1_0.po2: -a 0 0 -i P -o FILE -m | 2,0\n"},
        {"none", "PO_9.1", ""},
        {"full", "PO_9.1", "c_mech_D%1.po2: -i P -o FILE -m | \n"},
    };
    const std::vector<std::vector<Goal>> goals = {
        {{"Unproved", "Unproved", "X=Proved"}, {"Unproved", "Unproved", "D%1=Proved"}},
        {{"Proved", "Unproved", "D%1=Proved"}},
        {{"Unproved", "Unproved", "D%1=Proved"}, {"Unproved", "Unproved", "D%1=Proved"}}};
    for (const Row& row : rows) {
        Settings settings;
        settings.goalFilter = row.filter;
        test::Driver driver = driverNamed("D%1");
        driver.attributes = std::string("group='") + row.group + "'";
        make({driver}, goals, settings).reloadPosFile();
        setDriver(0);
        std::vector<ProofDirector::addresses_t> batches;
        made->selectForDriver(batches);
        made->produceWriterData(QStringLiteral("/t"), QStringLiteral("/a.b/c.pog"), batches);
        made->produceProverData();
        std::string runs;
        ASSERT_EQ(writerData().size(), proverData().size());
        for (std::size_t i = 0; i < writerData().size(); ++i) {
            const QString file = writerData()[i].po2filename;
            QStringList args = writerData()[i].args;
            args.replaceInStrings(file, QStringLiteral("FILE"));
            args.replaceInStrings(QStringLiteral("/a.b/c.pog"), QStringLiteral("P"));
            QStringList addresses;
            for (const auto& [obligation, goal] : proverData()[i].po_addresses) {
                addresses << QStringLiteral("%1,%2").arg(obligation).arg(goal);
            }
            EXPECT_TRUE(file.startsWith(QStringLiteral("/t/")));
            EXPECT_EQ(proverData()[i].inpath, file);
            EXPECT_TRUE(writerData()[i].positions.empty());
            runs +=
                file.mid(3).toStdString() + ": " + joined(args) + " | " + joined(addresses) + "\n";
        }
        EXPECT_EQ(runs, row.runs) << row.group << " " << row.filter;
    }
}

TEST_F(ProofDirectorTest, ANameCannotLeadASecondaryFileOutOfItsDirectory)
{
    test::Driver driver = driverNamed("../../D");
    driver.attributes = "ext='/../x' group='full'";
    make({driver}, {{{"Unproved", "Unproved", "../../D=Proved"}}}, {}).reloadPosFile();
    made->prepareDriver(0);
    EXPECT_EQ(writerData().at(0).po2filename.toStdString(), dir.path("comp_mech_.._.._D._.._x"));
}

TEST_F(ProofDirectorTest, TwoProofsUnderRedundancyMakeOne)
{
    Settings settings;
    settings.trust = "redundancy";
    const std::string both = "D1=Unproved D2=Unproved";
    make({driverNamed("D1"), driverNamed("D2")},
         {{{"Unproved", "Unproved", both}, {"Unproved", "Unproved", both}},
          {{"Proved", "Unproved", both}}},
         settings)
        .loadPosFile();
    setDriver(0);
    update({0, 0}, "Proved");
    update({0, 1}, "Unknown");
    EXPECT_EQ(recordsOf(obligations()), "UnreliablyProved{D2} Unproved{D2} Proved{} ");
    EXPECT_EQ(unprovedCount(), 1);
    setDriver(1);
    update({0, 0}, "Proved");
    update({0, 1}, "Unknown");
    update({1, 0}, "Disproved");
    EXPECT_EQ(recordsOf(obligations()), "Proved{} Unknown{} Disproved{} ");
    EXPECT_EQ(unprovedCount(), 0) << "counted down twice for the goal that was proved twice";
    made->savePosFile();
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved,Proved "
                                         "Unproved/Unknown/Unknown,Unknown "
                                         "Proved/Disproved/Unproved,Disproved");
    EXPECT_THROW(update({0, 7}, "Proved"), std::out_of_range);
}

TEST_F(ProofDirectorTest, FailedToolsAreSaidAndChangeNoGoal)
{
    struct Row {
        const char* label;
        const char* writer; // script bodies; null: as in driverNamed
        const char* prover;
        const char* reader;
        const char* log;
        const char* errors;
        const char* statuses;
        const char* marks;
    };
    const char* const untouched = "Unproved/Unproved/Proved Unproved/Unproved/Proved";
    const char* const none = "\n";
    const std::string file = dir.path("comp_mech_D1_0.po2");
    const std::string notFound = "-- ProofDirector -- Secondary po " + file + " not found.\n";
    const std::string notFoundError =
        "Secondary proof obligation for driver D1 not found in file " + file + ".";
    const std::string count1 = "Unexpected number of results. Expected: 2 Found: 1\n";
    const std::string countError = "Unexpected number of results from driver D1 reader.";
    const std::string both1 = notFound + count1;
    const std::string both1Errors = notFoundError + "|" + countError;
    const Row rows[] = {
        {"all well, exit codes do not count", "echo x>${10};exit 3", "cat; exit 4",
         "cat >&2; printf 'Proved\\nDisproved\\n'; exit 5", "", "",
         "Proved/Proved/Proved Disproved/Disproved/Disproved", "\t\tPO_0\n\t\t\t+!\n\n"},
        {"word not known", "echo x>${10}", "cat", "cat >&2; printf 'proved\\nDisproved\\n'", "", "",
         "Unproved/Unproved/Proved Disproved/Disproved/Disproved", "\t\tPO_0\n\t\t\t-!\n\n"},
        {"too few lines", "echo x>${10}", "cat", "cat >&2; echo Proved", count1.c_str(),
         countError.c_str(), untouched, none},
        {"too many lines", "echo x>${10}", "cat", "cat >&2; printf 'Proved\\n\\nProved\\n'",
         "Unexpected number of results. Expected: 2 Found: 3\n", countError.c_str(), untouched,
         none},
        {"prover crashed", "echo x>${10}", "kill -9 $$", "echo Proved; exec sleep 1000",
         "Driver prover crashed.\n", "Driver D1 prover crashed.", untouched, none},
        {"reader crashed", "echo x>${10}", "cat", "cat >&2; kill -9 $$", "Driver reader crashed.\n",
         "Driver D1 reader crashed.", untouched, none},
        {"writer crashed", "echo x>${10}; kill -9 $$", "cat",
         "cat >&2; printf 'Unknown\\nUnknown\\n'", "-- ProofDirector -- Writer crashed.\n",
         "Secondary proof obligation generation for driver D1 crashed.",
         "Unproved/Unknown/Unknown Unproved/Unknown/Unknown", "\t\tPO_0\n\t\t\t--\n\n"},
        {"nothing written", "exit 0", "cat", "cat", both1.c_str(), both1Errors.c_str(), untouched,
         none},
    };
    for (const Row& row : rows) {
        test::Driver driver = driverNamed("D1");
        driver.attributes = "group='related'";
        driver.writer = dir.script("w", row.writer);
        driver.prover = dir.script("p", row.prover);
        driver.reader = dir.script("r", row.reader);
        make({driver}, {{{}, {}}}, {});
        const std::string before = test::contentOf(posPath);
        const Captured log(std::clog);
        const Captured report(std::cout);
        made->replay();
        EXPECT_EQ(log.text(), row.log) << row.label;
        EXPECT_EQ(made->getErrors().join(QLatin1Char('|')).toStdString(), row.errors) << row.label;
        EXPECT_EQ(test::statusesOf(posPath), row.statuses) << row.label;
        EXPECT_EQ(report.text(),
                  std::string("\tProof driver D1, still 2 unproved PO\n") + row.marks)
            << row.label;
        EXPECT_EQ(test::contentOf(posPath) == before, std::string(row.statuses) == untouched)
            << row.label << ": a job without a result does not save";
        EXPECT_FALSE(test::exists(file)) << row.label;
    }
}

TEST_F(ProofDirectorTest, AFailedSaveIsSaidAndTheNextJobSavesAgain)
{
    test::Driver driver = driverNamed("D1");
    // The first job takes the status file away, the second brings it back.
    driver.prover = dir.script("p", "cd " + dir.path() +
                                        "; cat; if [ -e comp.pos ]; then mv comp.pos away;"
                                        " else mv away comp.pos; fi");
    make({driver}, {{{}}, {{}}}, {});
    const Captured log(std::clog);
    const Captured report(std::cout);
    made->replay();
    EXPECT_EQ(log.text(), "-- ProofDirector -- Cannot save POS file " + posPath +
                              ": No such file or directory\n");
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved Proved/Proved/Proved");
}

TEST_F(ProofDirectorTest, FiltersChooseTheDriversThatPlay)
{
    const auto line = [](const char* name, int unproved) {
        return std::string("\tProof driver ") + name + ", still " + std::to_string(unproved) +
               " unproved PO\n";
    };
    test::Driver fast = driverNamed("D2");
    fast.attributes = "fast='true'";
    const std::vector<test::Driver> drivers = {driverNamed("D1"), fast, driverNamed("D3")};
    const std::vector<std::vector<Goal>> goals = {{{"Unproved", "Unproved", "D1=Proved"}}};
    const std::string marks = "\t\tPO_0\n\t\t\t+\n\n";
    const auto reportOf = [&](const Settings& settings) {
        make(drivers, goals, settings);
        const Captured report(std::cout);
        made->replay();
        return report.text();
    };
    Settings settings;
    EXPECT_EQ(reportOf(settings), line("D1", 1) + marks + line("D2", 0) + line("D3", 0));
    settings.driverFilter = "D3";
    EXPECT_EQ(reportOf(settings), line("D3", 1) + "\n");
    settings.driverFilter = "";
    settings.fastOnly = true;
    EXPECT_EQ(reportOf(settings), line("D2", 1) + "\n");
    settings.fastOnly = false;
    settings.concurrency = 0;
    EXPECT_EQ(reportOf(settings),
              line("D1", 1) + "\n" + line("D2", 1) + "\n" + line("D3", 1) + "\n")
        << "no job runs, so that the work stays";
}

TEST_F(ProofDirectorTest, WithAGoalFilterTheRestOfTheOutputIsAModel)
{
    for (const bool xml : {false, true}) {
        Settings settings;
        settings.goalFilter = "PO_1.1";
        settings.xml = xml;
        test::Driver driver = driverNamed("D1");
        driver.reader = dir.script("r", "cat >&2; printf 'Disproved\\nx = 1\\ny = 2\\n'");
        make({driver}, {{{}}, {{"Proved", "Proved", "D1=Proved"}}}, settings);
        const Captured report(std::cout);
        made->replay();
        EXPECT_EQ(report.text(),
                  xml ? "<proofPass>\tProof driver D1, still 1 unproved PO</proofPass>\n"
                        "\t\t<operation><name>PO_0</name>\n\t\t\t</operation>\n"
                        "\t\t<operation><name>PO_1</name>\n\t\t\t<m/><model>\nx = 1\ny = 2\n"
                        "</model>\n\n</operation>\n"
                      : "\tProof driver D1, still 1 unproved PO\n\t\tPO_0\n\t\t\t\n\t\tPO_1\n\t\t\t"
                        "-model:\nx = 1\ny = 2\n\n\n\n");
        EXPECT_EQ(test::statusesOf(posPath), "Unproved/Unproved/Proved Proved/Proved/Proved");
        EXPECT_NE(test::contentOf(posPath).find("author="), std::string::npos) << "saved";
    }
    // A number that is none selects an address that no goal has.
    Settings settings;
    settings.goalFilter = "PO_0.x";
    make({driverNamed("D1")}, {{{}}}, settings);
    const Captured report(std::cout);
    EXPECT_THROW(made->replay(), std::out_of_range);
    EXPECT_NE(report.text().find("PO_0\n"), std::string::npos) << report.text();
}

TEST_F(ProofDirectorTest, HeadingsOnlyGoForward)
{
    // The first job waits until the second one is in the report's way.
    ASSERT_EQ(::mkfifo(dir.path("gate").c_str(), 0600), 0);
    test::Driver driver = driverNamed("D1");
    driver.attributes = "group='related'";
    driver.proverAttributes = "input='file'";
    driver.proverParameters = "<param value='${file}'/>";
    driver.prover =
        dir.script("p", "case $1 in *_0.po2) read x < " + dir.path("gate") + ";; esac; cat $1");
    Settings settings;
    settings.concurrency = 2;
    make({driver}, {{{}}, {}, {{}, {}}}, settings);
    const Captured report(std::cout);
    std::thread opener([this] {
        while (test::statusesOf(posPath).find("Proved/Proved/Proved") == std::string::npos) {
            std::this_thread::yield();
        }
        dir.write("gate", "go\n");
    });
    made->replay();
    opener.join();
    EXPECT_EQ(report.text(), "\tProof driver D1, still 3 unproved PO\n"
                             "\t\tPO_0\n\t\t\t\n\t\tPO_1\n\t\t\t\n\t\tPO_2\n\t\t\t+++\n\n");
}

TEST_F(ProofDirectorTest, ManyWorkersLoseNoVerdict)
{
    for (const unsigned int workers : {2U, 40U}) {
        std::vector<std::vector<Goal>> goals(30, {Goal(), Goal()});
        Settings settings;
        settings.concurrency = workers;
        settings.trace = 1;
        make({driverNamed("D1")}, goals, settings);
        const Captured log(std::clog);
        const Captured report(std::cout);
        made->replay();
        const std::string statuses = test::statusesOf(posPath);
        EXPECT_EQ(statuses.find("Unproved"), std::string::npos) << statuses;
        EXPECT_EQ(unprovedCount(), 0);
        std::istringstream lines(log.text());
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(line.rfind("-- Proof", 0) == 0 || line.rfind(" and reading", 0) == 0 ||
                        line.rfind("xml: ", 0) == 0)
                << "a torn line: " << line;
        }
    }
}

TEST_F(ProofDirectorTest, TheWorkerBodiesServeAWriteOnlyAndAProveOnlyRun)
{
    make({driverNamed("D1")}, {{{}, {}}, {{}}}, {});
    const Captured report(std::cout);
    ASSERT_TRUE(made->reloadPosFile());
    made->prepareDriver(0);
    made->writeJob();
    for (const ProofDirector::writer_data_t& run : writerData()) {
        EXPECT_TRUE(test::exists(run.po2filename.toStdString()));
    }
    EXPECT_EQ(report.text(), "");
    made->writeJob(); // nothing is left
    EXPECT_THROW(made->writeEntry(3), std::out_of_range);
    EXPECT_THROW(made->proveEntry(3), std::out_of_range);
    made->proveEntry(1);
    EXPECT_EQ(recordsOf(obligations()), "Unproved{D1} Proved{} Unproved{D1} ");
}

TEST_F(ProofDirectorTest, AStopKillsCleansAndSaves)
{
    // The prover tells that it runs, and then never ends.
    ASSERT_EQ(::mkfifo(dir.path("up").c_str(), 0600), 0);
    test::Driver slow = driverNamed("D2");
    slow.prover = dir.script("p", "echo x > " + dir.path("up") + "; exec sleep 1000");
    for (const unsigned int workers : {1U, 3U}) {
        Settings settings;
        settings.concurrency = workers;
        const std::string both = "D1=Unproved D2=Proved";
        make({driverNamed("D1"), slow, driverNamed("D3")},
             {{{"Unproved", "Unproved", "D1=Proved"}}, {{"Unproved", "Unproved", both}}}, settings);
        const Captured log(std::clog);
        const Captured report(std::cout);
        std::thread player([this] {
            made->replay();
        });
        EXPECT_EQ(test::contentOf(dir.path("up")), "x\n"); // waits for the prover
        made->stop();
        player.join();
        EXPECT_EQ(log.text(), "Driver prover crashed.\n");
        EXPECT_EQ(report.text().find("D3"), std::string::npos) << "no driver plays after a stop";
        EXPECT_EQ(test::statusesOf(posPath),
                  "Proved/Proved/Proved Unproved/Unproved/Unproved,Proved");
        EXPECT_FALSE(test::exists(dir.path("comp_mech_D2_1_0.po2")));
    }
}

TEST_F(ProofDirectorTest, DumpsKeepTheirLayout)
{
    Settings settings;
    settings.concurrency = 7;
    make({}, {{{}}}, settings).reloadPosFile();
    std::ostringstream dump;
    dump << *made << obligations();
    const std::string at = dir.path();
    EXPECT_EQ(
        dump.str(),
        "pos: " + at + "/comp.pos\npog: " + at + "/comp.pog\ndir: " + at +
            "\nloaded: 1\nmechanism:[mechanism]\nname = \"mech\"\ntrust = \"always\"\n\n\n"
            "concurrency:7\n{\n  PO_0,\n  {\n    {<Mechanism name=\"mech\" "
            "status=\"Unproved\"><Driver name=\"D1\" status=\"Proved\"/></Mechanism>, Unproved, "
            "{D1}}\n  }\n");
    ProofDirector::prover_data_t prover;
    prover.cmdp = QStringLiteral("p");
    prover.argsp = QStringList{QStringLiteral("a"), QStringLiteral("b")};
    prover.cmdr = QStringLiteral("r");
    prover.argsr = QStringList{QStringLiteral("not shown")};
    prover.inpath = QStringLiteral("f");
    prover.po_addresses = {{1, 2}};
    ProofDirector::writer_data_t writer{
        QStringLiteral("w"), prover.argsp, QStringLiteral("f"), {{1, 2}, {3, 4}}};
    std::ostringstream runs;
    runs << writer << prover;
    EXPECT_EQ(runs.str(), "cmd: w\nargs: a b\npo2filename: f\npositions: {1, 2}{3, 4}\n"
                          "cmdp: p\nargsp: \na\nb\ncmdr:r\nargsr:\na\nb\ninpath:f\n"
                          "po addresses:\n\t1\t2\n");
}
