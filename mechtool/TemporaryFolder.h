#pragma once

// A folder that is gone at the end of this process, whatever the end.

#include <QString>

#include <sys/types.h>

/// A fresh folder in TMPDIR or /tmp. The end of the object removes it with all it holds. So does a
/// watcher, a shell that waits for the end of this process, when that ends without ending the
/// object, even by SIGKILL.
class TemporaryFolder
{
public:
    /// Throws CannotAnswer when the folder cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The folder, or `name` in it.
    QString path(const QString& name = {}) const;

    /// Removes every such folder now, from whichever thread, for a process that is about to end.
    static void removeAll();

private:
    void remove();

    QString folder;
    pid_t watcher = 0;
    int lifeline = -1; ///< the watcher has the other end
};
