// The page and the test results of a report.

#include "mechtool/Component.h"
#include "mechtool/report/Content.h"
#include "mechtool/report/Markup.h"
#include "mechtool/report/Plots.h"
#include "mechtool/report/sections.h"
#include "tests/mechtool/MechtoolRun.h"

#include <QCryptographicHash>
#include <QDomDocument>
#include <QRegularExpression>

#include <filesystem>

#include <sys/stat.h>

namespace
{

class Report : public MechtoolRun
{
protected:
    /// The page that the words make, which must be answered.
    std::string page(const std::string& words, int status = 0)
    {
        const outcome_t made = run("report " + words + " --html page.html");
        EXPECT_EQ(made.status, status) << made.err;
        return test::contentOf(dir.path("page.html"));
    }

    /// The test results that the words make, which must be well-formed.
    QDomElement results(const std::string& words, int status = 0)
    {
        const outcome_t made = run("report " + words + " --junit results.xml");
        EXPECT_EQ(made.status, status) << made.err;
        return test::documentOf(test::contentOf(dir.path("results.xml"))).documentElement();
    }
};

int countOf(const std::string& text, const std::string& part)
{
    return QString::fromStdString(text).count(QString::fromStdString(part));
}

std::string attributeOf(const QDomElement& element, const char* name)
{
    return element.attribute(QString::fromLatin1(name)).toStdString();
}

/// The texts of the cells of a row, without markup; the row begins with this heading.
std::string rowOf(const std::string& page, const std::string& heading)
{
    const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    for (const QString& line : QString::fromStdString(page).split(QLatin1Char('\n'))) {
        if (line.startsWith(QStringLiteral("<tr><th scope=\"row\">") +
                            QString::fromStdString(heading) + QLatin1Char('<'))) {
            QString cells = line;
            cells.replace(QRegularExpression(QStringLiteral("<td[^>]*>")), QStringLiteral("|"));
            return cells.remove(tags).toStdString();
        }
    }
    return "no row " + heading;
}

const char* const RING = R"(<Proof_Obligations>
<Proof_Obligation><Tag>put</Tag>
 <Simple_Goal status='Proved'><Proof_State proofState='Unproved'/>
  <Mechanism name='smt' status='Proved'><Driver name='Z3' status='Proved'/><Driver name='E'/>
  </Mechanism></Simple_Goal>
 <Simple_Goal status='Disproved'><Mechanism name='smt' status='Disproved'/></Simple_Goal>
</Proof_Obligation>
<Proof_Obligation><Tag>none</Tag></Proof_Obligation>
<Proof_Obligation><Tag>put</Tag>
 <Simple_Goal status='UnreliablyProved'/><Simple_Goal status='Unknown'/><Simple_Goal/>
</Proof_Obligation>
</Proof_Obligations>)";

TEST_F(Report, ThePageHasTheTotalsOfShow)
{
    dir.write("ring.pos", RING);
    const std::string example = MECHRUN_EXAMPLES "/buffer.pos";
    const std::string html = page("ring.pos " + example);
    const QJsonValue shown = jsonOf(run("show --json ring.pos " + example).out);
    const char* const keys[] = {"goals",   "proved",   "unreliablyProved",   "disproved",
                                "unknown", "unproved", "provedByMechanisms", "provedByProver"};
    const std::pair<const char*, const char*> rows[] = {
        {"ring", "components/0/totals/"}, {"buffer", "components/1/totals/"}, {"all", "totals/"}};
    for (const auto& [name, path] : rows) {
        std::string expected = name;
        for (const char* key : keys) {
            expected += "|" + std::to_string(at(shown, std::string(path) + key).toInt(-1));
        }
        EXPECT_EQ(rowOf(html, name), expected);
    }
    EXPECT_EQ(rowOf(html, "smt"), "smt||1ring: put.1|2|1|0|1|0|0");
    const int goals = at(shown, "totals/goals").toInt();
    EXPECT_EQ(countOf(html, "<i class=p></i>") + countOf(html, "<i class=r></i>") +
                  countOf(html, "<i class=d></i>") + countOf(html, "<i class=k></i>") +
                  countOf(html, "<i class=u></i>"),
              goals);
    EXPECT_EQ(countOf(html, "<tr class="), goals);
    // What the filters read: smt and its Z3 are the only ones.
    EXPECT_NE(html.find("<tr class=p data-r=\"o0 o1 n2 \"><td>ring: put.1<td>Proved<td>prover "
                        "Unproved; smt Proved (Z3 Proved, E Unproved)\n"),
              std::string::npos);
    EXPECT_NE(html.find("<td>ring: put#2.3<td>Unproved<td>\n"), std::string::npos);
    const char* const halves = "<rect class=\"p\" x=\"0\" width=\"500\" height=\"10\"/>"
                               "<rect class=\"d\" x=\"500\" width=\"500\" height=\"10\"/>";
    for (const char* part :
         {"<tr class=d data-r=\"d0 \"><td>ring: put.2", "put</b><small>1/2</small>",
          "put#2</b><small>0/3</small>", "value=\"UnreliablyProved\" data-class=\"r\"",
          "<option value=\"o1\">smt/Z3</option>", "1 of 5 goals are proved (20 %)", halves}) {
        EXPECT_NE(html.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(rowOf(html, "<span class=\"driver\">Z3"), "Z3||1ring: put.1|1|1|0|0|0|0");
}

TEST_F(Report, AComponentWithoutGoalsHasAPageAndResults)
{
    dir.write("none.pos", "<Proof_Obligations/>");
    const std::string html = page("none.pos --title 'Nothing yet'");
    EXPECT_NE(html.find("<h1>Nothing yet</h1>"), std::string::npos);
    EXPECT_NE(html.find("There are no goals."), std::string::npos);
    EXPECT_EQ(html.find("<form"), std::string::npos);
    EXPECT_EQ(attributeOf(results("none.pos"), "tests"), "0");
}

TEST_F(Report, HostileNamesAreTextsOnly)
{
    const std::string tags[] = {
        "&lt;script>alert(1)&lt;/script>",
        "\"' onload='x",
        "{{script}}%1%2",
        "\xe2\x80\xae&#13;&#9;\\",
        "]]&gt;&amp;lt;",
        test::replaced("x" + std::string(4000, 'y') + "x", "y", "\xf0\x9d\x94\xb8")};
    std::string text = "<Proof_Obligations>";
    for (const std::string& tag : tags) {
        const std::string name = test::replaced(tag, "\"", "&quot;");
        const std::string obligation =
            "<Proof_Obligation><Tag>TAG</Tag><Simple_Goal status='Disproved'>"
            "<Proof_State proofState=\"NAME\"/><Mechanism name=\"NAME\" status='Proved'>"
            "<Driver name=\"NAME\" status='Proved'/></Mechanism></Simple_Goal></Proof_Obligation>";
        text += test::replaced(test::replaced(obligation, "NAME", name), "TAG", tag);
    }
    dir.write("h.pos", text + "</Proof_Obligations>");
    dir.write("old.pos", test::replaced(text, "Disproved", "Proved") + "</Proof_Obligations>");
    dir.write("h.jsonl", R"({"version":1,"component":"h","mechanism":"<b>","driver":"\"<i>\u202e",)"
                         R"("goals":["<script>alert(1)</script>.1"],"verdicts":[],)"
                         R"("end":"</p><img src=x>","seconds":1,"time":"<u>"})");
    const std::string words = "h.pos --baseline old.pos --journal h.jsonl";
    const std::string html = page(words + " --title '</title><script>'");
    EXPECT_EQ(countOf(html, "<script"), 1);
    EXPECT_EQ(countOf(html, "</title>"), 1);
    for (const char* never :
         {"<img", "<u>", "<b>&lt;b", "\xe2\x80\xae", "\r", "' onload='x'>", "\"\"' onload",
          "?\xe2\x80\xa6", "\xe2\x80\xa6?"}) { // the last two: half of a character
        EXPECT_EQ(html.find(never), std::string::npos) << never;
    }
    for (const char* text_ :
         {"<b>&lt;script&gt;alert(1)&lt;/script&gt;</b>", "\\u202e\\r\\t\\\\.1", "{{script}}%1%2.1",
          "]]&gt;&amp;lt;", "&lt;/p&gt;&lt;img src=x&gt;"}) {
        EXPECT_NE(html.find(text_), std::string::npos) << text_;
    }
    // The long name stands in full in its row of the map only; elsewhere its middle is left out.
    EXPECT_EQ(countOf(html, " title=\"x\xf0\x9d\x94\xb8"), 1);
    EXPECT_LT(html.size(), 100000U);
    const QDomElement suites = results(words);
    EXPECT_EQ(attributeOf(suites, "failures"), "6");
    EXPECT_EQ(attributeOf(suites.firstChildElement().firstChildElement(), "name"),
              "<script>alert(1)</script>.1");
}

TEST_F(Report, WhatXmlForbidsIsWrittenAsAnEscape)
{
    report::content_t content;
    report::subject_t subject;
    goal_t goal;
    goal.prover = QChar(0xfffe) + QString(QChar(1)) + QChar(0xd800);
    subject.component.obligations.push_back({{}, QString(QChar(0xffff)), {goal}});
    content.subjects.push_back(subject);
    const QByteArray text = report::junit(content, {});
    EXPECT_TRUE(text.contains("name=\"\\uffff.1\"")) << text.toStdString();
    EXPECT_TRUE(text.contains(">prover \\ufffe\\x01\\ud800<")) << text.toStdString();
}

TEST_F(Report, ThePageRunsItsOwnScriptAndStyleOnly)
{
    dir.write("ring.pos", RING);
    const std::string html = page("ring.pos");
    const QString text = QString::fromStdString(html);
    for (const char* tag : {"style", "script"}) {
        const QString name = QString::fromLatin1(tag);
        const QString content = text.section(QStringLiteral("<%1>").arg(name), 1)
                                    .section(QStringLiteral("</%1>").arg(name), 0, 0);
        const QByteArray hash =
            QCryptographicHash::hash(content.toUtf8(), QCryptographicHash::Sha256).toBase64();
        EXPECT_GT(content.size(), 1000);
        EXPECT_TRUE(text.contains(
            QStringLiteral("%1-src 'sha256-%2'").arg(name, QString::fromLatin1(hash))));
    }
    EXPECT_NE(html.find("default-src 'none'"), std::string::npos);
    for (const char* never : {"src=", "href=", " style=", "url(", "innerHTML", "{{"}) {
        EXPECT_EQ(html.find(never), std::string::npos) << never;
    }
}

TEST_F(Report, WhatIsWorseThanBeforeStandsFirst)
{
    dir.write("ring.pos", RING);
    dir.write("was.pos", test::replaced(test::replaced(RING, "'Disproved'", "'Proved'"),
                                        "'Unknown'", "'Disproved'"));
    const std::string html = page("ring.pos --baseline was.pos");
    EXPECT_NE(html.find(">1 worse</b>, 1 better, 0 with other records, of 5 goals compared."),
              std::string::npos);
    EXPECT_EQ(rowOf(html, "put.2"), "put.2|Proved|Disproved|smt: Proved \xe2\x86\x92 Disproved");
    EXPECT_LT(html.find("<caption>Worse"), html.find("<caption>Better"));
    EXPECT_LT(html.find("<caption>Better"), html.find("id=\"map\""));
    dir.write("more.pos", test::replaced(RING, "<Tag>none</Tag>",
                                         "<Tag>none</Tag><Simple_Goal status='Proved'/>"));
    const std::string gone = page("ring.pos --baseline more.pos");
    EXPECT_EQ(rowOf(gone, "none"), "none|1 goal: 1 Proved|0 goals");
    EXPECT_NE(gone.find("<li>goal none.1: it was Proved, and is gone"), std::string::npos);
    EXPECT_NE(gone.find("<li>obligation none has 0 goals, and had 1"), std::string::npos);
}

/// A line of a journal for the goals of "ring".
std::string line(const std::string& goals, const std::string& verdicts, const std::string& end,
                 const std::string& seconds, const std::string& more = "")
{
    return R"({"version":1,"component":"ring","mechanism":"smt","driver":"Z3","goals":[)" + goals +
           "],\"verdicts\":[" + verdicts + "],\"end\":\"" + end + "\",\"seconds\":" + seconds +
           more + "}\n";
}

TEST_F(Report, TimesComeFromTheLastJobs)
{
    dir.write("ring.pos", RING);
    dir.write("ring.jsonl",
              line(R"("put.1","put.2")", R"("Proved","Disproved")", "read", "3",
                   R"(,"time":"2026-01-01")") +
                  line(R"("put.1")", R"("Proved")", "read", "2", R"(,"time":"2026-01-02")") +
                  line(R"("put.1")", R"("Unknown")", "read", "9", R"(,"time":"2025-01-01")") +
                  line(R"("put#2.1","put#2.3")", "", "prover crashed", "2",
                       R"(,"writer":{"error":"Gone"},"prover":{"signal":"SIGSEGV"},"reader":)"
                       R"({"status":3})") +
                  line(R"("put#2.2")", "", "time limit", "4") +
                  line(R"("gone.2","put#2.2")", R"("Proved","Unknown")", "read", "4") +
                  test::replaced(line(R"("put#2.3")", "", "stopped", "1"), "Z3", "E") +
                  line(R"("gone.1")", R"("Proved")", "read", "1") + "\nno json\n" +
                  test::replaced(line(R"("put.1")", R"("Proved")", "read", "1"), "ring", "other") +
                  test::replaced(line(R"("put.1")", R"("Proved")", "read", "1"), "n\":1", "n\":2") +
                  line(R"("put.1")", R"("Proved")", "read", "-1") +
                  test::replaced(line(R"("put.2","put#2.2")", R"("Proved","Proved")", "read", "14"),
                                 "Z3", "E") +
                  "{\"version\":1,\"comp");
    const std::string html = page("ring.pos --journal ring.jsonl");
    EXPECT_NE(html.find("14 lines of the journal; 2 of other components or of goals that are "
                        "gone; 4 torn, or of another version."),
              std::string::npos);
    // Two solved, in 2 s and in half of 3 s; three others in 1 s, 1 s and 2 s.
    EXPECT_NE(html.find(">smt/Z3<td class=n>5<td class=n>2<td class=n>7.500<td class=n>1.500"
                        "<td class=n>2.000<td class=n>2.000"),
              std::string::npos);
    EXPECT_NE(html.find("<td>Disproved<td>8.500<td>"), std::string::npos); // put.2: 1.5 s and 7 s
    EXPECT_EQ(countOf(html, "<figure class=\"pair\">"), 1);
    EXPECT_EQ(rowOf(html, "smt/Z3 faster") + rowOf(html, "smt/E faster"),
              "smt/Z3 faster|1smt/E faster|0");
    EXPECT_NE(html.find("</span>one solved<td class=n>1\n"), std::string::npos);
    EXPECT_LT(html.find(">7.000<td>smt/E<td>Proved"), html.find("put#2.1<td class=n>1.000"));
    EXPECT_EQ(rowOf(html, "put#2.1"),
              "put#2.1|1.000|smt/Z3|prover crashed"); // among the slowest
    EXPECT_NE(html.find("put#2.1 and 1 more<td>smt/Z3<td class=n>2.000<td>prover crashed: writer: "
                        "Gone; prover ended by SIGSEGV; reader ended with status 3<td>"),
              std::string::npos);
    EXPECT_EQ(html.find("<td>stopped<td>"), std::string::npos) << "not failed";
    EXPECT_EQ(html.find("time limit"), std::string::npos) << "a later job has an answer";
    const QDomElement suites = results("ring.pos --journal ring.jsonl");
    EXPECT_EQ(attributeOf(suites, "time"), "22.500");
    EXPECT_EQ(attributeOf(suites.firstChildElement().firstChildElement(), "time"), "2.000");
    dir.write("empty.jsonl", "");
    EXPECT_NE(page("ring.pos --journal empty.jsonl").find("0 lines of the journal."),
              std::string::npos);
}

TEST_F(Report, LongListsAreCut)
{
    std::string goals;
    std::string journal;
    for (int i = 1; i <= 201; ++i) {
        goals += "Proved/Proved/Proved ";
        journal += test::replaced(line("\"PO_0." + std::to_string(i) + '"', "", "refused", "1"),
                                  "ring", "c");
    }
    for (const char driver : std::string("abcdefghi")) { // which make 36 pairs, and one with Z3
        journal += test::replaced(
            test::replaced(line("\"PO_0.202\"", "", "read", "0"), "ring", "c"), "Z3", {driver});
    }
    for (int i = 1; i <= 10; ++i) {
        journal +=
            test::replaced(test::replaced(line("\"PO_0." + std::to_string(i) + '"', "\"Proved\"",
                                               "read", std::to_string(i) + "e-3"),
                                          "ring", "c"),
                           "Z3", "a");
    }
    dir.write("c.pos", test::posText(goals + "Unproved"));
    dir.write("c.jsonl", journal);
    const std::string html = page("c.pos --journal c.jsonl");
    for (const char* part : {"201 of 202 goals are proved (99 %)", "PO_0.50 and 151 more: choose",
                             "<td class=n>0.005<td class=n>0.009<td class=n>0.010\n",
                             "<p>And 1 more.</p>", "<p>9 more pairs are not drawn.</p>"}) {
        EXPECT_NE(html.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(countOf(html, "<td>smt/Z3<td>refused\n"), 20) << "among the slowest";
    EXPECT_EQ(countOf(html, "<figure class=\"pair\">"), 28);
    EXPECT_EQ(countOf(html, "<td>smt/Z3<td class=n>1.000<td>refused<td>\n"), 200);
}

TEST_F(Report, ResultsFollowTheLevel)
{
    dir.write("ring.pos", RING);
    const struct {
        const char* words;
        int status;
        const char* counts; ///< failures and skipped, of the five goals
        const char* cases;  ///< of the goals: passed, failed, skipped
    } rows[] = {
        {"", 0, "1 3", "pf||sss|"},
        {"--require proved", 1, "4 0", "pf||fff|"},
        {"--require settled", 1, "3 0", "pp||fff|"},
        {"--require not-refuted", 1, "1 3", "pf||sss|"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const QDomElement suites = results(std::string("ring.pos ") + row.words, row.status);
        EXPECT_EQ(attributeOf(suites, "failures") + ' ' + attributeOf(suites, "skipped"),
                  row.counts);
        std::string cases;
        for (const QDomElement& suite : test::childrenOf(suites)) {
            std::string letters;
            for (const QDomElement& goal : test::childrenOf(suite)) {
                const QString result = goal.firstChildElement().tagName();
                letters += result.isEmpty() ? "p" : result.left(1).toStdString();
            }
            EXPECT_EQ(attributeOf(suite, "tests"), std::to_string(letters.size()));
            EXPECT_EQ(attributeOf(suite, "failures"), std::to_string(countOf(letters, "f")));
            EXPECT_EQ(attributeOf(suite, "skipped"), std::to_string(countOf(letters, "s")));
            cases += letters + '|';
        }
        EXPECT_EQ(cases, row.cases);
    }
    const QDomElement refuted = results("ring.pos").firstChildElement().lastChildElement();
    EXPECT_EQ(attributeOf(refuted, "classname"), "ring.put");
    EXPECT_EQ(refuted.text(), QStringLiteral("smt Disproved"));
    for (const char* const open : {"Unproved", "Unknown", "UnreliablyProved", "Disproved"}) {
        dir.write("proved.pos", test::posText("Proved"));
        dir.write("open.pos", test::posText(open));
        results("open.pos proved.pos --require proved", 1);
    }
}

TEST_F(Report, ComponentsOfOneNameAreToldApart)
{
    dir.write("ring.pos", RING);
    for (const char* folder : {"old", "new"}) {
        std::filesystem::create_directory(dir.path(folder));
        dir.write(std::string(folder) + "/ring.pos", RING);
    }
    dir.write("was/ring.pos", test::replaced(RING, "'Disproved'", "'Proved'"));
    dir.write("buffer.pos", RING);
    const std::string html =
        page("old/ring.pos new/ring.pos buffer.pos --baseline was/ring.pos --baseline buffer.pos");
    EXPECT_NE(html.find("<td>new/ring.pos: put.1<td>"), std::string::npos);
    EXPECT_NE(html.find("Not compared: new/ring.pos."), std::string::npos);
    EXPECT_NE(html.find(">1 worse</b>, 0 better, 0 with other records, of 10 "), std::string::npos);
    EXPECT_EQ(attributeOf(results("old/ring.pos new/ring.pos"), "tests"), "10");
}

TEST_F(Report, FilesAreReplacedInOneStepOrLeftAlone)
{
    dir.write("ring.pos", RING);
    dir.write("page.html", "before");
    ::chmod(dir.path("page.html").c_str(), 0640);
    page("ring.pos --junit new.xml");
    struct stat status = {};
    ASSERT_EQ(::stat(dir.path("page.html").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_TRUE(test::exists(dir.path("new.xml")));
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        const std::string name = entry.path().filename();
        EXPECT_TRUE(name.find('.') == std::string::npos || name == "ring.pos" ||
                    name == "page.html" || name == "new.xml")
            << name;
    }
    const std::string before = test::contentOf(dir.path("page.html"));
    EXPECT_EQ(run("report none.pos --html page.html").status, 2);
    EXPECT_EQ(test::contentOf(dir.path("page.html")), before);
}

TEST_F(Report, WhatCannotBeDoneIsReportedInOneLine)
{
    dir.write("ring.pos", RING);
    dir.write("was.pos", RING);
    dir.write("cut.pos", "<Proof_Obligations>");
    const struct {
        const char* words;
        const char* line; ///< what it holds
    } rows[] = {
        {"", "an argument is missing"},
        {"ring.pos", "there is nothing to write: give --html or --junit"},
        {"ring.pos --html=", "the value of --html is empty"},
        {"ring.pos --html ./ring.pos", "ring.pos would be written over"},
        {"ring.pos --html a --junit ./a", "a would be written over"},
        {"ring.pos --html no/folder/a", "no/folder/a cannot be written: "},
        {"ring.pos --html .", ". cannot be written: "},
        {"ring.pos --html a --require all", "--require=all is no level"},
        {"cut.pos --html a", "cut.pos: not well-formed"},
        {"ring.pos --html a --baseline cut.pos", "cut.pos: not well-formed"},
        {"ring.pos --html a --baseline ring.pos --baseline ring.pos", "belongs to no component"},
        {"ring.pos " MECHRUN_EXAMPLES "/buffer.pos --html a --baseline was.pos",
         "=was.pos belongs"},
        {"ring.pos --html cut.pos --journal cut.pos", "cut.pos would be written over"},
        {"ring.pos --html a --journal none", "the journal none cannot be read: "},
        {"ring.pos --html a --journal .", "the journal . cannot be read: it is a folder"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const outcome_t outcome = run(std::string("report ") + row.words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find(row.line), std::string::npos) << outcome.err;
        EXPECT_EQ(countOf(outcome.err, "\n"), 1) << outcome.err;
        EXPECT_FALSE(test::exists(dir.path("a")));
    }
    EXPECT_EQ(test::contentOf(dir.path("ring.pos")), RING);
}

TEST(Plots, AxesAreWholePowersOfTenAndHoldEveryTime)
{
    const struct {
        double least, most;
        int begin, end;
    } rows[] = {{0, 0, -3, 0}, {0.02, 0.5, -2, 0}, {0.5, 1, -2, 0}, {0.004, 12, -3, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.most);
        const report::axis_t axis = report::axisOf(row.least, row.most);
        EXPECT_EQ(axis.least, row.begin);
        EXPECT_EQ(axis.most, row.end);
        EXPECT_EQ(axis.place(0), 0);
        EXPECT_EQ(axis.place(1e12), 1);
        EXPECT_LT(axis.place(0.1), axis.place(0.11));
    }
}

TEST(Plots, PointsThatFallTogetherAreDrawnOnce)
{
    report::cloud_t cloud;
    cloud.both.assign(5000, {0.1, 1});
    cloud.one.assign(1, {1, 0.1});
    const QString plot = report::scatterPlot(cloud, report::axisOf(0.01, 1));
    EXPECT_EQ(plot.count(QStringLiteral("h0")), 2);
    report::line_t line{QStringLiteral("Z3"), std::vector<double>(20000, 0.1)};
    line.seconds.push_back(1);
    const QString curve = report::quantilePlot({line, {}}, report::axisOf(0.1, 1));
    EXPECT_EQ(curve.count(QStringLiteral("class=\"line")), 1)
        << "a driver without answers has none";
    EXPECT_LT(curve.size(), 3000);
    EXPECT_TRUE(report::quantilePlot({}, report::axisOf(0.1, 1e5))
                    .contains(QRegularExpression(QStringLiteral(">10000<.*>1e5<"))));
    EXPECT_EQ(report::lineClass(39), QStringLiteral("l7 w0"));
}

TEST(Markup, OnlyTheMiddleOfALongTextIsLeftOut)
{
    const QString text = QString(80, QLatin1Char('a')) + QString(40, QLatin1Char('b'));
    EXPECT_EQ(report::shortened(text), text);
    EXPECT_EQ(report::shortened(text + QLatin1Char('b')),
              text.left(80) + QChar(0x2026) + text.right(38));
}

} // namespace
