#include "app/Utils.h"

#include <gtest/gtest.h>

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

} // namespace
