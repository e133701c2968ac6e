#include "mechtool/GoalWords.h"

#include "mechtool/Component.h"
#include "mechtool/Text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QSet>

#include <stdexcept>

namespace
{

const QStringList& goalWords()
{
    static const QStringList words = {pos::ATTR_VALUE_UNPROVED, pos::ATTR_VALUE_PROVED,
                                      pos::ATTR_VALUE_UNRELIABLY_PROVED, pos::ATTR_VALUE_DISPROVED};
    return words;
}

const QStringList& proverWords()
{
    static const QStringList words = {pos::ATTR_VALUE_UNPROVED,     pos::ATTR_VALUE_PROVED_ZERO,
                                      pos::ATTR_VALUE_PROVED_ONE,   pos::ATTR_VALUE_PROVED_TWO,
                                      pos::ATTR_VALUE_PROVED_THREE, pos::ATTR_VALUE_PROVED_UTIL};
    return words;
}

const QStringList& analyserWords()
{
    static const QStringList words = {pos::ATTR_VALUE_UNPROVED, pos::ATTR_VALUE_UNKNOWN,
                                      pos::ATTR_VALUE_VALID, pos::ATTR_VALUE_INVALID};
    return words;
}

const QStringList& mechanismWords()
{
    static const QStringList words = {pos::ATTR_VALUE_UNPROVED, pos::ATTR_VALUE_UNKNOWN,
                                      pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_UNRELIABLY_PROVED,
                                      pos::ATTR_VALUE_DISPROVED};
    return words;
}

const QStringList& driverWords()
{
    static const QStringList words = {pos::ATTR_VALUE_UNPROVED, pos::ATTR_VALUE_UNKNOWN,
                                      pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_DISPROVED};
    return words;
}

/// Collects what is wrong on one goal.
class Faults
{
public:
    QStringList texts;

    /// The attribute of a record that must be there and hold one of the words. `record` comes
    /// first in the text; only a fault has it made.
    template <typename Record>
    void requireWord(const QDomElement& element, const QString& attribute, const QStringList& words,
                     const Record& record)
    {
        const QString word = element.attribute(attribute);
        if (words.contains(word)) {
            return;
        }
        texts << (element.hasAttribute(attribute)
                      ? QStringLiteral("%1: %2 \"%3\" is not one of %4")
                            .arg(record(), attribute, shown(word), words.join(QStringLiteral(", ")))
                      : QStringLiteral("%1: there is no %2").arg(record(), attribute));
    }

    /// The name of a record, which must be there and be no other's: it is added to `names`.
    template <typename Record>
    void requireName(const QString& name, QSet<QString>& names, const Record& record)
    {
        if (name.isEmpty()) {
            texts << QStringLiteral("%1: there is no name").arg(record());
        } else if (names.contains(name)) {
            texts << QStringLiteral("%1: it is recorded twice").arg(record());
        }
        names.insert(name);
    }
};

void findInDrivers(const QDomElement& mechanism, const QString& mechanismName, Faults& faults)
{
    QSet<QString> names;
    for (const QDomElement& driver : pos::driversOf(mechanism)) {
        const QString name = pos::nameOf(driver);
        const auto record = [&] {
            return QStringLiteral("mechanism \"%1\", driver \"%2\"")
                .arg(shown(mechanismName), shown(name));
        };
        faults.requireName(name, names, record);
        faults.requireWord(driver, pos::ATTR_STATUS, driverWords(), record);
    }
}

void findInMechanisms(const QDomElement& goal, Faults& faults)
{
    QSet<QString> names;
    for (const QDomElement& mechanism : pos::mechanismsOf(goal)) {
        const QString name = pos::nameOf(mechanism);
        const auto record = [&] {
            return QStringLiteral("mechanism \"%1\"").arg(shown(name));
        };
        faults.requireName(name, names, record);
        faults.requireWord(mechanism, pos::ATTR_STATUS, mechanismWords(), record);
        findInDrivers(mechanism, name, faults);
    }
}

} // namespace

QStringList faultsOfWords(const QDomElement& goal)
{
    Faults faults;
    const auto named = [](const QString& text) {
        return [text] {
            return text;
        };
    };
    faults.requireWord(goal, pos::ATTR_STATUS, goalWords(), named(pos::TAG_SIMPLE_GOAL));
    const QDomElement prover = goal.firstChildElement(pos::TAG_PROOF_STATE);
    if (!prover.isNull()) {
        faults.requireWord(prover, pos::ATTR_PROOF_STATE, proverWords(),
                           named(pos::TAG_PROOF_STATE));
    }
    const QDomElement analyser = goal.firstChildElement(pos::TAG_IAPA);
    if (!analyser.isNull()) {
        faults.requireWord(analyser.firstChildElement(pos::TAG_STATUS), pos::ATTR_VALUE,
                           analyserWords(), named(pos::TAG_IAPA));
    }
    findInMechanisms(goal, faults);
    return faults.texts;
}

QString unknownWordIn(const QDomDocument& document)
{
    const QStringList names = obligationNames(document);
    int obligation = 0;
    for (const QDomElement& element : pos::obligationsOf(document)) {
        std::size_t number = 0;
        for (const QDomElement& goal : pos::goalsOf(element)) {
            try {
                pos::expectedStatus(goal);
                pos::statusOf(goal);
            } catch (const std::out_of_range&) {
                return goalName(names.at(obligation), number) + QStringLiteral(": ") +
                       faultsOfWords(goal).join(QStringLiteral("; "));
            }
            ++number;
        }
        ++obligation;
    }
    return {};
}
