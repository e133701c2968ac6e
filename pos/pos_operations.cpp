// The operations on whole POS documents. All walk the same way: the goals in document order, and
// inside a goal its records by tag name; elements with other names are skipped at every level.

#include "base/XmlFile.h"
#include "pos/pos.h"
#include "pos/pos_p.h"

#include <QTextStream>

#include <algorithm>
#include <iostream>

namespace pos
{

QDomDocument domOfPath(const std::string& path)
{
    QDomDocument document;
    readXmlFile(QString::fromStdString(path), document);
    return document;
}

bool everyGoal(const QDomDocument& doc, const std::function<bool(QDomElement& goal)>& visit)
{
    for (QDomElement obligation = doc.documentElement().firstChildElement(TAG_PROOF_OBLIGATION);
         !obligation.isNull(); obligation = obligation.nextSiblingElement(TAG_PROOF_OBLIGATION)) {
        for (QDomElement goal = obligation.firstChildElement(TAG_SIMPLE_GOAL); !goal.isNull();
             goal = goal.nextSiblingElement(TAG_SIMPLE_GOAL)) {
            if (!visit(goal)) {
                return false;
            }
        }
    }
    return true;
}

status_t statusOf(const QDomElement& element)
{
    return proofStatusOfAttrValue(element.attribute(ATTR_STATUS, ATTR_VALUE_UNPROVED));
}

bool isProvedByProver(const QDomElement& goal)
{
    const QDomElement state = goal.firstChildElement(TAG_PROOF_STATE);
    return proofProvedStatuses.contains(state.attribute(ATTR_PROOF_STATE));
}

namespace
{

/// What the independent analyser's word means for the goal.
status_t statusOfAnalyser(const QDomElement& iapa)
{
    static const std::map<QString, status_t> statusOfWord = {
        {ATTR_VALUE_UNPROVED, UNPROVED},
        {ATTR_VALUE_UNKNOWN, UNPROVED},
        {ATTR_VALUE_VALID, UNRELIABLY_PROVED},
        {ATTR_VALUE_INVALID, DISPROVED},
    };
    return statusOfWord.at(iapa.firstChildElement(TAG_STATUS).attribute(ATTR_VALUE));
}

/// What a mechanism's word means for the goal. The status must be there, and only the canonical
/// words count: this is deliberately stricter than the other readers of the same attribute.
status_t statusOfMechanism(const QDomElement& mechanism)
{
    static const std::map<QString, status_t> statusOfWord = {
        {ATTR_VALUE_UNPROVED, UNPROVED},   {ATTR_VALUE_UNKNOWN, UNPROVED},
        {ATTR_VALUE_PROVED, PROVED},       {ATTR_VALUE_UNRELIABLY_PROVED, UNRELIABLY_PROVED},
        {ATTR_VALUE_DISPROVED, DISPROVED},
    };
    return statusOfWord.at(mechanism.attribute(ATTR_STATUS));
}

/// The first mechanism of the goal that is called `name`; null when there is none.
QDomElement mechanismOf(const QDomElement& goal, const std::string& name)
{
    QDomElement mechanism = goal.firstChildElement(TAG_MECHANISM);
    while (!mechanism.isNull() && mechanism.attribute(ATTR_NAME).toStdString() != name) {
        mechanism = mechanism.nextSiblingElement(TAG_MECHANISM);
    }
    return mechanism;
}

} // namespace

status_t expectedStatus(const QDomElement& goal)
{
    unsigned count[5] = {}; // by status
    ++count[isProvedByProver(goal) ? PROVED : UNPROVED];
    const QDomElement iapa = goal.firstChildElement(TAG_IAPA);
    if (!iapa.isNull()) {
        ++count[statusOfAnalyser(iapa)];
    }
    for (QDomElement mechanism = goal.firstChildElement(TAG_MECHANISM); !mechanism.isNull();
         mechanism = mechanism.nextSiblingElement(TAG_MECHANISM)) {
        ++count[statusOfMechanism(mechanism)];
    }
    for (const status_t status : {DISPROVED, PROVED, UNRELIABLY_PROVED}) {
        if (count[status] != 0) {
            return status;
        }
    }
    return UNPROVED;
}

bool checkPosInvariant(const QDomDocument& doc)
{
    return everyGoal(doc, [](const QDomElement& goal) {
        if (expectedStatus(goal) == statusOf(goal)) {
            return true;
        }
        QString text;
        QTextStream stream(&text);
        goal.save(stream, XML_INDENT, QDomNode::EncodingFromTextStream);
        stream.flush();
        std::cerr << text.toStdString();
        return false;
    });
}

void unprove(QDomDocument& doc)
{
    everyGoal(doc, [](QDomElement& goal) {
        for (QDomElement mechanism = goal.firstChildElement(TAG_MECHANISM); !mechanism.isNull();
             mechanism = mechanism.nextSiblingElement(TAG_MECHANISM)) {
            mechanism.setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
        }
        const status_t status = isProvedByProver(goal) ? PROVED : UNPROVED;
        goal.setAttribute(ATTR_STATUS, strOfProofStatus(status));
        return true;
    });
}

bool removeMechanism(QDomDocument& doc, const std::string& name, bool& modified)
{
    modified = false;
    if (doc.isNull()) {
        return false;
    }
    return everyGoal(doc, [&name, &modified](QDomElement& goal) {
        const QDomElement mechanism = mechanismOf(goal, name);
        if (mechanism.isNull()) {
            return true;
        }
        if (goal.removeChild(mechanism).isNull()) {
            return false;
        }
        modified = true;
        const status_t expected = expectedStatus(goal);
        if (expected != statusOf(goal)) {
            goal.setAttribute(ATTR_STATUS, strOfProofStatus(expected));
        }
        return true;
    });
}

bool getMechanisms(const std::string& posPath, std::list<std::string>& names)
{
    const QDomDocument doc = domOfPath(posPath);
    if (doc.isNull()) {
        return false;
    }
    names.clear();
    return everyGoal(doc, [&names](const QDomElement& goal) {
        statusOf(goal); // raises on an unknown word
        for (QDomElement mechanism = goal.firstChildElement(TAG_MECHANISM); !mechanism.isNull();
             mechanism = mechanism.nextSiblingElement(TAG_MECHANISM)) {
            const std::string name = mechanism.attribute(ATTR_NAME).toStdString();
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(name);
            }
        }
        return true;
    });
}

} // namespace pos
