#include "mechtool/TemporaryFolder.h"

#include "base/Descriptor.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"

#include <QByteArray>
#include <QDir>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// Removes its argument once its standard input ends. A tool that is just being killed may still
/// make a file there, so one try may not be enough.
const char WATCH[] = "read -r end; for i in 1 2 3 4 5 6 7 8 9; do "
                     "rm -rf -- \"$1\" 2>&- && exit; sleep 0.2; done";

/// Starts the watcher with `input` as its standard input, out of reach of the terminal's signals; 0
/// when the system has no room for it: then only the end of the object removes the folder.
pid_t startWatcher(int input, const QByteArray& folder)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
    QByteArray path = folder;
    char shell[] = "sh";
    char option[] = "-c";
    char script[sizeof WATCH];
    std::memcpy(script, WATCH, sizeof WATCH);
    char name[] = "mechtool-watcher";
    char* const words[] = {shell, option, script, name, path.data(), nullptr};
    pid_t watcher = 0;
    const int error = ::posix_spawn(&watcher, "/bin/sh", &files, &attributes, words, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error == 0 ? watcher : 0;
}

/// Where the folder is made. QDir::tempPath() is empty where TMPDIR names a folder that is not
/// there, and the root folder is no place for it.
QString temporaryPlace()
{
    const QByteArray given = qgetenv("TMPDIR");
    return given.isEmpty() ? QStringLiteral("/tmp")
                           : QDir::current().absoluteFilePath(QString::fromUtf8(given));
}

std::mutex mutex;
std::set<TemporaryFolder*> folders; ///< that there are; guarded by `mutex`

} // namespace

TemporaryFolder::TemporaryFolder()
{
    const QString place = temporaryPlace();
    QByteArray name = place.toUtf8() + "/mechtool-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw CannotAnswer(
            QStringLiteral("no folder can be made in %1: %2: set TMPDIR, or give one with -d")
                .arg(shown(place), QString::fromUtf8(std::strerror(errno))));
    }
    folder = QString::fromUtf8(name);
    Pipe pipe;
    if (pipe.open()) {
        lifeline = ::fcntl(pipe.toWrite.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        watcher = startWatcher(pipe.toRead.number(), name);
    }
    const std::lock_guard<std::mutex> lock(mutex);
    folders.insert(this);
}

TemporaryFolder::~TemporaryFolder()
{
    const std::lock_guard<std::mutex> lock(mutex);
    folders.erase(this);
    remove();
}

void TemporaryFolder::removeAll()
{
    const std::lock_guard<std::mutex> lock(mutex);
    for (TemporaryFolder* const folder : folders) {
        folder->remove();
    }
}

QString TemporaryFolder::path(const QString& name) const
{
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

/// Called with `mutex` held; may be called again.
void TemporaryFolder::remove()
{
    QDir(folder).removeRecursively();
    if (lifeline >= 0) {
        ::close(std::exchange(lifeline, -1));
    }
    if (watcher != 0) {
        ::waitpid(std::exchange(watcher, 0), nullptr, 0);
    }
}
