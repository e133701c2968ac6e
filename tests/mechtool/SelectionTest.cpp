// Goals by status, and by patterns for their obligations.

#include "mechtool/Selection.h"

#include <gtest/gtest.h>

namespace
{

TEST(Selection, AGlobFitsNamesAsTheyStandAndAsTheyAreShown)
{
    const struct {
        const char* glob;
        const char* name;
        bool fits;
    } rows[] = {
        {"put", "put", true},
        {"put", "put_ring", false},
        {"put", "output", false},
        {"put", "Put", false},
        {"*", "", true},
        {"", "", true},
        {"", "a", false},
        {"put_*", "put_ring#2", true},
        {"a*c", "a/b/c", true},
        {"a?c", "a/c", true},
        {"a/?", "a/c", true},
        {"?", "\xf0\x9d\x94\xb8", true},
        {"?", "\xc3\xa9", true},
        {"a*", "a\nb", true},
        {"[a-c]x", "bx", true},
        {"[!a-c]x", "bx", false},
        {"[!a-c]x", "dx", true},
        {"a[2", "a[2", true},
        {"a[1]", "a[1]", true},
        {"a.c(d)+$|e", "a.c(d)+$|e", true},
        {"a.c", "abc", false},
        {"a\\x1b[2J", "a\x1b[2J", true},
        {"a\\x1b*", "a\x1b[2J", true},
        {"a\x1b[2J", "a\x1b[2J", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.glob) + " on " + row.name);
        EXPECT_EQ(Glob(QString::fromUtf8(row.glob)).fits(QString::fromUtf8(row.name)), row.fits);
    }
}

TEST(Selection, OnlyASelectionThatNamesNothingIsRefused)
{
    const QStringList names{QStringLiteral("put"), QStringLiteral("get")};
    selection_t selection;
    EXPECT_NO_THROW(requireSelected(selection, {}, 0)); // an empty component, all of it
    selection.statuses.insert(pos::PROVED);
    EXPECT_NO_THROW(requireSelected(selection, names, 1));
    EXPECT_THROW(requireSelected(selection, names, 0), CannotAnswer);
    selection.obligations.emplace_back(QStringLiteral("p*"));
    EXPECT_TRUE(selection.takesObligation(names.at(0)));
    EXPECT_FALSE(selection.takesObligation(names.at(1)));
    selection.statuses.clear();
    EXPECT_FALSE(selection.takesEverything()); // a reset of everything is another thing
    EXPECT_NO_THROW(requireSelected(selection, names, 1));
    selection.obligations.emplace_back(QStringLiteral("x*")); // a slip beside a name that fits
    EXPECT_THROW(requireSelected(selection, names, 1), CannotAnswer);
}

} // namespace
