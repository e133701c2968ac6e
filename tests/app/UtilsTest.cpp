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
        {"/a/b/comp.pos", "comp"}, {"comp.pos", "comp"}, {"comp", "comp"},  {"./dir/comp", "comp"},
        {"/a.b/comp", "comp"},     {"/a/.pos", ""},      {"/a/b/", ""},     {"", ""},
        {"DIR/a.b.xml", "a.b"},    {"C:\\x.y\\c", "c"},  {"a/b\\c.d", "c"}, {"../x", "x"}};
    for (const auto& [path, name] : rows) {
        EXPECT_EQ(baseNameOfPath(path), name) << path;
    }
}

/// What is read: "unreadable", "empty", or the name of the document element.
std::string read(const std::string& path)
{
    QDomDocument document;
    if (!readXmlFile(QString::fromStdString(path), document)) {
        return document.isNull() ? "unreadable" : "unreadable but touched";
    }
    if (document.isNull()) {
        return "null";
    }
    return document.hasChildNodes() ? document.documentElement().tagName().toStdString() : "empty";
}

std::string nested(int depth)
{
    std::string xml;
    for (int i = 0; i < depth; ++i) {
        xml += "<a>";
    }
    for (int i = 0; i < depth; ++i) {
        xml += "</a>";
    }
    return xml;
}

TEST(XmlFile, AMalformedOrHostileFileLeavesNothingOfItself)
{
    const test::TempDir dir;
    std::string bomb = "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e0 'xxxxxxxxxx'>";
    for (int i = 1; i < 12; ++i) {
        const std::string inner = "&e" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + inner + inner + "'>";
    }
    bomb += "]><r>&e11;</r>";
    const std::pair<std::string, std::string> rows[] = {
        {"<r><a/></r>", "r"},
        {"\xEF\xBB\xBF<r/>", "r"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE9'/>", "r"},
        {"<r><a></r>", "empty"},
        {"", "empty"},
        {"no XML", "empty"},
        {nested(MAX_XML_DEPTH), "a"},
        {nested(MAX_XML_DEPTH + 1), "empty"},
        {nested(1000000), "empty"},
        {bomb, "empty"},
    };
    for (const auto& [content, result] : rows) {
        EXPECT_EQ(read(dir.write("f.xml", content)), result) << content.substr(0, 60);
    }
    // None of these may block either.
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    for (const std::string& path : {dir.path("missing"), dir.path(), dir.path("fifo"),
                                    std::string("/dev/zero"), std::string()}) {
        EXPECT_EQ(read(path), "unreadable") << path;
    }
}

} // namespace
