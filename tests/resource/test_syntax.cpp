#include "tests/resource/Resources.h"

#include "resource/p_string.h"

namespace
{

struct GrammarRow {
    const char* label;
    std::string text;
    const char* resources;
    const char* errors; ///< without the file's name in front of each
};

const std::string NUL(1, '\0');

const GrammarRow GRAMMAR[] = {
    {"stars", "ORN*T*K: some value \t \n", "ORN*T*K: some value\n", ""},
    {"points and blanks in front", " \tORN.T.K:v\n", "ORN*T*K: v\n", ""},
    {"mixed separators", "ORN*T.K:v\n", "ORN*T*K: v\n", ""},
    {"blank before the colon is part of the name", "ORN*T*K : v\n", "ORN*T*K : v\n", ""},
    {"further separators and colons are kept", "ORN*T*a*b.c: d:e*f\n", "ORN*T*a*b.c: d:e*f\n", ""},
    {"colon inside the tool name", "ORN*T:x*K: v\n", "ORN*T:x*K: v\n", ""},
    {"empty names", "ORN**: v\n", "ORN**: v\n", ""},
    {"foreign lines are ignored", "XYZ*T*K: v\nORN-T-K: v\nORN\nOR\norn*T*K: v\n\n \t\n", "", ""},
    {"comment", "  ! ORN*T*K: v\n!\n", "", ""},
    {"no second separator", "ORN*Tool\nORN*\nORN*T:v\nORN*T*K: v\n", "ORN*T*K: v\n",
     ":1: Resource syntax error: tool name not found\n"
     ":2: Resource syntax error: tool name not found\n"
     ":3: Resource syntax error: tool name not found\n"},
    {"no colon", "\nORN*T*K value\n", "",
     ":2: Resource syntax error: resource name or colon not found\n"},
    {"no value", "ORN*T*K: \t \nORN*T*K:\n", "",
     ":1: Resource syntax error: resource value not found\n"
     ":2: Resource syntax error: resource value not found\n"},
    {"value on the next line", "ORN*T*K: \\\n   value\n", "ORN*T*K: value\n", ""},
    {"text after the leading backslash is dropped", "ORN*T*K: \\x\nvalue\n", "ORN*T*K: value\n",
     ""},
    {"chain", "ORN*T*K:\\\n\\\n \\\n ORN*T*L: w \nORN*T*M: x\n",
     "ORN*T*K: ORN*T*L: w\nORN*T*M: x\n", ""},
    {"nothing to continue on", "ORN*T*K: \\\n", "",
     ":1: Resource syntax error: resource value not found\n"},
    {"chain with nothing to continue on", "ORN*T*K: \\\n \\\n", "",
     ":2: Resource syntax error: resource value not found\n"},
    {"continued by an empty line", "ORN*T*K: \\\n \nORN*T*L: v\n", "ORN*T*K: \nORN*T*L: v\n", ""},
    {"continued by a backslash value", "ORN*T*K: \\\nv \\\n", "ORN*T*K: v\n", ""},
    {"final backslash ends the value", "ORN*T*K: v \t\\\nw\n", "ORN*T*K: v\n", ""},
    {"inner backslash", "ORN*T*K: C:\\dir\\\\\n", "ORN*T*K: C:\\dir\\\n", ""},
    {"last line without newline", "ORN*T*K: v\nORN*T*L: w", "ORN*T*K: v\n", ""},
    {"carriage return stays", "ORN*T*K: v\r\n", "ORN*T*K: v\r\n", ""},
    {"NUL ends a line", "ORN*T*K: v" + NUL + "w\nORN*" + NUL + "T*K: v\n" + NUL + "\n",
     "ORN*T*K: v\n", ":2: Resource syntax error: tool name not found\n"},
    {"the last definition counts, at the first place", "ORN*T*K: 1\nORN*T*L: 2\nORN.T.K: 3\n",
     "ORN*T*K: 3\nORN*T*L: 2\n", ""},
    {"grouped by tool", "ORN*T*K: 1\nORN*U*K: 2\nORN*T*L: 3\n",
     "ORN*T*K: 1\nORN*T*L: 3\nORN*U*K: 2\n", ""},
};

/// `errors` with the file's name put in front of every line.
std::string located(const std::string& file, const std::string& errors)
{
    std::string result;
    bool atStart = true;
    for (const char character : errors) {
        result += atStart ? file : "";
        result += character;
        atStart = character == '\n';
    }
    return result;
}

} // namespace

TEST_F(Resources, LinesAreReadByTheGrammar)
{
    for (const GrammarRow& row : GRAMMAR) {
        SCOPED_TRACE(row.label);
        delete_all_resources();
        EXPECT_EQ(messages([&] {
                      loadWorkbench(row.text);
                  }),
                  located(dir.path("workbench"), row.errors));
        EXPECT_EQ(dump(), row.resources);
    }
}

TEST_F(Resources, DefinitionHoldsAllItsLinesAndTheCommentsInFrontOfIt)
{
    loadWorkbench("! one\nignored\n ! two\nORN*T*K: \\\n\\\nv\n! trailing\n");
    const T_resource_file* const file = resource_manager->get_file(RESOURCE_SOURCE_ORMALIN);
    const T_resource_ident* const ident = resource_manager->get_tool("T")->get_resource("K");
    EXPECT_EQ(ident->get_line(), file->get_line(6));
    for (const std::uint32_t n : {4U, 5U, 6U}) {
        EXPECT_EQ(file->get_line(n)->get_item(), ident) << n;
    }
    EXPECT_EQ(ident->first_comment()->get_line(), file->get_line(1));
    EXPECT_EQ(ident->first_comment()->get_next(), file->get_line(3)->get_item());
    EXPECT_EQ(file->get_line(2)->get_item(), nullptr);
    EXPECT_EQ(file->get_line(7)->get_item()->get_owner(), nullptr);

    // The trailing comment must not reach the resources of the next file.
    loadUser("ORN*T*L: v\n");
    EXPECT_EQ(resource_manager->get_tool("T")->get_resource("L")->first_comment(), nullptr);
}

TEST(ResourceString, KeepsTheGivenLengthAndSurvivesItsOwnTextAsSource)
{
    T_resource_string text("text", 9);
    EXPECT_EQ(text.get_length(), 9U);
    EXPECT_STREQ(text.get_text(), "text");
    EXPECT_FALSE(text.compare(T_resource_string("text")));
    text.init_string(text.get_text() + 1);
    EXPECT_TRUE(text.compare(T_resource_string("ext.", 3)));
    EXPECT_TRUE(T_resource_string(nullptr).compare(T_resource_string("")));
}
