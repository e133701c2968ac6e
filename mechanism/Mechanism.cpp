#include "mechanism/Mechanism.h"

#include "mechanism/Mechanism_p.h"

// One source for all of them: the tables are built from the words, which must exist by then.

namespace mechanism
{

const QString TAG_DEFINITION = QStringLiteral("definition");
const QString TAG_DRIVER = QStringLiteral("driver");
const QString TAG_EXPAND = QStringLiteral("expand");
const QString TAG_MECHANISM = QStringLiteral("mechanism");
const QString TAG_PARAM = QStringLiteral("param");
const QString TAG_PROVER = QStringLiteral("prover");
const QString TAG_READER = QStringLiteral("reader");
const QString TAG_WRITER = QStringLiteral("writer");

const QString ATTR_GROUP = QStringLiteral("group");
const QString ATTR_INPUT = QStringLiteral("input");
const QString ATTR_NAME = QStringLiteral("name");
const QString ATTR_EXT = QStringLiteral("ext");
const QString ATTR_FAST = QStringLiteral("fast");
const QString ATTR_PATH = QStringLiteral("path");
const QString ATTR_RESOURCE = QStringLiteral("resource");
const QString ATTR_SEPARATOR = QStringLiteral("separator");
const QString ATTR_TIMEOUT = QStringLiteral("timeout");
const QString ATTR_TRUST = QStringLiteral("trust");
const QString ATTR_VALUE = QStringLiteral("value");

const QString ATTR_VALUE_NEVER = QStringLiteral("never");
const QString ATTR_VALUE_REDUNDANCY = QStringLiteral("redundancy");
const QString ATTR_VALUE_ALWAYS = QStringLiteral("always");
const QString ATTR_VALUE_NONE = QStringLiteral("none");
const QString ATTR_VALUE_RELATED = QStringLiteral("related");
const QString ATTR_VALUE_FULL = QStringLiteral("full");
const QString ATTR_VALUE_STDIN = QStringLiteral("stdin");
const QString ATTR_VALUE_FILE = QStringLiteral("file");

const std::map<const QString, group_t> groupOfXmlAttr = {
    {ATTR_VALUE_NONE, group_t::none},
    {ATTR_VALUE_RELATED, group_t::related},
    {ATTR_VALUE_FULL, group_t::full},
};

const std::map<const QString, trust_t> trustOfXmlAttr = {
    {ATTR_VALUE_NEVER, trust_t::never},
    {ATTR_VALUE_REDUNDANCY, trust_t::redundancy},
    {ATTR_VALUE_ALWAYS, trust_t::always},
};

const std::map<group_t, const QString> qstringOfGroup = {
    {group_t::none, ATTR_VALUE_NONE},
    {group_t::related, ATTR_VALUE_RELATED},
    {group_t::full, ATTR_VALUE_FULL},
};

const std::map<trust_t, const QString> qstringOfTrust = {
    {trust_t::never, ATTR_VALUE_NEVER},
    {trust_t::redundancy, ATTR_VALUE_REDUNDANCY},
    {trust_t::always, ATTR_VALUE_ALWAYS},
};

const std::map<input_t, const QString> qstringOfInput = {
    {input_t::file, ATTR_VALUE_FILE},
    {input_t::standardInput, ATTR_VALUE_STDIN},
};

} // namespace mechanism
