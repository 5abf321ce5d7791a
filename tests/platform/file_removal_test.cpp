#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "foundation/settings.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "support/results.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using files::Kind;
using testing::TemporaryFolder;
using testing::TestMachine;
using testing::why;

/// Everything below a folder: kind, permissions, place on the disk, and contents or destination.
std::map<std::string, std::string> snapshot(const std::string& folder) {
    std::map<std::string, std::string> seen;
    const auto names = files::listBelow(folder);
    EXPECT_TRUE(names) << folder;
    for (const std::string& name : *names) {
        const std::string path = files::join(folder, name);
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        std::string what = std::to_string(status.st_mode) + " " + std::to_string(status.st_ino) + " ";
        if (S_ISREG(status.st_mode)) what += files::read(path).value_or("(unreadable)");
        if (S_ISLNK(status.st_mode)) what += files::destinationOfLink(path).value_or("(unreadable)");
        seen[name] = what;
    }
    return seen;
}

/// Grows folders, files, hard links, pipes and links to everywhere: up, out, in circles and into nothing.
class Forest {
  public:
    Forest(std::string root, unsigned seed) : root_(std::move(root)), random_(seed) {
        folders_ = {root_ + "/outside", root_ + "/tree"};
        for (const std::string& folder : folders_) EXPECT_TRUE(files::createFolder(folder, true));
        const int entries = 5 + below(40);
        for (int entry = 0; entry < entries; ++entry) grow(std::to_string(entry));
    }

    /// Folders that may be removed: those of the tree.
    [[nodiscard]] std::string anyFolder() {
        for (;;) {
            const std::string& folder = any(folders_);
            if (folder.starts_with(root_ + "/tree")) return folder;
        }
    }
    [[nodiscard]] int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    [[nodiscard]] const std::string& any(const std::vector<std::string>& paths) {
        return paths[random_() % paths.size()];
    }

  private:
    void grow(const std::string& name) {
        static constexpr std::array names{"", " blank", "\xC3\xA4", "\\", "\n", "..."};
        const std::string path = files::join(any(folders_), name + names.at(random_() % names.size()));
        switch (below(6)) {
            case 0:
            case 1:
                ASSERT_TRUE(files::createFolder(path, false));
                folders_.push_back(path);
                break;
            case 2:
                ASSERT_TRUE(files::write(path, path, files::Atomically::no));
                files_.push_back(path);
                break;
            case 3:
                if (files_.empty()) break;
                ASSERT_EQ(::link(any(files_).c_str(), path.c_str()), 0);
                break;
            case 4:
                ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
                break;
            default:
                ASSERT_TRUE(files::createSymbolicLink(path, destination()));
        }
    }

    std::string destination() {
        static const std::vector<std::string> fixed{"..", "../..",   "../../outside", ".",
                                                    "/",  "missing", "//proc"};
        return below(2) == 0 ? any(folders_) : any(fixed);
    }

    std::string root_;
    std::mt19937 random_;
    std::vector<std::string> folders_, files_;
};

TEST(RandomTrees, LoseTheFolderThatIsRemovedAndNothingElse) {
    constexpr unsigned trees = 400;
    for (unsigned seed = 1; seed <= trees; ++seed) {
        SCOPED_TRACE("tree " + std::to_string(seed));
        const TemporaryFolder folder;
        Forest forest(folder.path, seed);
        const std::string removed = forest.anyFolder();
        auto expected = snapshot(folder.path);
        const std::string name = removed.substr(folder.path.size() + 1);
        std::erase_if(expected, [&](const auto& entry) {
            return entry.first == name || entry.first.starts_with(name + "/");
        });
        ASSERT_TRUE(files::remove(removed));
        ASSERT_EQ(snapshot(folder.path), expected);
    }
}

TEST(RandomTrees, AreRemovedWhileFoldersTurnIntoLinksToOutside) {
    constexpr unsigned trees = 60;
    for (unsigned seed = 1; seed <= trees; ++seed) {
        SCOPED_TRACE("tree " + std::to_string(seed));
        const TemporaryFolder folder;
        const std::string tree = folder.path + "/tree", outside = folder.path + "/outside";
        for (int number = 0; number < 40; ++number) {
            const std::string below = "/" + std::to_string(number) + "/inner/";
            TestMachine::put(tree + below + "file", "game");
            TestMachine::put(outside + "/inner/" + std::to_string(number), "precious");
        }
        const auto expected = snapshot(outside);
        std::atomic<bool> ended = false;
        std::thread mischief([&] {
            std::mt19937 random(seed);
            while (!ended) {
                const std::string place = tree + "/" + std::to_string(random() % 40);
                // The name is a link to the outside for a moment, and then the folder again.
                if (::rename(place.c_str(), (place + "x").c_str()) != 0) continue;
                static_cast<void>(::symlink(outside.c_str(), place.c_str()));
                static_cast<void>(::unlink(place.c_str()));
                static_cast<void>(::rename((place + "x").c_str(), place.c_str()));
            }
        });
        // It may give up, because the folders do not stay; what is outside has to.
        static_cast<void>(files::remove(tree));
        ended = true;
        mischief.join();
        ASSERT_EQ(snapshot(outside), expected);
    }
}

class ProtectedFolders : public TestMachine {};

TEST_F(ProtectedFolders, AreNeverRemoved) {
    put(home + "/.profile", "mine");
    for (const std::string& place : {machine->folders.applications, machine->folders.volumes + "/DISC",
                                     machine->folders.desktop, machine->folders.downloads}) {
        put(place + "/save", "precious");
    }
    // The user's own home, while another one is in use.
    const std::string ownHome = folder.path + "/users/somebody";
    put(ownHome + "/save", "precious");
    const std::string usual = environmentVariable("HOME");
    ::setenv("HOME", ownHome.c_str(), 1);
    const std::string link = folder.path + "/link-to-home";
    ASSERT_TRUE(files::createSymbolicLink(link, home));
    const auto before = snapshot(folder.path);
    for (const std::string& place :
         {home, home + "/", home + "/.", folder.path, machine->folders.applications, machine->folders.volumes,
          machine->folders.volumes + "/DISC",
          link + "/" + files::lastComponent(machine->folders.applications), machine->folders.desktop,
          machine->folders.downloads, ownHome, files::parent(ownHome)}) {
        EXPECT_EQ(why(files::remove(place)), "Device or resource busy") << place;
    }
    ::setenv("HOME", usual.c_str(), 1);
    EXPECT_EQ(snapshot(folder.path), before);
    // A link to one of them, and what lies in them, is nobody's refuge.
    EXPECT_TRUE(files::remove(link));
    EXPECT_TRUE(files::remove(machine->folders.desktop + "/save"));
    put(machine->folders.applications + "/Game.app/file", "");
    EXPECT_TRUE(files::remove(machine->folders.applications + "/Game.app"));
}

TEST_F(ProtectedFolders, AppsFoldersOfTheUserAreAmongThem) {
    const std::string games = folder.path + "/disk/My Games", single = folder.path + "/older/Games";
    for (const std::string& place : {games, single}) put(place + "/Game.app/save", "precious");
    const auto before = snapshot(folder.path + "/disk"), beforeSingle = snapshot(folder.path + "/older");
    const auto busy = "Device or resource busy";
    ASSERT_TRUE(settings::store(settings::mainFolder, Array{home + "/Applications/", games + "/"}));
    for (const std::string& place : {games, games + "/", files::parent(games)})
        EXPECT_EQ(why(files::remove(place)), busy) << place;
    EXPECT_EQ(snapshot(folder.path + "/disk"), before);
    // The older form of the setting.
    ASSERT_TRUE(settings::store(settings::mainFolder, single));
    for (const std::string& place : {single, files::parent(single)})
        EXPECT_EQ(why(files::remove(place)), busy) << place;
    EXPECT_EQ(snapshot(folder.path + "/older"), beforeSingle);
    EXPECT_TRUE(files::remove(single + "/Game.app"));
    EXPECT_TRUE(files::remove(games)) << "no apps folder any more";
}
TEST_F(ProtectedFolders, AFolderWithAMountLosesNothing) {
    const std::string place = home + "/tree/with blank";
    put(home + "/tree/a game", "game");
    put(place + "/.keep", "");
    if (::mount("none", place.c_str(), "tmpfs", 0, nullptr) != 0) GTEST_SKIP() << "this user mounts nothing";
    const auto removed = files::remove(home + "/tree");
    const Kind game = files::kindOf(home + "/tree/a game");
    const auto removedMount = files::remove(place);
    ASSERT_EQ(::umount(place.c_str()), 0);
    EXPECT_EQ(why(removed), "Device or resource busy");
    EXPECT_EQ(why(removedMount), "Device or resource busy");
    EXPECT_EQ(game, Kind::file);
    EXPECT_TRUE(files::remove(home + "/tree"));
}

}  // namespace
}  // namespace morvane
