#pragma once

// The decisions of the director as functions on values, and the texts that several of its sources
// use. Private to the folder and its tests.

#include "director/ProofDirector.h"
#include "mechanism/Mechanism.h"
#include "pos/pos.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <map>
#include <vector>

/// Prefix of the director's lines on the log stream.
constexpr const char* LOG_PREFIX = "-- ProofDirector -- ";
/// Prefix that the worker bodies use instead; the blank is deliberate.
constexpr const char* WORKER_LOG_PREFIX = "-- Proof Director -- ";

/// The trace level that enables progress lines; any other level does not.
constexpr int TRACE_PROGRESS = 1;

/// Marks of the report.
extern const std::map<pos::status_t, const char*> stringOfStatus;
extern const std::map<pos::status_t, const char*> xmlOfStatus;

/// Appends the arguments that one prover or reader parameter stands for, with every "${file}" in
/// its name and value replaced by `file`. Null texts give no argument, empty ones an empty one.
void append_param(const mechanism::param_t& param, QStringList& args, const QString& file);

/// Appends the arguments that the parameters of a writer stand for. The rule differs from
/// append_param's rule on purpose: it tests emptiness, wants exactly one blank as separator to
/// make two arguments, and substitutes nothing.
// NOLINTNEXTLINE(performance-unnecessary-value-param): by value is what its callers know
void addParametersBits(QStringList& args, mechanism::tool_t tool);

/// Merges the verdict of a driver on a goal into the record of the goal and into the document.
/// Returns whether the goal itself has a better status now.
bool mergeVerdict(ProofDirector::po_data_t& record, const QString& driver, const verdict_t& verdict,
                  const mechanism::trust_t& trust);

/// The lines of a reader's output: white space at both ends goes, then every line feed separates.
/// Empty output is one empty line.
class ReaderLines
{
public:
    explicit ReaderLines(const QByteArray& output) : text(output.trimmed()) {}

    std::size_t count() const
    {
        return static_cast<std::size_t>(text.count('\n')) + 1;
    }
    bool atEnd() const
    {
        return next > text.size();
    }

    /// The next line; an empty one at the end.
    QByteArray take()
    {
        const int begin = next;
        const int end = text.indexOf('\n', begin);
        next = end < 0 ? text.size() + 1 : end + 1;
        return text.mid(begin, end < 0 ? -1 : end - begin);
    }

    /// All that is left, every line ended.
    QByteArray takeRest()
    {
        QByteArray rest = atEnd() ? QByteArray() : text.mid(next) + '\n';
        next = text.size() + 1;
        return rest;
    }

private:
    QByteArray text;
    int next = 0;
};
