#include "base/OldContent.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using test::openFiles;

namespace
{

TEST(OldContentTest, EverythingReplacedIsFreedInTheEnd)
{
    const test::TempDir dir;
    const QString path = QString::fromStdString(dir.write("file", "text"));
    const std::ptrdiff_t before = openFiles();
    const int next = ::dup(0);
    ::close(next);
    for (const bool waits : {true, false}) {
        {
            OldContent old;
            old.keep(path);
            EXPECT_EQ(::fcntl(next, F_GETFD), FD_CLOEXEC) << "for us alone";
            old.release(false);
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
