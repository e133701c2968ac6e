#include "mechtool/PosLock.h"

#include "mechtool/Command.h"
#include "mechtool/Text.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace
{

/// What names the file whatever path leads to it, and whatever file has its place.
QByteArray nameOf(const QString& pos)
{
    const QFileInfo file(QFileInfo(pos).canonicalFilePath());
    struct stat folder = {};
    ::stat(file.path().toUtf8().constData(), &folder);
    const QByteArray place = QByteArray::number(static_cast<qulonglong>(folder.st_dev)) + ' ' +
                             QByteArray::number(static_cast<qulonglong>(folder.st_ino)) + ' ' +
                             file.fileName().toUtf8();
    return "mechtool-" + QCryptographicHash::hash(place, QCryptographicHash::Sha256).toHex();
}

} // namespace

PosLock::PosLock(const QString& pos) : held(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const QByteArray name = nameOf(pos);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // The zero byte at the begin makes it a name of no file.
    std::memcpy(address.sun_path + 1, name.constData(), static_cast<std::size_t>(name.size()));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                               static_cast<std::size_t>(name.size()));
    if (::bind(held.number(), reinterpret_cast<const sockaddr*>(&address), length) != 0 &&
        errno == EADDRINUSE) {
        throw CannotAnswer(
            QStringLiteral("%1: another mechtool is playing or changing it: wait for "
                           "its end")
                .arg(shown(pos)));
    }
}
