#pragma once

// The words of a goal: of its own status, and of all that is recorded on it. Each record has its
// own list of words, which is shorter than what mechrun reads.

#include <QDomElement>
#include <QString>
#include <QStringList>

/// What is wrong with the words and the required attributes of a goal, a text each.
QStringList faultsOfWords(const QDomElement& goal);

/// The mechanisms recorded in a document, each once, in the order of their first appearance.
QStringList recordedMechanisms(const QDomDocument& document);

/// The one of `recorded` that is called `name`, as it stands or as it is shown. Throws CannotAnswer
/// when there is none: the line lists those that there are. `file` is for the line.
QString recordedMechanism(const QStringList& recorded, const QString& name, const QString& file);
