#include "director/ErrorOutput.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

Descriptor makeFile(int size)
{
    if (size <= 0) {
        return Descriptor();
    }
    Descriptor file(::memfd_create("mechrun-errors", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (::ftruncate(file.number(), size) != 0 ||
        ::fcntl(file.number(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) != 0) {
        file.close();
    }
    return file;
}

} // namespace

ErrorOutput::ErrorOutput(int room) : most(room), file(makeFile(room)) {}

QByteArray ErrorOutput::text() const
{
    // A tool may have moved the place, and may still be printing.
    const off_t end = std::min<off_t>(::lseek(file.number(), 0, SEEK_CUR), most);
    QByteArray text(static_cast<int>(std::max<off_t>(end, 0)), '\0');
    const ssize_t count =
        ::pread(file.number(), text.data(), static_cast<std::size_t>(text.size()), 0);
    text.truncate(static_cast<int>(std::max<ssize_t>(count, 0)));
    return text;
}
