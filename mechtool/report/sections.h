#pragma once

// The sections of the page, one source each. Each returns markup, or nothing when there is nothing
// to say.

#include "mechtool/report/Content.h"

#include <QByteArray>
#include <QString>

#include <optional>

enum class level_t;

namespace report
{

/// The totals in words, under the title.
QString summary(const content_t& content);

/// The components: their files, dates, bars and totals.
QString overview(const content_t& content);

/// What is different from the earlier states: what is worse comes first and in full.
QString changes(const content_t& content);

/// A square for each goal, and the filters.
QString map(const content_t& content);

/// What each mechanism and each driver found, and what only it has proved.
QString mechanisms(const content_t& content);

/// How long the drivers took, and what failed.
QString timing(const content_t& content);

/// The table of all goals: in the order of the map.
QString goals(const content_t& content);

/// The goals as test cases, for a build server: a suite for each obligation.
QByteArray junit(const content_t& content, const std::optional<level_t>& level);

} // namespace report
