#include "mechanism/Mechanism_p.h"

#include "resource/p_api.h"

#include <QDir>

#include <iostream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace mechanism
{

namespace
{

/// The tool section in which every resource is looked up.
const char* const RESOURCE_SECTION = "Proof";

/// Reports why a path is refused; false, as the result of the check.
bool refuse(const std::string& reason)
{
    std::cerr << reason + "\n" << std::flush;
    return false;
}

} // namespace

QString computePath(const QString& default_path, const QString& resource)
{
    if (resource.isEmpty()) {
        return default_path;
    }
    // Deliberate: a section written before the last asterisk is not looked at.
    const QString name = resource.mid(resource.lastIndexOf(QLatin1Char('*')) + 1);
    const char* const value = lookup_resource(RESOURCE_SECTION, name.toUtf8().constData());
    const QString path = QDir::cleanPath(QString::fromUtf8(value));
    return path.isEmpty() ? default_path : path;
}

bool checkPath(const QString& path)
{
    if (path.isEmpty()) {
        return refuse("Empty tool path");
    }
    // The system is asked directly, with the UTF-8 bytes of the path: in a program that has not
    // called useUtf8Everywhere() Qt would take the encoding of the locale. A path with a NUL inside
    // would name another file.
    const std::string file = path.toStdString();
    struct stat status = {};
    if (path.contains(QChar(QChar::Null)) || ::stat(file.c_str(), &status) != 0) {
        return refuse("Tool path does not exists: " + file);
    }
    if (::access(file.c_str(), X_OK) != 0) {
        return refuse("Tool path not executable: " + file);
    }
    return true;
}

} // namespace mechanism
