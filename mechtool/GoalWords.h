#pragma once

// The words of a goal: of its own status, and of all that is recorded on it. Each record has its
// own list of words, which is shorter than what mechrun reads.

#include <QDomDocument>
#include <QDomElement>
#include <QString>
#include <QStringList>

/// What is wrong with the words and the required attributes of a goal, a text each.
QStringList faultsOfWords(const QDomElement& goal);

/// What is wrong on the first goal whose status cannot be told by the rule, after its name; a null
/// text when there is none.
QString unknownWordIn(const QDomDocument& document);
