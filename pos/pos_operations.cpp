// The operations on whole POS documents.

#include "base/XmlFile.h"
#include "pos/goal_status.h"
#include "pos/pos.h"
#include "pos/pos_p.h"
#include "pos/walk.h"

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

namespace
{

/// The first mechanism of the goal whose name is `name` in UTF-8; null when there is none. A name
/// may hold what UTF-8 has no form for, and is found as getMechanisms lists it.
QDomElement mechanismInUtf8(const QDomElement& goal, const std::string& name)
{
    for (const QDomElement& mechanism : mechanismsOf(goal)) {
        if (nameOf(mechanism).toStdString() == name) {
            return mechanism;
        }
    }
    return {};
}

} // namespace

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
        for (QDomElement& mechanism : mechanismsOf(goal)) {
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
        const QDomElement mechanism = mechanismInUtf8(goal, name);
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
        for (const QDomElement& mechanism : mechanismsOf(goal)) {
            const std::string name = nameOf(mechanism).toStdString();
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(name);
            }
        }
        return true;
    });
}

} // namespace pos
