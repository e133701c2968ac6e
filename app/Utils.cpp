#include "app/Utils.h"

#include <algorithm>

const std::string FILE_SEPARATOR = "/";

std::string baseNameOfPath(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    const std::size_t separator = path.find_last_of("/\\");
    if (separator == std::string::npos) {
        return path.substr(0, dot);
    }
    const std::size_t start = separator + 1;
    // Without a dot after the separator the unsigned difference wraps: the name runs to the end.
    return path.substr(start, std::min(dot - separator - 1, path.size() - start));
}
