#pragma once

// Runs the program in a folder of its own, in the poorest locale.

#include "tests/support/Support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <string>

#include <sys/wait.h>
#include <unistd.h>

class MechtoolRun : public testing::Test
{
protected:
    struct outcome_t {
        int status = 0; ///< exit status; -N when signal N ended the program
        std::string out;
        std::string err;
    };

    /// Starts the program on words for the shell, with the folder of the test as the current one;
    /// its output goes to the files "out" and "err" there. `by` is a command that runs it.
    pid_t start(const std::string& words, const std::string& by = "")
    {
        const std::string command = "cd " + dir.path() +
                                    " && exec </dev/null >out 2>err && LC_ALL=C exec " + by +
                                    MECHTOOL " " + words;
        const pid_t child = ::fork();
        if (child == 0) {
            ::close_range(3, ~0U, 0); // whatever the test runner left open
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            ::_exit(127);
        }
        return child;
    }

    outcome_t end(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
                test::contentOf(dir.path("out")), test::contentOf(dir.path("err"))};
    }

    outcome_t run(const std::string& words)
    {
        return end(start(words));
    }

    test::TempDir dir;
};

/// The value at a path of keys and indices, "components/0/file"; undefined where there is none.
inline QJsonValue at(QJsonValue value, const std::string& path)
{
    for (const QString& step : QString::fromStdString(path).split(QLatin1Char('/'))) {
        value = value.isArray() ? value[step.toInt()] : value[step];
    }
    return value;
}

/// The object that a command printed.
inline QJsonValue jsonOf(const std::string& text)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
}

/// A text, or an object in one line.
inline std::string textAt(const QJsonValue& value, const std::string& path)
{
    const QJsonValue found = at(value, path);
    return found.isObject()
               ? QJsonDocument(found.toObject()).toJson(QJsonDocument::Compact).toStdString()
               : found.toString().toStdString();
}
