// Reading a mechanism file.
//
//   mechanism   trust ("never")            definition, driver*
//   definition  name                       param*
//   driver      name, group ("none"), ext ("po2"), fast ("false")
//                                          the first writer, prover and reader
//   writer, reader  name, path, resource   param*, expand*
//   prover      the same, input ("stdin"), timeout
//   param       name, separator (" "), value
//   expand      name
//
// Every attribute may be absent; an attribute given as empty is empty, not its default. Whatever
// else the file holds is ignored. The program of a tool is located and checked before its
// parameters are read, so that a mechanism whose programs are missing is refused here.

#include "mechanism/Mechanism_p.h"

#include "app/Utils.h"
#include "base/LogLine.h"
#include "base/XmlFile.h"

#include <QDomDocument>

#include <iostream>
#include <string>
#include <utility>

namespace mechanism
{

namespace
{

const QString DEFAULT_EXT = QStringLiteral("po2");
const QString DEFAULT_SEPARATOR = QStringLiteral(" ");
const QString FAST_WORD = QStringLiteral("true");
const QString TIMEOUT_MARK = QStringLiteral("${timeout}");

/// Names `tool` and locates its program. `kind` is the word for it in the message.
bool locateTool(const QDomElement& element, tool_t& tool, const char* kind)
{
    tool.name = element.attribute(ATTR_NAME);
    tool.default_path = element.attribute(ATTR_PATH);
    tool.resource = element.attribute(ATTR_RESOURCE);
    tool.path = computePath(tool.default_path, tool.resource);
    if (!checkPath(tool.path)) {
        std::cerr << "Cannot locate " + std::string(kind) + " " + tool.name.toStdString() + "\n"
                  << std::flush;
        return false;
    }
    return true;
}

/// The tool's own parameters come first, also those that are written after an expansion.
void readParameters(const QDomElement& element, tool_t& tool, const definitions_t& definitions)
{
    paramListOfXml(element, tool.parameters);
    expandListOfXml(element, tool.parameters, definitions);
}

definitions_t definitionsOfXml(const QDomElement& root)
{
    definitions_t definitions;
    // Deliberate: after the first definition come its "param" siblings, not further definitions.
    for (QDomElement element = root.firstChildElement(TAG_DEFINITION); !element.isNull();
         element = element.nextSiblingElement(TAG_PARAM)) {
        std::list<param_t> list;
        paramListOfXml(element, list);
        definitions[element.attribute(ATTR_NAME)] = std::move(list);
    }
    return definitions;
}

/// Puts the timeout into the values of the prover's parameters, as it is written in the file.
void applyTimeout(const QString& text, prover_t& prover)
{
    if (text.isEmpty()) {
        prover.timeout = -1;
        return;
    }
    prover.timeout = text.toInt(nullptr, 10);
    for (param_t& param : prover.parameters) {
        param.value.replace(TIMEOUT_MARK, text);
    }
}

bool proverOfXml(const QDomElement& element, prover_t& prover, const definitions_t& definitions)
{
    if (!locateTool(element, prover, "prover")) {
        return false;
    }
    readParameters(element, prover, definitions);
    prover.input = element.attribute(ATTR_INPUT, ATTR_VALUE_STDIN) == ATTR_VALUE_STDIN
                       ? input_t::standardInput
                       : input_t::file;
    applyTimeout(element.attribute(ATTR_TIMEOUT), prover);
    return true;
}

/// Encloses a path that contains a blank in double quotes, unless it starts with one already.
void quotePath(QString& path)
{
    const QLatin1Char quote('"');
    if (!path.startsWith(quote) && path.contains(QLatin1Char(' '))) {
        path = quote + path + quote;
    }
}

bool driverOfXml(const QDomElement& element, driver_t& driver, const definitions_t& definitions)
{
    driver.name = element.attribute(ATTR_NAME);
    driver.group = groupOfXmlAttr.at(element.attribute(ATTR_GROUP, ATTR_VALUE_NONE));
    driver.ext = element.attribute(ATTR_EXT, DEFAULT_EXT);
    driver.fast = element.attribute(ATTR_FAST) == FAST_WORD;
    if (!toolOfXml(element.firstChildElement(TAG_WRITER), driver.writer, definitions) ||
        !proverOfXml(element.firstChildElement(TAG_PROVER), driver.prover, definitions) ||
        !toolOfXml(element.firstChildElement(TAG_READER), driver.reader, definitions)) {
        return false;
    }
    // Only now: the checks above see the paths without quotes.
    quotePath(driver.writer.path);
    quotePath(driver.prover.path);
    quotePath(driver.reader.path);
    return true;
}

} // namespace

bool ofFile(const QString& path, mechanism_t& out)
{
    QDomDocument document;
    if (!readXmlFileOrStream(path, document)) {
        writeLog("Cannot open '" + path.toStdString() + "'.\n");
        return false;
    }
    const QDomElement root = document.firstChildElement(TAG_MECHANISM);
    out.name = baseNameOfPath(path.toStdString());
    out.trust = trustOfXmlAttr.at(root.attribute(ATTR_TRUST, ATTR_VALUE_NEVER));
    const definitions_t definitions = definitionsOfXml(root);
    for (QDomElement element = root.firstChildElement(TAG_DRIVER); !element.isNull();
         element = element.nextSiblingElement(TAG_DRIVER)) {
        driver_t driver;
        if (!driverOfXml(element, driver, definitions)) {
            return false;
        }
        out.driver_names.push_back(driver.name);
        out.drivers.push_back(std::move(driver));
    }
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): each tool gets a table of its own.
bool toolOfXml(const QDomElement& element, tool_t& tool, definitions_t definitions)
{
    if (!locateTool(element, tool, "tool")) {
        return false;
    }
    readParameters(element, tool, definitions);
    return true;
}

void paramListOfXml(const QDomElement& element, std::list<param_t>& list)
{
    for (QDomElement child = element.firstChildElement(TAG_PARAM); !child.isNull();
         child = child.nextSiblingElement(TAG_PARAM)) {
        // Without a default for name and value: absent stays null, given as empty does not.
        list.push_back({child.attribute(ATTR_NAME),
                        child.attribute(ATTR_SEPARATOR, DEFAULT_SEPARATOR),
                        child.attribute(ATTR_VALUE)});
    }
}

void expandListOfXml(const QDomElement& element, std::list<param_t>& list,
                     const definitions_t& definitions)
{
    for (QDomElement child = element.firstChildElement(TAG_EXPAND); !child.isNull();
         child = child.nextSiblingElement(TAG_EXPAND)) {
        const std::list<param_t>& named = definitions.at(child.attribute(ATTR_NAME));
        list.insert(list.end(), named.begin(), named.end());
    }
}

} // namespace mechanism
