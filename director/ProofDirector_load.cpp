// Loading the POS document. Play mode registers the mechanism where a goal does not know it and
// opens every goal that the mechanism could still improve; replay mode offers each goal to the
// drivers that reached a verdict before. Both leave the document in `dom` and one record per goal
// in `obligations`. They run on the main thread. The file is parsed without a lock; the document is
// taken over and registered in under one hold of `domMutex`, so that neither a stop nor a save in
// the middle ever meets half of it.

#include "director/ProofDirector.h"

#include "base/XmlFile.h"
#include "pos/document_text.h"
#include "pos/walk.h"

namespace
{

/// The drivers recorded under `entry` whose status is one of `words`; all when `words` is empty.
QStringList driverNames(const QDomElement& entry, const QStringList& words)
{
    QStringList names;
    for (const QDomElement& driver : pos::driversOf(entry)) {
        if (words.isEmpty() || words.contains(pos::statusWordOf(driver))) {
            names.append(pos::nameOf(driver));
        }
    }
    return names;
}

} // namespace

/// Parses the POS file; false when it cannot be read.
bool ProofDirector::readPosFile(QDomDocument& document) const
{
    if (!readXmlFile(pos, document)) {
        return false;
    }
    pos::declareUtf8(document);
    return true;
}

/// Takes `document` as the document to play. Called with `domMutex` held.
void ProofDirector::takeDocument(const QDomDocument& document)
{
    dom = document;
    text->setDocument(dom);
}

/// Adds this mechanism to a goal, with all its drivers. Called with `domMutex` held.
QDomElement ProofDirector::registerMechanism(QDomElement& goal, pos::status_t status)
{
    QDomElement entry = dom.createElement(pos::TAG_MECHANISM);
    entry.setAttribute(pos::ATTR_NAME, QString::fromStdString(mechanism.name));
    entry.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    for (const mechanism::driver_t& candidate : mechanism.drivers) {
        QDomElement element = dom.createElement(pos::TAG_DRIVER);
        element.setAttribute(pos::ATTR_NAME, candidate.name);
        element.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
        entry.appendChild(element);
    }
    goal.appendChild(entry);
    if (status == pos::UNKNOWN) {
        goal.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    }
    return entry;
}

/// Whether this mechanism, recorded as `entry`, could still improve a goal that stands at `status`.
bool ProofDirector::isOpen(pos::status_t status, const QDomElement& entry) const
{
    return status != pos::PROVED && status != pos::DISPROVED &&
           (status != pos::UNRELIABLY_PROVED || mechanism.trust != mechanism::trust_t::never) &&
           pos::statusWordOf(entry) == pos::ATTR_VALUE_UNPROVED;
}

/// The record of a goal in play mode. Called with `domMutex` held.
ProofDirector::po_data_t ProofDirector::goalToPlay(QDomElement& goal, bool& registered)
{
    const pos::status_t status = pos::statusOf(goal);
    if (status == pos::UNPROVED) {
        ++unprovedCount;
    }
    QDomElement entry = pos::mechanismOf(goal, QString::fromStdString(mechanism.name));
    if (entry.isNull()) {
        entry = registerMechanism(goal, status);
        registered = true;
    }
    if (!isOpen(status, entry)) {
        return {status, {}, entry};
    }
    // What the drivers reached before is deliberately not consulted: in play mode all run.
    return {pos::UNPROVED, driverNames(entry, {}), entry};
}

/// Appends the obligations of the document with the records that `recordGoal` makes; stops and
/// returns false at the first goal for which it makes none. Called with `domMutex` held.
bool ProofDirector::appendObligations(
    const std::function<bool(QDomElement& goal, po_data_t& record)>& recordGoal)
{
    for (const QDomElement& obligation : pos::obligationsOf(dom)) {
        std::vector<po_data_t> goals;
        for (QDomElement& goal : pos::goalsOf(obligation)) {
            po_data_t record;
            if (!recordGoal(goal, record)) {
                return false;
            }
            goals.push_back(std::move(record));
        }
        obligations.emplace_back(pos::tagOf(obligation).toStdString(), std::move(goals));
    }
    return true;
}

bool ProofDirector::loadPosFile()
{
    QDomDocument document;
    if (!readPosFile(document)) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(domMutex);
    takeDocument(document);
    bool registered = false;
    appendObligations([&](QDomElement& goal, po_data_t& record) {
        record = goalToPlay(goal, registered);
        return true;
    });
    return registered;
}

bool ProofDirector::reloadPosFile()
{
    QDomDocument document;
    if (!readPosFile(document)) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(domMutex);
    takeDocument(document);
    const QString name = QString::fromStdString(mechanism.name);
    const QStringList verdicts = {pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_DISPROVED};
    return appendObligations([&](const QDomElement& goal, po_data_t& record) {
        const bool unproved = pos::statusWordOf(goal) == pos::ATTR_VALUE_UNPROVED;
        unprovedCount += unproved ? 1 : 0;
        const QDomElement entry = pos::mechanismOf(goal, name);
        const bool replayed = unproved && pos::statusWordOf(entry) == pos::ATTR_VALUE_UNPROVED;
        record = {pos::UNPROVED, replayed ? driverNames(entry, verdicts) : QStringList(), entry};
        return !entry.isNull();
    });
}
