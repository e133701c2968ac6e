#pragma once

// What the tests of several folders need: a directory that removes itself, tiny shell tools,
// captured streams, documents from text.

#include <QDomDocument>

#include <iosfwd>
#include <memory>
#include <sstream>
#include <streambuf>
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
    explicit Captured(std::ostream& captured);
    ~Captured();
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    std::string text() const;

private:
    std::ostream& stream;
    std::ostringstream buffer;
    std::streambuf* before;
};

/// The content of a file; empty when it cannot be read.
std::string contentOf(const std::string& path);

/// True when something exists at `path`.
bool exists(const std::string& path);

/// The document that `xml` holds; fails the running test when it is not well-formed.
QDomDocument documentOf(const std::string& xml);

/// One goal of a status file: its own status, that of the mechanism "mech" on it (none: the goal
/// does not know the mechanism), and drivers as "name=status" words.
struct Goal {
    std::string status = "Unproved";
    std::string mechanism = "Unproved";
    std::string drivers = "D1=Proved";
};

/// A status file with obligations PO_0, PO_1, ... and these goals.
std::string posText(const std::vector<std::vector<Goal>>& obligations);

/// A driver of a mechanism file: attributes of the element, the three tools' paths, attributes of
/// the prover, and `param` elements for writer, prover and reader.
struct Driver {
    std::string name = "D1";
    std::string attributes;
    std::string writer;
    std::string prover;
    std::string reader;
    std::string proverAttributes;
    std::string proverParameters;
    std::string readerParameters;
};

/// A mechanism file.
std::string mechanismText(const std::string& trust, const std::vector<Driver>& drivers);

/// The statuses in a status file, goal by goal: "goal/mechanism/driver,driver" and blanks between.
std::string statusesOf(const std::string& posPath);

} // namespace test
