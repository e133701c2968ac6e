// Qt 5.15 deprecates the SAX classes for its stream reader, but only they let a handler end the
// parse while the DOM is being built.
#define QT_NO_DEPRECATED_WARNINGS

#include "app/XmlFile.h"

#include <QFile>
#include <QXmlSimpleReader>

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
        return next->skippedEntity(name);
    }
    QString errorString() const override
    {
        return next->errorString();
    }

private:
    QXmlContentHandler* next;
    int depth = 0;
};

/// A reader that slips the depth guard in front of the content handler it is given.
class GuardedReader final : public QXmlSimpleReader
{
public:
    GuardedReader()
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
        guard = DepthGuard(handler);
        QXmlSimpleReader::setContentHandler(&guard);
    }

private:
    DepthGuard guard{nullptr};
};

/// Opens a regular file for reading; never waits for the other end of a pipe.
bool openRegularFile(const QString& path, QFile& file)
{
    const int fd = ::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return false;
    }
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > MAX_XML_FILE_SIZE ||
        !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return false;
    }
    return true;
}

} // namespace

bool readXmlFile(const QString& path, QDomDocument& document)
{
    QFile file;
    if (!openRegularFile(path, file)) {
        return false;
    }
    QXmlInputSource source;
    const QByteArray content = file.read(MAX_XML_FILE_SIZE + 1);
    if (content.size() > MAX_XML_FILE_SIZE) {
        return false; // it has grown since it was opened
    }
    source.setData(content);
    GuardedReader reader;
    QDomDocument parsed;
    if (!parsed.setContent(&source, &reader)) {
        // Qt keeps what it had built before the error.
        parsed = QDomDocument();
        parsed.appendChild(parsed.createComment(QString()));
        parsed.removeChild(parsed.firstChild());
    }
    document = parsed;
    return true;
}
