// Dumps of the records, line by line. The texts are fixed, down to three oddities that are kept on
// purpose: the resource stands before the path, the input line of a prover has no opening quote,
// and the size line of a prover has no empty line after it.

#include "mechanism/Mechanism_p.h"

#include <ostream>
#include <string>

namespace mechanism
{

namespace
{

/// Writes one line, whatever width or number base the stream is set to.
void putLine(std::ostream& stream, std::string text)
{
    text += '\n';
    stream.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

void putField(std::ostream& stream, const char* label, const std::string& value)
{
    putLine(stream, std::string(label) + " = \"" + value + "\"");
}

void putField(std::ostream& stream, const char* label, const QString& value)
{
    putField(stream, label, value.toStdString());
}

/// The lines that name and locate a tool.
void putLocation(std::ostream& stream, const tool_t& tool)
{
    putField(stream, "name", tool.name);
    putField(stream, "default_path", tool.default_path);
    putField(stream, "resource", tool.resource);
    putField(stream, "path", tool.path);
}

/// The heading of a parameter list and its size.
void putSize(std::ostream& stream, const tool_t& tool)
{
    putLine(stream, "");
    putLine(stream, "[parameters]");
    putLine(stream, "size = " + std::to_string(tool.parameters.size()));
}

void putParameters(std::ostream& stream, const tool_t& tool)
{
    for (const param_t& param : tool.parameters) {
        stream << param;
        putLine(stream, "");
    }
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const param_t& param)
{
    putLine(stream, "[parameter]");
    putField(stream, "name", param.name);
    putField(stream, "separator", param.separator);
    putField(stream, "value", param.value);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const tool_t& tool)
{
    putLine(stream, "[tool]");
    putLocation(stream, tool);
    putSize(stream, tool);
    putLine(stream, "");
    putParameters(stream, tool);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const prover_t& prover)
{
    putLine(stream, "[prover]");
    putLocation(stream, prover);
    putField(stream, "timeout", std::to_string(prover.timeout));
    putLine(stream, "input = " + qstringOfInput.at(prover.input).toStdString() + "\"");
    putSize(stream, prover);
    putParameters(stream, prover);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const driver_t& driver)
{
    putLine(stream, "[driver]");
    putField(stream, "name", driver.name);
    putField(stream, "group", qstringOfGroup.at(driver.group));
    putLine(stream, "");
    putLine(stream, "[writer]");
    putLine(stream, "");
    stream << driver.writer << driver.prover;
    putLine(stream, "[reader]");
    putLine(stream, "");
    return stream << driver.reader;
}

std::ostream& operator<<(std::ostream& stream, const mechanism_t& mechanism)
{
    putLine(stream, "[mechanism]");
    putField(stream, "name", mechanism.name);
    putField(stream, "trust", qstringOfTrust.at(mechanism.trust));
    putLine(stream, "");
    for (const driver_t& driver : mechanism.drivers) {
        stream << driver;
    }
    return stream;
}

} // namespace mechanism
