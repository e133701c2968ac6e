#pragma once

// A proof mechanism: an ordered list of drivers, each naming a writer, a prover and a reader tool.
//
// `ofFile` fills the model from an XML file and refuses a mechanism whose tools are missing; from
// then on the model is only read. The records are plain values: a copy shares nothing with its
// original, and the caller owns what `ofFile` filled. A file or tool that cannot be found is
// reported by one or two message lines and the result false. Words are looked up with `at`: an
// unknown one raises std::out_of_range ("map::at"), which nothing here catches.
//
// `ofFile` asks the resource manager, which is not synchronised, and so belongs to the thread that
// uses that manager. Everything else may be used from any thread.

#include <QString>

#include <cstdint>
#include <iosfwd>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace mechanism
{

// Words of the format. They and the tables exist before main() starts, but static initialisers of
// other sources cannot rely on them.

extern const QString TAG_DEFINITION;
extern const QString TAG_DRIVER;
extern const QString TAG_EXPAND;
extern const QString TAG_MECHANISM;
extern const QString TAG_PARAM;
extern const QString TAG_PROVER;
extern const QString TAG_READER;
extern const QString TAG_WRITER;

extern const QString ATTR_GROUP;
extern const QString ATTR_INPUT;
extern const QString ATTR_NAME;
extern const QString ATTR_PATH;
extern const QString ATTR_RESOURCE;
extern const QString ATTR_SEPARATOR;
extern const QString ATTR_TIMEOUT;
extern const QString ATTR_TRUST;
extern const QString ATTR_VALUE;

extern const QString ATTR_VALUE_NEVER;
extern const QString ATTR_VALUE_REDUNDANCY;
extern const QString ATTR_VALUE_ALWAYS;
extern const QString ATTR_VALUE_NONE;
extern const QString ATTR_VALUE_RELATED;
extern const QString ATTR_VALUE_FULL;
extern const QString ATTR_VALUE_STDIN;
extern const QString ATTR_VALUE_FILE;

/// How the goals handed to a driver are spread over writer runs.
enum class group_t : std::uint32_t {
    none = 0,    ///< one run per goal
    related = 1, ///< one run per proof obligation
    full = 2     ///< one run for all goals
};

/// How far the results of a mechanism are trusted.
enum class trust_t : std::uint32_t { never = 0, redundancy = 1, always = 2 };

/// Whether a prover is fed its file on its standard input.
enum class input_t : std::uint32_t {
    file = 0,
    standardInput = 1 ///< "stdin" in the file; that name is a macro of <cstdio>
};

extern const std::map<const QString, group_t> groupOfXmlAttr;
extern const std::map<const QString, trust_t> trustOfXmlAttr;

/// One command-line parameter of a tool. A text is null when the file does not give it, and empty
/// but not null when the file gives it as empty: the two build different command lines.
struct param_t {
    QString name;      ///< first part of the argument, such as an option word
    QString separator; ///< stands between name and value; one blank when the file gives none
    QString value;     ///< last part of the argument; may hold "${file}"
};

/// One external program.
struct tool_t {
    QString name;         ///< used in messages and dumps only
    QString default_path; ///< the "path" attribute as written
    QString path;         ///< the program to run, in double quotes when it contains a blank
    QString resource;     ///< the workbench resource whose value is the program's path
    std::list<param_t> parameters; ///< in command-line order
};

/// The program that tries to prove the goals of a secondary file.
struct prover_t : tool_t {
    int timeout = -1; ///< -1 when the file gives none, 0 when it gives something else than a number
    input_t input = input_t::standardInput;
};

struct driver_t {
    tool_t writer;   ///< writes the secondary proof-obligation file
    prover_t prover; ///< tries to prove it
    tool_t reader;   ///< turns the prover's output into verdicts
    QString name;    ///< also recorded for the goals that the driver handled
    group_t group = group_t::none;
    QString ext; ///< file-name extension of the secondary file
    bool fast = false;
};

struct mechanism_t {
    std::string name; ///< base name of the file, which holds no name of its own
    trust_t trust = trust_t::never;
    std::vector<driver_t> drivers;   ///< in file order
    std::list<QString> driver_names; ///< the names of `drivers`, in the same order
};

/// Reads the mechanism file at `path` into `out`, locating and checking every tool on the way.
///
/// Replaces the name and the trust of `out` and appends to its drivers; `out` is not cleared first.
/// A file that is not well-formed reads as a mechanism without drivers.
/// Returns false, after a line on the standard log stream, when the file cannot be read (`out` is
/// untouched), and after two lines on the standard error stream when a tool cannot be located
/// (`out` keeps the drivers before that one). Raises std::out_of_range for an unknown trust or
/// group word and for an expansion of an unknown definition.
bool ofFile(const QString& path, mechanism_t& out);

// Traces: several labelled lines per record. An enumeration value outside its table raises
// std::out_of_range after the lines before it have been written.

std::ostream& operator<<(std::ostream& stream, const param_t& param);
std::ostream& operator<<(std::ostream& stream, const tool_t& tool);
std::ostream& operator<<(std::ostream& stream, const prover_t& prover);
std::ostream& operator<<(std::ostream& stream, const driver_t& driver);
std::ostream& operator<<(std::ostream& stream, const mechanism_t& mechanism);

} // namespace mechanism
