// Qt 5.15 deprecates the SAX classes for its stream reader, but only they let a handler end the
// parse while the DOM is being built.
#define QT_NO_DEPRECATED_WARNINGS

#include "base/XmlFile.h"

#include "base/LogLine.h"
#include "base/XmlEntities.h"

#include <QBuffer>
#include <QFile>
#include <QXmlSimpleReader>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Hands everything on to the handler that builds the DOM, but ends the parse at an element nested
/// too deeply.
class DepthGuard final : public QXmlContentHandler
{
public:
    explicit DepthGuard(QXmlContentHandler* handler) : next(handler) {}

    bool startElement(const QString& uri, const QString& local, const QString& name,
                      const QXmlAttributes& attributes) override
    {
        return ++depth <= MAX_XML_DEPTH && next->startElement(uri, local, name, attributes);
    }
    bool endElement(const QString& uri, const QString& local, const QString& name) override
    {
        --depth;
        return next->endElement(uri, local, name);
    }
    void setDocumentLocator(QXmlLocator* locator) override
    {
        next->setDocumentLocator(locator);
    }
    bool startDocument() override
    {
        return next->startDocument();
    }
    bool endDocument() override
    {
        return next->endDocument();
    }
    bool startPrefixMapping(const QString& prefix, const QString& uri) override
    {
        return next->startPrefixMapping(prefix, uri);
    }
    bool endPrefixMapping(const QString& prefix) override
    {
        return next->endPrefixMapping(prefix);
    }
    bool characters(const QString& text) override
    {
        return next->characters(text);
    }
    bool ignorableWhitespace(const QString& text) override
    {
        return next->ignorableWhitespace(text);
    }
    bool processingInstruction(const QString& target, const QString& data) override
    {
        return next->processingInstruction(target, data);
    }
    bool skippedEntity(const QString& name) override
    {
        skipped = true;
        return next->skippedEntity(name);
    }
    QString errorString() const override
    {
        return next->errorString();
    }

    bool hasSkippedEntity() const
    {
        return skipped;
    }

private:
    QXmlContentHandler* next;
    int depth = 0;
    bool skipped = false;
};

/// Ends the parse at the first entity that is declared with its text, unless such entities are
/// allowed.
class EntityGuard final : public QXmlDeclHandler
{
public:
    explicit EntityGuard(bool areAllowed) : allowed(areAllowed) {}

    void setNext(QXmlDeclHandler* handler)
    {
        next = handler;
    }
    bool attributeDecl(const QString& element, const QString& name, const QString& type,
                       const QString& valueDefault, const QString& value) override
    {
        return next->attributeDecl(element, name, type, valueDefault, value);
    }
    bool internalEntityDecl(const QString& name, const QString& value) override
    {
        refused = !allowed;
        return allowed && next->internalEntityDecl(name, value);
    }
    bool externalEntityDecl(const QString& name, const QString& publicId,
                            const QString& systemId) override
    {
        return next->externalEntityDecl(name, publicId, systemId);
    }
    QString errorString() const override
    {
        return next->errorString();
    }

    bool hasRefused() const
    {
        return refused;
    }

private:
    QXmlDeclHandler* next = nullptr;
    bool allowed;
    bool refused = false;
};

/// A reader that slips the guards in front of the handlers it is given.
class GuardedReader final : public QXmlSimpleReader
{
public:
    explicit GuardedReader(bool entitiesAreAllowed) : entityGuard(entitiesAreAllowed)
    {
        // What QDomDocument::setContent asks of its own reader.
        setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
        setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
        setFeature(
            QStringLiteral("http://trolltech.com/xml/features/report-whitespace-only-CharData"),
            false);
    }
    void setContentHandler(QXmlContentHandler* handler) override
    {
        depthGuard = DepthGuard(handler);
        QXmlSimpleReader::setContentHandler(&depthGuard);
    }
    void setDeclHandler(QXmlDeclHandler* handler) override
    {
        entityGuard.setNext(handler);
        QXmlSimpleReader::setDeclHandler(&entityGuard);
    }
    /// Whether there was a reference to an entity that is not declared.
    bool hasSkippedEntity() const
    {
        return depthGuard.hasSkippedEntity();
    }
    /// Whether the parse ended at an entity that is not allowed.
    bool hasRefusedEntity() const
    {
        return entityGuard.hasRefused();
    }

private:
    DepthGuard depthGuard{nullptr};
    EntityGuard entityGuard;
};

/// The text of a file, handed over bit by bit, so that it is never in memory as a whole. It ends at
/// the size limit even if the file grows while it is read.
class LimitedSource final : public QXmlInputSource
{
public:
    explicit LimitedSource(QIODevice* source) : QXmlInputSource(source), file(source) {}

    void fetchData() override
    {
        if (file->pos() < MAX_XML_FILE_SIZE) {
            QXmlInputSource::fetchData();
        } else {
            setData(QString());
        }
    }

private:
    QIODevice* file;
};

/// Opens the file for reading; -1 on failure. With O_NONBLOCK as `flags` it does not wait for the
/// other end of a pipe.
int openFile(const QString& path, int flags)
{
    int fd = -1;
    do {
        fd = ::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC | flags);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

/// Takes `fd` over for `file` when that is a regular file of a size that can be read.
bool openRegularFile(int fd, QFile& file)
{
    struct stat status = {};
    return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size <= MAX_XML_FILE_SIZE &&
           file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
}

/// Whether `fd` is no regular file; false too when the system does not tell.
bool isStream(int fd)
{
    struct stat status = {};
    return ::fstat(fd, &status) == 0 && !S_ISREG(status.st_mode);
}

/// Reads to the end; false when reading fails, or when the limit is reached before the end.
bool readStream(int fd, QByteArray& content)
{
    std::array<char, 1 << 16> buffer{};
    while (content.size() <= MAX_XML_STREAM_SIZE) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count > 0) {
            content.append(buffer.data(), static_cast<int>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return false;
}

/// Parses what the input holds into `document`; false when it is not well-formed, or nested too
/// deeply. Unless entities are allowed, the declaration of an entity ends the parse too:
/// `meetsEntity` is true then.
bool parse(QIODevice& input, QDomDocument& document, bool entitiesAllowed, bool& meetsEntity)
{
    LimitedSource source(&input);
    GuardedReader reader(entitiesAllowed);
    if (!document.setContent(&source, &reader)) {
        meetsEntity = reader.hasRefusedEntity();
        return false;
    }
    if (!reader.hasSkippedEntity()) {
        return true;
    }
    // Under a reader that is not its own, the DOM takes a reference in an attribute for a reference
    // in the text, and would later write it where it makes the document malformed. So the DOM reads
    // the file again with its own reader: by now the nesting and the entities are known to be
    // right.
    input.seek(0);
    LimitedSource again(&input);
    return document.setContent(&again, false);
}

/// Whether the entities of the file keep within their limits. Logs a line when they are too large.
bool hasBoundedEntities(QIODevice& input, const QString& path)
{
    const LimitedSource source(&input);
    const xml_entities_t entities = measureXmlEntities(source, input.size());
    if (entities == xml_entities_t::tooLarge) {
        writeLog("Cannot use '" + path.toStdString() +
                 "': its entities expand to too much. Write their text in their place.\n");
    }
    return entities == xml_entities_t::bounded;
}

/// The document of the input; an empty one when that cannot be used.
QDomDocument documentOf(QIODevice& input, const QString& path)
{
    QDomDocument parsed;
    bool meetsEntity = false;
    bool done = parse(input, parsed, false, meetsEntity);
    if (meetsEntity) {
        done = input.seek(0) && hasBoundedEntities(input, path) && input.seek(0) &&
               parse(input, parsed, true, meetsEntity);
    }
    if (!done) {
        // Qt keeps what it had built before the error.
        parsed = QDomDocument();
        parsed.appendChild(parsed.createComment(QString()));
        parsed.removeChild(parsed.firstChild());
    }
    return parsed;
}

/// Reads the regular file `fd`, which it closes.
bool readRegularFile(int fd, const QString& path, QDomDocument& document)
{
    QFile file;
    if (!openRegularFile(fd, file)) {
        ::close(fd);
        return false;
    }
    document = documentOf(file, path);
    return true;
}

} // namespace

bool readXmlFile(const QString& path, QDomDocument& document)
{
    const int fd = openFile(path, O_NONBLOCK);
    return fd >= 0 && readRegularFile(fd, path, document);
}

bool readXmlFileOrStream(const QString& path, QDomDocument& document)
{
    const int fd = openFile(path, 0);
    if (fd < 0) {
        return false;
    }
    if (!isStream(fd)) {
        return readRegularFile(fd, path, document);
    }
    QBuffer content;
    const bool done = readStream(fd, content.buffer());
    ::close(fd);
    if (done) {
        content.open(QIODevice::ReadOnly);
        document = documentOf(content, path);
    }
    return done;
}
