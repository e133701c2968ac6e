#pragma once

// What a verdict is worth: the rules by which the verdict of one driver on one goal changes the
// status of the mechanism's record, the status of the goal, and the list of drivers that still try.
// They work on values alone, raise nothing and may be called from any thread. Private to the folder
// and its tests.

#include "mechanism/Mechanism.h"
#include "pos/pos.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// What a driver can find out about a goal.
enum class verdict_t : int {
    proved,
    unknown,
    disproved,
};

/// The verdict that a line of a reader stands for. The line is taken as Latin-1 up to its first
/// zero byte and compared exactly; nothing for any other line.
std::optional<verdict_t> verdictOfLine(const QByteArray& line);

/// The word of a verdict, as readers print it and as a driver's record in the document takes it.
QString strOfVerdict(verdict_t verdict);

/// The status of the mechanism's record after a driver's verdict. `last`: the driver is the last
/// one recorded for the goal.
pos::status_t statusAfter(pos::status_t old, verdict_t verdict, mechanism::trust_t trust,
                          bool last);

/// Whether the document takes that status too. Under redundancy a proof always changes it.
bool setsMechanismStatus(pos::status_t old, pos::status_t status);

/// The drivers still to run on a goal after a verdict of `driver`.
QStringList driversAfter(const QStringList& drivers, const QString& driver, pos::status_t old,
                         verdict_t verdict, mechanism::trust_t trust);

/// Whether a goal that stands at the word `before` in the document takes the status that a proof or
/// a refutation gave the mechanism's record. An `unknown` raises no goal, so nobody asks then.
bool raisesGoal(const QString& before, pos::status_t status);
