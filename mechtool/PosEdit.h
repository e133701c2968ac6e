#pragma once

// A change of a POS file, as the commands that change one carry it out.

#include "mechtool/Command.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <functional>

/// The POS file to change, and whether to change it.
struct edited_file_t {
    QString path;
    bool dryRun = false; ///< only say what would change
};

/// Adds the option --dry-run and the argument POS.
void addEditedFile(Options& options);

/// The option and the first argument.
edited_file_t editedFileOf(const Options& options);

/// Applies `change` to the document of the file, and says on standard output how many goals have
/// another status or other records by then. The file is replaced when there is any, and not before
/// `change` has returned. What `change` throws leaves it alone; std::out_of_range, for an unknown
/// word, becomes a CannotAnswer that names the goal.
void editPosFile(const edited_file_t& file, const std::function<void(QDomDocument&)>& change);

/// The mechanisms recorded in a document, each once, in the order of their first appearance.
QStringList recordedMechanisms(const QDomDocument& document);

/// The one of `recorded` that is called `name`, as it stands or as it is shown. Throws CannotAnswer
/// when there is none: the line lists those that there are. `file` is for the line.
QString recordedMechanism(const QStringList& recorded, const QString& name, const QString& file);
