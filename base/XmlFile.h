#pragma once

// Reading an XML document from a file that may be missing, huge or hostile.

#include <QDomDocument>
#include <QString>

/// Elements nested deeper than this make a document malformed: the DOM is freed and written
/// recursively, so that a deeper document could exhaust the stack. Real files have about six
/// levels.
constexpr int MAX_XML_DEPTH = 1000;

/// Files larger than this (in bytes) are refused like unreadable ones: the parser holds the whole
/// text in one QString, which ends a little below 2^30 characters.
constexpr long long MAX_XML_FILE_SIZE = 1LL << 29;

/// A pipe, or whatever else is no regular file, is read up to this size (in bytes): all of it is
/// held in memory while it is parsed.
constexpr long long MAX_XML_STREAM_SIZE = 1LL << 26;

/// Reads the regular file at `path` (a plain path in the file system, taken as UTF-8) into
/// `document`, without namespace processing.
///
/// Returns false, with `document` untouched, when there is no such file, or it cannot be read, or
/// it is no regular file (never waits for the other end of a pipe). Returns true otherwise; a file
/// that is not well-formed gives a document that is empty but not null: no part of what stands
/// before the error is kept. So does a file whose entities expand too far (base/XmlEntities.h), and
/// only this is reported: on the log stream.
bool readXmlFile(const QString& path, QDomDocument& document);

/// Does the same for a file that may also be a pipe or a device, which is read once, to its end.
/// Waits as long as a writer keeps the pipe open. Returns false beyond the size limit, and for a
/// directory.
bool readXmlFileOrStream(const QString& path, QDomDocument& document);
