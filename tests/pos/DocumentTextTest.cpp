#include "pos/document_text.h"
#include "pos/pos.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

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
    const std::string documents[] = {
        "",
        "<r/>",
        "<r>a</r>",
        "<?a b?><r><!--one-->" + po + "<?c d?><u>" + po + "</u><Proof_Obligation/><v>t<w/></v>" +
            po + "<!--three--></r><?g h?>",
        "<r>text first" + po + po + "</r>",
        "<r>" + po + po + "text last</r>",
        "<r><![CDATA[<a>]]>" + po + "&lt;]]&gt;</r>",
        "<!--a &a; b--><!----><r>" + po + "</r><!--&b;-->", // what the text is cut at
        "<!--a &a; b--><!----><r>text" + po + "</r><!--&b;-->",
        "<?xml version='1.0'?><!DOCTYPE r PUBLIC 'p' 'x.dtd' [<!ENTITY e 'v'>"
        "<!NOTATION n SYSTEM 's'>]><!--c--><r>&e;" +
            po + "</r>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><r a='&#x20ac;'>" + po + "&#x20ac;</r>",
        "<?xml version='1.0' encoding='US-ASCII' standalone='yes'?><r>" + po + "&#xe9;</r>",
        "<?xml version='1.0' encoding='nothing'?><r>" + po + "&#xe9;</r>",
        "<n:r xmlns:n='u' z='1' y='2' x='3' w='4' v='5'><n:x n:a='b'/>" + po + "</n:r>",
    };
    DocumentText text;
    for (const std::string& xml : documents) {
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
    }
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
    document.documentElement().appendChild(document.createElement(TAG_PROOF_OBLIGATION));
    text.changed(3); // one that came later renews everything
    EXPECT_EQ(joined(text.pieces()), document.toByteArray(XML_INDENT));
}

TEST(DocumentText, TheDeclarationNamesTheEncodingThatIsWritten)
{
    const char* const rows[][3] = {
        {"xml", "encoding = \"ISO-8859-1\" standalone='yes'",
         "encoding = \"UTF-8\" standalone='yes'"},
        {"xml", "encoding='uTf-8'", "encoding='uTf-8'"},
        {"other", "encoding='x'", "encoding='x'"},
    };
    for (const auto& [target, before, after] : rows) {
        QDomDocument document;
        document.appendChild(document.createProcessingInstruction(QString::fromUtf8(target),
                                                                  QString::fromUtf8(before)));
        declareUtf8(document);
        EXPECT_EQ(document.firstChild().nodeValue(), QString::fromUtf8(after));
    }
}
