// The steps of a play, each with its faults, over small components and shell tools.

#include "director/ChildProcess.h"
#include "director/ProofDirector.h"
#include "director/ProofDirector_p.h"
#include "director/jobs.h"
#include "director/verdict.h"
#include "pos/walk.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTextCodec>
#include <QTranslator>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <future>
#include <iostream>
#include <thread>

#include <pthread.h>
#include <sys/stat.h>

using test::Captured;
using test::driverSaying;

namespace test
{
extern std::function<int(const std::string& program)> beforeStart; // ChildProcessTest.cpp
} // namespace test

/// Shows in which context a message is translated.
class ContextTranslator final : public QTranslator
{
public:
    QString translate(const char* context, const char* text, const char* /*disambiguation*/,
                      int /*n*/) const override
    {
        return QString::fromUtf8(context) + QStringLiteral(": ") + QString::fromUtf8(text);
    }
    bool isEmpty() const override
    {
        return false;
    }
};

struct Settings {
    std::string trust = "always";
    unsigned int workers = 1;
    std::string goalFilter = {};
    std::string driverFilter = {};
    bool fastOnly = false;
    bool xml = false;
    int trace = 0;
    std::optional<std::pair<std::size_t, std::size_t>> goalPlace = {};
    std::ostream* report = &std::cout;
};

/// A component in a temporary directory and a director over it.
class ProofDirectorTest : public testing::Test
{
protected:
    ProofDirector& make(const std::vector<test::Driver>& drivers, const std::string& goals,
                        const Settings& set = {})
    {
        // Other mechanisms come first, of nearly the same name.
        QString text = QString::fromStdString(test::posText(goals));
        text.replace(QStringLiteral("<Mechanism name='mech'"),
                     QStringLiteral("<Mechanism name='Mech'/><Mechanism name='mech2'/>"
                                    "<Mechanism name='mech'"));
        posPath = dir.write("comp.pos", text.toStdString());
        made = std::make_unique<ProofDirector>(ProofDirectorSettings{
            "comp", dir.write("mech.xml", test::mechanismText(set.trust, drivers)), posPath,
            dir.path("a.b/:c.d%2.pog"), dir.path(), set.xml, set.workers, set.trace,
            set.driverFilter, set.fastOnly, set.goalFilter, set.goalPlace, set.report});
        EXPECT_TRUE(made->isLoaded());
        return *made;
    }

    /// What a replay reports; `log` takes what it logs.
    std::string replay()
    {
        const Captured logged(std::clog);
        const Captured report(std::cout);
        made->replay();
        log = logged.text();
        return report.text();
    }

    /// Replays, and does something else again and again meanwhile.
    void replayDuring(const std::function<void()>& other)
    {
        std::future<void> played = std::async(std::launch::async, [this] {
            replay();
        });
        while (played.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            other();
        }
    }

    /// The goals that each of the drivers is to work on: "0.0 0.1 | 1.0" and so on.
    std::string offers(std::size_t drivers)
    {
        std::string text;
        for (std::size_t driver = 0; driver < drivers; ++driver) {
            std::vector<ProofDirector::addresses_t> batches;
            made->prepareDriver(driver);
            made->selectForDriver(batches);
            text += driver == 0 ? "" : "| ";
            for (const ProofDirector::addresses_t& batch : batches) {
                for (const auto& [obligation, goal] : batch) {
                    text += std::to_string(obligation) + "." +
                            std::to_string(static_cast<std::ptrdiff_t>(goal)) + " ";
                }
            }
        }
        return text;
    }

    /// How many files of the test's folder have `part` in their name.
    std::ptrdiff_t filesOf(const std::string& part) const
    {
        const std::filesystem::directory_iterator files(dir.path());
        return std::count_if(begin(files), end(files), [&](const auto& file) {
            return file.path().filename().string().find(part) != std::string::npos;
        });
    }

    std::string masked(const std::string& text) const
    {
        return test::replaced(text, dir.path(), "DIR");
    }

    test::TempDir dir;
    std::string posPath;
    std::string log;
    std::unique_ptr<ProofDirector> made;
};

TEST_F(ProofDirectorTest, LoadingDecidesWhichDriversRunOnWhichGoals)
{
    // The trust of a first play, or "replay", and the document.
    test::expectCases("director/golden/loading.txt", [this](const std::string& input) {
        const std::size_t end = input.find('\n');
        const std::string trust = input.substr(0, end);
        const std::string goals = input.substr(end + 1);
        const bool replays = trust == "replay";
        make({{"D1"}, {"D2"}}, goals, // no job runs
             {replays ? "always" : trust, 0, "", "", false, false, 1});
        const Captured logged(std::clog);
        const Captured report(std::cout);
        replays ? made->replay() : made->play();
        const std::string saved = test::statusesOf(posPath);
        EXPECT_EQ(test::contentOf(posPath).find("author") == std::string::npos, goals == saved);
        const std::string text = report.text() + masked(logged.text());
        return offers(2) + "\n" + saved + "\n" + text;
    });
}

TEST_F(ProofDirectorTest, AnUnusableDocumentIsNeverSaved)
{
    const std::string malformed = "<Proof_Obligations><Proof_Obligation>";
    make({}, "");
    dir.write("comp.pos", malformed);
    EXPECT_FALSE(made->savePosFile()) << "never loaded";
    EXPECT_TRUE(made->reloadPosFile());
    const Captured logged(std::clog);
    made->stop();
    EXPECT_FALSE(made->savePosFile());
    EXPECT_EQ(test::contentOf(posPath), malformed);
    make({}, "Unproved").loadPosFile();
    ::unlink(posPath.c_str());
    EXPECT_FALSE(made->savePosFile());
    EXPECT_EQ(logged.text(), "") << "it is for the caller to say";
    made->stop(); // which says it
    EXPECT_NE(logged.text().find("Cannot save"), std::string::npos);
}

TEST_F(ProofDirectorTest, OneGoalIsChosenByItsNameOrItsPlace)
{
    const std::string goals = "Unproved//Unproved | Unproved//Proved | Proved//";
    const struct {
        const char* name;
        std::optional<std::pair<std::size_t, std::size_t>> place;
        const char* chosen;
    } rows[] = {{"PO_1.1", {}, "1.0 "},       {"PO_0.2", {}, "0.1 "}, {"PO_1.9", {}, "1.8 "},
                {"PO_0.x", {}, "0.-1 "},      {"PO.1", {}, ""},       {"po_0.1", {}, ""},
                {"PO_0.1", {{1, 0}}, "1.0 "}, {"", {{0, 1}}, "0.1 "}, {"PO_0.1", {{3, 0}}, ""}};
    for (const auto& [name, place, chosen] : rows) {
        Settings set;
        set.goalFilter = name;
        set.goalPlace = place;
        make({{"D1"}}, goals, set);
        // Of two obligations of one name, the first.
        dir.write("comp.pos", test::replaced(test::contentOf(posPath), "PO_2", "PO_1"));
        made->reloadPosFile();
        EXPECT_EQ(offers(1), chosen) << name;
    }
}

TEST(Jobs, TheGroupDecidesHowGoalsShareAJob)
{
    using mechanism::group_t;
    const std::vector<ProofDirector::addresses_t> batches = {{{0, 1}}, {}, {{2, 0}, {2, 1}}};
    const struct {
        const char* label;
        group_t group;
        std::vector<ProofDirector::addresses_t> batches;
        const char* jobs;
    } rows[] = {
        {"a goal a job", group_t::none, batches,
         "c_0_1:-a 0 1:01 c_2_0:-a 2 0:20 c_2_1:-a 2 1:21 "},
        {"an obligation a job", group_t::related, batches, "c_0:-a 0 1:01 c_2:-a 2 0 -a 2 1:2021 "},
        {"all in one", group_t::full, batches, "c:-a 0 1 -a 2 0 -a 2 1:012021 "},
        {"none", group_t::none, {{}, {}}, ""},
        {"none for an obligation", group_t::related, {}, ""},
        {"one job all the same", group_t::full, {}, "c:: "},
        {"a batch at another place, its goal", group_t::none, {{{1, 3}}}, "c_1_3:-a 1 3:13 "},
        {"a batch at another place, related", group_t::related, {{{1, 3}}}, "c_0:-a 0 3:13 "},
    };
    for (const auto& [label, group, given, expected] : rows) {
        SCOPED_TRACE(label);
        std::string text;
        for (const planned_job_t& job :
             planJobs(group, given, {QStringLiteral("/d"), QStringLiteral("c.pog"), {}, {}, {}})) {
            text += job.file.toStdString() + ":" +
                    job.goalWords.join(QLatin1Char(' ')).toStdString() + ":";
            for (const auto& [obligation, goal] : job.goals) {
                text += std::to_string(obligation) + std::to_string(goal);
            }
            text += " ";
        }
        EXPECT_EQ(test::replaced(test::replaced(text, "/d/c__", "c"), ".:", ":"), expected);
    }
}

TEST(Jobs, ASecondaryFileStaysInItsFolderWhateverTheNames)
{
    const char* const rows[][6] = {
        {"d", "a.b/c.pog", "m", "D", "x", "d/c_m_D_7.x"},
        {"/d", "c.d%2.pog", "m%1", "../D", "e/x", "/d/c.d%2_m%1_.._D_7.e_x"},
        {"/d", "/a.b/:c.pog", "m", "D", "", "/d/:c_m_D_7."},
        {"", "c", "m", "D", "x", "./c_m_D_7.x"},
        {"/d", ":/c.pog", "/m", "D", "x", "/d/c__m_D_7.x"},
        {"/d", "", "m", "", "x", "/d/_m__7.x"},
    };
    for (const auto& row : rows) {
        QStringList words;
        for (const char* const word : row) {
            words.append(QString::fromUtf8(word));
        }
        EXPECT_EQ(secondaryFile({words[0], words[1], words[2], words[3], words[4]}, {7}), words[5]);
    }
}

TEST(Jobs, WhatIsAheadCountsDriversAndGoals)
{
    const auto list = [](const char* words) {
        return QString::fromUtf8(words).split(QLatin1Char(' '));
    };
    const std::vector<QStringList> goals = {list("A B C"), list("B"), list("A"), list("C"), {}};
    const struct {
        const char* driver;
        QStringList later;
        std::size_t goalsLater;
        std::size_t goalsOpen;
    } rows[] = {{"A", list("B C"), 4, 4}, {"B", list("C"), 2, 3}, {"C", {}, 0, 2}, {"X", {}, 0, 0}};
    for (const auto& [driver, later, goalsLater, goalsOpen] : rows) {
        const work_ahead_t ahead = workAhead(goals, QString::fromUtf8(driver), later);
        EXPECT_EQ(ahead.goalsLater, goalsLater) << driver;
        EXPECT_EQ(ahead.goalsOpen, goalsOpen) << driver;
    }
}

TEST(Arguments, AParameterIsReadByAnotherRuleForWriters)
{
    // Null is a missing attribute; arguments are separated by bars.
    const char* const rows[][5] = {
        {"-o", " = ", "${file}", "-o = /f", "-o = ${file}"},
        {"-o", " ", "${file}", "-o|/f", "-o|${file}"},
        {"-o", "", "x", "-o|x", "-ox"},
        {"", "=", "x", "=x", "x"},
        {"", " ", "x", "|x", "x"},
        {"-q", " ", nullptr, "-q", "-q"},
        {nullptr, "=", "x", "x", "x"},
        {"-q", "=", "", "-q=", "-q"},
        // For a prover the three are put in one after the other.
        {"-a%2", "=", "x", "-a==x", "-a%2=x"},
        {"%3${file}", "${file}", "%2${file}${FILE}", "%2/f${FILE}/f${file}%2/f${FILE}",
         "%3${file}${file}%2${file}${FILE}"},
    };
    for (const auto& [name, separator, value, prover, writer] : rows) {
        mechanism::tool_t tool;
        tool.parameters = {
            {QString::fromUtf8(name), QString::fromUtf8(separator), QString::fromUtf8(value)}};
        QStringList args;
        append_param(tool.parameters.front(), args, QStringLiteral("/f"));
        EXPECT_EQ(args.join(QLatin1Char('|')).toStdString(), prover);
        args.clear();
        addParametersBits(args, tool);
        EXPECT_EQ(args.join(QLatin1Char('|')).toStdString(), writer);
    }
}

TEST(Arguments, AProgramIsNeverLookedUpAlongThePath)
{
    EXPECT_EQ(programOfPath(QStringLiteral("\"/my tools/p\"")), QStringLiteral("/my tools/p"));
    EXPECT_EQ(programOfPath(QStringLiteral("\"my prover\"")), QStringLiteral("./my prover"));
    EXPECT_EQ(programOfPath(QStringLiteral("\"")), QStringLiteral("./\""));
}

TEST_F(ProofDirectorTest, AVerdictReachesEveryRecordItConcerns)
{
    // The trust, the goal, and verdicts, each after the index of its driver. What follows: the
    // document, what is left for the drivers, unproved goals.
    test::expectCases("director/golden/verdicts.txt", [this](const std::string& input) {
        std::istringstream words(input);
        std::string trust;
        std::string goal;
        words >> trust >> goal;
        const QDomDocument document = test::documentOf(test::posText(goal));
        const QDomElement element = *pos::goalsOf(*pos::obligationsOf(document).begin()).begin();
        ProofDirector::po_data_t record;
        record.element = pos::mechanismOf(element, QStringLiteral("mech"));
        for (const QDomElement& driver : pos::driversOf(record.element)) {
            record.drivers.append(pos::nameOf(driver));
        }
        int unproved = pos::statusOf(element) == pos::UNPROVED ? 1 : 0;
        std::size_t driver = 0;
        for (std::string word; words >> driver >> word;) {
            const bool raised =
                mergeVerdict(record, QStringLiteral("D%1").arg(driver + 1),
                             verdictOfLine(QByteArray::fromStdString(word)).value(),
                             mechanism::trustOfXmlAttr.at(QString::fromStdString(trust)));
            unproved -= raised ? 1 : 0;
        }
        std::ostringstream left;
        left << record.status << "{" << record.drivers.join(QLatin1Char(' ')).toStdString() << "} "
             << unproved << "\n";
        return test::statusesOf(dir.write("comp.pos", document.toString().toStdString())) + "\n" +
               left.str();
    });
}

TEST_F(ProofDirectorTest, FailedToolsAreReportedAndChangeNoGoal)
{
    const std::string untouched = "Unproved/Unproved/Proved Unproved/Unproved/Proved";
    const std::string file = dir.path(":c.d%2_mech_D1.po2");
    int arguments = 0;
    QCoreApplication application(arguments, nullptr);
    ContextTranslator translator;
    QCoreApplication::installTranslator(&translator);
    // The bodies of writer, prover and reader. The writer of the folder in the way never runs.
    test::expectCases("director/golden/failed-tools.txt", [&](const std::string& input) {
        std::istringstream lines(input);
        std::string writer;
        std::string prover;
        std::string reader;
        std::getline(std::getline(std::getline(lines, writer), prover), reader);
        test::Driver driver = {"D1", "group='full'", {dir.script("w", writer)}};
        driver.prover.path = dir.script("p", prover);
        driver.reader.path = dir.script("r", "cat >&2; " + reader);
        make({driver}, untouched);
        if (writer.empty()) {
            ::unlink(driver.writer.path.c_str());
        }
        // An earlier run has left it: nobody may take it for what this writer makes.
        const bool folder = writer == "a folder in the way";
        folder ? std::filesystem::create_directory(file)
               : !dir.write(":c.d%2_mech_D1.po2", "left").empty();
        const bool reported = replay().find("PO_0") != std::string::npos;
        std::filesystem::remove(folder ? file : "");
        const std::string statuses = test::statusesOf(posPath);
        EXPECT_EQ(reported, statuses != untouched);
        EXPECT_EQ(test::contentOf(posPath).find("author") != std::string::npos, reported);
        EXPECT_FALSE(test::exists(file)) << input;
        const std::string errors = made->getErrors().join(QLatin1Char('\n')).toStdString();
        return masked(log + errors) + "\n" + statuses + "\n";
    });
}

TEST_F(ProofDirectorTest, APlaceThatHoldsNoFileHasNothingToRemove)
{
    make({{"D1"}}, "Unproved/Unproved/Proved").reloadPosFile();
    made->prepareDriver(0);
    dir.write("file", "");
    std::filesystem::create_symlink("loop", dir.path("loop"));
    const Captured logged(std::clog);
    const std::string folders[] = {"none", "file", "loop", std::string(300, 'x')};
    for (const std::string& folder : folders) {
        made->produceWriterData(QString::fromStdString(dir.path(folder)), {}, {{{0, 0}}});
        made->writeEntry(0);
        EXPECT_TRUE(made->getErrors().last().contains(QStringLiteral("not found in"))) << folder;
    }
    made->produceProverData(); // in the place of what the driver had
    made->proveJob();
}

TEST_F(ProofDirectorTest, AFirstPlayCountsFromUnprovedAndSaysThatItCannotRegister)
{
    const Captured report(std::cout);
    const Captured logged(std::clog);
    const std::string goal = "UnreliablyProved/Unproved/Unproved,Unproved,Unproved";
    make({{"D1"}}, goal + " Proved", {"redundancy", 0});
    test::beforeStart = [](const std::string& /*program*/) {
        return EIO; // of the disk
    };
    made->play();
    test::beforeStart = nullptr;
    EXPECT_NE(logged.text().find("Cannot save"), std::string::npos);
    EXPECT_EQ(test::statusesOf(posPath), goal + " Proved");
    make({driverSaying(dir, "D1", "Proved"), driverSaying(dir, "D2", "Proved"), {"D3"}}, goal,
         {"redundancy"});
    made->play();
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved,Proved,Unproved");
    EXPECT_NE(report.text().find("D3, still -1 unproved"), std::string::npos);
}

TEST_F(ProofDirectorTest, OnlyWholeWordsOfAReaderCount)
{
    test::Driver driver = driverSaying(dir, "D1", "", "group='full'");
    driver.reader.path = dir.script("r", "cat > /dev/null; printf '\\n \\nProved\\n\\nUnknown\\r\\n"
                                         "proved\\n Proved\\nProved\\0junk\\nUnknown  \\n\\n'; "
                                         "sleep 1000 & echo $! > $0.pid");
    const std::string open = "Unproved/Unproved/Proved ";
    make({driver}, open + open + open + open + open + open + open);
    test::beforeStart = [this](const std::string& program) {
        const std::string pid = program == "unlink" ? test::contentOf(dir.path("r.pid")) : "";
        EXPECT_TRUE(pid.empty() || test::hasEnded(std::stoi(pid), true)) << "it may write the file";
        return 0;
    };
    EXPECT_NE(replay().find("\t+----+-\n"), std::string::npos);
    test::beforeStart = nullptr;
    EXPECT_TRUE(test::hasEnded(std::stoi(test::contentOf(dir.path("r.pid"))), true));
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved " + open + open + open + open +
                                             "Proved/Proved/Proved Unproved/Unknown/Unknown");
}

TEST_F(ProofDirectorTest, AFailedSaveIsReportedAndTheNextJobSavesAgain)
{
    test::Driver driver = driverSaying(dir, "D1", "Proved");
    // The first job takes the status file away, the second brings it back. The secondary file of
    // the second is not there yet when the first proves.
    driver.prover.path =
        dir.script("p", "cd " + dir.path() +
                            "; if [ -e comp.pos ]; then mv comp.pos away; rm -f *_1_0.po2;"
                            " else mv away comp.pos; fi; cat");
    make({driver}, "Unproved/Unproved/Proved | Unproved/Unproved/Proved");
    replay();
    EXPECT_EQ(log, "-- ProofDirector -- Cannot save POS file " + posPath +
                       ": No such file or directory\n");
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved | Proved/Proved/Proved");
}

TEST_F(ProofDirectorTest, FiltersChooseTheDriversThatPlay)
{
    const std::vector<test::Driver> drivers = {
        {"d2"}, {"D"}, driverSaying(dir, "D2", "Proved", "fast='true'")};
    const std::string open = "Unproved/Unproved/Unproved";
    const std::string goals = open + " " + open + ",Proved " + open;
    std::string reports;
    for (Settings settings :
         {Settings{"never", 2}, Settings{"always", 0, "", "D"}, Settings{"always", 0, "", "D2"},
          Settings{"always", 1, "", "", true}}) {
        settings.trace = 2; // only the first level brings progress lines
        make(drivers, goals, settings);
        reports += replay() + log + "--\n";
    }
    test::expectGolden("director/golden/filters.txt", reports);
}

TEST_F(ProofDirectorTest, WithAGoalFilterTheRestOfTheOutputIsAModel)
{
    test::Driver driver = driverSaying(dir, "D1", "Disproved 'x = 1' 'y = 2'");
    std::string text;
    for (const bool xml : {false, true}) {
        make({driver}, "Unproved/Unproved/Unproved | Proved/Proved/Proved",
             {"always", 1, "PO_1.1", "", false, xml});
        text += replay();
        EXPECT_EQ(test::statusesOf(posPath), "Unproved/Unproved/Unproved | Proved/Proved/Proved");
        EXPECT_NE(test::contentOf(posPath).find("author="), std::string::npos) << "saved";
    }
    test::expectGolden("director/golden/model.txt", text);
    // A number that no goal has, or that is none: the thread that plays hears of it.
    for (const std::string number : {"x", "2", "-2147483648"}) {
        for (const unsigned int workers : {1U, 3U}) {
            make({driver}, "Unproved/Unproved/Proved", {"always", workers, "PO_0." + number});
            const Captured report(std::cout);
            EXPECT_THROW(made->replay(), std::out_of_range);
            EXPECT_NE(report.text().find("PO_0\n"), std::string::npos) << report.text();
            EXPECT_EQ(filesOf("c.d"), 0) << "a secondary file is left";
        }
    }
}

TEST_F(ProofDirectorTest, JobsRunInPartsAndHeadingsOnlyGoForward)
{
    const Captured captured(std::cout);
    std::size_t told = 0;
    const auto report = [&] {
        std::string news = captured.text().substr(told);
        told += news.size();
        return news;
    };
    const auto prepare = [this] {
        make({driverSaying(dir, "D1", "Proved", "group='related'")},
             "Unproved/Unproved/Proved | | Unproved/Unproved/Proved",
             {"never", 1, "", "", false, true})
            .reloadPosFile();
        made->prepareDriver(0);
    };
    prepare();
    EXPECT_THROW(made->prepareDriver(1), std::out_of_range);
    made->prepareDriver(0);
    made->writeJob();
    made->prepareDriver(0); // which ends what was prepared before
    made->proveJob();
    EXPECT_NE(report().find("PO_2</name>\n\t\t\t<m/>"), std::string::npos) << "nothing is written";
    EXPECT_EQ(test::contentOf(posPath).find("author"), std::string::npos) << "nor saved";
    made->prepareDriver(0);
    made->proveJob(); // from the first job on
    EXPECT_NE(report(), "");
    made->prepareDriver(0);
    made->writeJob();
    made->proveEntry(1);
    made->proveEntry(0);
    const std::string open = "\t\t<operation><name>PO_0</name>\n\t\t\t";
    const std::string next = "</operation>\n\t\t<operation><name>PO_1</name>\n\t\t\t</operation>\n"
                             "\t\t<operation><name>PO_2</name>\n\t\t\t<u/>";
    EXPECT_EQ(report(), open + next + "<u/>");
    prepare();
    made->writeJob();
    EXPECT_EQ(filesOf("c.d") + filesOf("D1_2.po2"), 3) << "named by the obligation's place";
    made->proveJob();
    made->proveJob(); // which has nothing left to prove
    EXPECT_EQ(report(), open + "<u/>" + next);
    made->finishDriver();
    EXPECT_EQ(filesOf("c.d"), 0);
    EXPECT_THROW(made->writeEntry(0), std::out_of_range);
    EXPECT_THROW(made->proveEntry(0), std::out_of_range);
    prepare();
    made->writeAndProveJob();
    made->proveJob(); // each was proved by whoever wrote it
    EXPECT_EQ(report(), open + "<u/>" + next);
}

TEST_F(ProofDirectorTest, ASaveDuringALoadLosesNoRegistration)
{
    std::string goals;
    for (int goal = 0; goal < 60; ++goal) {
        goals += "Unproved | ";
    }
    for (int round = 0; round < 60; ++round) {
        make({{"D1"}}, goals);
        std::atomic<bool> loaded{false};
        std::thread other([&] {
            while (!loaded) {
                made->savePosFile();
            }
        });
        made->loadPosFile();
        loaded = true;
        other.join();
        EXPECT_TRUE(made->savePosFile());
        EXPECT_EQ(test::statusesOf(posPath).find(" Unproved |"), std::string::npos);
    }
}

TEST_F(ProofDirectorTest, ManyWorkersLoseNoVerdict)
{
    std::string goals = "Unproved/Unproved/Proved";
    for (int i = 0; i < 30; ++i) {
        goals += " Unproved/Unproved/Proved | Unproved/Unproved/Proved";
    }
    // Two at once, or neither gets an answer.
    ASSERT_EQ(::mkfifo(dir.path("meet").c_str(), 0600), 0);
    test::Driver driver = driverSaying(dir, "D1", "Proved");
    driver.prover.path = dir.script("p", "cd " + dir.path() +
                                             "; mkdir one && exec timeout 9 cat meet\n"
                                             "mkdir two && exec timeout 9 tee meet; cat");
    for (const unsigned int workers : {2U, 40U}) {
        make({driver}, goals, {"always", workers});
        replayDuring([this] {
            made->savePosFile();
        });
        EXPECT_EQ(test::statusesOf(posPath).find("Unproved"), std::string::npos);
        EXPECT_EQ(::rmdir(dir.path("one").c_str()) + ::rmdir(dir.path("two").c_str()), 0);
    }
}

TEST_F(ProofDirectorTest, ManyWorkersTakeEachJobOnceAndTellEachFailure)
{
    // Every job fails at once, on a folder in its way: so the workers often meet.
    std::string goals;
    for (int job = 0; job < 400; ++job) {
        goals += "Unproved/Unproved/Proved | ";
        std::filesystem::create_directory(
            dir.path(":c.d%2_mech_D1_" + std::to_string(job) + "_0.po2"));
    }
    for (int round = 0; round < 5; ++round) {
        make({{"D1"}}, goals, {"always", 8});
        replayDuring([this] {
            made->getErrors(); // the next failure makes the list anew
        });
        EXPECT_EQ(made->getErrors().size(), 400);
    }
}

TEST_F(ProofDirectorTest, WithoutRoomForAnotherThreadTheJobsRunOnThisOne)
{
    const std::string goals = "Unproved/Unproved/Proved | Unproved/Unproved/Proved";
    make({driverSaying(dir, "D1", "Proved")}, goals, {"always", 2});
    pthread_attr_t usual;
    pthread_attr_t huge;
    ::pthread_getattr_default_np(&usual);
    ::pthread_attr_init(&huge);
    ::pthread_attr_setstacksize(&huge, std::size_t(1) << 60);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
    replay();
    ::pthread_setattr_default_np(&usual);
    EXPECT_EQ(log, "-- ProofDirector -- Cannot start another worker thread: "
                   "Resource temporarily unavailable\n");
    EXPECT_EQ(test::statusesOf(posPath), "Proved/Proved/Proved | Proved/Proved/Proved");
}

/// A report that nobody reads until it is opened.
class ShutReport final : public std::stringbuf
{
public:
    ~ShutReport() override = default;
    void open()
    {
        lock.unlock();
    }

    std::atomic<bool> reached{false};

private:
    std::streamsize xsputn(const char* text, std::streamsize count) override
    {
        reached = true;
        const std::lock_guard<std::mutex> opened(shut);
        return std::stringbuf::xsputn(text, count);
    }

    std::mutex shut;
    std::unique_lock<std::mutex> lock{shut};
};

TEST_F(ProofDirectorTest, AStopKillsCleansAndSaves)
{
    // One of two jobs has its verdict merged and waits for the report, the other waits to merge its
    // own. The third runs, and writes its secondary file again and again. The writer of the fourth
    // is just being started, and the stop waits for that, after the save.
    test::Driver driver = driverSaying(dir, "D1", "");
    driver.writer.path = dir.script("w", "while [ \"$1\" != -o ]; do shift; done; echo $2 > $2");
    driver.reader.path = dir.script("r", "read job; echo $$ > $job.pid; case $job in *_2_0.*) "
                                         "while :; do echo > $job; done;; esac; echo Proved");
    const std::string open = "Unproved/Unproved/Proved";
    ShutReport buffer;
    std::ostream report(&buffer);
    Settings set;
    set.report = &report;
    make({driver}, open + " | " + open + " | " + open + " | " + open, set).reloadPosFile();
    made->prepareDriver(0);
    const std::string file = dir.path(":c.d%2_mech_D1_");
    std::promise<void> goesOn;
    std::atomic<int> writers{0};
    std::atomic<int> syncs{0};
    test::beforeStart = [&](const std::string& program) {
        if (program == "sync" && ++syncs == 1) {
            ::usleep(100000); // so that another one is not due soon
        } else if (program == dir.path("w") && ++writers == 4) {
            dir.write(":c.d%2_mech_D1_3_0.po2", "early");
            goesOn.get_future().wait();
            dir.write(":c.d%2_mech_D1_3_0.po2", "late");
        }
        return 0;
    };
    std::vector<std::thread> workers;
    const auto work = [&] {
        workers.emplace_back([this] {
            made->writeAndProveJob();
        });
    };
    work();
    work();
    work();
    const auto reader = [&](const std::string& job) {
        while (test::contentOf(file + job + "_0.po2.pid").empty()) {
            ::usleep(1000);
        }
        return std::stoi(test::contentOf(file + job + "_0.po2.pid"));
    };
    EXPECT_TRUE(test::hasEnded(reader("0"), true) && test::hasEnded(reader("1"), true));
    const int running = reader("2");
    work();
    while (!buffer.reached || !test::exists(file + "3_0.po2")) {
        ::usleep(1000);
    }
    EXPECT_TRUE(made->savePosFile());
    dir.write("comp.pos", test::posText(open));
    std::future<void> stop = std::async(std::launch::async, [this] {
        made->stop();
    });
    while (test::contentOf(posPath).find("author") == std::string::npos) {
        ::usleep(1000);
    }
    EXPECT_EQ(syncs, 2) << "whenever the last one was";
    EXPECT_TRUE(test::hasEnded(running, true));
    EXPECT_EQ(filesOf(".po2") - filesOf(".pid"), 0) << "removed before the save";
    EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    goesOn.set_value();
    stop.wait();
    EXPECT_EQ(filesOf(".po2") - filesOf(".pid"), 0) << "what the start has brought";
    buffer.open();
    for (std::thread& worker : workers) {
        worker.join();
    }
    test::beforeStart = nullptr;
    made->savePosFile();
    const std::string goals = test::statusesOf(posPath);
    EXPECT_EQ(goals.find("Proved/Proved/Proved"), goals.rfind("Proved/Proved/Proved")) << goals;
    EXPECT_NE(goals.find("Proved/Proved/Proved"), std::string::npos) << goals;
    made->replay();
    EXPECT_EQ(buffer.str().find("Proof driver"), std::string::npos);
}

TEST_F(ProofDirectorTest, DumpsKeepTheirLayout)
{
    std::ostringstream text;
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    text << make({}, "Unproved", {"always", 7});
    EXPECT_EQ(QTextCodec::codecForLocale()->name(), "UTF-8");
    const Captured logged(std::clog);
    text << ProofDirector(ProofDirectorSettings());
    const QDomDocument document = test::documentOf("<m a='1'/>");
    text << ProofDirector::obligations_t{
        {"PO_0", {{pos::UNPROVED, {QStringLiteral("D1")}, document.documentElement()}}}};
    text << ProofDirector::writer_data_t{{}, {}, {}, {{1, 2}, {3, 4}}};
    text << ProofDirector::prover_data_t{
        QStringLiteral("p"), {QStringLiteral("-p"), QStringLiteral("f")},
        QStringLiteral("r"), {QStringLiteral("-r")},
        QStringLiteral("f"), {{1, 2}}};
    test::expectGolden("director/golden/dump.txt", masked(text.str()));
}
