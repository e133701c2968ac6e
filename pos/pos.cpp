#include "pos/pos.h"
#include "pos/pos_p.h"

#include <ostream>

namespace pos
{

// One source holds every constant, so that those built from others find them ready.

const QString TAG_PROOF_OBLIGATIONS = QStringLiteral("Proof_Obligations");
const QString TAG_PROOF_OBLIGATION = QStringLiteral("Proof_Obligation");
const QString TAG_PROOF_STATE = QStringLiteral("Proof_State");
const QString TAG_SIMPLE_GOAL = QStringLiteral("Simple_Goal");
const QString TAG_TAG = QStringLiteral("Tag");
const QString TAG_MECHANISM = QStringLiteral("Mechanism");
const QString TAG_DRIVER = QStringLiteral("Driver");
const QString TAG_IAPA = QStringLiteral("iapa");
const QString TAG_STATUS = QStringLiteral("status");

const QString ATTR_AUTHOR = QStringLiteral("author");
const QString ATTR_STATUS = QStringLiteral("status");
const QString ATTR_NAME = QStringLiteral("name");
const QString ATTR_PROOF_STATE = QStringLiteral("proofState");
const QString ATTR_VALUE = QStringLiteral("value");

const QString ATTR_VALUE_UNPROVED = QStringLiteral("Unproved");
const QString ATTR_VALUE_PROVED = QStringLiteral("Proved");
const QString ATTR_VALUE_PROVED_ZERO = QStringLiteral("Proved(0)");
const QString ATTR_VALUE_PROVED_ONE = QStringLiteral("Proved(1)");
const QString ATTR_VALUE_PROVED_TWO = QStringLiteral("Proved(2)");
const QString ATTR_VALUE_PROVED_THREE = QStringLiteral("Proved(3)");
const QString ATTR_VALUE_PROVED_UTIL = QStringLiteral("Proved(Util)");
const QString ATTR_VALUE_UNRELIABLY_PROVED = QStringLiteral("UnreliablyProved");
const QString ATTR_VALUE_DISPROVED = QStringLiteral("Disproved");
const QString ATTR_VALUE_UNKNOWN = QStringLiteral("Unknown");
const QString ATTR_VALUE_VALID = QStringLiteral("Valid");
const QString ATTR_VALUE_INVALID = QStringLiteral("Invalid");

const QStringList proofProvedStatuses = {
    ATTR_VALUE_PROVED_ZERO,  ATTR_VALUE_PROVED_ONE,  ATTR_VALUE_PROVED_TWO,
    ATTR_VALUE_PROVED_THREE, ATTR_VALUE_PROVED_UTIL,
};

const std::map<status_t, char> charOfStatus = {
    {UNPROVED, '-'}, {UNKNOWN, '-'}, {UNRELIABLY_PROVED, '*'}, {PROVED, '+'}, {DISPROVED, '!'},
};

status_t proofStatusOfAttrValue(const QString& value)
{
    static const std::map<QString, status_t> statusOfWord = {
        {ATTR_VALUE_UNPROVED, UNPROVED},
        {ATTR_VALUE_UNKNOWN, UNKNOWN},
        {ATTR_VALUE_UNRELIABLY_PROVED, UNRELIABLY_PROVED},
        {ATTR_VALUE_PROVED, PROVED},
        {ATTR_VALUE_DISPROVED, DISPROVED},
        {ATTR_VALUE_PROVED_ZERO, PROVED},
        {ATTR_VALUE_PROVED_ONE, PROVED},
        {ATTR_VALUE_PROVED_TWO, PROVED},
        {ATTR_VALUE_PROVED_THREE, PROVED},
        {ATTR_VALUE_PROVED_UTIL, PROVED},
    };
    return statusOfWord.at(value);
}

QString strOfProofStatus(const status_t& status)
{
    static const std::map<status_t, const QString> wordOfStatus = {
        {UNPROVED, ATTR_VALUE_UNPROVED},
        {UNKNOWN, ATTR_VALUE_UNKNOWN},
        {UNRELIABLY_PROVED, ATTR_VALUE_UNRELIABLY_PROVED},
        {PROVED, ATTR_VALUE_PROVED},
        {DISPROVED, ATTR_VALUE_DISPROVED},
    };
    return wordOfStatus.at(status);
}

std::ostream& operator<<(std::ostream& out, const status_t& status)
{
    const std::string word = strOfProofStatus(status).toStdString();
    // Written unformatted: a field width set on the stream adds nothing.
    return out.write(word.data(), static_cast<std::streamsize>(word.size()));
}

} // namespace pos
