#pragma once

// The file that a run saves again and again.

#include "base/OldContent.h"
#include "base/SyncPace.h"

#include <QByteArray>
#include <QString>

#include <system_error>
#include <utility>
#include <vector>

/// Replaces the content of one file, each time in one step (replaceFile() of base/replace_file.h
/// has the whole contract), at the least cost: it waits for the disk no more often than SyncPace
/// allows, and the old content is freed by a thread of its own. A save that finds the disk full is
/// tried again as long as old content is on its way out. One thread at a time may use it.
class SavedFile
{
public:
    /// `file` is a path in UTF-8.
    explicit SavedFile(QString file) : path(std::move(file)) {}

    /// Makes `pieces`, one after the other, the content of the file; otherwise returns why the old
    /// content has stayed. With `mustSync` the new content is on the disk in any case.
    std::error_code replace(const std::vector<QByteArray>& pieces, bool mustSync);

private:
    const QString path;
    SyncPace pace;
    OldContent oldContent;
};
