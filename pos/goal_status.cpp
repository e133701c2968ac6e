#include "pos/goal_status.h"

#include "pos/pos_p.h"
#include "pos/walk.h"

#include <map>

namespace pos
{

namespace
{

/// What the independent analyser's word means for the goal.
status_t statusOfAnalyser(const QDomElement& iapa)
{
    static const std::map<QString, status_t> statusOfWord = {
        {ATTR_VALUE_UNPROVED, UNPROVED},
        {ATTR_VALUE_UNKNOWN, UNPROVED},
        {ATTR_VALUE_VALID, UNRELIABLY_PROVED},
        {ATTR_VALUE_INVALID, DISPROVED},
    };
    return statusOfWord.at(iapa.firstChildElement(TAG_STATUS).attribute(ATTR_VALUE));
}

/// What a mechanism's word means for the goal. The status must be there, and only the canonical
/// words count: this is deliberately stricter than the other readers of the same attribute.
status_t statusOfMechanism(const QDomElement& mechanism)
{
    static const std::map<QString, status_t> statusOfWord = {
        {ATTR_VALUE_UNPROVED, UNPROVED},   {ATTR_VALUE_UNKNOWN, UNPROVED},
        {ATTR_VALUE_PROVED, PROVED},       {ATTR_VALUE_UNRELIABLY_PROVED, UNRELIABLY_PROVED},
        {ATTR_VALUE_DISPROVED, DISPROVED},
    };
    return statusOfWord.at(mechanism.attribute(ATTR_STATUS));
}

} // namespace

bool isProvedByProver(const QDomElement& goal)
{
    const QDomElement state = goal.firstChildElement(TAG_PROOF_STATE);
    return proofProvedStatuses.contains(state.attribute(ATTR_PROOF_STATE));
}

namespace
{

/// The rule, with what the analyser says: UNPROVED when it has no say.
status_t statusByRule(const QDomElement& goal, status_t analyser)
{
    unsigned count[5] = {}; // by status
    ++count[isProvedByProver(goal) ? PROVED : UNPROVED];
    ++count[analyser];
    for (const QDomElement& mechanism : mechanismsOf(goal)) {
        ++count[statusOfMechanism(mechanism)];
    }
    for (const status_t status : {DISPROVED, PROVED, UNRELIABLY_PROVED}) {
        if (count[status] != 0) {
            return status;
        }
    }
    return UNPROVED;
}

} // namespace

status_t expectedStatus(const QDomElement& goal)
{
    const QDomElement iapa = goal.firstChildElement(TAG_IAPA);
    return statusByRule(goal, iapa.isNull() ? UNPROVED : statusOfAnalyser(iapa));
}

status_t expectedStatusWithoutAnalyser(const QDomElement& goal)
{
    return statusByRule(goal, UNPROVED);
}

} // namespace pos
