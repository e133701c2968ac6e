#include "base/replace_file.h"

#include <QFile>
#include <QTemporaryFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

enum class outcome_t {
    replaced,
    failed,    ///< the new content cannot be written; nothing has changed
    notBeside, ///< the folder does not take a new file, or not in place of the old one
};

/// Why something has just failed, which is never "no error".
std::error_code lastError()
{
    return {errno != 0 ? errno : EIO, std::generic_category()};
}

/// Writes the buffers to the end, however many bytes the system takes at a time.
bool writeBuffers(int fd, iovec* buffers, int count)
{
    while (count > 0) {
        const ssize_t result = ::writev(fd, buffers, count);
        if (result < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        auto written = static_cast<std::size_t>(result);
        while (count > 0 && written >= buffers->iov_len) {
            written -= buffers->iov_len;
            ++buffers;
            --count;
        }
        if (count > 0) {
            buffers->iov_base = static_cast<char*>(buffers->iov_base) + written;
            buffers->iov_len -= written;
        }
    }
    return true;
}

/// Writes the pieces. Pieces are many and small: they are handed over in as few system calls as the
/// system allows.
bool writePieces(int fd, const std::vector<QByteArray>& pieces)
{
    std::array<iovec, IOV_MAX> buffers{};
    int count = 0;
    for (const QByteArray& piece : pieces) {
        if (count == IOV_MAX) {
            if (!writeBuffers(fd, buffers.data(), count)) {
                return false;
            }
            count = 0;
        }
        // The system only reads from it.
        buffers[static_cast<std::size_t>(count++)] = {const_cast<char*>(piece.constData()),
                                                      static_cast<std::size_t>(piece.size())};
    }
    return writeBuffers(fd, buffers.data(), count);
}

/// Makes sure that what was written stays: waits for the disk when `synced`. Otherwise it only asks
/// the file system, since a file server may find at this point that it has no room.
bool settle(int fd, bool synced)
{
    if (synced) {
        return ::fsync(fd) == 0 || errno == EINVAL; // some file systems have nothing to do here
    }
    // A file system reports at the close of any descriptor what it has to report of the file.
    const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    return copy >= 0 && ::close(copy) == 0;
}

/// True when the folder of `path` lets this user make files.
bool takesFiles(const QByteArray& path)
{
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    return ::faccessat(AT_FDCWD, folder.constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

/// Gives the new file the owner, the group and the mode of the old file, as far as the system
/// allows: only root may change an owner, but a member of the group may keep the group. The mode
/// comes last, since a change of owner takes the set-id bits away.
bool takeOver(int fd, const struct stat& old)
{
    static_cast<void>(::fchown(fd, old.st_uid, old.st_gid) == 0 ||
                      ::fchown(fd, static_cast<uid_t>(-1), old.st_gid) == 0);
    return ::fchmod(fd, old.st_mode & ALLPERMS) == 0;
}

/// Puts the finished file in the place of the old one. A nameless file gets its name only here, so
/// that hardly any moment is left in which a killed process leaves it behind.
outcome_t putInPlace(QTemporaryFile& file, const QByteArray& path)
{
    errno = 0;
    const QByteArray name = QFile::encodeName(file.fileName());
    if (name.isEmpty()) {
        return outcome_t::failed; // it cannot be given a name
    }
    if (std::rename(name.constData(), path.constData()) != 0) {
        const bool forbidden = errno == EBUSY || errno == EPERM || errno == EACCES;
        return forbidden ? outcome_t::notBeside : outcome_t::failed;
    }
    file.setAutoRemove(false);
    return outcome_t::replaced;
}

/// The name for the new file beside `path`: the old name and a random ending. An old name that is
/// too long for the ending is cut between two characters.
QString nameBeside(const QByteArray& path)
{
    const QString ending = QStringLiteral(".XXXXXX");
    const int name = path.lastIndexOf('/') + 1;
    const int most = std::min(name + NAME_MAX, PATH_MAX - 1) - ending.size();
    int end = std::min(path.size(), std::max(name, most));
    const auto isInsideCharacter = [&path](int position) {
        return position < path.size() && (static_cast<unsigned char>(path[position]) >> 6) == 2;
    };
    while (isInsideCharacter(end)) {
        --end;
    }
    return QString::fromUtf8(path.left(end)) + ending;
}

/// Writes a new file beside the old one and puts it in its place; otherwise `failure` tells why.
outcome_t replaceByNewFile(const QByteArray& path, const struct stat& old,
                           const std::vector<QByteArray>& pieces, bool synced,
                           std::error_code& failure)
{
    if (QFile::encodeName(QString::fromUtf8(path)) != path) {
        return outcome_t::notBeside; // Qt would write to another name
    }
    QTemporaryFile file(nameBeside(path));
    if (!file.open()) {
        failure = lastError();
        // A full disk, say, is no reason to write over the only good copy.
        return takesFiles(path) ? outcome_t::failed : outcome_t::notBeside;
    }
    const int fd = file.handle();
    outcome_t outcome = outcome_t::failed;
    if (takeOver(fd, old) && writePieces(fd, pieces) && settle(fd, synced)) {
        outcome = putInPlace(file, path);
    }
    failure = lastError(); // before the end of the file, which changes it
    return outcome;
}

/// Writes over the old content. A lack of room shows before the first byte is lost.
bool writeInPlace(int fd, off_t oldSize, const std::vector<QByteArray>& pieces, bool synced)
{
    off_t size = 0;
    for (const QByteArray& piece : pieces) {
        size += piece.size();
    }
    if (size > oldSize) {
        const int error = ::posix_fallocate(fd, 0, size);
        if (error != 0) {
            static_cast<void>(::ftruncate(fd, oldSize) == 0);
            errno = error;
            return false;
        }
    }
    return writePieces(fd, pieces) && ::ftruncate(fd, size) == 0 && settle(fd, synced);
}

std::error_code replaceInPlace(const QByteArray& path, off_t oldSize,
                               const std::vector<QByteArray>& pieces, bool synced)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return lastError();
    }
    const bool written = writeInPlace(fd, oldSize, pieces, synced);
    const std::error_code failure = written ? std::error_code() : lastError();
    const bool closed = ::close(fd) == 0;
    return written && !closed ? lastError() : failure;
}

} // namespace

std::error_code replaceFile(const QString& path, const std::vector<QByteArray>& pieces, bool synced)
{
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(path.toUtf8().constData(), nullptr), &std::free);
    struct stat old = {};
    if (!real || ::stat(real.get(), &old) != 0) {
        return lastError();
    }
    if (!S_ISREG(old.st_mode)) {
        return std::make_error_code(S_ISDIR(old.st_mode) ? std::errc::is_a_directory
                                                         : std::errc::invalid_argument);
    }
    if (::faccessat(AT_FDCWD, real.get(), W_OK, AT_EACCESS) != 0) {
        return lastError();
    }
    const QByteArray target(real.get());
    std::error_code failure;
    const outcome_t outcome = replaceByNewFile(target, old, pieces, synced, failure);
    if (outcome == outcome_t::notBeside) {
        return replaceInPlace(target, old.st_size, pieces, synced);
    }
    return outcome == outcome_t::replaced ? std::error_code() : failure;
}
