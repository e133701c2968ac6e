#include "mechtool/MechanismFile.h"

#include "base/XmlFile.h"
#include "mechtool/Component.h"
#include "mechtool/Text.h"
#include "resource/p_api.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <iostream>
#include <sstream>
#include <stdexcept>

namespace
{

const QString MECHANISM = QStringLiteral("mechanism");
const QString MECHANISM_DIRECTORY = QStringLiteral("mechanism-directory");
const QString RESOURCES = QStringLiteral("resources");

[[noreturn]] void failAt(const QString& file, const QString& what)
{
    throw CannotAnswer(shown(file) + QStringLiteral(": ") + what);
}

/// Throws when `file` is no regular file that can be read.
void requireReadable(const QString& file)
{
    const QFileInfo info(file);
    if (!info.exists()) {
        failAt(file, QStringLiteral("there is no such file: check the path"));
    }
    if (!info.isFile()) {
        failAt(file, QStringLiteral("this is no regular file: name one"));
    }
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly)) {
        failAt(file, opened.errorString() + QStringLiteral(": make it readable"));
    }
}

/// The messages of the libraries while the object lives, which do not go out.
class Messages
{
public:
    Messages() : log(std::clog.rdbuf(text.rdbuf())), errors(std::cerr.rdbuf(text.rdbuf())) {}
    ~Messages()
    {
        std::clog.rdbuf(log);
        std::cerr.rdbuf(errors);
    }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    /// Their lines in one.
    QString line() const
    {
        return QString::fromStdString(text.str())
            .trimmed()
            .replace(QLatin1Char('\n'), QStringLiteral(", "));
    }

private:
    std::ostringstream text;
    std::streambuf* log;
    std::streambuf* errors;
};

/// The document element of a mechanism file that has a driver at least.
QDomElement mechanismElement(const QString& file, QDomDocument& document)
{
    if (!readXmlFile(file, document)) {
        failAt(file, QStringLiteral("it cannot be read: check it and its folder"));
    }
    const QDomElement root = document.documentElement();
    if (root.isNull()) {
        failAt(file, QStringLiteral("not well-formed: %1: mend it").arg(faultOf(file)));
    }
    if (root.tagName() != mechanism::TAG_MECHANISM) {
        failAt(file, QStringLiteral("no mechanism file: it holds <%1>, not <%2>: check the path")
                         .arg(shown(root.tagName()), mechanism::TAG_MECHANISM));
    }
    if (root.firstChildElement(mechanism::TAG_DRIVER).isNull()) {
        failAt(file, QStringLiteral("the mechanism has no driver: add one"));
    }
    return root;
}

/// What can be expanded in a mechanism file: its first definition, and the "param" siblings after
/// that one count as definitions.
QSet<QString> definitionsOf(const QDomElement& root)
{
    QSet<QString> names;
    for (QDomElement element = root.firstChildElement(mechanism::TAG_DEFINITION); !element.isNull();
         element = element.nextSiblingElement(mechanism::TAG_PARAM)) {
        names.insert(element.attribute(mechanism::ATTR_NAME));
    }
    return names;
}

/// What is wrong with the words of a driver of a mechanism file; a null text when nothing is.
QString faultOfDriver(const QDomElement& driver, const QSet<QString>& definitions)
{
    const QString group = driver.attribute(mechanism::ATTR_GROUP, mechanism::ATTR_VALUE_NONE);
    if (mechanism::groupOfXmlAttr.count(group) == 0) {
        return QStringLiteral("unknown group \"%1\": none, related or full").arg(shown(group));
    }
    for (const QString& tag :
         {mechanism::TAG_WRITER, mechanism::TAG_PROVER, mechanism::TAG_READER}) {
        const QDomElement tool = driver.firstChildElement(tag);
        for (QDomElement expand = tool.firstChildElement(mechanism::TAG_EXPAND); !expand.isNull();
             expand = expand.nextSiblingElement(mechanism::TAG_EXPAND)) {
            const QString name = expand.attribute(mechanism::ATTR_NAME);
            if (!definitions.contains(name)) {
                return QStringLiteral("its %1 expands \"%2\", which is not the first definition of "
                                      "the file: write its parameters in their place")
                    .arg(tag, shown(name));
            }
        }
    }
    return {};
}

QString inDriver(const QDomElement& driver, const QString& what)
{
    return QStringLiteral("driver \"%1\": %2")
        .arg(shown(driver.attribute(mechanism::ATTR_NAME)), what);
}

/// The word of a mechanism file that is none of the format.
QString unknownWordIn(const QDomElement& root)
{
    const QString trust = root.attribute(mechanism::ATTR_TRUST, mechanism::ATTR_VALUE_NEVER);
    if (mechanism::trustOfXmlAttr.count(trust) == 0) {
        return QStringLiteral("unknown trust \"%1\": never, redundancy or always")
            .arg(shown(trust));
    }
    const QSet<QString> definitions = definitionsOf(root);
    for (QDomElement driver = root.firstChildElement(mechanism::TAG_DRIVER); !driver.isNull();
         driver = driver.nextSiblingElement(mechanism::TAG_DRIVER)) {
        const QString fault = faultOfDriver(driver, definitions);
        if (!fault.isNull()) {
            return inDriver(driver, fault);
        }
    }
    return {};
}

/// The driver whose tools were not all found: the first that the mechanism does not have.
QDomElement driverAfter(const QDomElement& root, std::size_t loaded)
{
    QDomElement driver = root.firstChildElement(mechanism::TAG_DRIVER);
    for (std::size_t i = 0; i < loaded; ++i) {
        driver = driver.nextSiblingElement(mechanism::TAG_DRIVER);
    }
    return driver;
}

} // namespace

void addMechanismOptions(Options& options)
{
    options.parser.addOption({{QStringLiteral("m"), MECHANISM},
                              QStringLiteral("The mechanism in this file."),
                              QStringLiteral("FILE")});
    options.parser.addOption({{QStringLiteral("M"), MECHANISM_DIRECTORY},
                              QStringLiteral("The mechanisms in this folder."),
                              QStringLiteral("DIR")});
    options.parser.addOption({{QStringLiteral("r"), RESOURCES},
                              QStringLiteral("A resource file, which locates tools."),
                              QStringLiteral("FILE")});
}

void loadResources(const Options& options)
{
    init_resource_manager();
    for (const QString& file : options.parser.values(RESOURCES)) {
        requireReadable(file);
        load_resources(file.toUtf8().constData(), nullptr, nullptr);
    }
}

mechanism::mechanism_t loadMechanism(const QString& file)
{
    requireReadable(file);
    QDomDocument document;
    const QDomElement root = mechanismElement(file, document);
    const QString fault = unknownWordIn(root);
    if (!fault.isNull()) {
        failAt(file, fault);
    }
    mechanism::mechanism_t loaded;
    const Messages messages;
    if (!mechanism::ofFile(file, loaded)) {
        failAt(file, inDriver(driverAfter(root, loaded.drivers.size()),
                              shown(messages.line()) +
                                  QStringLiteral(": correct its path, or locate it in a resource "
                                                 "file (-r)")));
    }
    return loaded;
}

QStringList mechanismFiles(const QString& folder)
{
    const QDir dir(folder);
    if (folder.isEmpty() || !dir.exists()) {
        failAt(folder, QStringLiteral("there is no such folder: check the path"));
    }
    QStringList files;
    for (const QString& name :
         dir.entryList({QStringLiteral("*.xml")}, QDir::Files | QDir::System | QDir::CaseSensitive,
                       QDir::Name)) {
        files << folder + QLatin1Char('/') + name;
    }
    if (files.isEmpty()) {
        failAt(folder, QStringLiteral("no mechanism file NAME.xml is in this folder: check it"));
    }
    return files;
}

QStringList chosenMechanismFiles(const Options& options)
{
    if (options.has(MECHANISM) == options.has(MECHANISM_DIRECTORY)) {
        throw CannotAnswer(QStringLiteral("give either -m FILE or -M DIR"));
    }
    if (options.parser.values(MECHANISM).size() > 1) {
        throw CannotAnswer(QStringLiteral("only one -m is compared with: give one, or -M DIR"));
    }
    return options.has(MECHANISM) ? QStringList{options.value(MECHANISM)}
                                  : mechanismFiles(options.value(MECHANISM_DIRECTORY));
}
