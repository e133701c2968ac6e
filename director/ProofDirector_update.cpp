// Status update. Merges one recognised result of the driver being played for one goal into the
// document and into the goal's record: the verdict of the driver, what the mechanism makes of it
// under its trust, whether the goal rises, and which drivers still have a try. Runs under
// `domMutex`.

#include "director/ProofDirector.h"

#include "director/ProofDirector_p.h"
#include "pos/document_text.h"
#include "pos/walk.h"

using mechanism::trust_t;

pos::status_t statusAfter(pos::status_t old, const QString& word, trust_t trust, bool last)
{
    if (word == pos::ATTR_VALUE_DISPROVED) {
        return pos::DISPROVED;
    }
    if (word == pos::ATTR_VALUE_UNKNOWN) {
        return last ? pos::UNKNOWN : old;
    }
    if (trust == trust_t::redundancy) {
        // Anything but an unreliable proof counts as the first of two, even a proof.
        return old == pos::UNRELIABLY_PROVED ? pos::PROVED : pos::UNRELIABLY_PROVED;
    }
    return trust == trust_t::always ? pos::PROVED : pos::UNRELIABLY_PROVED;
}

bool setsMechanismStatus(pos::status_t old, pos::status_t status, const QString& word,
                         trust_t trust, bool last)
{
    if (word == pos::ATTR_VALUE_UNKNOWN) {
        return last && status != old;
    }
    if (word == pos::ATTR_VALUE_PROVED && trust == trust_t::redundancy) {
        return true;
    }
    return status != old;
}

QStringList driversAfter(const QStringList& drivers, const QString& driver, pos::status_t old,
                         const QString& word, trust_t trust)
{
    const bool proved = word == pos::ATTR_VALUE_PROVED;
    const bool confirmed = trust != trust_t::redundancy || old == pos::UNRELIABLY_PROVED;
    if (word == pos::ATTR_VALUE_DISPROVED || (proved && confirmed)) {
        return {};
    }
    QStringList left = drivers;
    left.removeOne(driver);
    return left;
}

bool raisesGoal(const QString& before, pos::status_t status)
{
    return before == pos::ATTR_VALUE_UNPROVED ||
           (before == pos::ATTR_VALUE_UNRELIABLY_PROVED &&
            (status == pos::PROVED || status == pos::DISPROVED));
}

void ProofDirector::updateStatus(const address_t& address, const QString& word)
{
    po_data_t& record = obligations.at(address.first).second.at(address.second);
    const pos::status_t old = record.status;
    QDomElement entry = record.element;

    // A driver that is not recorded counts as the last one, and there is nothing to set.
    QDomElement element = pos::driverOf(entry, driver.name);
    const bool last = pos::isLastDriver(element);
    element.setAttribute(pos::ATTR_STATUS, word);

    const pos::status_t status = statusAfter(old, word, mechanism.trust, last);
    if (setsMechanismStatus(old, status, word, mechanism.trust, last)) {
        entry.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(status));
    }
    if (word != pos::ATTR_VALUE_UNKNOWN) {
        QDomElement goal = entry.parentNode().toElement();
        if (raisesGoal(pos::statusWordOf(goal), status)) {
            goal.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(status));
            // Also when the goal was not counted any more: a figure of progress, kept so.
            --unprovedCount;
        }
    }
    record = {status, driversAfter(record.drivers, driver.name, old, word, mechanism.trust), entry};
    text->changed(address.first);
}
