#include "director/OldContent.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

namespace fs = std::filesystem;

/// How often this process has the content that stood at `path` open.
int handlesOn(const std::string& path)
{
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += fs::read_symlink(entry.path(), gone) == path + " (deleted)" ? 1 : 0;
    }
    return count;
}

TEST(OldContentTest, EverythingReplacedIsFreedInTheEnd)
{
    const test::TempDir dir;
    const std::string path = fs::canonical(dir.path()) / "file";
    {
        OldContent old;
        EXPECT_FALSE(old.freeAll());
        for (int round = 0; round < 20; ++round) {
            dir.write("file", "text");
            old.keep(QString::fromStdString(path));
            fs::remove(path);
            EXPECT_GE(handlesOn(path), 1) << "freed while it is kept";
            old.release();
            EXPECT_LE(handlesOn(path), 5);
        }
        old.freeAll();
        EXPECT_EQ(handlesOn(path), 0);
        dir.write("file", "text");
        old.keep(QString::fromStdString(path));
        fs::remove(path);
        old.release();
    }
    EXPECT_EQ(handlesOn(path), 0);
}

} // namespace
