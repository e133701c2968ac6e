#pragma once

// Mechanism files for commands: the options that name them, and their loading, which fails with one
// clear line.

#include "mechanism/Mechanism.h"
#include "mechtool/Command.h"

#include <QString>
#include <QStringList>

/// Adds the options -m, -M and -r, with the meaning that they have for mechrun.
void addMechanismOptions(Options& options);

/// Loads the resource files of -r, in this order; each takes the place of the one before. To be
/// called before a mechanism is loaded. Throws CannotAnswer for a file that cannot be read.
void loadResources(const Options& options);

/// The mechanism in a file. Throws CannotAnswer with what is wrong in the file, down to the driver
/// and the tool: the file cannot be read, is no mechanism file, has no driver, holds an unknown
/// word, or a tool of it is not there.
mechanism::mechanism_t loadMechanism(const QString& file);

/// The mechanism files NAME.xml of a folder, by name. Throws CannotAnswer when there is none.
QStringList mechanismFiles(const QString& folder);

/// The files that -m or -M name: one of the two options must be given, and not both.
QStringList chosenMechanismFiles(const Options& options);
