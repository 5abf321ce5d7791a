#include "platform/private_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/test_machine.h"

namespace morvane::files {
namespace {

namespace fs = std::filesystem;

class PrivateFolders : public ::testing::Test {
  public:
    const testing::TemporaryFolder folder;
    const std::string own = folder.path + "/cache/own";

    static PrivateFolder made(Result<PrivateFolder> result) {
        if (!result) throw std::runtime_error(result.error().message());
        return *std::move(result);
    }
    static fs::perms modeOf(const std::string& path) { return fs::status(path).permissions(); }
};

TEST_F(PrivateFolders, AreThisUsersAloneAndGoAtTheEnd) {
    fs::create_directories(own);
    fs::permissions(own, fs::perms(0777));
    {
        const PrivateFolder first = made(PrivateFolder::make(own)), second = made(PrivateFolder::make(own));
        EXPECT_NE(first.path(), second.path());
        EXPECT_EQ(modeOf(own), fs::perms(0700));
        EXPECT_EQ(modeOf(first.path()), fs::perms(0700));
        fs::create_directories(first.path() + "/a/b");
    }
    EXPECT_TRUE(fs::is_empty(own));
}

TEST_F(PrivateFolders, LieOnTheFileSystemOfWhatIsMadeThere) {
    struct stat here {
    }, there{};
    const std::string elsewhere = "/dev/shm";
    if (::stat(elsewhere.c_str(), &there) != 0 || ::stat(folder.path.c_str(), &here) != 0 ||
        there.st_dev == here.st_dev)
        GTEST_SKIP() << "one file system only";
    EXPECT_EQ(parent(made(PrivateFolder::makeFor(folder.path, own)).path()), own);
    std::string path;
    {
        const PrivateFolder beside = made(PrivateFolder::makeFor(elsewhere, own));
        path = beside.path();
        EXPECT_EQ(parent(path), elsewhere);
        EXPECT_TRUE(lastComponent(path).starts_with("."));
        EXPECT_TRUE(PrivateFolder::isOne(lastComponent(path)));
        EXPECT_EQ(modeOf(path), fs::perms(0700));
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(PrivateFolders, AreNotMadeInWhatIsNotOurs) {
    fs::create_directories(folder.path + "/cache");
    std::vector<std::function<void()>> obstacles{
        [&] { fs::create_directory_symlink(folder.path, own); },
        [&] { testing::TestMachine::put(own, "a file"); },
    };
    if (::geteuid() == 0) {
        obstacles.emplace_back([&] {
            fs::create_directory(own);
            ASSERT_EQ(::chown(own.c_str(), 12345, 12345), 0);
        });
    }
    for (const auto& put : obstacles) {
        put();
        const auto result = PrivateFolder::make(own);
        ASSERT_FALSE(result);
        EXPECT_TRUE(result.error().message().starts_with(own + ": ")) << result.error().message();
        fs::remove(own);
    }
}

TEST_F(PrivateFolders, LeftoversGoAndWhatIsUsedOrKeptStays) {
    const PrivateFolder used = made(PrivateFolder::make(own));
    PrivateFolder wanted = made(PrivateFolder::make(own));
    testing::TestMachine::put(wanted.path() + "/game", "x");
    const std::string kept = *wanted.keep();
    // As a killed process leaves it: locked by nobody.
    const std::string name = lastComponent(used.path());
    const std::string leftover = own + "/" + name.substr(0, name.size() - 6) + "left!!";
    testing::TestMachine::put(leftover + "/a/b", "x");
    fs::create_directory_symlink(kept, own + "/" + name.substr(0, name.size() - 6) + "link!!");
    PrivateFolder::removeLeftovers(own);
    EXPECT_TRUE(fs::exists(used.path()));
    EXPECT_TRUE(fs::exists(kept + "/game"));
    EXPECT_FALSE(fs::exists(leftover));
}

}  // namespace
}  // namespace morvane::files
