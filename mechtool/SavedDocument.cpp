#include "mechtool/SavedDocument.h"

#include "base/replace_file.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"
#include "pos/document_text.h"

#include <system_error>
#include <vector>

#include <sys/stat.h>

file_stamp_t stampOf(const QString& file)
{
    struct stat status = {};
    if (::stat(file.toUtf8().constData(), &status) != 0) {
        return {};
    }
    return {static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
            status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void saveDocument(const QString& file, QDomDocument& document, const file_stamp_t& read)
{
    pos::declareUtf8(document);
    pos::DocumentText text;
    text.setDocument(document);
    const std::vector<QByteArray>& pieces = text.pieces();
    if (stampOf(file) != read) {
        throw CannotAnswer(shown(file) + QStringLiteral(": it has changed since it was read, and "
                                                        "was left as it is: try again"));
    }
    const std::error_code failure = replaceFile(file, pieces);
    if (failure) {
        throw CannotAnswer(
            QStringLiteral("%1: it cannot be replaced, and was left as it is: %2: make the file "
                           "and its folder writable, and see that the disk has room")
                .arg(shown(file), QString::fromStdString(failure.message())));
    }
}
