#include "pos/replace_file.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>

#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr uid_t NOBODY = 65534;

bool replace(const std::string& path, const std::vector<QByteArray>& pieces)
{
    return pos::replaceFile(QString::fromStdString(path), pieces);
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

/// What `action` returns in a child process, in which root has given up its rights.
bool asNobody(const std::function<bool()>& action)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setresgid(NOBODY, NOBODY, NOBODY) != 0 ||
             ::setresuid(NOBODY, NOBODY, NOBODY) != 0)) {
            ::_exit(2);
        }
        ::_exit(action() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
    return status == 0;
}

/// A file in a folder of its own; both belong to whom asNobody() turns into when `given`.
std::string makeFile(const test::TempDir& dir, mode_t folderMode, mode_t fileMode, bool given)
{
    ::chmod(dir.path().c_str(), 0755);
    std::string path = dir.write("folder/c.pos", "old");
    if (::geteuid() == 0 && given) {
        EXPECT_EQ(::chown(path.c_str(), NOBODY, NOBODY), 0);
        EXPECT_EQ(::chown(dir.path("folder").c_str(), NOBODY, NOBODY), 0);
    }
    ::chmod(path.c_str(), fileMode);
    ::chmod(dir.path("folder").c_str(), folderMode);
    return path;
}

} // namespace

TEST(ReplaceFile, WritesEveryPieceAndKeepsLinksModeAndOwner)
{
    const test::TempDir dir;
    const std::string path = makeFile(dir, 0755, 0664, true);
    std::filesystem::create_symlink("folder/c.pos", dir.path("first"));
    std::filesystem::create_symlink("first", dir.path("é"));
    const struct stat before = statusOf(path);
    std::vector<QByteArray> pieces = {QByteArray()};
    std::string expected;
    for (int index = 0; index < 5000; ++index) { // several batches of buffers
        pieces.push_back(QByteArray::number(index) + QByteArray(index % 7 * 100, 'x'));
        expected += pieces.back().toStdString();
    }
    EXPECT_TRUE(replace(dir.path("é"), pieces));
    EXPECT_EQ(test::contentOf(path), expected);
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path("é")));
    const struct stat after = statusOf(path);
    EXPECT_NE(after.st_ino, before.st_ino); // a new file stepped in its place
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(entriesOf(dir.path("folder")), 1);
}

TEST(ReplaceFile, RefusesWhatIsNoRegularFileAndCreatesNothing)
{
    const test::TempDir dir;
    std::filesystem::create_directory(dir.path("folder"));
    std::filesystem::create_symlink("nowhere", dir.path("dangling"));
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
    const std::pair<const char*, int> rows[] = {
        {"missing", ENOENT}, {"folder", EISDIR}, {"dangling", ENOENT}, {"fifo", EINVAL}};
    for (const auto& [name, error] : rows) {
        errno = 0;
        EXPECT_FALSE(replace(dir.path(name), {"new"})) << name;
        EXPECT_EQ(errno, error) << name;
    }
    EXPECT_EQ(entriesOf(dir.path()), 3);
}

TEST(ReplaceFile, WhatTheFolderForbidsIsWrittenInPlaceAndAFailureKeepsTheOldContent)
{
    struct Row {
        const char* label;
        mode_t folderMode;
        mode_t fileMode;
        bool given;
        rlim_t room; // for the longer content of 1200 bytes
        int error;
    };
    const Row rows[] = {
        {"the folder may not be written", 0555, 0666, true, 5000, 0},
        {"only the owner may rename there", 01777, 0666, false, 5000, 0},
        {"the file may not be written", 0777, 0444, true, 5000, EACCES},
        {"no room for a new file", 0777, 0666, true, 1000, EFBIG},
        {"no room in place", 0555, 0666, true, 1000, EFBIG},
    };
    for (const Row& row : rows) {
        if (!row.given && ::geteuid() != 0) {
            continue; // all files are ours
        }
        const test::TempDir dir;
        const std::string path = makeFile(dir, row.folderMode, row.fileMode, row.given);
        const struct stat before = statusOf(path);
        EXPECT_TRUE(asNobody([&] {
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit = {row.room, row.room};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            errno = 0;
            const bool written = replace(path, {QByteArray(600, 'x'), QByteArray(600, 'y')});
            return row.error != 0
                       ? !written && errno == row.error
                       : written && statusOf(path).st_size == 1200 && replace(path, {"ne", "w"});
        })) << row.label;
        EXPECT_EQ(test::contentOf(path), row.error != 0 ? "old" : "new") << row.label;
        EXPECT_EQ(statusOf(path).st_ino, before.st_ino) << row.label;
        EXPECT_EQ(entriesOf(dir.path("folder")), 1) << row.label;
        ::chmod(dir.path("folder").c_str(), 0755);
    }
}
