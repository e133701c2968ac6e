#pragma once

// How a POS document is walked: obligations, their goals, the mechanisms recorded on a goal, and
// the drivers recorded under a mechanism. Everything that reads or changes a document finds its
// elements here, and learns here what an absent name or an absent status means. Private to the
// libraries.
//
// Children are found by their tag name, in document order; elements of other names are skipped, and
// what stands inside them is no part of the document. A null element has no children, no name and
// no status, so a walk over nothing does nothing. Elements are handles on the caller's document;
// nothing of it is kept. Only an unknown status word raises (`statusOf`).

#include "pos/pos.h"

#include <functional>

namespace pos
{

/// The children of an element that have one tag name, for one range-based `for`. They are walked
/// from sibling to sibling: access by index would count from the first child each time. The body
/// may change the child and what is below it, but must not take it out of the tree.
class Children
{
public:
    struct End {
    };
    class Iterator
    {
    public:
        explicit Iterator(Children& walked) : children(walked) {}
        QDomElement& operator*() const
        {
            return children.current;
        }
        Iterator& operator++()
        {
            children.current = children.current.nextSiblingElement(children.tag);
            return *this;
        }
        bool operator!=(End /*end*/) const
        {
            return !children.current.isNull();
        }

    private:
        Children& children; ///< has the current element: a copy of it costs as much as a step
    };

    /// `tagName` must outlive the walk: it is one of the constants of the format.
    Children(const QDomElement& parent, const QString& tagName)
        : current(parent.firstChildElement(tagName)), tag(tagName)
    {
    }
    Iterator begin()
    {
        return Iterator(*this);
    }
    static End end()
    {
        return {};
    }

private:
    QDomElement current;
    const QString& tag;
};

Children obligationsOf(const QDomDocument& doc);
Children goalsOf(const QDomElement& obligation);
Children mechanismsOf(const QDomElement& goal);
Children driversOf(const QDomElement& mechanism);

/// Calls `visit` for the goals in document order until it returns false; true when it never did.
bool everyGoal(const QDomDocument& doc, const std::function<bool(QDomElement& goal)>& visit);

/// The name of an obligation: the text of its first tag; empty when it has none.
QString tagOf(const QDomElement& obligation);

/// The name of a mechanism or a driver; empty when it carries none.
QString nameOf(const QDomElement& element);

/// The status of a goal, a mechanism or a driver, and the word as it stands; "Unproved" when it
/// carries none. A word that is none of the format raises std::out_of_range in `statusOf` alone.
status_t statusOf(const QDomElement& element);
QString statusWordOf(const QDomElement& element);

/// The first mechanism on a goal, or driver under a mechanism, with exactly this name; null when
/// there is none.
QDomElement mechanismOf(const QDomElement& goal, const QString& name);
QDomElement driverOf(const QDomElement& mechanism, const QString& name);

/// True when no driver is recorded after this one; also for a null element.
bool isLastDriver(const QDomElement& driver);

} // namespace pos
