#pragma once

// Replacing a file that people would miss.

#include <QByteArray>
#include <QString>

#include <system_error>
#include <vector>

/// Replaces the content of the existing regular file at `path` (UTF-8; links are followed) by the
/// pieces, one after the other, in one step: whoever reads the file, and whoever finds it after
/// this process was killed, sees the old content or the new one. The mode is kept, and owner and
/// group where the system allows it. When `synced`, the new content is on the disk before it takes
/// the place of the old one: so the same holds after a power cut. This takes milliseconds.
///
/// Returns why it failed, with the old content in place and no other file left behind: the path
/// names nothing, or no regular file, or a file that the user may not write, or a write has failed.
/// Never creates the file.
///
/// Where the folder does not let the file be replaced (the folder is not writable, or the file is a
/// mount point of its own), the file is written in place, once the room for the new content is
/// reserved. Only in this case can a process that is killed in the middle leave a torn file. Any
/// thread may call it, but no two at the same time for the same path.
std::error_code replaceFile(const QString& path, const std::vector<QByteArray>& pieces,
                            bool synced = true);
