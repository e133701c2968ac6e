// Why the pieces make up the text of the whole: the DOM writes a child of the document element in
// the same way, whether it writes this child alone or the whole document, since it assumes this
// depth for a node alone. So each child is written by itself. What stands around the children
// (declaration, document type, comments, the tags of the document element) is taken from the text
// of the document while a mark stands in place of all children.

#include "pos/document_text.h"
#include "pos/pos.h"

#include <QRegularExpression>
#include <QTextCodec>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <utility>

namespace pos
{

namespace
{

/// Does something at the end of a scope, also when memory runs out in between: the tree must not
/// stay rearranged.
template <typename Action>
class finally_t
{
public:
    explicit finally_t(Action last) : action(last) {}
    ~finally_t()
    {
        action();
    }
    finally_t(const finally_t&) = delete;
    finally_t& operator=(const finally_t&) = delete;

private:
    Action action;
};

/// UTF-8 with its answers for ASCII prepared. For every single character that it writes, the DOM
/// asks the codec whether the character can be encoded. Qt's own codec converts the character each
/// time, which takes a third of the time that a text takes.
class PreparedUtf8 final : public QTextCodec
{
public:
    explicit PreparedUtf8(QTextCodec* ofQt) : utf8(ofQt)
    {
        for (std::size_t byte = 0; byte < ascii.size(); ++byte) {
            ascii[byte] = QByteArray(1, static_cast<char>(byte));
        }
    }
    QByteArray name() const override
    {
        return QByteArrayLiteral("mechrun-prepared-utf-8"); // nobody looks for UTF-8 by this name
    }
    int mibEnum() const override
    {
        constexpr int UNKNOWN = 2;
        return UNKNOWN;
    }

protected:
    QString convertToUnicode(const char* bytes, int size, ConverterState* state) const override
    {
        return utf8->toUnicode(bytes, size, state);
    }
    QByteArray convertFromUnicode(const QChar* text, int size, ConverterState* state) const override
    {
        const bool prepared = size == 1 && text->unicode() < ascii.size();
        return prepared ? ascii[text->unicode()] : utf8->fromUnicode(text, size, state);
    }

private:
    QTextCodec* utf8;
    std::array<QByteArray, 128> ascii;
};

/// The codec to ask instead of `codec`, with the same answers.
QTextCodec* quickCodec(QTextCodec* codec)
{
    static QTextCodec* const utf8 = QTextCodec::codecForName("UTF-8");
    static QTextCodec* const prepared = new PreparedUtf8(utf8); // Qt owns every codec
    return codec == utf8 ? prepared : codec;
}

/// What stands before and after the children of the document element.
struct frame_t {
    QString head;
    QString tail;
    QTextCodec* codec = nullptr; ///< the encoding that the document's declaration asks for
};

/// The frame of a document whose document element is empty, as it is around children that begin
/// with text, or with another node: only then does a line end behind the opening tag. What the
/// children end with changes nothing, for the closing tag is not indented.
frame_t frameAround(QDomDocument& document, bool text)
{
    QDomElement root = document.documentElement();
    QTextCodec* codec = nullptr;
    // A reference is written without indentation or line end of its own.
    const auto textAround = [&](const QString& mark) {
        const QDomNode node = text ? root.appendChild(document.createTextNode(mark))
                                   : root.appendChild(document.createEntityReference(mark));
        const finally_t restored([&] {
            root.removeChild(node);
        });
        QString result;
        QTextStream stream(&result);
        document.save(stream, XML_INDENT);
        codec = stream.codec();
        stream.flush();
        return result;
    };
    // The mark is where two texts differ: a search for one mark might find a comment of the head.
    const QString one = textAround(QStringLiteral("a"));
    const QString other = textAround(QStringLiteral("b"));
    const auto difference = std::mismatch(one.begin(), one.end(), other.begin()).first;
    const int position = static_cast<int>(difference - one.begin());
    const int around = text ? 0 : 1; // "&" and ";"
    return {one.left(position - around), one.mid(position + 1 + around), codec};
}

/// The frame of a document whose document element has children. They are moved out and back, since
/// a copy of the document would lose the document type's identifiers and the attribute order.
frame_t frameOf(QDomDocument& document)
{
    QDomElement root = document.documentElement();
    const bool textFirst = root.firstChild().isText();
    QDomDocumentFragment children = document.createDocumentFragment();
    const finally_t restored([&] {
        root.appendChild(children);
    });
    while (root.hasChildNodes()) {
        children.appendChild(root.firstChild());
    }
    return frameAround(document, textFirst);
}

} // namespace

void DocumentText::setDocument(const QDomDocument& newDocument)
{
    document = newDocument;
    allChanged();
}

void DocumentText::changed(std::size_t obligation)
{
    if (obligation < obligations.size()) {
        outdated.insert(obligation);
    } else {
        allChanged(); // it came after the text was made
    }
}

void DocumentText::allChanged()
{
    allOutdated = true;
}

const std::vector<QByteArray>& DocumentText::pieces()
{
    if (allOutdated) {
        renew();
    }
    for (const std::size_t index : outdated) {
        const obligation_t& obligation = obligations[index];
        texts[obligation.piece] = textOf(obligation.element);
    }
    outdated.clear();
    return texts;
}

void DocumentText::renew()
{
    texts.clear();
    obligations.clear();
    outdated.clear();
    const QDomElement root = document.documentElement();
    if (!root.hasChildNodes()) {
        texts.push_back(document.toByteArray(XML_INDENT));
        allOutdated = false;
        return;
    }
    const frame_t frame = frameOf(document);
    codec = quickCodec(frame.codec);
    texts.push_back(frame.head.toUtf8());
    for (QDomNode child = root.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isElement() && child.nodeName() == TAG_PROOF_OBLIGATION) {
            obligations.push_back({child.toElement(), texts.size()});
        }
        texts.push_back(textOf(child));
    }
    texts.push_back(frame.tail.toUtf8());
    allOutdated = false; // only now: a text cut short for want of memory is no text
}

QByteArray DocumentText::textOf(const QDomNode& node) const
{
    QString text;
    QTextStream stream(&text);
    stream.setCodec(codec);
    node.save(stream, XML_INDENT);
    stream.flush();
    QByteArray bytes = text.toUtf8();
    bytes.squeeze(); // the conversion reserves three times the room
    return bytes;
}

void declareUtf8(QDomDocument& document)
{
    QDomProcessingInstruction declaration = document.firstChild().toProcessingInstruction();
    if (declaration.isNull() || !declaration.target().startsWith(QStringLiteral("xml"))) {
        return;
    }
    // The parser gives the values of a declaration in quotes that they may hold themselves.
    static const QRegularExpression regular(
        QStringLiteral("^(\\s*\\w+\\s*=\\s*(\"[^\">]*\"|'[^'>]*'))*\\s*$"));
    if (declaration.target() == QStringLiteral("xml") &&
        !regular.match(declaration.data()).hasMatch()) {
        declaration.setData(QStringLiteral("version='1.0' encoding='UTF-8'"));
        return;
    }
    // The parser takes for the encoding what follows the first quote after the word, wherever the
    // word stands, and whether or not the quote is ever closed.
    static const QRegularExpression encoding(
        QStringLiteral("^[^>]*?encoding[^\"'>]*[\"']([^\"'>]*)"));
    const QString before = declaration.target() + QLatin1Char(' ');
    QString text = before + declaration.data();
    const QRegularExpressionMatch match = encoding.match(text);
    const QString utf8 = QStringLiteral("UTF-8");
    if (!match.hasMatch() || match.captured(1).compare(utf8, Qt::CaseInsensitive) == 0) {
        return;
    }
    text.replace(match.capturedStart(1), match.capturedLength(1), utf8);
    declaration.setData(text.mid(before.size())); // a quote is never part of the target
}

} // namespace pos
