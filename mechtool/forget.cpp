// mechtool forget: removes mechanisms from a POS file.

#include "mechtool/PosEdit.h"
#include "mechtool/commands.h"
#include "pos/pos.h"

namespace
{

/// Removes all records of a mechanism, and not only the first on each goal.
void removeAll(QDomDocument& document, const std::string& mechanism)
{
    bool modified = true;
    while (modified) {
        pos::removeMechanism(document, mechanism, modified);
    }
}

} // namespace

answer_t runForget(const QStringList& words)
{
    Options options(QStringLiteral(
        "Removes mechanisms from a POS file, with all that they found. The status of a goal then\n"
        "follows from what is left on it. The file is replaced in one step, and not when any of\n"
        "the mechanisms is recorded nowhere."));
    addEditedFile(options);
    options.parser.addPositionalArgument(QStringLiteral("MECHANISM..."),
                                         QStringLiteral("the mechanisms to remove"));
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const QStringList mechanisms = options.arguments(2, ANY_NUMBER).mid(1);
    const edited_file_t file = editedFileOf(options);
    editPosFile(file, [&](QDomDocument& document) {
        const QStringList recorded = recordedMechanisms(document);
        for (const QString& mechanism : mechanisms) {
            const QString name = recordedMechanism(recorded, mechanism, file.path);
            removeAll(document, name.toStdString());
        }
    });
    return answer_t::yes;
}
