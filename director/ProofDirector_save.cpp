// Saving the POS document. Whoever needs its changes on disk joins the next save and waits for it;
// one of those who wait takes the text of the document under `domMutex` and writes it with no lock
// of the director held. So a save always holds a whole document, at most one runs at a time, and
// jobs that end together share one. A save outlives this process in any case; it waits for the disk
// as often as that costs little, and when it is the last one of a stop.

#include "director/ProofDirector.h"

#include "base/LogLine.h"
#include "director/OldContent.h"
#include "director/ProofDirector_p.h"
#include "director/SaveGroup.h"
#include "director/SyncPace.h"
#include "pos/document_text.h"
#include "pos/replace_file.h"

#include <cerrno>
#include <cstring>

namespace
{

const QString AUTHOR = QStringLiteral("proof_director");

} // namespace

bool ProofDirector::savePosFile()
{
    return saves->wait(saves->join({}));
}

/// Replaces the content of the POS file by `pieces`, and has that synced when it is the `last` time
/// or when it is due. On failure `reason` is what errno says of it.
bool ProofDirector::replacePosFile(const std::vector<QByteArray>& pieces, bool last, int& reason)
{
    const SyncPace::Clock::time_point begin = SyncPace::Clock::now();
    const bool synced = last || pace->isDue(begin);
    oldContent->keep(pos);
    bool saved = pos::replaceFile(pos, pieces, synced);
    reason = errno;
    while (!saved && (reason == ENOSPC || reason == EDQUOT) && oldContent->awaitRoom()) {
        saved = pos::replaceFile(pos, pieces, synced);
        reason = errno;
    }
    oldContent->release(saved);
    if (synced) {
        pace->synced(begin, SyncPace::Clock::now());
    }
    return saved;
}

/// Writes the document as it stands. Called by the one thread that carries out a save. With
/// `reports`, a failure to write the document goes to the log stream; that there is no document to
/// write does not.
bool ProofDirector::saveDocument(bool reports)
{
    std::vector<QByteArray> pieces;
    bool last = false;
    {
        const std::lock_guard<std::mutex> lock(domMutex);
        QDomElement root = dom.documentElement();
        if (root.isNull()) {
            return false;
        }
        if (root.attribute(pos::ATTR_AUTHOR) != AUTHOR) {
            root.setAttribute(pos::ATTR_AUTHOR, AUTHOR);
            text->allChanged();
        }
        pieces = text->pieces();
        last = stopped;
    }
    int reason = 0;
    if (replacePosFile(pieces, last, reason)) {
        return true;
    }
    if (reports) {
        writeLog(LOG_PREFIX + ("Cannot save POS file " + pos.toStdString()) + ": " +
                 std::strerror(reason) + "\n");
    }
    return false;
}
