#include "mechtool/report/Content.h"

#include "mechtool/Command.h"
#include "mechtool/Text.h"
#include "mechtool/report/Markup.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace report
{

namespace
{

std::vector<subject_t> readSubjects(const QStringList& files)
{
    std::vector<subject_t> subjects;
    QHash<QString, int> count;
    for (const QString& file : files) {
        subject_t subject;
        subject.changed = QFileInfo(file).lastModified().toUTC();
        subject.component = readComponent(file);
        for (const obligation_t& obligation : subject.component.obligations) {
            for (const goal_t& goal : obligation.goals) {
                subject.totals.add(goal);
            }
        }
        ++count[subject.component.name];
        subjects.push_back(std::move(subject));
    }
    for (subject_t& subject : subjects) {
        subject.label = count.value(subject.component.name) > 1 ? subject.component.file
                                                                : subject.component.name;
    }
    return subjects;
}

/// The component to which an earlier state belongs.
subject_t& subjectOf(std::vector<subject_t>& subjects, const component_t& before, bool isOnly)
{
    if (isOnly && subjects.size() == 1) {
        return subjects.front();
    }
    for (subject_t& subject : subjects) {
        if (subject.component.name == before.name && !subject.before) {
            return subject;
        }
    }
    throw CannotAnswer(QStringLiteral("--baseline=%1 belongs to no component that is left: give "
                                      "one for each POS file, with the same name")
                           .arg(shown(before.file)));
}

void readBaselines(const QStringList& baselines, std::vector<subject_t>& subjects)
{
    for (const QString& file : baselines) {
        component_t before = readComponent(file);
        subject_t& subject = subjectOf(subjects, before, baselines.size() == 1);
        subject.before = std::move(before);
        subject.comparison = comparisonOf(*subject.before, subject.component);
    }
}

void addEntries(content_t& content)
{
    const auto add = [&content](const QString& mechanism, const QString& driver) {
        // A null name of a driver and an empty one are two keys.
        const QString key = driver.isNull() ? driver : QLatin1Char('/') + driver;
        content.places.insert({mechanism, key}, static_cast<int>(content.entries.size()));
        content.entries.push_back({mechanism, driver});
    };
    for (const mechanism_totals_t& mechanism : content.totals.mechanisms) {
        add(mechanism.name, QString());
        for (const driver_totals_t& driver : mechanism.drivers) {
            add(mechanism.name, driver.name.isNull() ? QStringLiteral("") : driver.name);
        }
    }
}

QString titleOf(const std::vector<subject_t>& subjects)
{
    return subjects.size() == 1
               ? QStringLiteral("Proofs of ") + shown(subjects.front().component.name)
               : QStringLiteral("Proofs of ") +
                     counted(subjects.size(), QStringLiteral("component"));
}

} // namespace

content_t contentOf(const QStringList& files, const QStringList& baselines,
                    const QStringList& journals, const QString& title)
{
    content_t content;
    content.subjects = readSubjects(files);
    content.title = title.isEmpty() ? titleOf(content.subjects) : shown(title);
    for (const subject_t& subject : content.subjects) {
        content.totals.add(subject.totals);
    }
    addEntries(content);
    readBaselines(baselines, content.subjects);
    if (!journals.isEmpty()) {
        std::vector<const component_t*> components;
        for (const subject_t& subject : content.subjects) {
            components.push_back(&subject.component);
        }
        content.times = timesOf(journals, components);
    }
    return content;
}

QString labelOf(const content_t& content, const subject_t& subject, const address_t& address)
{
    const obligation_t& obligation = subject.component.obligations[address.first];
    const QString goal =
        shortened(shown(obligation.name)) + QLatin1Char('.') + QString::number(address.second + 1);
    return content.subjects.size() == 1
               ? goal
               : shortened(shown(subject.label)) + QStringLiteral(": ") + goal;
}

QString labelOf(const content_t& content, const place_t& place)
{
    return labelOf(content, content.subjects[place.component], place.address);
}

QString wordsOf(const Counts& counts)
{
    QStringList words;
    for (const pos::status_t status : STATUSES) {
        if (counts[status] != 0) {
            words << QString::number(counts[status]) + QLatin1Char(' ') +
                         pos::strOfProofStatus(status);
        }
    }
    return words.join(QStringLiteral(", "));
}

} // namespace report
