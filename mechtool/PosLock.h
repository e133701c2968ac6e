#pragma once

// One at a time: a second mechtool that plays or changes the same POS file would lose what the
// first one writes.

#include "base/Descriptor.h"

#include <QString>

/// Held while the object lives, or until the process ends. The lock is a name in
/// the system's memory, for the folder and the name of the file: the file itself is another one
/// after each save, and no file is left behind. Only mechtool knows of it.
class PosLock
{
public:
    /// Throws CannotAnswer when another process holds the lock of this file.
    explicit PosLock(const QString& pos);

private:
    Descriptor held;
};
