#pragma once

// What the tests of several folders need: a directory that removes itself, tiny shell tools,
// captured streams, documents from text.

#include <QDomDocument>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace test
{

/// A fresh directory, removed with all it holds when the object goes.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    /// Absolute path of `name` inside the directory (of the directory itself when empty).
    std::string path(const std::string& name = "") const;
    /// Writes `text` to the file `name` and returns its path.
    std::string write(const std::string& name, const std::string& text) const;
    /// Writes an executable "#!/bin/sh" script with `body` and returns its path.
    std::string script(const std::string& name, const std::string& body) const;

private:
    std::string root;
};

/// Everything written to a C++ stream (std::cout, std::clog, std::cerr) while the object lives.
class Captured
{
public:
    explicit Captured(std::ostream& captured)
        : stream(captured), before(captured.rdbuf(buffer.rdbuf()))
    {
    }
    ~Captured()
    {
        stream.rdbuf(before);
    }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    std::string text() const
    {
        return buffer.str();
    }

private:
    std::ostream& stream;
    std::ostringstream buffer;
    std::streambuf* before;
};

/// The content of a file; empty when it cannot be read.
std::string contentOf(const std::string& path);

/// The path of a pipe that holds `text` (of at most some kilobytes) and then ends. It stays open.
std::string pipeHolding(const std::string& text);

/// `text` with each `before` made `after`.
std::string replaced(std::string text, const std::string& before, const std::string& after);

/// True when something exists at `path`.
bool exists(const std::string& path);

/// How many descriptors of this process are open (and one more, for the look).
std::ptrdiff_t openFiles();

/// Whether a process is gone or a zombie; with `waits` it gets some seconds for that.
bool hasEnded(int pid, bool waits = false);

/// The document that `xml` holds; fails the running test when it is not well-formed.
QDomDocument documentOf(const std::string& xml);

/// The child elements with a tag name, or all of them.
std::vector<QDomElement> childrenOf(const QDomElement& parent, const QString& tag = {});

/// A status file. Every word of `goals` is a goal: its status, the status of the mechanism "mech"
/// on it and of the drivers D1, D2 and so on, "goal/mechanism/driver,driver". Without the slashes
/// the goal does not know the mechanism; an empty status of a goal is not written. A "|" begins the
/// next of the obligations PO_0, PO_1 and so on.
std::string posText(const std::string& goals);

/// The statuses in a status file, in the words of posText, whatever other mechanisms it records.
std::string statusesOf(const std::string& posPath);

/// A tool of a mechanism file: its path, and what else the element has and holds.
struct Tool {
    std::string path = "/bin/cat";
    std::string attributes = {};
    std::string parameters = {};
};

/// A driver of a mechanism file.
struct Driver {
    std::string name = "D1";
    std::string attributes = {};
    Tool writer = {};
    Tool prover = {};
    Tool reader = {};
};

/// A driver with tools that work, made in `dir`: its reader prints `verdicts`, one word a goal,
/// when the prover prints the file on its standard input. Writer and reader print noise as well.
Driver driverSaying(const TempDir& dir, const std::string& name, const std::string& verdicts,
                    const std::string& attributes = "");

/// A mechanism file.
std::string mechanismText(const std::string& trust, const std::vector<Driver>& drivers);

} // namespace test
