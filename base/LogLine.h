#pragma once

// The standard log stream as several threads write to it.

#include <string>

/// Writes `text`, which holds its own line ends, to the standard log stream in one piece and
/// flushes it. May be called from any thread; texts of different calls never mix.
void writeLog(const std::string& text);
