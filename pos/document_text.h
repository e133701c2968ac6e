#pragma once

// The text of a POS document, kept up to date piece by piece: the document is saved after every job
// of a run, and a job changes a few obligations out of thousands. A save then costs no more than
// the obligations that changed.
//
// A DocumentText holds a handle on the caller's document and its text once. Whoever changes the
// document says what changed; a change that is not told stays out of the text. Nothing fails. Not
// synchronised: one thread at a time may use it or the document.

#include <QByteArray>
#include <QDomDocument>

#include <cstddef>
#include <set>
#include <vector>

class QTextCodec;

namespace pos
{

/// The text of a document in pieces, one per child of its document element.
class DocumentText
{
public:
    /// Takes a handle on `document`; its whole text is out of date.
    void setDocument(const QDomDocument& document);

    /// The obligation with this index (among the Proof_Obligation children of the document element,
    /// in document order) or something below it has changed. For anything that stands elsewhere,
    /// and for obligations that come or go, there is allChanged().
    void changed(std::size_t obligation);

    /// Anything may have changed.
    void allChanged();

    /// The text, brought up to date: the pieces one after the other are, byte for byte,
    /// `document.toByteArray(XML_INDENT)`. The children of the document element leave the tree for
    /// an instant while the whole text is renewed; handles on them stay good.
    const std::vector<QByteArray>& pieces();

private:
    /// Where an obligation is and which piece is its text.
    struct obligation_t {
        QDomElement element;
        std::size_t piece = 0;
    };

    void renew();
    QByteArray textOf(const QDomNode& node) const;

    QDomDocument document;
    QTextCodec* codec = nullptr; ///< decides which characters are written as references
    std::vector<QByteArray> texts;
    std::vector<obligation_t> obligations;
    std::set<std::size_t> outdated; ///< indices into `obligations`
    bool allOutdated = false;
};

/// Makes the XML declaration of `document` tell the truth: what is written is always UTF-8, so a
/// declaration that names another encoding is changed to name UTF-8. A declaration that names UTF-8
/// in whatever case, or no encoding, stays as it is. No declaration is added. A declaration that
/// could not be read back, because a value holds a quote, becomes a plain declaration. The parser
/// also believes an instruction at the head whose name only begins with "xml", and so such an
/// instruction is changed, too.
void declareUtf8(QDomDocument& document);

} // namespace pos
