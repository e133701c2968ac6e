#include "director/OldContent.h"

#include <system_error>

#include <fcntl.h>
#include <unistd.h>

void OldContent::keep(const QString& path)
{
    kept = ::open(path.toUtf8().constData(), O_PATH | O_CLOEXEC);
}

void OldContent::release()
{
    if (kept < 0) {
        return;
    }
    const auto free = [fd = kept] {
        ::close(fd);
    };
    kept = -1;
    try {
        releases[next++ % releases.size()] = std::async(std::launch::async, free);
    } catch (const std::system_error&) {
        free(); // no thread to be had
    }
}
