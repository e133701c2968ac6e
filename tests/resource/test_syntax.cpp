#include "tests/resource/Resources.h"

#include "resource/p_string.h"

namespace
{

struct GrammarRow {
    const char* label;
    std::string text;
    const char* printed; ///< errors and resources
};

const std::string NUL(1, '\0');

const GrammarRow GRAMMAR[] = {
    {"points or stars, blanks around", " \tORN.T.K:v \t \nORN*T.L: some value\n",
     "ORN*T*K: v\nORN*T*L: some value\n"},
    {"names end at the second separator and the first colon",
     "ORN*T:x*a*b.c : d:e*f\nORN**: v\nORN*T*K:v\n",
     "ORN*T:x*a*b.c : d:e*f\nORN**: v\nORN*T*K: v\n"},
    {"comments and foreign lines",
     "XYZ*T*K: v\nORN-T-K: v\nORN\nOR\norn*T*K: v\n\n \t\n ! ORN*T*K: v\n!\n", ""},
    {"value further down", "ORN*T*K:\\x\n\\\n \\\n ORN*T*L: w \nORN*T*M: x\n",
     "ORN*T*K: ORN*T*L: w\nORN*T*M: x\n"},
    {"empty value further down", "ORN*T*K: \\\n \nORN*T*L: v\n", "ORN*T*K: \nORN*T*L: v\n"},
    {"backslashes inside and at the end",
     "ORN*T*K: v \t\\\nw\nORN*T*L: C:\\dir\\\\\nORN*T*M: \\\nx \\\n",
     "ORN*T*K: v\nORN*T*L: C:\\dir\\\nORN*T*M: x\n"},
    {"line ends", "ORN*T*K: v\r\nORN*T*L: v" + NUL + "w\n" + NUL + "\nORN*T*M: w",
     "ORN*T*K: v\r\nORN*T*L: v\n"},
    {"grouped by tool; the last definition counts, at the first place",
     "ORN*T*K: 1\nORN*U*K: 2\nORN*T*L: 3\nORN.T.K: 4\n", "ORN*T*K: 4\nORN*T*L: 3\nORN*U*K: 2\n"},
    {"errors", "ORN*T:v\nORN*T*K v\nORN*T*K: \t \nORN*T*L: v\nORN*T*K: \\\n \\\n",
     "file:1: Resource syntax error: tool name not found\n"
     "file:2: Resource syntax error: resource name or colon not found\n"
     "file:3: Resource syntax error: resource value not found\n"
     "file:6: Resource syntax error: resource value not found\n"
     "ORN*T*L: v\n"},
};

} // namespace

TEST_F(Resources, LinesAreReadByTheGrammar)
{
    for (const GrammarRow& row : GRAMMAR) {
        delete_all_resources();
        EXPECT_EQ(printed([&] {
                      load(W, row.text);
                      dump();
                  }),
                  row.printed)
            << row.label;
    }
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
