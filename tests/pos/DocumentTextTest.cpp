#include "pos/document_text.h"
#include "pos/pos.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

using namespace pos;

namespace
{

QByteArray joined(const std::vector<QByteArray>& pieces)
{
    QByteArray text;
    for (const QByteArray& piece : pieces) {
        text += piece;
    }
    return text;
}

std::vector<QDomElement> obligationsOf(const QDomDocument& document)
{
    std::vector<QDomElement> result;
    for (QDomElement element = document.documentElement().firstChildElement(TAG_PROOF_OBLIGATION);
         !element.isNull(); element = element.nextSiblingElement(TAG_PROOF_OBLIGATION)) {
        result.push_back(element);
    }
    return result;
}

} // namespace

TEST(DocumentText, PiecesAreTheTextOfTheWholeBeforeAndAfterChanges)
{
    const std::string po = "<Proof_Obligation><Tag>t&amp;\"é</Tag><Simple_Goal status='Proved'>"
                           "<Mechanism name='a&lt;b&quot;&apos;&#10;&#9;é😀'/></Simple_Goal>"
                           "</Proof_Obligation>";
    const std::vector<std::pair<const char*, std::string>> rows = {
        {"plain", "<r>" + po + po + po + "</r>"},
        {"single obligation", "<r>" + po + "</r>"},
        {"empty obligation", "<r><Proof_Obligation/></r>"},
        {"no obligation", "<r><x/></r>"},
        {"empty root", "<r/>"},
        {"no root", ""},
        {"comments between", "<r><!--one-->" + po + "<!--two-->" + po + "<!--three--></r>"},
        {"text first", "<r>text" + po + po + "</r>"},
        {"text between", "<r>" + po + "text" + po + "</r>"},
        {"text last", "<r>" + po + po + "text</r>"},
        {"text only", "<r>a</r>"},
        {"text all over", "<r>a" + po + "&lt;" + po + "]]&gt;</r>"},
        {"CDATA first", "<r><![CDATA[<a>]]>" + po + "</r>"},
        {"CDATA last", "<r>" + po + "<![CDATA[<a>]]></r>"},
        {"unknown and nested", "<r><u><Proof_Obligation/>" + po + "</u>" + po + "<v>t<w/></v></r>"},
        {"instructions", "<?a b?><r><?c d?>" + po + "<?e f?></r><?g h?>"},
        {"comments around that hold marks", "<!--a &a; b--><!----><r>" + po + "</r><!--&b;-->"},
        {"document type", "<?xml version='1.0'?><!DOCTYPE r PUBLIC 'p' 'x.dtd' [<!ENTITY e 'v'>"
                          "<!NOTATION n SYSTEM 's'>]><!--c--><r>&e;" +
                              po + "</r>"},
        {"declared UTF-8", "<?xml version='1.0' encoding='utf-8'?><r a='é'>" + po + "é</r>"},
        {"declared Latin-1",
         "<?xml version='1.0' encoding='ISO-8859-1'?><r a='&#x20ac;'>" + po + "&#x20ac;</r>"},
        {"declared ASCII",
         "<?xml version='1.0' encoding='US-ASCII' standalone='yes'?><r>" + po + "&#xe9;</r>"},
        {"declared unknown", "<?xml version='1.0' encoding='nothing'?><r>" + po + "&#xe9;</r>"},
        {"namespaces",
         "<n:r xmlns:n='u' z='1' y='2' x='3' w='4' v='5'><n:x n:a='b'/>" + po + "</n:r>"},
    };
    for (const auto& [label, xml] : rows) {
        const std::string where = label;
        QDomDocument document;
        document.setContent(QByteArray::fromStdString(xml));
        const QByteArray original = document.toByteArray(XML_INDENT);
        DocumentText text;
        text.setDocument(document);
        EXPECT_EQ(joined(text.pieces()), original) << where;
        EXPECT_EQ(document.toByteArray(XML_INDENT), original) << where << ": document untouched";

        const std::vector<QDomElement> obligations = obligationsOf(document);
        for (std::size_t index = 0; index < obligations.size(); ++index) {
            QDomElement goal = obligations[index].firstChildElement(TAG_SIMPLE_GOAL);
            goal.setAttribute(ATTR_STATUS, QString::fromUtf8("€é"));
            QDomElement obligation = obligations[index];
            obligation.setAttribute(ATTR_NAME, static_cast<int>(index));
            obligation.appendChild(document.createElement(TAG_MECHANISM));
            text.changed(index);
            text.changed(index);
            EXPECT_EQ(joined(text.pieces()), document.toByteArray(XML_INDENT)) << where;
        }
        // Enough attributes come and go that a copy of the element would have another order.
        for (int step = 0; step < 160; ++step) {
            const QString name = QStringLiteral("a%1").arg(step % 100);
            step < 100 ? document.documentElement().setAttribute(name, step)
                       : document.documentElement().removeAttribute(name);
        }
        text.allChanged();
        EXPECT_EQ(joined(text.pieces()), document.toByteArray(XML_INDENT)) << where;
    }
}

TEST(DocumentText, ChangeCostsOnlyTheObligationThatIsNamed)
{
    QDomDocument document = test::documentOf("<r><!--c--><Proof_Obligation/><Proof_Obligation/>"
                                             "<x/><Proof_Obligation/></r>");
    DocumentText text;
    text.setDocument(document);
    const std::vector<QByteArray> before = text.pieces();
    for (QDomElement obligation : obligationsOf(document)) {
        obligation.setAttribute(ATTR_NAME, 1);
    }
    text.changed(2);
    const std::vector<QByteArray>& after = text.pieces();
    ASSERT_EQ(after.size(), before.size());
    std::size_t renewed = 0;
    for (std::size_t index = 0; index < after.size(); ++index) {
        renewed += after[index] != before[index] ? 1U : 0U;
    }
    EXPECT_EQ(renewed, 1U);
    document.documentElement().appendChild(document.createElement(TAG_PROOF_OBLIGATION));
    text.changed(3); // one that came later renews everything
    EXPECT_EQ(joined(text.pieces()), document.toByteArray(XML_INDENT));
}

TEST(DocumentText, DeclarationNamesTheEncodingThatIsWritten)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"version='1.0' encoding='ISO-8859-1' standalone='yes'",
         "version='1.0' encoding='UTF-8' standalone='yes'"},
        {"version=\"1.0\" encoding = \"windows-1252\"", "version=\"1.0\" encoding = \"UTF-8\""},
        {"version='1.0' encoding='uTf-8'", "version='1.0' encoding='uTf-8'"},
        {"version='1.0'", "version='1.0'"},
        {"version='1.0' standalone='no'", "version='1.0' standalone='no'"},
    };
    for (const auto& [before, after] : rows) {
        QDomDocument document;
        document.appendChild(document.createProcessingInstruction(QStringLiteral("xml"),
                                                                  QString::fromStdString(before)));
        QDomElement root = document.createElement(QStringLiteral("r"));
        root.setAttribute(ATTR_NAME, QString::fromUtf8("é€😀"));
        document.appendChild(root);
        declareUtf8(document);
        EXPECT_EQ(document.toByteArray(XML_INDENT).toStdString(),
                  "<?xml " + after + "?>\n<r name=\"é€😀\"/>\n");
    }
    QDomDocument without = test::documentOf("<?other encoding='x'?>\n<r/>");
    declareUtf8(without);
    EXPECT_EQ(without.firstChild().nodeValue(), QStringLiteral("encoding='x'"));
    QDomDocument null;
    declareUtf8(null);
    EXPECT_TRUE(null.isNull());
}
