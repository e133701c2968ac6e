#pragma once

// What every command of the program is made of: its entry in the table of commands, what it ends
// with, its options, and the way in which it fails.
//
// A command prints its answer on standard output and returns it. One that cannot answer throws
// CannotAnswer, from any depth; main prints the line and ends with the status.

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <stdexcept>
#include <string>

/// What a command answers: the exit status of the program.
enum class answer_t : int {
    yes = 0,  ///< yes, or done
    no = 1,   ///< a proof was lost, a requirement is not met, there are differences
    none = 2, ///< it could not be answered
};

/// A question that cannot be answered: "what happened: what to do", for one line.
class CannotAnswer : public std::runtime_error
{
public:
    explicit CannotAnswer(const QString& line) : std::runtime_error(line.toStdString()) {}
};

/// One command. `run` gets the words after the command's name.
struct command_t {
    const char* name;
    const char* summary; ///< a line of the list of commands
    answer_t (*run)(const QStringList& words);
};

/// The options and arguments of one command, read by Qt's parser.
class Options
{
public:
    /// `description` is what `--help` says first.
    explicit Options(const QString& description);

    /// The parser, for adding options and arguments.
    QCommandLineParser parser;

    /// Reads the words. False when help was asked for, and printed: the command is done. Throws
    /// CannotAnswer for an option that there is not, or a value that is missing.
    bool read(const QStringList& words);

    bool has(const QString& option) const
    {
        return parser.isSet(option);
    }

    /// The last value of an option; empty when it was not given.
    QString value(const QString& option) const
    {
        return parser.value(option);
    }

    /// The value of an option that must be given and not be empty.
    QString required(const QString& option) const;

    /// A whole number that is at least `least`; `otherwise` when the option was not given.
    int number(const QString& option, int least, int otherwise) const;

    /// The arguments: from `least` to `most` of them.
    QStringList arguments(int least, int most) const;
};

constexpr int ANY_NUMBER = 1 << 30;
