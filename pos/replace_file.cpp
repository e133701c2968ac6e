#include "pos/replace_file.h"

#include <QFile>
#include <QSaveFile>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace pos
{

namespace
{

enum class outcome_t {
    replaced,
    failed,    ///< the new content cannot be written; nothing has changed
    notBeside, ///< the folder does not take a new file, or not in place of the old one
};

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

/// Writes the pieces and has them reach the disk. Pieces are many and small: they are handed over
/// in as few system calls as the system allows.
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
    if (!writeBuffers(fd, buffers.data(), count)) {
        return false;
    }
    // A full disk or a lost server may show only now. Some file systems have nothing to do here.
    return ::fsync(fd) == 0 || errno == EINVAL;
}

/// True when the folder of `path` lets this user make files; leaves `errno` as it is.
bool takesFiles(const QByteArray& path)
{
    const int error = errno;
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    const bool takes = ::faccessat(AT_FDCWD, folder.constData(), W_OK | X_OK, AT_EACCESS) == 0;
    errno = error;
    return takes;
}

/// Ends with the errno that the last failure left, whatever is destroyed in between.
class errno_keeper_t
{
public:
    errno_keeper_t() = default;
    ~errno_keeper_t()
    {
        errno = kept;
    }
    errno_keeper_t(const errno_keeper_t&) = delete;
    errno_keeper_t& operator=(const errno_keeper_t&) = delete;

    void keep()
    {
        kept = errno;
    }

private:
    int kept = 0;
};

/// Writes a new file beside the old one and puts it in its place.
outcome_t replaceByNewFile(const QByteArray& path, const struct stat& old,
                           const std::vector<QByteArray>& pieces)
{
    const QString name = QString::fromUtf8(path);
    if (QFile::encodeName(name) != path) {
        return outcome_t::notBeside; // Qt would write to another name
    }
    errno_keeper_t keeper; // outlives the file, whose end changes errno
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        keeper.keep();
        // A full disk, say, is no reason to write over the only good copy.
        return takesFiles(path) ? outcome_t::failed : outcome_t::notBeside;
    }
    const int fd = file.handle();
    // Only root may give a file away, its owner may at least keep the group: as far as it goes.
    static_cast<void>(::fchown(fd, old.st_uid, old.st_gid) == 0 ||
                      ::fchown(fd, static_cast<uid_t>(-1), old.st_gid) == 0);
    if (!writePieces(fd, pieces)) {
        keeper.keep();
        return outcome_t::failed;
    }
    if (file.commit()) {
        return outcome_t::replaced;
    }
    keeper.keep();
    const bool forbidden = errno == EBUSY || errno == EPERM || errno == EACCES;
    return forbidden ? outcome_t::notBeside : outcome_t::failed;
}

/// Writes over the old content. A lack of room shows before the first byte is lost.
bool writeInPlace(int fd, off_t oldSize, const std::vector<QByteArray>& pieces)
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
    return writePieces(fd, pieces) && ::ftruncate(fd, size) == 0;
}

bool replaceInPlace(const QByteArray& path, off_t oldSize, const std::vector<QByteArray>& pieces)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool written = writeInPlace(fd, oldSize, pieces);
    const int error = errno;
    const bool closed = ::close(fd) == 0;
    if (!written) {
        errno = error;
    }
    return written && closed;
}

} // namespace

bool replaceFile(const QString& path, const std::vector<QByteArray>& pieces)
{
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(path.toUtf8().constData(), nullptr), &std::free);
    struct stat old = {};
    if (!real || ::stat(real.get(), &old) != 0) {
        return false;
    }
    if (!S_ISREG(old.st_mode)) {
        errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    if (::faccessat(AT_FDCWD, real.get(), W_OK, AT_EACCESS) != 0) {
        return false;
    }
    const QByteArray target(real.get());
    const outcome_t outcome = replaceByNewFile(target, old, pieces);
    if (outcome == outcome_t::notBeside) {
        return replaceInPlace(target, old.st_size, pieces);
    }
    return outcome == outcome_t::replaced;
}

} // namespace pos
