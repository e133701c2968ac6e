#include "base/SavedFile.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <tuple>
#include <utility>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace
{

int syncs = 0;
int syncError = 0;

} // namespace

/// Takes the system's place: a slow disk.
extern "C" int fsync(int /*fd*/)
{
    ++syncs;
    ::usleep(20000);
    errno = std::exchange(syncError, 0);
    return errno == 0 ? 0 : -1;
}

TEST(SavedFile, IsOnTheDiskBeforeTheOldContentGoesAsOftenAsThatCostsLittle)
{
    const test::TempDir dir;
    const std::string path = dir.write("c.pos", "old");
    SavedFile file(QString::fromStdString(path));
    std::string content;
    for (const auto& [label, mustSync, expected, error] :
         {std::tuple("the first", false, 1, 0), std::tuple("soon after it", false, 0, 0),
          std::tuple("and after a save that did not wait", false, 0, 0),
          std::tuple("the last", true, 1, 0), std::tuple("a disk that fails", true, 1, EIO),
          std::tuple("a disk with nothing to do", true, 1, EINVAL),
          std::tuple("a quota that the old content uses up for a moment", true, 2, EDQUOT)}) {
        ::usleep(expected == 0 ? 100000 : 0);
        syncs = 0;
        syncError = error;
        const bool done = !file.replace({label}, mustSync);
        EXPECT_EQ(done, error != EIO) << label;
        EXPECT_EQ(syncs, expected) << label;
        content = done ? label : content;
        EXPECT_EQ(test::contentOf(path), content);
    }
}

TEST(SavedFile, OnAFullDiskTheOnlyGoodCopyStaysAndAMountPointIsWrittenInPlace)
{
    if (::unshare(CLONE_NEWNS) != 0) {
        GTEST_SKIP() << "only root may mount a disk";
    }
    const test::TempDir dir;
    ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    ASSERT_EQ(::mount("tmpfs", dir.path().c_str(), "tmpfs", 0, "size=256k,nr_inodes=8"), 0);
    const std::string path = dir.write("c.pos", "");
    SavedFile file(QString::fromStdString(path));
    std::string content(100 << 10, 'c');
    for (int round = 0; round < 200; ++round) { // there is room for two, once a third is freed
        EXPECT_EQ(file.replace({QByteArray::fromStdString(content)}, false).value(), 0) << round;
    }
    EXPECT_EQ(file.replace({QByteArray(200 << 10, 'x')}, false).value(), ENOSPC);
    for (char name = 'a'; name < 'k'; ++name) {
        dir.write({name}, ""); // until there is no room for a new file, either
    }
    EXPECT_EQ(file.replace({"x"}, false).value(), ENOSPC);
    EXPECT_TRUE(test::contentOf(path) == content);
    const std::string other = dir.path("a");
    ::unlink(dir.path("b").c_str());
    ASSERT_EQ(::mount(other.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(file.replace({"new"}, false).value(), 0);
    EXPECT_EQ(test::contentOf(other), "new");
    ::umount2(dir.path().c_str(), MNT_DETACH);
}
