#include "app/Utils.h"
#include "app/XmlFile.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace
{

TEST(Utils, BaseNameIsWhatStandsBetweenSeparatorAndLastDot)
{
    const char* const rows[][2] = {{"comp.pos", "comp"}, {"comp", "comp"}, {"/a.b/comp", "comp"},
                                   {"/a/.pos", ""},      {"/a/b/", ""},    {"DIR/a.b.xml", "a.b"},
                                   {"C:\\x.y\\c", "c"},  {"a/b\\c.d", "c"}};
    for (const auto& [path, name] : rows) {
        EXPECT_EQ(baseNameOfPath(path), name) << path;
    }
}

/// What is read: the document element and how many children it has, "empty" or "unreadable".
std::string read(const std::string& path)
{
    QDomDocument document;
    const bool done = readXmlFile(QString::fromStdString(path), document);
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

TEST(XmlFile, AMalformedOrHostileFileLeavesNothingOfItself)
{
    const test::TempDir dir;
    const std::pair<std::string, std::string> rows[] = {
        {"\xEF\xBB\xBF<n:r xmlns:n='n'> <a/></n:r>", "n:r1"},
        {"<!DOCTYPE r SYSTEM 'r.dtd'><r><a a='&undeclared;'/></r>", "r1"},
        {"<r><a></r>", "empty"},
        {nested(MAX_XML_DEPTH - 1), "a2"},
        {nested(MAX_XML_DEPTH), "empty"},
    };
    for (const auto& [content, result] : rows) {
        EXPECT_EQ(read(dir.write("ü.xml", content)), result) << content.substr(0, 60);
    }
    // None of these may block either.
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    for (const std::string& path : {dir.path("missing"), dir.path("fifo"), dir.path()}) {
        EXPECT_EQ(read(path), "unreadable") << path;
    }
}

} // namespace
