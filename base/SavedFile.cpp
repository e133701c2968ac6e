#include "base/SavedFile.h"

#include "base/replace_file.h"

#include <cerrno>

namespace
{

bool isFull(const std::error_code& failure)
{
    return failure == std::errc::no_space_on_device ||
           failure == std::error_code(EDQUOT, std::generic_category());
}

} // namespace

std::error_code SavedFile::replace(const std::vector<QByteArray>& pieces, bool mustSync)
{
    const SyncPace::Clock::time_point begin = SyncPace::Clock::now();
    const bool synced = mustSync || pace.isDue(begin);
    oldContent.keep(path);
    std::error_code failure = replaceFile(path, pieces, synced);
    while (isFull(failure) && oldContent.awaitRoom()) {
        failure = replaceFile(path, pieces, synced);
    }
    oldContent.release(!failure);
    if (synced) {
        pace.synced(begin, SyncPace::Clock::now());
    }
    return failure;
}
