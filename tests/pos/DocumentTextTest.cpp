#include "pos/document_text.h"
#include "pos/pos.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <numeric>

using namespace pos;

namespace
{

QByteArray joined(const std::vector<QByteArray>& pieces)
{
    return std::accumulate(pieces.begin(), pieces.end(), QByteArray());
}

} // namespace

TEST(DocumentText, PiecesAreTheTextOfTheWholeBeforeAndAfterChanges)
{
    QString characters; // all of the first and the last ones, and some of those in between
    for (int code = 1; code < 0x10000; code += code < 0x300 || code > 0xFE00 ? 1 : 61) {
        characters.append(QChar(code));
    }
    const std::string po = "<Proof_Obligation><Tag>t&amp;\"é</Tag><Mechanism "
                           "name='a&lt;b&quot;&apos;&#10;&#9;é😀'/></Proof_Obligation>";
    DocumentText text;
    test::expectCases("pos/golden/documents.txt", [&](const std::string& shortened) {
        const std::string xml = test::replaced(shortened, "PO", po);
        QDomDocument document;
        document.setContent(QByteArray::fromStdString(xml));
        const QByteArray original = document.toByteArray(XML_INDENT);
        text.setDocument(document);
        EXPECT_EQ(joined(text.pieces()), original) << xml;
        EXPECT_EQ(document.toByteArray(XML_INDENT), original) << xml << ": document untouched";

        std::size_t index = 0;
        for (QDomElement obligation :
             test::childrenOf(document.documentElement(), TAG_PROOF_OBLIGATION)) {
            obligation.setAttribute(ATTR_STATUS, characters);
            obligation.appendChild(document.createTextNode(characters));
            text.changed(index++);
            EXPECT_TRUE(joined(text.pieces()) == document.toByteArray(XML_INDENT)) << xml;
        }
        // Enough attributes come and go that a copy of the element would have another order.
        for (int step = 0; step < 160; ++step) {
            const QString name = QStringLiteral("a%1").arg(step % 100);
            step < 100 ? document.documentElement().setAttribute(name, step)
                       : document.documentElement().removeAttribute(name);
        }
        text.allChanged();
        EXPECT_TRUE(joined(text.pieces()) == document.toByteArray(XML_INDENT)) << xml;
        return "";
    });
}

TEST(DocumentText, AChangeCostsOnlyTheObligationThatIsNamed)
{
    QDomDocument document = test::documentOf("<r><!--c--><Proof_Obligation/><Proof_Obligation/>"
                                             "<x/><Proof_Obligation/></r>");
    DocumentText text;
    text.setDocument(document);
    std::vector<QByteArray> expected = text.pieces();
    for (QDomElement obligation : test::childrenOf(document.documentElement())) {
        obligation.setAttribute(ATTR_NAME, 1);
    }
    expected.at(5).replace("Obligation", "Obligation name=\"1\"");
    text.changed(2);
    EXPECT_EQ(text.pieces(), expected);
    test::childrenOf(document.documentElement()).at(3).setAttribute(ATTR_NAME, 2);
    EXPECT_EQ(text.pieces(), expected) << "made anew once";
    document.documentElement().appendChild(document.createElement(TAG_PROOF_OBLIGATION));
    text.changed(3); // an obligation that came later renews everything
    EXPECT_EQ(joined(text.pieces()), document.toByteArray(XML_INDENT));
    text.changed(0); // which is no more by then
    text.setDocument(test::documentOf("<r/>"));
    EXPECT_EQ(joined(text.pieces()), "<r/>\n");
}

TEST(DocumentText, TheDeclarationNamesTheEncodingThatIsWritten)
{
    test::expectCases("pos/golden/declarations.txt", [](const std::string& input) {
        const QStringList words = QString::fromStdString(input).split(QLatin1Char('\n'));
        QDomDocument document;
        document.appendChild(document.createProcessingInstruction(words.at(0), words.at(1)));
        declareUtf8(document);
        return document.firstChild().nodeValue().toStdString() + "\n";
    });
}
