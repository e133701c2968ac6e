#include "tests/resource/Resources.h"

namespace
{

/// Deletes one thing: "W" a file, "W2" one of its lines, "!" the comment that its last line holds,
/// "-K" a resource, "-" its tool.
void erase(const std::string& what)
{
    const auto source = what[0] == 'W' ? W : U;
    if (what == "-") {
        delete_tool_resources("T");
    } else if (what[0] == '-') {
        delete_resource("T", what.c_str() + 1);
    } else if (what == "!") {
        delete resource_manager->get_file(W)->last_line()->get_item();
    } else if (what.size() == 1) {
        resource_manager->delete_file(source);
    } else {
        resource_manager->get_file(source)->delete_line(std::uint32_t(what[1] - '0'));
    }
}

struct DeletionRow {
    const char* label;
    std::vector<std::string> removed;
    const char* workbench; ///< the shapes that are left
    const char* user;
};

const DeletionRow DELETIONS[] = {
    {"nothing", {}, " !aAAAB!m!end", "!cCM"},
    {"first line of a definition", {"W2"}, "B!m!end", "!cCM"},
    {"middle line of it", {"W3"}, "B!m!end", "!cCM"},
    {"last line of it", {"W4"}, "B!m!end", "!cCM"},
    {"resource", {"-A"}, "B!m!end", "!cCM"},
    {"line of a comment", {"W1"}, "AAAB!m!end", "!cCM"},
    {"line of a comment, then its resource", {"W1", "-A"}, "B!m!end", "!cCM"},
    {"first line from a number on, a comment without resource", {"W7"}, " !aAAAB!m", "!cCM"},
    {"comment without resource", {"!"}, " !aAAAB!m", "!cCM"},
    {"resource with its comment in another file", {"-M"}, " !aAAAB!end", "!cC"},
    {"line of that resource", {"U3"}, " !aAAAB!end", "!cC"},
    {"file of that comment, then the resource", {"W", "-M"}, "none", "!cC"},
    {"line right below its comment", {"U2"}, " !aAAAB!m!end", "M"},
    {"file of the resource", {"U"}, " !aAAAB!end", "none"},
    {"tool across files", {"-"}, "B!end", ""},
};

} // namespace

TEST_F(Resources, WhateverGoesFirstTakesItsDependantsAlong)
{
    for (const DeletionRow& row : DELETIONS) {
        SCOPED_TRACE(row.label);
        delete resource_manager;
        resource_manager = new T_resource_manager;
        // M moves to the user's file, its comment stays behind: line 7 is missing then.
        load(W, " !a\nORN*T*A: \\\n\\\na\nORN*S*B: b\n!m\nORN*T*M: 1\n!end\n");
        load(U, "!c\nORN*T*C: c\n");
        set_resource("T", "M", "2");
        for (const std::string& what : row.removed) {
            erase(what);
            check();
        }
        EXPECT_EQ(shapeOf(W), row.workbench);
        EXPECT_EQ(shapeOf(U), row.user);
    }
}

TEST_F(Resources, OfTwoToolsOfOneNameTheFirstIsMeant)
{
    load(U, "ORN*T*K: 1\n");
    resource_manager->set_tool("T")->set_resource("K", "2", nullptr);
    EXPECT_STREQ(lookup_resource("T", "K"), "1");
    erase("-");
    EXPECT_STREQ(lookup_resource("T", "K"), "2");
}
