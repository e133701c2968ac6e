// The program: the table of commands, and what is common to their ends.

#include "base/Process.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <iostream>
#include <new>

#include <fcntl.h>
#include <unistd.h>

namespace
{

const command_t COMMANDS[] = {
    {"play", "run mechanisms on every open goal", runPlay},
    {"replay", "confirm that the recorded verdicts still hold", runReplay},
    {"model", "run one goal and print its counter-example", runModel},
    {"show", "show what POS files record", runShow},
    {"diff", "show what differs between two states of a POS file", runDiff},
    {"check", "is a POS file in order, and are its goals proved?", runCheck},
    {"report", "make a page for people, or test results for a build server", runReport},
    {"reset", "forget what mechanisms found, or a part of it", runReset},
    {"forget", "remove mechanisms from a POS file", runForget},
    {"new", "make a fresh POS file", runNew},
};

QString listOfCommands()
{
    Table table({QString(), QString()});
    for (const command_t& command : COMMANDS) {
        table.row({QString::fromUtf8(command.name), QString::fromUtf8(command.summary)});
    }
    return QStringLiteral("Usage: mechtool COMMAND [options] [files]\n\n"
                          "External provers over the proof obligations of a component.\n") +
           table.text() +
           QStringLiteral("\n\"mechtool COMMAND --help\" says everything about one of them.\n"
                          "Exit status: 0 yes or done, 1 the answer is no, 2 no answer.\n");
}

const command_t* commandNamed(const QString& name)
{
    for (const command_t& command : COMMANDS) {
        if (name == QLatin1String(command.name)) {
            return &command;
        }
    }
    return nullptr;
}

/// The line of an error; `command` is empty as long as none is known.
void complain(const QString& command, const QString& line)
{
    std::cerr << "mechtool" << (command.isEmpty() ? "" : " ") << command.toStdString() << ": "
              << line.toStdString() << std::endl;
}

/// Whoever started us gave us no standard output: what was printed is lost.
bool outputIsClosed = false;

/// Ends the output; throws when it did not arrive.
void flushOutput()
{
    if (!std::cout.flush() || outputIsClosed) {
        throw CannotAnswer(QStringLiteral("standard output cannot be written, since nobody reads "
                                          "it, or there is no room: what is "
                                          "missing of it is lost"));
    }
}

/// What there is to do without a command; the answer.
answer_t runWithoutCommand(const QString& word)
{
    if (word.isEmpty() || word == QLatin1String("help") || word == QLatin1String("--help") ||
        word == QLatin1String("-h")) {
        print(listOfCommands());
        return answer_t::yes;
    }
    if (word == QLatin1String("--version")) {
        print(QStringLiteral("mechtool " MECHTOOL_VERSION "\n"));
        return answer_t::yes;
    }
    throw CannotAnswer(QStringLiteral("there is no command \"%1\": \"mechtool help\" lists them")
                           .arg(shown(word)));
}

/// Runs the command, or what there is to do without one; its answer is lost when it cannot be
/// printed.
answer_t run(const command_t* command, const QStringList& words)
{
    try {
        const answer_t answer =
            command == nullptr ? runWithoutCommand(words.value(0)) : command->run(words.mid(1));
        flushOutput();
        return answer;
    } catch (const CannotAnswer& error) {
        std::cout.flush();
        complain(command == nullptr ? QString() : words.first(), QString::fromUtf8(error.what()));
    } catch (const std::bad_alloc&) {
        std::fputs("mechtool: out of memory: the file is too large for this machine\n", stderr);
    } catch (const std::exception& error) {
        complain(command == nullptr ? QString() : words.first(),
                 QStringLiteral("this went wrong: %1: close other programs, and try again")
                     .arg(shown(QString::fromUtf8(error.what()))));
    }
    return answer_t::none;
}

} // namespace

int main(int argc, char** argv)
{
    outputIsClosed = ::fcntl(STDOUT_FILENO, F_GETFD) < 0;
    prepareProcess();
    // A line about an error must not wait for a standard output that nobody reads.
    std::cerr.tie(nullptr);
    QStringList words;
    for (int i = 1; i < argc; ++i) {
        words << QString::fromUtf8(argv[i]);
    }
    // "mechtool help COMMAND" is what people try.
    if (words.size() == 2 && words.first() == QLatin1String("help")) {
        words = QStringList{words.last(), QStringLiteral("--help")};
    }
    const command_t* command = commandNamed(words.value(0));
    // The help of a command begins with these words.
    std::string title = command == nullptr ? "mechtool" : std::string("mechtool ") + command->name;
    char* titles[] = {title.data(), nullptr};
    int count = 1;
    const QCoreApplication application(count, titles);
    useUtf8Everywhere(); // which the application has set by the locale
    return static_cast<int>(run(command, words));
}
