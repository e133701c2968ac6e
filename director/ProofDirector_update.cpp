// Status update. Merges one verdict of the driver being played on one goal into the document and
// into the goal's record: the driver's status, the mechanism's, perhaps the goal's, and the drivers
// that still have a try. What they become is decided in director/verdict.h. Runs under `domMutex`.

#include "director/ProofDirector.h"

#include "director/ProofDirector_p.h"
#include "director/verdict.h"
#include "pos/document_text.h"
#include "pos/walk.h"

bool mergeVerdict(ProofDirector::po_data_t& record, const QString& driver, const verdict_t& verdict,
                  const mechanism::trust_t& trust)
{
    const pos::status_t old = record.status;
    QDomElement entry = record.element;

    // A driver that is not recorded counts as the last one, and there is nothing to set.
    QDomElement element = pos::driverOf(entry, driver);
    const bool last = pos::isLastDriver(element);
    element.setAttribute(pos::ATTR_STATUS, strOfVerdict(verdict));

    record.status = statusAfter(old, verdict, trust, last);
    record.drivers = driversAfter(record.drivers, driver, old, verdict, trust);
    if (setsMechanismStatus(old, record.status)) {
        entry.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(record.status));
    }
    QDomElement goal = entry.parentNode().toElement();
    const bool raises =
        verdict != verdict_t::unknown && raisesGoal(pos::statusWordOf(goal), record.status);
    if (raises) {
        goal.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(record.status));
    }
    return raises;
}

void ProofDirector::updateStatus(const address_t& address, const verdict_t& verdict)
{
    po_data_t& record = obligations.at(address.first).second.at(address.second);
    if (mergeVerdict(record, driver.name, verdict, mechanism.trust)) {
        // Also when the goal was not counted any more: a figure of progress, kept so.
        --unprovedCount;
    }
    text->changed(address.first);
}
