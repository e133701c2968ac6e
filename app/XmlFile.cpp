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
    /// Whether there was a reference to an entity that is not declared.
    bool hasSkippedEntity() const
    {
        return guard.hasSkippedEntity();
    }

private:
    DepthGuard guard{nullptr};
};

/// The text of a file, handed over bit by bit, so that it is never in memory as a whole. It ends at
/// the size limit even if the file grows while it is read.
class LimitedSource final : public QXmlInputSource
{
public:
    explicit LimitedSource(QFile* source) : QXmlInputSource(source), file(source) {}

    void fetchData() override
    {
        if (file->pos() < MAX_XML_FILE_SIZE) {
            QXmlInputSource::fetchData();
        } else {
            setData(QString());
        }
    }

private:
    QFile* file;
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

/// Parses what the file holds into `document`; false when it is not well-formed, or nested too
/// deeply.
bool parse(QFile& file, QDomDocument& document)
{
    LimitedSource source(&file);
    GuardedReader reader;
    if (!document.setContent(&source, &reader)) {
        return false;
    }
    if (!reader.hasSkippedEntity()) {
        return true;
    }
    // With a reader that is not its own the DOM takes a reference in an attribute for one in the
    // text, and it would be written where it makes the document malformed. The nesting is known to
    // be all right.
    file.seek(0);
    LimitedSource again(&file);
    return document.setContent(&again, false);
}

} // namespace

bool readXmlFile(const QString& path, QDomDocument& document)
{
    QFile file;
    if (!openRegularFile(path, file)) {
        return false;
    }
    QDomDocument parsed;
    if (!parse(file, parsed)) {
        // Qt keeps what it had built before the error.
        parsed = QDomDocument();
        parsed.appendChild(parsed.createComment(QString()));
        parsed.removeChild(parsed.firstChild());
    }
    document = parsed;
    return true;
}
