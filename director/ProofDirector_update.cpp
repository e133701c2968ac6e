// Status update. Merges one verdict of the driver being played on one goal into the document and
// into the goal's record: the driver's status, the mechanism's, perhaps the goal's, and the drivers
// that still have a try. What they become is decided in director/verdict.h. Runs under `domMutex`.

#include "director/ProofDirector.h"

#include "director/verdict.h"
#include "pos/document_text.h"
#include "pos/walk.h"

void ProofDirector::updateStatus(const address_t& address, const verdict_t& verdict)
{
    po_data_t& record = obligations.at(address.first).second.at(address.second);
    const pos::status_t old = record.status;
    QDomElement entry = record.element;

    // A driver that is not recorded counts as the last one, and there is nothing to set.
    QDomElement element = pos::driverOf(entry, driver.name);
    const bool last = pos::isLastDriver(element);
    element.setAttribute(pos::ATTR_STATUS, strOfVerdict(verdict));

    const pos::status_t status = statusAfter(old, verdict, mechanism.trust, last);
    if (setsMechanismStatus(old, status)) {
        entry.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(status));
    }
    if (verdict != verdict_t::unknown) {
        QDomElement goal = entry.parentNode().toElement();
        if (raisesGoal(pos::statusWordOf(goal), status)) {
            goal.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(status));
            // Also when the goal was not counted any more: a figure of progress, kept so.
            --unprovedCount;
        }
    }
    record = {status, driversAfter(record.drivers, driver.name, old, verdict, mechanism.trust),
              entry};
    text->changed(address.first);
}
