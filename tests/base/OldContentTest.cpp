#include "base/OldContent.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <thread>

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

// A write that found the disk full just before the old content was free needs another try; no
// number of tries helps when nothing was replaced.
TEST(OldContentTest, RoomIsAwaitedForAMomentAfterAReplacement)
{
    const test::TempDir dir;
    const QString path = QString::fromStdString(dir.write("file", "text"));
    const std::ptrdiff_t before = openFiles();
    OldContent old;
    for (const bool replaced : {false, true, false}) {
        old.keep(path);
        old.release(replaced);
        while (openFiles() != before) {
            std::this_thread::yield();
        }
        old.keep(path);
        EXPECT_EQ(old.awaitRoom(), replaced);
        while (old.awaitRoom()) {
        }
        old.release(false);
        EXPECT_EQ(openFiles(), before);
    }
}

} // namespace
