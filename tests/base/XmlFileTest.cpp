#include "base/XmlFile.h"
#include "base/XmlEntities.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include <sys/stat.h>

namespace
{

/// What is read: the document element and how many children it has, "empty" or "unreadable".
std::string read(const std::string& path, bool (*reader)(const QString&, QDomDocument&))
{
    QDomDocument document;
    const bool done = reader(QString::fromStdString(path), document);
    if (document.isNull() || !document.hasChildNodes()) {
        return !done && document.isNull() ? "unreadable" : document.isNull() ? "null" : "empty";
    }
    const QDomElement root = document.documentElement();
    return root.tagName().toStdString() + std::to_string(root.childNodes().size());
}

std::string nested(int depth)
{
    const QString text = QStringLiteral("<a><b/>").repeated(depth);
    return (text + QStringLiteral("</a>").repeated(depth)).toStdString();
}

/// A document with some entities: one use of the first counts as 3 MiB, in a file of about 50 kB.
/// So 20 uses are all right, and 30 are too many.
std::string entities(const char* first, const std::string& others, const std::string& text)
{
    return "<!DOCTYPE r [<!ENTITY " + std::string(first) + " \"" + std::string(48 << 10, '\'') +
           "\">" + others + "]>" + text;
}

std::string times(int count, const char* text)
{
    return QString::fromUtf8(text).repeated(count).toStdString();
}

TEST(XmlFile, AMalformedOrHostileFileLeavesNothingOfItself)
{
    const test::TempDir dir;
    const std::string undeclared = "<!DOCTYPE r SYSTEM 'r.dtd'><r><a a='&undeclared;'/></r>";
    const std::string twenty = "<a b='&u;" + times(10, "&e;") + "'/>" + times(10, "&e;") + "<a/>";
    const std::string thirty = times(30, "&e;");
    const std::string laughs = "<!ENTITY a '" + times(50, "x") + "'><!ENTITY b '" +
                               times(10, "&a;") + "'><!ENTITY c '" + times(10, "&b;") +
                               "'><!ENTITY d ''>";
    const std::string blanks(1 << 20, ' ');
    std::string names;
    for (int index = 0; index <= MAX_XML_ENTITIES; ++index) {
        names += "<!ENTITY e" + std::to_string(index) + " ''>";
    }
    const struct {
        const char* label;
        std::string content;
        const char* result;
        bool expands = false; // beyond the limits
    } rows[] = {
        {"a prefix", "\xEF\xBB\xBF<n:r xmlns:n='n'> <a/></n:r>", "n:r1"},
        {"an undeclared entity", undeclared, "r1"},
        {"another end", "<r><a></r>", "empty"},
        {"deep", nested(MAX_XML_DEPTH - 1), "a2"},
        {"too deep", nested(MAX_XML_DEPTH), "empty"},
        {"too deep with entities", "<!DOCTYPE a [<!ENTITY e ''>]>" + nested(MAX_XML_DEPTH),
         "empty"},
        {"entities", entities("e", "", "<r>" + twenty + "</r>"), "r3"},
        {"in text", entities("e", "<!ENTITY e ''>", "<r>" + thirty + "</r>"), "empty", true},
        {"in an attribute", entities("e", "", "<r a='" + thirty + "'/>"), "empty", true},
        {"in a default", entities("e", "<!ATTLIST r a CDATA '" + thirty + "'>", "<r/>"), "empty",
         true},
        {"in a declaration", entities("% e", "<!ENTITY f '" + times(30, "%e;") + "'>", "<r/>"),
         "empty", true},
        {"in others", "<!DOCTYPE r [" + laughs + "]><r>&c;</r>", "empty", true},
        {"just not too many", "<!DOCTYPE r [" + names.substr(0, names.rfind('<')) + "]><r/>", "r0"},
        {"too many", "<!DOCTYPE r [" + names + "]><r/>", "empty", true},
        {"more in a larger file", entities("e", "", "<r>" + times(25, "&e;") + blanks + "</r>"),
         "r1"},
    };
    for (const auto& row : rows) {
        const test::Captured log(std::clog);
        const std::string path = dir.write("ü.xml", row.content);
        EXPECT_EQ(read(path, readXmlFile), row.result) << row.label;
        const std::string line = "Cannot use '" + path +
                                 "': its entities expand to too much. Write their text in their "
                                 "place.\n";
        EXPECT_EQ(log.text(), row.expands ? line : "") << row.label;
    }
    EXPECT_EQ(read(test::pipeHolding(undeclared), readXmlFileOrStream), "r1");
    const std::string large = dir.write("large", "<r/>");
    std::filesystem::resize_file(large, MAX_XML_FILE_SIZE);
    EXPECT_EQ(read(large, readXmlFile), "empty") << "what follows is no text";
    std::filesystem::resize_file(large, MAX_XML_FILE_SIZE + 1);
    const std::ptrdiff_t open = test::openFiles();
    for (const std::string& path :
         {dir.path("missing"), dir.path(), large, std::string("/dev/zero")}) {
        EXPECT_EQ(read(path, readXmlFileOrStream), "unreadable") << path;
        EXPECT_EQ(read(path, readXmlFile), "unreadable") << path;
    }
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(read(dir.path("fifo"), readXmlFile), "unreadable") << "or it blocks";
    EXPECT_EQ(test::openFiles(), open);
}

} // namespace
