#include "pos/walk.h"

namespace pos
{

namespace
{

QDomElement firstNamed(Children elements, const QString& name)
{
    for (const QDomElement& element : elements) {
        if (nameOf(element) == name) {
            return element;
        }
    }
    return {};
}

} // namespace

Children obligationsOf(const QDomDocument& doc)
{
    return {doc.documentElement(), TAG_PROOF_OBLIGATION};
}

Children goalsOf(const QDomElement& obligation)
{
    return {obligation, TAG_SIMPLE_GOAL};
}

Children mechanismsOf(const QDomElement& goal)
{
    return {goal, TAG_MECHANISM};
}

Children driversOf(const QDomElement& mechanism)
{
    return {mechanism, TAG_DRIVER};
}

bool everyGoal(const QDomDocument& doc, const std::function<bool(QDomElement& goal)>& visit)
{
    for (const QDomElement& obligation : obligationsOf(doc)) {
        for (QDomElement& goal : goalsOf(obligation)) {
            if (!visit(goal)) {
                return false;
            }
        }
    }
    return true;
}

QString tagOf(const QDomElement& obligation)
{
    return obligation.firstChildElement(TAG_TAG).text();
}

QString nameOf(const QDomElement& element)
{
    return element.attribute(ATTR_NAME);
}

status_t statusOf(const QDomElement& element)
{
    return proofStatusOfAttrValue(statusWordOf(element));
}

QString statusWordOf(const QDomElement& element)
{
    return element.attribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
}

QDomElement mechanismOf(const QDomElement& goal, const QString& name)
{
    return firstNamed(mechanismsOf(goal), name);
}

QDomElement driverOf(const QDomElement& mechanism, const QString& name)
{
    return firstNamed(driversOf(mechanism), name);
}

bool isLastDriver(const QDomElement& driver)
{
    return driver.nextSiblingElement(TAG_DRIVER).isNull();
}

} // namespace pos
