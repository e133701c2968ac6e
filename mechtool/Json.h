#pragma once

// Answers for programs.

#include "mechtool/Component.h"
#include "mechtool/Totals.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstddef>

/// Prints an object in lines. What would move the cursor of a terminal is written as an escape
/// ("\u001b", "\u202e"), which reads as the same text.
void printJson(const QJsonObject& object);

/// How a goal is named: "obligation" as it stands, "number" from 1 on, and "goal" as it is written.
QJsonObject goalAsJson(const component_t& component, const address_t& address);

/// A text; null where there is none.
QJsonValue textAsJson(const QString& text);

QJsonValue numberAsJson(std::size_t number);

/// The counts by status, and their sum under the name `total`.
QJsonObject countsAsJson(const Counts& counts, const QString& total);
