// Saving the POS document. Whoever needs its changes on disk joins the next save and waits for it;
// one of those who wait takes the text of the document under `domMutex` and writes it with no lock
// of the director held. So a save always holds a whole document, at most one runs at a time, and
// jobs that end together share one. A save outlives this process in any case; it waits for the disk
// as often as that costs little, and when it is the last one of a stop.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "base/SavedFile.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "pos/document_text.h"

namespace
{

const QString AUTHOR = QStringLiteral("proof_director");

/// No document was read, or it has no root element. No file system answers so.
const std::error_code NOTHING_TO_SAVE = std::make_error_code(std::errc::no_message);

} // namespace

bool ProofDirector::savePosFile()
{
    return saves->wait(saves->join({}));
}

/// Writes the document as it stands. Called by the one thread that carries out a save.
std::error_code ProofDirector::saveDocument()
{
    std::vector<QByteArray> pieces;
    bool last = false;
    {
        const std::lock_guard<std::mutex> lock(domMutex);
        QDomElement root = dom.documentElement();
        if (root.isNull()) {
            return NOTHING_TO_SAVE;
        }
        root.setAttribute(pos::ATTR_AUTHOR, AUTHOR); // before the text is made for the first time
        pieces = text->pieces();
        last = stopped;
    }
    return posFile->replace(pieces, last);
}

/// Logs that a document could not be written; that there is no document to write is no news.
void ProofDirector::reportFailedSave(const std::error_code& failure) const
{
    if (failure != NOTHING_TO_SAVE) {
        writeLog(LOG_PREFIX + ("Cannot save POS file " + pos.toStdString()) + ": " +
                 failure.message() + "\n");
    }
}
