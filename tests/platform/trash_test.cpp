#include "platform/trash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using testing::TestMachine;

class Trash : public ::testing::Test {
  protected:
    testing::TemporaryFolder folder;
    Folders folders;
    const std::string item = folder.path + "/apps/My Ga%me.app", files_ = folder.path + "/data/Trash/files/";
    void SetUp() override {
        folders.applicationData = folder.path + "/data";
        TestMachine::put(item + "/save", "precious");
    }
};

TEST_F(Trash, TakesWhatCanBePutBack) {
    const auto first = trash::take(item, folders);
    ASSERT_TRUE(first) << first.error().message();
    EXPECT_EQ(*first, files_ + "My Ga%me.app");
    EXPECT_EQ(TestMachine::get(*first + "/save"), "precious");
    EXPECT_FALSE(fs::exists(item));
    const std::string note = TestMachine::get(folder.path + "/data/Trash/info/My Ga%me.app.trashinfo");
    EXPECT_TRUE(
        note.starts_with("[Trash Info]\nPath=" + folder.path + "/apps/My%20Ga%25me.app\nDeletionDate=2"))
        << note;
    EXPECT_EQ(fs::status(folder.path + "/data/Trash").permissions(), fs::perms(0700));

    TestMachine::put(item + "/save", "second");
    EXPECT_EQ(trash::take(item, folders).value(), files_ + "My Ga%me 2.app");
    EXPECT_EQ(TestMachine::get(files_ + "My Ga%me.app/save"), "precious");

    const std::string link = folder.path + "/apps/link.app", outside = folder.path + "/outside";
    TestMachine::put(outside + "/kept", "");
    fs::create_directory_symlink(outside, link);
    EXPECT_EQ(files::kindOf(trash::take(link, folders).value()), files::Kind::link);
    EXPECT_TRUE(fs::exists(outside + "/kept"));
    const std::string longName = folder.path + "/apps/" + std::string(251, 'x') + ".app";
    fs::create_directory(longName);
    EXPECT_TRUE(trash::take(longName, folders));
}

TEST_F(Trash, LeavesWhatItCannotTake) {
    EXPECT_FALSE(trash::take(folder.path + "/apps/none.app", folders));
    EXPECT_TRUE(!fs::exists(folder.path + "/data/Trash/info") ||
                fs::is_empty(folder.path + "/data/Trash/info"));
    fs::create_directories(folder.path + "/data");
    fs::create_directories(folder.path + "/foreign");
    fs::create_directory_symlink(folder.path + "/foreign", folder.path + "/data/Trash");
    EXPECT_FALSE(trash::take(item, folders));
    EXPECT_TRUE(fs::is_empty(folder.path + "/foreign"));
    EXPECT_EQ(TestMachine::get(item + "/save"), "precious");
}

TEST_F(Trash, OfAnotherFileSystemLiesAtItsTop) {
    struct stat here {
    }, there{};
    const std::string top = "/dev/shm", other = top + "/morvane-trash-test.app";
    if (::stat(top.c_str(), &there) != 0 || ::stat(folder.path.c_str(), &here) != 0 ||
        here.st_dev == there.st_dev)
        GTEST_SKIP() << "one file system only";
    const std::string trash = top + "/.Trash-" + std::to_string(::geteuid());
    const bool wasThere = fs::exists(trash);
    TestMachine::put(other + "/save", "precious");
    const auto taken = trash::take(other, folders);
    ASSERT_TRUE(taken) << taken.error().message();
    EXPECT_EQ(files::parent(*taken), trash + "/files");
    const std::string note = trash + "/info/" + files::lastComponent(*taken) + ".trashinfo";
    EXPECT_NE(TestMachine::get(note).find("Path=morvane-trash-test.app\n"), std::string::npos);
    fs::remove_all(*taken);
    fs::remove(note);
    if (!wasThere) fs::remove_all(trash);
}

}  // namespace
}  // namespace morvane
