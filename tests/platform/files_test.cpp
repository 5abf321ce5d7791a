#include "platform/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/full_disk.h"
#include "support/results.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using files::Atomically;
using files::Kind;
using testing::FullDisk;
using testing::TemporaryFolder;
using testing::why;

class Files : public ::testing::Test {
  public:
    TemporaryFolder folder;
    const std::string& root = folder.path;

    [[nodiscard]] std::string at(const std::string& name) const { return files::join(root, name); }
    void put(const std::string& name, std::string_view bytes) const {
        ASSERT_TRUE(files::createFolder(files::parent(at(name)), true));
        ASSERT_TRUE(files::write(at(name), bytes, Atomically::no));
    }
    [[nodiscard]] std::string get(const std::string& name) const {
        const auto bytes = files::read(at(name));
        return bytes ? *bytes : "(" + bytes.error().why + ")";
    }
    [[nodiscard]] std::vector<std::string> below(const std::string& name) const {
        const auto paths = files::listBelow(at(name));
        return !paths ? std::vector<std::string>{"(failed)"} : *paths;
    }
};

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

/// A folder on another file system than the temporary one, where this machine has one.
class ElsewhereFolder {
  public:
    ElsewhereFolder() {
        std::string name = "/dev/shm/morvane-test-XXXXXX";
        if (::mkdtemp(name.data()) != nullptr) path = name;
    }
    ~ElsewhereFolder() {
        if (path.empty()) return;
        EXPECT_TRUE(files::remove(path));
    }
    std::string path;
};

TEST_F(Files, RemovalFollowsNoLink) {
    put("outside/save", "precious");
    put("wrapper/drive_c/game.exe", "game");
    put("wrapper/.hidden", "");
    ASSERT_TRUE(files::createSymbolicLink(at("wrapper/drive_z"), at("outside")));
    ASSERT_TRUE(files::createSymbolicLink(at("wrapper/drive_c/loop"), ".."));
    ASSERT_TRUE(files::createSymbolicLink(at("link"), at("outside")));

    EXPECT_TRUE(files::remove(at("wrapper")));
    EXPECT_TRUE(files::remove(at("link/")));
    EXPECT_EQ(get("outside/save"), "precious");
    EXPECT_EQ(below(""), (std::vector<std::string>{"outside", "outside/save"}));
}

TEST_F(Files, RemovalGetsThroughReadOnlyFolders) {
    // As an ordinary user: the administrator is not stopped by permissions.
    constexpr uid_t nobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    put("tree/a/b/file", "");
    put("outside/file", "");
    ASSERT_TRUE(files::createSymbolicLink(at("tree/a/link"), at("outside")));
    for (const char* name : {"", "tree", "tree/a", "tree/a/b", "tree/a/b/file", "outside"}) {
        ASSERT_TRUE(!isRoot || ::chown(at(name).c_str(), nobody, nobody) == 0);
    }
    ASSERT_TRUE(files::setPermissions(at("tree/a/b"), 0000));
    ASSERT_TRUE(files::setPermissions(at("tree/a"), 0555));
    ASSERT_TRUE(files::setPermissions(at("outside"), 0500));
    ASSERT_TRUE(!isRoot || ::seteuid(nobody) == 0);
    const auto removed = files::remove(at("tree"));
    const auto refused = files::remove(at("outside/file"));
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    EXPECT_TRUE(removed);
    EXPECT_EQ(files::kindOf(at("tree")), Kind::none);
    // The folder that holds the removed item is not the item's own: it keeps its permissions.
    EXPECT_EQ(why(refused), "Permission denied");
    EXPECT_EQ(statusOf(at("outside")).st_mode & 07777u, 0500u);
}

TEST_F(Files, RemovalStopsAtAnotherFileSystem) {
    const std::string place = at("tree/mounted");
    put("tree/mounted/.keep", "");
    if (::mount("none", place.c_str(), "tmpfs", 0, nullptr) != 0) GTEST_SKIP() << "this user mounts nothing";
    put("tree/mounted/save", "precious");
    const auto removed = files::remove(at("tree"));
    const std::string save = get("tree/mounted/save");
    ASSERT_EQ(::umount(place.c_str()), 0);
    EXPECT_EQ(why(removed), "Device or resource busy");
    EXPECT_EQ(save, "precious");
}

TEST_F(Files, RemovalOfADeepTree) {
    // Deeper than there are descriptors, and longer than a path may be.
    constexpr int depth = 3000;
    int here = ::open(root.c_str(), O_PATH | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(::mkdirat(here, "deep", 0755), 0);
        const int next = ::openat(here, "deep", O_PATH | O_DIRECTORY);
        ::close(here);
        here = next;
    }
    ::close(here);
    EXPECT_TRUE(files::remove(at("deep")));
    EXPECT_TRUE(below("").empty());
}

TEST_F(Files, RemovalRefusals) {
    put("folder/file", "");
    EXPECT_EQ(why(files::remove(at("missing"))), "No such file or directory");
    EXPECT_EQ(why(files::remove(at("folder/file/below"))), "Not a directory");
    for (const std::string& path : {at("folder/."), at("folder/.."), std::string("/")}) {
        EXPECT_EQ(why(files::remove(path)), "Device or resource busy") << path;
    }
    EXPECT_EQ(why(files::remove(at("folder") + std::string("\0tail", 5))), "Invalid argument");
    EXPECT_EQ(get("folder/file"), "");
}

TEST_F(Files, CopyKeepsEverything) {
    put("source/bin/run", "#!/bin/sh\n");
    put("source/locked/file", "text");
    ASSERT_TRUE(files::createSymbolicLink(at("source/dangling"), "/no/such place"));
    ASSERT_EQ(::mkfifo(at("source/pipe").c_str(), 0620), 0);
    ASSERT_TRUE(files::setPermissions(at("source/bin/run"), 0751));
    const timespec times[2] = {{1000000000, 5}, {1100000000, 7}};
    for (const char* name : {"source/bin/run", "source/dangling", "source/bin"}) {
        ASSERT_EQ(::utimensat(AT_FDCWD, at(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    ASSERT_TRUE(files::setPermissions(at("source/locked"), 0555));

    EXPECT_TRUE(files::copy(at("source/"), at("copy")));
    EXPECT_EQ(below("copy"), below("source"));
    EXPECT_EQ(get("copy/bin/run"), "#!/bin/sh\n");
    EXPECT_EQ(*files::destinationOfLink(at("copy/dangling")), "/no/such place");
    for (const char* name : {"bin", "bin/run", "locked", "locked/file", "dangling", "pipe"}) {
        const auto before = statusOf(at("source/") + name), after = statusOf(at("copy/") + name);
        EXPECT_EQ(after.st_mode, before.st_mode) << name;
        if (S_ISFIFO(before.st_mode)) continue;
        EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec) << name;
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec) << name;
    }
}

TEST_F(Files, CopyOfAHoleyFile) {
    // Data, a hole, data across more than one chunk, and a hole at the end.
    std::string block(3 << 20, '\0');
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 7 + i / 256);
    const int file = ::open(at("holey").c_str(), O_WRONLY | O_CREAT, 0644);
    constexpr off_t size = 80 << 20;
    for (const off_t place : {off_t{0}, off_t{31 << 20}, off_t{34 << 20}}) {
        ASSERT_EQ(::pwrite(file, block.data(), block.size(), place), static_cast<ssize_t>(block.size()));
    }
    ASSERT_EQ(::ftruncate(file, size), 0);
    ::close(file);
    ASSERT_TRUE(files::copy(at("holey"), at("copy")));
    EXPECT_EQ(get("copy") == get("holey"), true);
    EXPECT_EQ(statusOf(at("copy")).st_size, size);
    EXPECT_LT(statusOf(at("copy")).st_blocks * 512, size / 4);
}

TEST_F(Files, CopiesAndMovesNeverReplace) {
    put("folder/file", "new");
    put("there", "old");
    ASSERT_TRUE(files::createSymbolicLink(at("alias"), "folder"));
    const auto whole = below("");
    const struct {
        const char *from, *to, *error;
    } rows[] = {{"folder", "there", "File exists"},
                {"missing", "copy", "No such file or directory"},
                {"folder", "folder/inside", "Invalid argument"},
                {"folder", "alias/inside", "Invalid argument"}};
    for (const auto& row : rows) {
        EXPECT_EQ(why(files::copy(at(row.from), at(row.to))), row.error) << row.to;
        EXPECT_EQ(why(files::move(at(row.from), at(row.to))), row.error) << row.to;
    }
    EXPECT_EQ(below(""), whole);
    EXPECT_EQ(get("there"), "old");
    // A folder beside whose name only begins alike is somewhere else.
    EXPECT_TRUE(files::copy(at("folder"), at("folder2")));
    EXPECT_TRUE(files::move(at("folder/"), at("folder3/")));
    EXPECT_EQ(get("folder3/file"), "new");
    EXPECT_EQ(files::kindOf(at("folder")), Kind::none);

    put("folder3/second", "");
    int asked = 0;
    EXPECT_EQ(why(files::copy(at("folder3"), at("cut"), [&asked] { return ++asked < 3; })),
              "Operation canceled");
    EXPECT_EQ(below("cut"), std::vector<std::string>{"file"}) << "between entries";
}

TEST_F(Files, MoveBetweenFileSystems) {
    const ElsewhereFolder elsewhere;
    if (elsewhere.path.empty() || statusOf(elsewhere.path).st_dev == statusOf(root).st_dev) GTEST_SKIP();
    put("tree/inner/file", std::string(2 << 20, 'x'));
    put("there", "old");
    ASSERT_TRUE(files::createSymbolicLink(at("tree/link"), "inner"));
    const auto whole = below("tree");
    const std::string destination = elsewhere.path + "/tree";
    {
        const FullDisk full(1 << 20);
        EXPECT_EQ(why(files::move(at("tree"), destination)), "File too large");
    }
    int asked = 0;
    EXPECT_EQ(why(files::move(at("tree"), destination, [&asked] { return ++asked < 3; })),
              "Operation canceled");
    EXPECT_EQ(below("tree"), whole);
    EXPECT_TRUE(files::list(elsewhere.path)->empty());

    EXPECT_TRUE(files::move(at("tree"), destination));
    EXPECT_EQ(files::kindOf(at("tree")), Kind::none);
    EXPECT_EQ(*files::listBelow(destination), whole);
    EXPECT_EQ(why(files::move(destination, at("there"))), "File exists");
    EXPECT_EQ(get("there"), "old");
    EXPECT_EQ(files::kindOf(destination), Kind::folder);
}

TEST_F(Files, AtomicWriteLeavesTheOldOrTheNew) {
    put("settings", "old");
    ASSERT_TRUE(files::setPermissions(at("settings"), 0640));
    {
        const FullDisk full(1 << 10);
        EXPECT_EQ(why(files::write(at("settings"), std::string(1 << 16, 'x'), Atomically::yes)),
                  "File too large");
    }
    EXPECT_EQ(get("settings"), "old");
    EXPECT_EQ(below(""), std::vector<std::string>{"settings"});  // nothing left beside it

    EXPECT_TRUE(files::write(at("settings"), "new", Atomically::yes));
    EXPECT_EQ(get("settings"), "new");
    EXPECT_EQ(statusOf(at("settings")).st_mode & 07777u, 0640u);
    EXPECT_EQ(why(files::write(at("no/such/file"), "", Atomically::yes)), "No such file or directory");
    EXPECT_EQ(why(files::write(root, "", Atomically::yes)), "Is a directory");
    EXPECT_EQ(below(""), std::vector<std::string>{"settings"});
}

TEST_F(Files, AtomicWriteReplacesALink) {
    put("target", "target");
    ASSERT_TRUE(files::createSymbolicLink(at("link"), "target"));
    EXPECT_TRUE(files::write(at("link"), "written", Atomically::yes));
    EXPECT_EQ(files::kindOf(at("link")), Kind::file);
    EXPECT_EQ(get("target"), "target");
    ASSERT_TRUE(files::createSymbolicLink(at("through"), "target"));
    EXPECT_TRUE(files::write(at("through"), std::string("a\0b", 3), Atomically::no));
    EXPECT_EQ(get("target"), std::string("a\0b", 3));
}

TEST_F(Files, Resolved) {
    put("real/inner/file", "");
    ASSERT_TRUE(files::createSymbolicLink(at("link"), "real/./inner"));
    ASSERT_TRUE(files::createSymbolicLink(at("absolute"), at("link/..")));
    ASSERT_TRUE(files::createSymbolicLink(at("dangling"), "gone/place"));
    ASSERT_TRUE(files::createSymbolicLink(at("circle"), "circle"));
    const std::pair<std::string, std::optional<std::string>> rows[] = {
        {"/../..", "/"},
        {at("link/file"), at("real/inner/file")},
        {at("link/../../file"), at("file")},  // ".." counts from where the link leads
        {at("absolute/new//name"), at("real/new/name")},
        {at("dangling/x"), at("gone/place/x")},
        {at("missing/../link"), at("real/inner")},
        {at("circle/x"), std::nullopt},
        {"relative", std::nullopt},
    };
    for (const auto& [path, expected] : rows) EXPECT_EQ(files::resolved(path), expected) << path;
}

TEST_F(Files, OneHolderOfALock) {
    auto first = files::Lock::tryLock(at("lock"));
    ASSERT_TRUE(first);
    EXPECT_FALSE(files::Lock::tryLock(at("lock")));
    const files::Lock moved = std::move(*first);
    first.reset();
    EXPECT_FALSE(files::Lock::tryLock(at("lock")));
    EXPECT_TRUE(files::Lock::tryLock(at("other")));
}

}  // namespace
}  // namespace morvane
