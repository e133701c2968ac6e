#pragma once

// The page: the template with the style, the script and the sections in their places.

#include "mechtool/report/Content.h"

#include <QByteArray>

#include <vector>

namespace report
{

/// The page in UTF-8, in pieces. It loads nothing, and runs no script and no style but its own.
std::vector<QByteArray> page(const content_t& content);

} // namespace report
