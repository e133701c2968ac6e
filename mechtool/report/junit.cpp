// The goals as test cases.

#include "mechtool/Gate.h"
#include "mechtool/GoalText.h"
#include "mechtool/Text.h"
#include "mechtool/report/sections.h"

#include <QXmlStreamWriter>

namespace report
{

namespace
{

enum class result_t { passed, failed, skipped };

/// What a goal is for a build server. Without a level a refuted goal fails and an open one is
/// skipped; with one, what does not meet it fails.
result_t resultOf(pos::status_t status, const std::optional<level_t>& level)
{
    const bool fails = level ? !meets(*level, status) : status == pos::DISPROVED;
    if (fails) {
        return result_t::failed;
    }
    return status == pos::PROVED || status == pos::DISPROVED ? result_t::passed : result_t::skipped;
}

/// A text that XML may hold: the characters that it forbids, and such as would not be seen, are
/// written as escapes.
QString allowed(const QString& shownText)
{
    QString text = shownText;
    text.replace(QChar(0xfffe), QStringLiteral("\\ufffe"));
    return text.replace(QChar(0xffff), QStringLiteral("\\uffff"));
}

struct suite_t {
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t skipped = 0;
    double seconds = 0;

    void add(const suite_t& other)
    {
        tests += other.tests;
        failures += other.failures;
        skipped += other.skipped;
        seconds += other.seconds;
    }
};

/// Writes the suites, once with the counts known.
class Writer
{
public:
    Writer(const content_t& written, const std::optional<level_t>& required)
        : content(written), level(required), xml(&text)
    {
    }

    QByteArray write()
    {
        xml.setAutoFormatting(true);
        xml.writeStartDocument();
        xml.writeStartElement(QStringLiteral("testsuites"));
        suite_t all;
        for (std::size_t i = 0; i < content.subjects.size(); ++i) {
            for (std::size_t j = 0; j < obligationsOf(i).size(); ++j) {
                all.add(countsOf(i, j));
            }
        }
        xml.writeAttribute(QStringLiteral("name"), allowed(content.title));
        writeCounts(all);
        for (std::size_t i = 0; i < content.subjects.size(); ++i) {
            for (std::size_t j = 0; j < obligationsOf(i).size(); ++j) {
                writeSuite(i, j);
            }
        }
        xml.writeEndDocument();
        return text;
    }

private:
    const std::vector<obligation_t>& obligationsOf(std::size_t subject) const
    {
        return content.subjects[subject].component.obligations;
    }

    double secondsOf(const place_t& place) const
    {
        return content.times ? content.times->secondsOf(place).value_or(0) : 0;
    }

    suite_t countsOf(std::size_t subject, std::size_t obligation) const
    {
        const std::vector<goal_t>& goals = obligationsOf(subject)[obligation].goals;
        suite_t suite;
        suite.tests = goals.size();
        for (std::size_t i = 0; i < goals.size(); ++i) {
            const result_t result = resultOf(goals[i].status, level);
            suite.failures += result == result_t::failed ? 1 : 0;
            suite.skipped += result == result_t::skipped ? 1 : 0;
            suite.seconds += secondsOf({subject, {obligation, i}});
        }
        return suite;
    }

    void writeCounts(const suite_t& suite)
    {
        xml.writeAttribute(QStringLiteral("tests"), QString::number(suite.tests));
        xml.writeAttribute(QStringLiteral("failures"), QString::number(suite.failures));
        xml.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
        xml.writeAttribute(QStringLiteral("skipped"), QString::number(suite.skipped));
        xml.writeAttribute(QStringLiteral("time"), QString::number(suite.seconds, 'f', 3));
    }

    void writeSuite(std::size_t subject, std::size_t obligation)
    {
        const subject_t& of = content.subjects[subject];
        const QString component = allowed(shown(of.label));
        const QString name = allowed(shown(obligationsOf(subject)[obligation].name));
        xml.writeStartElement(QStringLiteral("testsuite"));
        xml.writeAttribute(QStringLiteral("name"), component + QStringLiteral(": ") + name);
        writeCounts(countsOf(subject, obligation));
        xml.writeAttribute(QStringLiteral("timestamp"),
                           of.changed.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
        const QString classname = component + QLatin1Char('.') + name;
        for (std::size_t i = 0; i < obligationsOf(subject)[obligation].goals.size(); ++i) {
            writeCase(classname, {subject, {obligation, i}});
        }
        xml.writeEndElement();
    }

    void writeCase(const QString& classname, const place_t& place)
    {
        const component_t& component = content.subjects[place.component].component;
        const goal_t& goal = goalAt(component, place.address);
        const QString word = pos::strOfProofStatus(goal.status);
        const result_t result = resultOf(goal.status, level);
        xml.writeStartElement(QStringLiteral("testcase"));
        xml.writeAttribute(QStringLiteral("classname"), classname);
        xml.writeAttribute(QStringLiteral("name"), allowed(goalName(component, place.address)));
        xml.writeAttribute(QStringLiteral("time"), QString::number(secondsOf(place), 'f', 3));
        if (result != result_t::passed) {
            const bool failed = result == result_t::failed;
            xml.writeStartElement(failed ? QStringLiteral("failure") : QStringLiteral("skipped"));
            xml.writeAttribute(QStringLiteral("message"), word);
            if (failed) {
                xml.writeAttribute(QStringLiteral("type"), word);
            }
            xml.writeCharacters(allowed(recordsOf(goal)));
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }

    const content_t& content;
    const std::optional<level_t> level;
    QByteArray text;
    QXmlStreamWriter xml;
};

} // namespace

QByteArray junit(const content_t& content, const std::optional<level_t>& level)
{
    return Writer(content, level).write();
}

} // namespace report
