#include "mechtool/report/OutputFile.h"

#include "base/replace_file.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"

#include <QFileInfo>
#include <QSaveFile>

#include <system_error>

namespace report
{

namespace
{

/// Makes a file that is not there; why it failed, or null.
QString makeFile(const QString& path, const std::vector<QByteArray>& pieces)
{
    QSaveFile file(path); // which syncs
    if (file.open(QIODevice::WriteOnly)) {
        for (const QByteArray& piece : pieces) {
            file.write(piece);
        }
        if (file.commit()) {
            return {};
        }
    }
    return file.errorString();
}

QString replace(const QString& path, const std::vector<QByteArray>& pieces)
{
    const std::error_code failure = replaceFile(path, pieces);
    return failure ? QString::fromStdString(failure.message()) : QString();
}

} // namespace

void writeFile(const QString& path, const std::vector<QByteArray>& pieces)
{
    const QString failure =
        QFileInfo::exists(path) ? replace(path, pieces) : makeFile(path, pieces);
    if (!failure.isNull()) {
        throw CannotAnswer(QStringLiteral("%1 cannot be written: %2: name a file in a folder that "
                                          "is there and writable")
                               .arg(shown(path), failure));
    }
}

} // namespace report
