#pragma once

// The options that `play`, `replay` and `model` have in common, and what they make of a director.

#include "director/ProofDirectorSettings.h"
#include "mechtool/Command.h"
#include "mechtool/Component.h"
#include "mechtool/Watch.h"

#include <QString>
#include <QStringList>

class ProofDirector;
class TemporaryFolder;

struct play_options_t {
    QStringList mechanisms;     ///< files, as given with -m
    QString mechanismDirectory; ///< as given with -M; empty: none
    QString pos;
    QString pog;
    QString directory; ///< empty: a temporary one
    QString driver;    ///< empty: all
    bool fast = false;
    int jobs = 1;
    int timeLimit = 0;   ///< in seconds; 0: none
    int memoryLimit = 0; ///< in mebibytes; 0: none
    watch_settings_t watch;
};

/// Adds the options.
void addPlayOptions(Options& options);

/// Reads them for `command`; throws CannotAnswer when a needed option is missing, or makes no
/// sense.
play_options_t playOptionsOf(const Options& options, const QString& command);

/// Checks what can be known before the first job: the proof obligations are readable, and the
/// folder for secondary files can be written, and so can the POS file when it `changes`.
/// Throws CannotAnswer.
void checkFiles(const play_options_t& options, bool changes);

/// Throws CannotAnswer when the director could not read its mechanism, although it could be read
/// before.
void requireLoaded(const ProofDirector& director, const QString& mechanismFile);

/// Loads every mechanism, which finds all that is wrong with them and their tools; throws
/// CannotAnswer then, or when none has the driver that is asked for. Warns on standard error where
/// the drivers of a mechanism and those that the POS file records differ.
void checkMechanisms(const play_options_t& options, const component_t& component);

/// The settings of a director that plays `mechanismFile` over `pos`. `folder` takes the secondary
/// files where no directory was given.
ProofDirectorSettings settingsFor(const play_options_t& options, const QString& mechanismFile,
                                  const QString& pos, const QString& folder,
                                  ProofDirectorObserver& observer);
