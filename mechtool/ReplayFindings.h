#pragma once

// What a replay finds: where the verdicts of drivers are not those that the POS file records.

#include "mechtool/Component.h"
#include "mechtool/Confirmation.h"

#include <QDomDocument>
#include <QStringList>

#include <cstddef>
#include <vector>

/// How bad a difference is, the worst first.
enum class kind_t : int { contradiction, lostProof, lostRecord, gain };

struct difference_t {
    kind_t kind = kind_t::gain;
    QStringList cells; ///< goal, mechanism, driver, before, after, why
};

/// What a replay has found.
struct findings_t {
    std::vector<difference_t> differences;
    std::size_t verdicts = 0;
    std::size_t confirmed = 0;
    bool changed = false;   ///< the document is another one than before
    std::size_t worse = 0;  ///< goals
    std::size_t better = 0; ///< goals
};

/// Merges what was confirmed into `document`, which is the document of `component`, and takes down
/// what differs. Throws CannotAnswer for a word that the rule of a goal's status does not know.
findings_t compare(const component_t& component, QDomDocument& document,
                   const std::vector<confirmation_t>& confirmations);

/// Prints them, the worst first, and a line that counts them.
void printFindings(const findings_t& findings);
