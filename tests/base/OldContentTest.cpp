#include "base/OldContent.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

using test::openFiles;

namespace
{

TEST(OldContentTest, EverythingReplacedIsFreedInTheEnd)
{
    const test::TempDir dir;
    const QString path = QString::fromStdString(dir.write("file", "text"));
    const std::ptrdiff_t before = openFiles();
    for (const bool waits : {true, false}) {
        {
            OldContent old;
            for (int round = 0; round < 20; ++round) {
                old.keep(path);
                EXPECT_GT(openFiles(), before) << "freed while it is kept";
                old.release(true);
                EXPECT_LE(openFiles(), before + 5);
            }
            while (waits && openFiles() != before) {
                old.awaitRoom();
            }
        }
        EXPECT_EQ(openFiles(), before);
    }
}

} // namespace
