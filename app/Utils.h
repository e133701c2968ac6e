#pragma once

// Small helpers on paths that every layer shares. Texts are UTF-8. Nothing here fails.

#include <string>

/// Separator that joins a directory and a file name.
extern const std::string FILE_SEPARATOR;

/// The file name of `path` without its directory and without its last extension. Both "/" and "\"
/// separate directories, whatever the platform: "/a/b/comp.pos" and "comp.pos" give "comp".
std::string baseNameOfPath(const std::string& path);
