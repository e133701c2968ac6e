#pragma once

// A file that a command makes, or makes anew.

#include <QByteArray>
#include <QString>

#include <vector>

namespace report
{

/// Writes the file in one step: whoever reads it sees the old content or the new one, and after a
/// failure the old one is there, or no file. The content is on the disk afterwards. Throws
/// CannotAnswer.
void writeFile(const QString& path, const std::vector<QByteArray>& pieces);

} // namespace report
