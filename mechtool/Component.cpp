#include "mechtool/Component.h"

#include "app/Utils.h"
#include "base/XmlFile.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QXmlStreamReader>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace
{

/// What makes a file unreadable; a null text for a file that can be read.
QString obstacleOf(const QString& file)
{
    const QFileInfo info(file);
    if (!info.exists()) {
        return QStringLiteral("there is no such file: check the path");
    }
    if (info.isDir()) {
        return QStringLiteral("this is a folder: name the POS file in it");
    }
    if (!info.isFile()) {
        return QStringLiteral("this is no regular file: copy it into one");
    }
    if (info.size() > MAX_XML_FILE_SIZE) {
        return QStringLiteral("the file is larger than 512 MiB: it cannot be read");
    }
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly)
               ? QString()
               : opened.errorString() + QStringLiteral(": make it readable");
}

[[noreturn]] void failAt(const QString& file, const QString& what)
{
    throw CannotAnswer(shown(file) + QStringLiteral(": ") + what);
}

/// Texts that are the same share their memory. A null text stays null.
class Texts
{
public:
    QString shared(const QString& text)
    {
        return text.isEmpty() ? text : *known.insert(text);
    }

private:
    QSet<QString> known;
};

/// Where a goal is recorded; its name is made only for the line of an error.
struct place_t {
    const QString& file;
    const QString& obligation;
    std::size_t goal;
};

/// The status of an element that belongs to the goal at `place`.
pos::status_t statusIn(const QDomElement& element, const place_t& place)
{
    try {
        return pos::statusOf(element);
    } catch (const std::out_of_range&) {
        const QString name = shown(pos::nameOf(element));
        failAt(place.file,
               QStringLiteral("goal %1: %2%3 has the unknown status \"%4\": correct the word "
                              "(\"mechtool check\" lists all of them)")
                   .arg(goalName(place.obligation, place.goal), element.tagName(),
                        name.isEmpty() ? name : QStringLiteral(" \"%1\"").arg(name),
                        shown(pos::statusWordOf(element))));
    }
}

goal_t viewOfGoal(const QDomElement& element, const place_t& place, Texts& texts)
{
    goal_t goal;
    goal.status = statusIn(element, place);
    goal.byProver = pos::isProvedByProver(element);
    goal.prover = texts.shared(
        element.firstChildElement(pos::TAG_PROOF_STATE).attribute(pos::ATTR_PROOF_STATE));
    const QDomElement analyser = element.firstChildElement(pos::TAG_IAPA);
    if (!analyser.isNull()) {
        const QDomElement status = analyser.firstChildElement(pos::TAG_STATUS);
        goal.analyser = texts.shared(status.attribute(pos::ATTR_VALUE, QLatin1String("")));
    }
    for (const QDomElement& mechanism : pos::mechanismsOf(element)) {
        mechanism_record_t record;
        record.name = texts.shared(pos::nameOf(mechanism));
        record.status = statusIn(mechanism, place);
        for (const QDomElement& driver : pos::driversOf(mechanism)) {
            record.drivers.push_back({texts.shared(pos::nameOf(driver)), statusIn(driver, place)});
        }
        goal.mechanisms.push_back(std::move(record));
    }
    return goal;
}

QString numbered(const QString& tag, int number)
{
    return tag + QLatin1Char('#') + QString::number(number);
}

/// How many single characters must be changed, put in or left out to make one text of the other.
int distance(const QString& one, const QString& other)
{
    std::vector<int> row(std::size_t(other.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < one.size(); ++i) {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < other.size(); ++j) {
            const std::size_t at = std::size_t(j) + 1;
            const int changed = diagonal + (one.at(i).toLower() == other.at(j).toLower() ? 0 : 1);
            diagonal = row[at];
            row[at] = std::min({changed, row[at] + 1, row[at - 1] + 1});
        }
    }
    return row.back();
}

} // namespace

NoPosFile::NoPosFile(const QString& file, const QString& why)
    : CannotAnswer(shown(file) + QStringLiteral(": ") + why), reason(why)
{
}

QString faultOf(const QString& file)
{
    QFile opened(file);
    opened.open(QIODevice::ReadOnly);
    QXmlStreamReader reader(&opened);
    while (!reader.atEnd()) {
        reader.readNext();
    }
    if (!reader.hasError()) {
        return QStringLiteral("it is nested too deeply, or its entities expand to too much");
    }
    QString fault = shown(reader.errorString());
    fault.chop(fault.endsWith(QLatin1Char('.')) ? 1 : 0);
    return QStringLiteral("line %1: %2").arg(QString::number(reader.lineNumber()), fault);
}

namespace
{

/// Whether the first goal tells that this is the file of the proof obligations, which has the same
/// root: a play would write into it. A goal without records is empty.
bool holdsFormulas(const QDomDocument& document)
{
    for (const QDomElement& obligation : pos::obligationsOf(document)) {
        for (const QDomElement& goal : pos::goalsOf(obligation)) {
            return !goal.firstChildElement().isNull() && !goal.hasAttribute(pos::ATTR_STATUS) &&
                   goal.firstChildElement(pos::TAG_PROOF_STATE).isNull() &&
                   goal.firstChildElement(pos::TAG_IAPA).isNull() &&
                   goal.firstChildElement(pos::TAG_MECHANISM).isNull();
        }
    }
    return false;
}

} // namespace

QDomDocument loadDocument(const QString& file)
{
    const QString obstacle = obstacleOf(file);
    QDomDocument document;
    if (!obstacle.isNull()) {
        failAt(file, obstacle);
    }
    if (!readXmlFile(file, document)) {
        failAt(file, QStringLiteral("it cannot be read: check it and its folder"));
    }
    const QDomElement root = document.documentElement();
    if (QFileInfo(file).size() == 0) {
        throw NoPosFile(file,
                        QStringLiteral("the file is empty: take a copy, or begin with \"mechtool "
                                       "new\""));
    }
    if (root.isNull()) {
        throw NoPosFile(
            file,
            QStringLiteral("not well-formed: %1: mend it, or take a copy").arg(faultOf(file)));
    }
    if (root.tagName() != pos::TAG_PROOF_OBLIGATIONS) {
        throw NoPosFile(file, QStringLiteral("no POS file: it holds <%1>, not <%2>: check the path")
                                  .arg(shown(root.tagName()), pos::TAG_PROOF_OBLIGATIONS));
    }
    if (holdsFormulas(document)) {
        throw NoPosFile(file,
                        QStringLiteral("no POS file: its goals have no records, but something "
                                       "else: are these the proof obligations (-p)?"));
    }
    return document;
}

QStringList obligationNames(const QDomDocument& document)
{
    QStringList names;
    for (const QDomElement& obligation : pos::obligationsOf(document)) {
        names << pos::tagOf(obligation);
    }
    const QSet<QString> tags(names.begin(), names.end());
    QHash<QString, int> count;
    for (QString& name : names) {
        const QString tag = name;
        // A tag that itself ends like a number keeps its name, and the number goes on.
        while (++count[tag] > 1 && tags.contains(name = numbered(tag, count[tag]))) {
        }
    }
    return names;
}

component_t viewOf(const QDomDocument& document, const QString& file)
{
    component_t component;
    component.name = QString::fromStdString(baseNameOfPath(file.toStdString()));
    component.file = file;
    const QStringList names = obligationNames(document);
    Texts texts;
    for (const QDomElement& element : pos::obligationsOf(document)) {
        obligation_t obligation;
        obligation.tag = pos::tagOf(element);
        obligation.name = names.at(static_cast<int>(component.obligations.size()));
        for (const QDomElement& goal : pos::goalsOf(element)) {
            obligation.goals.push_back(
                viewOfGoal(goal, {file, obligation.name, obligation.goals.size()}, texts));
        }
        component.obligations.push_back(std::move(obligation));
    }
    return component;
}

component_t readComponent(const QString& file)
{
    return viewOf(loadDocument(file), file);
}

QString goalName(const QString& obligation, std::size_t goal)
{
    return shown(obligation) + QLatin1Char('.') + QString::number(goal + 1);
}

QString goalName(const component_t& component, const address_t& address)
{
    return goalName(component.obligations.at(address.first).name, address.second);
}

std::optional<address_t> goalOfName(const component_t& component, const QString& name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    bool isNumber = false;
    const std::size_t number = name.mid(dot + 1).toUInt(&isNumber);
    if (dot < 0 || !isNumber || number == 0) {
        return {};
    }
    // What is printed comes first: a name as it stands may look like another one as it is shown.
    const QString wanted = name.left(dot);
    for (const bool isShown : {true, false}) {
        for (std::size_t i = 0; i < component.obligations.size(); ++i) {
            const obligation_t& obligation = component.obligations[i];
            if ((isShown ? shown(obligation.name) : obligation.name) == wanted &&
                number <= obligation.goals.size()) {
                return address_t(i, number - 1);
            }
        }
    }
    return {};
}

QStringList nearestGoals(const component_t& component, const QString& name, int count)
{
    // Names far longer than what was asked for are not worth a comparison.
    std::vector<std::pair<int, QString>> found;
    const int most = 2 * name.size() + 40;
    for (std::size_t i = 0; i < component.obligations.size(); ++i) {
        for (std::size_t j = 0; j < component.obligations[i].goals.size(); ++j) {
            const QString candidate = goalName(component, {i, j});
            if (candidate.size() <= most) {
                found.emplace_back(distance(name, candidate), candidate);
            }
        }
    }
    const std::size_t shownCount = std::min(found.size(), std::size_t(count));
    std::partial_sort(found.begin(), found.begin() + std::ptrdiff_t(shownCount), found.end());
    QStringList names;
    for (std::size_t i = 0; i < shownCount; ++i) {
        names << found[i].second;
    }
    return names;
}

std::size_t goalsOf(const component_t& component)
{
    std::size_t count = 0;
    for (const obligation_t& obligation : component.obligations) {
        count += obligation.goals.size();
    }
    return count;
}
