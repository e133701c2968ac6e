#include "base/replace_file.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr uid_t NOBODY = 65534;

int renameError = 0;

/// The number of the error, 0 when there was none.
int replace(const std::string& path, const std::vector<QByteArray>& pieces)
{
    return replaceFile(QString::fromStdString(path), pieces, false).value();
}

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

auto entriesOf(const std::string& folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

/// A file in a folder of its own; root gives both away to `owner`.
std::string makeFile(const test::TempDir& dir, mode_t folderMode, mode_t fileMode, uid_t owner,
                     const std::string& name = "c.pos", const std::string& text = "old")
{
    ::chmod(dir.path().c_str(), 0755);
    std::string path = dir.write("folder/" + name, text);
    for (const std::string& given : {path, dir.path("folder")}) {
        EXPECT_EQ(::geteuid() == 0 ? ::chown(given.c_str(), owner, owner) : 0, 0);
    }
    ::chmod(path.c_str(), fileMode);
    ::chmod(dir.path("folder").c_str(), folderMode);
    return path;
}

} // namespace

/// Takes the system's place: a disk that fails late.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's are reserved
extern "C" int rename(const char* from, const char* to)
{
    errno = renameError;
    return errno != 0 ? -1
                      : static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

TEST(ReplaceFile, WritesEveryPieceAndKeepsLinksModeAndOwner)
{
    const test::TempDir dir;
    // No name can be longer, and the name of the new file ends in the middle of a character.
    const std::string name = "a" + QStringLiteral("é").repeated(127).toStdString();
    const std::string path = makeFile(dir, 0755, 06674, NOBODY, name);
    std::filesystem::create_symlink("folder/" + name, dir.path("first"));
    std::filesystem::create_symlink("first", dir.path("é"));
    const struct stat before = statusOf(path);
    std::vector<QByteArray> pieces = {"first", QByteArray()};
    std::string expected = "first";
    for (int index = 0; index < 5000; ++index) { // several batches of buffers
        pieces.push_back(QByteArray::number(index) + QByteArray(index % 7 * 100, 'x'));
        expected += pieces.back().toStdString();
    }
    const std::ptrdiff_t open = test::openFiles();
    EXPECT_EQ(replace(dir.path("é"), pieces), 0);
    EXPECT_EQ(test::contentOf(path), expected);
    const struct stat after = statusOf(path);
    EXPECT_NE(after.st_ino, before.st_ino); // a new file stepped in its place
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    if (::geteuid() == 0) { // who does not own the file may keep its group still
        const gid_t group = 4242;
        EXPECT_EQ(::chown(path.c_str(), 0, group) + ::chmod(path.c_str(), 0666), 0);
        EXPECT_EQ(::setgroups(1, &group) + ::seteuid(NOBODY), 0);
        EXPECT_EQ(replace(path, {"new"}), 0);
        EXPECT_EQ(::seteuid(0) + ::setgroups(0, nullptr), 0);
        EXPECT_EQ(statusOf(path).st_uid, NOBODY);
        EXPECT_EQ(statusOf(path).st_gid, group);
    }
    std::filesystem::create_symlink("\xE9/c", dir.path("odd")); // no UTF-8: unknown to Qt
    dir.write("\xE9/c", "old");
    EXPECT_EQ(replace(dir.path("odd"), {"new"}), 0);
    EXPECT_EQ(test::contentOf(dir.path("\xE9/c")), "new");
    EXPECT_EQ(test::openFiles(), open);
}

TEST(ReplaceFile, RefusesWhatIsNoRegularFileAndCreatesNothing)
{
    const test::TempDir dir;
    std::filesystem::create_directory(dir.path("folder"));
    std::filesystem::create_symlink("nowhere", dir.path("dangling"));
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    const std::pair<const char*, int> rows[] = {
        {"dangling", ENOENT}, {"folder", EISDIR}, {"fifo", EINVAL}};
    for (const auto& [name, error] : rows) {
        EXPECT_EQ(replace(dir.path(name), {"new"}), error) << name;
    }
    EXPECT_EQ(entriesOf(dir.path()), 3);
}

TEST(ReplaceFile, WhatTheFolderForbidsIsWrittenInPlaceAndAFailureKeepsTheOldContent)
{
    const struct {
        const char* label;
        mode_t folderMode;
        mode_t fileMode;
        uid_t owner;
        rlim_t room; // for the longer content of 1200 bytes
        int error;
    } rows[] = {
        {"the folder may not be written", 0555, 0666, NOBODY, 5000, 0},
        {"only the owner may rename there", 01777, 0666, 0, 5000, 0},
        {"the file may not be written", 0777, 0444, NOBODY, 5000, EACCES},
        {"no new file takes its place", 0777, 0666, NOBODY, 5000, EIO},
        {"no room for a new file", 0777, 0666, NOBODY, 1000, EFBIG},
        {"no room in place", 0555, 0666, NOBODY, 1000, EFBIG},
    };
    ::signal(SIGXFSZ, SIG_IGN);
    const std::ptrdiff_t open = test::openFiles();
    for (const auto& row : rows) {
        if (row.owner != NOBODY && ::geteuid() != 0) {
            continue; // all files are ours
        }
        const test::TempDir dir;
        // A longer content leaves room to write over it, which nobody may make use of.
        const std::string old(row.folderMode == 0777 ? 2000 : 3, 'o');
        const std::string path =
            makeFile(dir, row.folderMode, row.fileMode, row.owner, "c.pos", old);
        const struct stat before = statusOf(path);
        rlimit unlimited{};
        ::getrlimit(RLIMIT_FSIZE, &unlimited);
        const rlimit limit = {row.room, unlimited.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        renameError = row.error == EIO ? EIO : 0;
        const bool dropped = ::seteuid(NOBODY) == 0; // root has given up its rights until below
        const int error = replace(path, {QByteArray(600, 'x'), QByteArray(600, 'y')});
        EXPECT_EQ(error, row.error) << row.label;
        if (error == 0 && statusOf(path).st_size == 1200) {
            EXPECT_EQ(replace(path, {"ne", "w"}), 0) << row.label;
        }
        EXPECT_TRUE(!dropped || ::seteuid(0) == 0);
        ::setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(test::contentOf(path), row.error != 0 ? old : "new") << row.label;
        EXPECT_EQ(statusOf(path).st_ino, before.st_ino) << row.label;
        EXPECT_EQ(entriesOf(dir.path("folder")), 1) << row.label;
        ::chmod(dir.path("folder").c_str(), 0755);
        EXPECT_EQ(test::openFiles(), open) << row.label;
    }
}
