#pragma once

// What a component must have reached for a build server to let it pass.

#include "mechtool/Command.h"
#include "mechtool/Component.h"

#include <QString>
#include <QStringList>

#include <optional>

/// What is required of every goal.
enum class level_t {
    proved,     ///< it is proved; an unreliable proof is none
    settled,    ///< it is proved or disproved
    notRefuted, ///< it is not disproved
};

/// Whether a goal of this status meets the level.
bool meets(level_t level, pos::status_t status);

/// Adds the option --require.
void addRequire(Options& options);

/// The level that --require names, if it was given. Throws CannotAnswer for any other word.
std::optional<level_t> requiredLevel(const Options& options);

/// The goals below the level, a text each: "a.1: Unproved, required is proved".
QStringList goalsBelow(const component_t& component, level_t level);

/// What has been lost since `before`, a text each: goals that stand worse, and what is gone, with
/// every proved goal of it by its name.
QStringList lossesSince(const component_t& before, const component_t& component);
