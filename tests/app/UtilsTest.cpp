#include "app/Utils.h"
#include "app/XmlFile.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace
{

TEST(Utils, BaseNameIsWhatStandsBetweenSeparatorAndLastDot)
{
    const char* const rows[][2] = {
        {"/a/b/comp.pos", "comp"}, {"comp.pos", "comp"}, {"comp", "comp"}, {"/a.b/comp", "comp"},
        {"/a/.pos", ""},           {"/a/b/", ""},        {"", ""},         {"DIR/a.b.xml", "a.b"},
        {"C:\\x.y\\c", "c"},       {"a/b\\c.d", "c"},    {"../x", "x"}};
    for (const auto& [path, name] : rows) {
        EXPECT_EQ(baseNameOfPath(path), name) << path;
    }
}

/// What is read: "unreadable", "null", "empty", or the document element and how many children it
/// has.
std::string read(const std::string& path)
{
    QDomDocument document;
    if (!readXmlFile(QString::fromStdString(path), document)) {
        return document.isNull() ? "unreadable" : "unreadable but touched";
    }
    if (!document.hasChildNodes()) {
        return document.isNull() ? "null" : "empty";
    }
    const QDomElement root = document.documentElement();
    return root.tagName().toStdString() + std::to_string(root.childNodes().size());
}

std::string nested(int depth)
{
    return QString(QStringLiteral("<a><b/>").repeated(depth) +
                   QStringLiteral("</a>").repeated(depth))
        .toStdString();
}

TEST(XmlFile, AMalformedOrHostileFileLeavesNothingOfItself)
{
    const test::TempDir dir;
    const std::pair<std::string, std::string> rows[] = {
        {"\xEF\xBB\xBF<n:r xmlns:n='n'> <a/></n:r>", "n:r1"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE9'/>", "r0"},
        {"<!DOCTYPE r SYSTEM 'r.dtd'><r><a a='&undeclared;'/></r>", "r1"},
        {"<r><a></r>", "empty"},
        {"", "empty"},
        {"no XML", "empty"},
        {nested(MAX_XML_DEPTH - 1), "a2"},
        {nested(MAX_XML_DEPTH), "empty"},
    };
    for (const auto& [content, result] : rows) {
        EXPECT_EQ(read(dir.write("ü.xml", content)), result) << content.substr(0, 60);
    }
    // None of these may block either.
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    for (const std::string& path : {dir.path("missing"), dir.path(), dir.path("fifo"),
                                    std::string("/dev/zero"), std::string()}) {
        EXPECT_EQ(read(path), "unreadable") << path;
    }
}

} // namespace
