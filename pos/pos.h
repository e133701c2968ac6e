#pragma once

// The proof obligation status file (POS file) of a component: an XML document that holds, for every
// simple goal of every proof obligation, its status and the statuses that the proof mechanisms and
// their drivers reached. This unit has the words of the format, the operations on whole documents
// and the totals of a component.
//
// Documents belong to the caller; nothing of them is kept. Reading is lenient about structure
// (unknown elements are skipped, goals are found by position) and strict about status words: an
// unknown one raises std::out_of_range ("map::at"). A file that cannot be read is reported by the
// result; a file that is not well-formed counts as a document without goals. Texts in std::string
// are UTF-8. Every function may be called from any thread, but a document must not be used by two
// threads at once.

#include <QDomDocument>
#include <QString>

#include <cstdint>
#include <iosfwd>
#include <list>
#include <map>
#include <memory>
#include <string>

namespace pos
{

// Names of the format.

extern const QString TAG_PROOF_OBLIGATIONS;
extern const QString TAG_PROOF_OBLIGATION;
extern const QString TAG_PROOF_STATE;
extern const QString TAG_SIMPLE_GOAL;
extern const QString TAG_TAG;
extern const QString TAG_MECHANISM;
extern const QString TAG_DRIVER;
extern const QString TAG_IAPA;
extern const QString TAG_STATUS;

extern const QString ATTR_AUTHOR;
extern const QString ATTR_STATUS;
extern const QString ATTR_NAME;
extern const QString ATTR_PROOF_STATE;
extern const QString ATTR_VALUE;

extern const QString ATTR_VALUE_UNPROVED;
extern const QString ATTR_VALUE_PROVED;
extern const QString ATTR_VALUE_PROVED_ZERO;
extern const QString ATTR_VALUE_PROVED_ONE;
extern const QString ATTR_VALUE_PROVED_TWO;
extern const QString ATTR_VALUE_PROVED_THREE;
extern const QString ATTR_VALUE_PROVED_UTIL;
extern const QString ATTR_VALUE_UNRELIABLY_PROVED;
extern const QString ATTR_VALUE_DISPROVED;
extern const QString ATTR_VALUE_UNKNOWN;
extern const QString ATTR_VALUE_VALID;
extern const QString ATTR_VALUE_INVALID;

/// Indentation with which a POS document is written.
constexpr int XML_INDENT = 4;

// Statuses.

/// The status of a goal, and of a mechanism or driver on a goal. The numbers index arrays.
enum status_t : int {
    UNPROVED = 0,
    UNKNOWN = 1,
    UNRELIABLY_PROVED = 2,
    PROVED = 3,
    DISPROVED = 4,
};

/// The one-character mark of each status; UNKNOWN shares "-" with UNPROVED.
extern const std::map<status_t, char> charOfStatus;

/// The status that a word of the document stands for, compared exactly: the five canonical words
/// and the five "Proved(...)" words of the workbench's own prover. Raises std::out_of_range for
/// any other, the empty one included.
status_t proofStatusOfAttrValue(const QString& value);

/// The canonical word of a status, which is the one to write. Raises std::out_of_range for a number
/// that is none.
QString strOfProofStatus(const status_t& status);

/// Writes the canonical word in UTF-8, unpadded. Raises like strOfProofStatus.
std::ostream& operator<<(std::ostream& out, const status_t& status);

// Operations on documents.

/// True when every goal carries the status that follows from its records. Otherwise the first goal
/// that does not is written to standard error as XML.
bool checkPosInvariant(const QDomDocument& doc);

/// Forgets what the mechanisms found: every Mechanism becomes "Unproved" and every goal is left
/// with what the workbench's own prover says. Drivers keep their statuses, and the independent
/// analyser is deliberately not asked, so that checkPosInvariant may disagree afterwards. Never
/// raises.
void unprove(QDomDocument& doc);

/// Removes from every goal the first Mechanism called `name` and gives the goal the status that
/// follows from what is left. `modified` tells whether there was any. False on a null document or
/// when the tree refuses a removal; goals rewritten until then, or until an unknown status word
/// raises, stay rewritten.
bool removeMechanism(QDomDocument& doc, const std::string& name, bool& modified);

/// Replaces `names` by the names of the mechanisms recorded in the file, each once, in the order of
/// first appearance. False, with `names` untouched, when the file cannot be read.
bool getMechanisms(const std::string& posPath, std::list<std::string>& names);

// Totals.

/// What one driver of a mechanism found, by the status of its records.
struct driver_metrics_t {
    std::uint32_t unproved = 0;
    std::uint32_t unknown = 0;
    std::uint32_t proved = 0;
    std::uint32_t disproved = 0;
};

/// What one mechanism found, by the status of its records.
struct mechanism_metrics_t {
    std::uint32_t unproved = 0;
    std::uint32_t unknown = 0;
    std::uint32_t proved = 0;
    std::uint32_t unreliablyProved = 0;
    std::uint32_t disproved = 0;
    std::map<std::string, std::unique_ptr<driver_metrics_t>> drivers; ///< by driver name
};

/// The totals of a component, in goals. A goal that reads "Unknown" counts in `total` only.
struct metrics_t {
    std::uint32_t total = 0;
    std::uint32_t unproved = 0;
    std::uint32_t proved = 0;
    std::uint32_t unreliablyProved = 0;
    std::uint32_t disproved = 0;
    std::uint32_t provedExternally = 0; ///< proved by at least one mechanism
    std::uint32_t provedByProver = 0;   ///< proved by the workbench's own prover
    std::map<std::string, std::unique_ptr<mechanism_metrics_t>> mechanisms; ///< by mechanism name
};

/// Fills `metrics` from the file. False, with `metrics` untouched, when it cannot be read.
/// `provedByProver` is deliberately added to, not reset: start from a fresh record.
bool getMetrics(const std::string& posPath, metrics_t& metrics);

} // namespace pos
