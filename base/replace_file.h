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
/// the old one's place, so that this holds after a power cut too; that takes milliseconds.
///
/// Returns why it failed, with the old content in place and no other file left behind: the path
/// names nothing, or no regular file, or a file that the user may not write, or a write has failed.
/// Never creates the file.
///
/// A folder that does not let the file be replaced (it is not writable, or the file is a mount
/// point of its own) has it written in place, after the room for the new content was reserved:
/// only then can a process killed in the middle leave a torn file. May be called from any thread,
/// for one path by one at a time.
std::error_code replaceFile(const QString& path, const std::vector<QByteArray>& pieces,
                            bool synced = true);
