#pragma once

// What the sources of the mechanism unit, and its tests, share among themselves. The public
// header tells what holds for failures and threads.

#include "mechanism/Mechanism.h"

#include <QDomElement>

#include <list>
#include <map>

namespace mechanism
{

extern const QString ATTR_EXT;
extern const QString ATTR_FAST;

extern const std::map<group_t, const QString> qstringOfGroup;
extern const std::map<trust_t, const QString> qstringOfTrust;
extern const std::map<input_t, const QString> qstringOfInput;

/// The named parameter lists of one file, alive while it is read.
using definitions_t = std::map<QString, std::list<param_t>>;

/// Fills `tool` from a writer or reader element. Returns false, with the reason and the name of the
/// tool on the standard error stream and the parameters unread, when it cannot be located.
bool toolOfXml(const QDomElement& element, tool_t& tool, definitions_t definitions);

/// Appends one parameter to `list` for each "param" child of `element`.
void paramListOfXml(const QDomElement& element, std::list<param_t>& list);

/// Appends a copy of the named list to `list` for each "expand" child of `element`.
void expandListOfXml(const QDomElement& element, std::list<param_t>& list,
                     const definitions_t& definitions);

/// The path of a program: the value of `resource` in the section "Proof" of the workbench's
/// resources, normalised, or `default_path` as it stands when that value is missing or empty.
QString computePath(const QString& default_path, const QString& resource);

/// True when `path` exists and is executable; otherwise one line on the standard error stream says
/// what is wrong. A directory that may be searched passes: this is deliberate.
bool checkPath(const QString& path);

} // namespace mechanism
