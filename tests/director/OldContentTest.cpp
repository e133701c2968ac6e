#include "director/OldContent.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

std::ptrdiff_t openFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

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
                old.release();
                EXPECT_LE(openFiles(), before + 5);
            }
            if (waits) {
                old.freeAll();
                EXPECT_EQ(openFiles(), before);
            }
        }
        EXPECT_EQ(openFiles(), before);
    }
}

} // namespace
