#pragma once

// Putting a POS document in the place of the one in its file.

#include <QDomDocument>
#include <QString>

#include <array>

/// What tells whether a file is still the file that was read: its device, inode, size and last
/// change. A file that is not there has a stamp too.
using file_stamp_t = std::array<long long, 5>;

/// The stamp of a file, to be taken before the file is read.
file_stamp_t stampOf(const QString& file);

/// Replaces the POS file by the document in one step, with the text that a run would write: in
/// UTF-8 and indented. The author stays: nobody played. The new content is on the disk afterwards.
/// Throws CannotAnswer, with the old content in place, when the file can not be replaced, or is no
/// longer the file of the stamp `read`: what someone else wrote is not lost.
void saveDocument(const QString& file, QDomDocument& document, const file_stamp_t& read);
