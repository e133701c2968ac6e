#pragma once

// What the libraries need of the process that uses them.

/// Prepares the process. A program calls this first of all, on its only thread, before anything
/// else of these libraries or of Qt. Calling it again is harmless. Nothing fails.
///
/// - Standard streams that are closed are opened on the null device. Otherwise the next file that
///   is opened, such as the POS file, would take the place of a stream, and the report would be
///   written into this file.
/// - No signal stays blocked that was blocked when the program started, because its children would
///   not get the signal either. SIGCHLD is not ignored, which would hide how the children ended.
/// - SIGPIPE is ignored: a closed standard output does not end the program.
/// - File names and texts are UTF-8 whatever the locale: useUtf8Everywhere().
/// - The seed of Qt's hashes is 0: the order of attributes in a saved file follows from it, and
///   must not change from run to run.
/// - The C library's memory is set for large documents and many threads.
void prepareProcess();

/// Makes UTF-8 the encoding in which Qt hands file names and arguments to the system, whatever the
/// locale of the caller: in the C locale Qt would turn every non-ASCII character into "?". Holds
/// for the whole process; calling it again is harmless.
void useUtf8Everywhere();
