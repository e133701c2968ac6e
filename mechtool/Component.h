#pragma once

// The view of a component: what its POS file records, as plain values. A view keeps nothing of the
// document that it was made from, and takes a small part of its memory.
//
// Goals are written OBLIGATION.N, with N from 1 within the obligation. Where several obligations
// bear the same tag, the second and later ones are written OBLIGATION#2, OBLIGATION#3.

#include "mechtool/Command.h"
#include "pos/pos.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

/// The statuses in the order in which tables have them: from proved to unproved.
constexpr pos::status_t STATUSES[] = {pos::PROVED, pos::UNRELIABLY_PROVED, pos::DISPROVED,
                                      pos::UNKNOWN, pos::UNPROVED};

struct driver_record_t {
    QString name;
    pos::status_t status = pos::UNPROVED;
};

struct mechanism_record_t {
    QString name;
    pos::status_t status = pos::UNPROVED;
    std::vector<driver_record_t> drivers;
};

struct goal_t {
    pos::status_t status = pos::UNPROVED;
    bool byProver = false; ///< the workbench's own prover proved it
    QString prover;        ///< the word of this prover; null when it says nothing
    QString analyser;      ///< the word of the independent analyser; null when it says nothing
    std::vector<mechanism_record_t> mechanisms;
};

struct obligation_t {
    QString tag;
    QString name; ///< the tag, with "#K" from the second obligation of this tag on
    std::vector<goal_t> goals;
};

struct component_t {
    QString name; ///< the base name of the file
    QString file;
    std::vector<obligation_t> obligations;
};

/// Obligation and goal, both from 0, in document order.
using address_t = std::pair<std::size_t, std::size_t>;

/// A file that can be read and is no POS file.
class NoPosFile : public CannotAnswer
{
public:
    NoPosFile(const QString& file, const QString& why);

    QString reason; ///< the line without the name of the file
};

/// The document in the POS file at `file`. Throws, with what is wrong and where: CannotAnswer when
/// it cannot be read, NoPosFile when it is of another kind, empty, or not well-formed.
QDomDocument loadDocument(const QString& file);

/// Where and why an XML file is not well-formed, for a line.
QString faultOf(const QString& file);

/// The view of a document. Throws CannotAnswer for an unknown word: the line names the file, the
/// obligation, the goal and the word.
component_t viewOf(const QDomDocument& document, const QString& file);

/// Both in one; the document is gone afterwards.
component_t readComponent(const QString& file);

/// The names of the obligations of a document, in its order: the tags, told apart.
QStringList obligationNames(const QDomDocument& document);

/// A goal as it is written, with what would harm a terminal escaped.
QString goalName(const QString& obligation, std::size_t goal);
QString goalName(const component_t& component, const address_t& address);

/// The goal of that name, with its obligation as it stands or as it is shown; nothing when there
/// is no such goal.
std::optional<address_t> goalOfName(const component_t& component, const QString& name);

/// At most `count` names of goals that resemble `name`, the nearest first.
QStringList nearestGoals(const component_t& component, const QString& name, int count = 3);

/// The goals of a component.
std::size_t goalsOf(const component_t& component);
