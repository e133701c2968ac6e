#pragma once

// The words of a goal: of its own status, and of all that is recorded on it. Each record has its
// own list of words, which is shorter than what mechrun reads.

#include <QDomElement>
#include <QString>
#include <QStringList>

/// What is wrong with the words and the required attributes of a goal, a text each.
QStringList faultsOfWords(const QDomElement& goal);
