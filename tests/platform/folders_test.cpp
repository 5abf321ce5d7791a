#include "platform/folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "platform/files.h"
#include "platform/older_library.h"
#include "platform/user_folders.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using testing::TestMachine;

/// One variable of the environment, put back at the end; null: unset.
class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name), before_(environmentVariable(name)) {
        value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~Variable() { before_.empty() ? ::unsetenv(name_) : ::setenv(name_, before_.c_str(), 1); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* const name_;
    const std::string before_;
};

TEST(Folders, AHomeOfItsOwnIsNeverTheRealOne) {
    const Variable home("HOME", "/real"), resources("MORVANE_RESOURCES", "share/"),
        cache("XDG_CACHE_HOME", "/cache"), data("XDG_DATA_HOME", "/data"), config("XDG_CONFIG_HOME", "/none");
    const std::string here = fs::current_path().string();
    const struct {
        const char* named;
        std::string home;
    } rows[] = {{"/own/", "/own"}, {"own", here + "/own"}, {"./a/../own/", here + "/own"}};
    for (const auto& row : rows) {
        const Variable own("MORVANE_HOME", row.named);
        const Folders folders = Folders::fromEnvironment();
        for (const std::string& folder :
             {folders.home, folders.library, folders.applications, folders.temporary, folders.verbsCache,
              folders.applicationData, folders.desktop, folders.downloads}) {
            EXPECT_TRUE((folder + "/").starts_with(row.home + "/")) << folder;
        }
        EXPECT_EQ(folders.library, row.home) << row.named;
        EXPECT_EQ(folders.programs, here + "/share/programs");
    }
}

TEST(Folders, NothingOfOursLiesInTheHomeFolderItself) {
    const struct {
        const char *data, *cache, *library, *temporary, *verbs;
    } rows[] = {
        {nullptr, nullptr, "/real/.local/share/morvane", "/real/.cache/morvane/passing",
         "/real/.cache/winetricks"},
        {"/d/", "/c/", "/d/morvane", "/c/morvane/passing", "/c/winetricks"},
        {"d", "./c", "/real/.local/share/morvane", "/real/.cache/morvane/passing", "/real/.cache/winetricks"},
        {"", "", "/real/.local/share/morvane", "/real/.cache/morvane/passing", "/real/.cache/winetricks"},
    };
    const Variable own("MORVANE_HOME", nullptr), home("HOME", "/real/"), config("XDG_CONFIG_HOME", "/none");
    for (const auto& row : rows) {
        const Variable data("XDG_DATA_HOME", row.data), cache("XDG_CACHE_HOME", row.cache);
        const Folders folders = Folders::fromEnvironment();
        EXPECT_EQ(folders.library, row.library);
        EXPECT_EQ(folders.temporary, row.temporary);
        EXPECT_EQ(folders.verbsCache, row.verbs);
        EXPECT_EQ(folders.desktop, "/real/Desktop");
    }
}

TEST(Folders, TheHomeOfAnotherUserIsNotUsed) {
    const TemporaryFolder folder;
    const Variable own("MORVANE_HOME", nullptr);
    {
        const Variable home("HOME", folder.path.c_str());
        EXPECT_EQ(user_folders::home(), folder.path);
        if (::geteuid() == 0) {
            ASSERT_EQ(::chown(folder.path.c_str(), 12345, 12345), 0);
            EXPECT_NE(user_folders::home(), folder.path);
        }
    }
    const Variable home("HOME", "relative");
    EXPECT_TRUE(user_folders::home().starts_with('/'));
}

TEST(Folders, UserDirsFileGivesTheUsersOwnNames) {
    const struct {
        const char *text, *folder;
    } rows[] = {
        {"XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n", "/h/Schreibtisch"},
        {"# XDG_DESKTOP_DIR=\"/no\"\n  XDG_DESKTOP_DIR = \"/mnt/My \\\"Desk\\\"/\"  # mine",
         "/mnt/My \"Desk\""},
        {"XDG_DESKTOP_DIR=\"$HOME/a\"\nXDG_DESKTOP_DIR=\"$HOME/b\"\n", "/h/b"},
        {"XDG_DESKTOP_DIR=\"$HOME/a\"\nXDG_DESKTOP_DIR=\"relative\"\n", "/h/a"},
        {"XDG_DESKTOP_DIR=\"$HOME/\"\n", "/h"},
        {"XDG_DESKTOP_DIR=\"$HOME\"\n", "/h"},
        {"XDG_DESKTOP_DIR=\"$HOMER/a\"\n", ""},
        {"XDG_DESKTOP_DIR=\"$HOME/unended\n", ""},
        {"XDG_DESKTOP_DIR=$HOME/unquoted\n", ""},
        {"XDG_DOWNLOAD_DIR=\"$HOME/a\"\n", ""},
        {"", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(user_folders::entryFor("DESKTOP", "/h", row.text), row.folder);

    const TemporaryFolder folder;
    TestMachine::put(folder.path + "/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Geladen\"\n");
    const Variable own("MORVANE_HOME", nullptr), home("HOME", "/real"),
        config("XDG_CONFIG_HOME", folder.path.c_str());
    EXPECT_EQ(Folders::fromEnvironment().downloads, "/real/Geladen");
    EXPECT_EQ(Folders::fromEnvironment().desktop, "/real/Desktop");
}

class OlderLibrary : public ::testing::Test {
  protected:
    TemporaryFolder folder;
    const std::string older = folder.path + "/home/Library", library = folder.path + "/data/morvane/Library",
                      passing = folder.path + "/data/morvane/.Library-arriving";
    Folders folders;

    void SetUp() override {
        folders.home = folder.path + "/home";
        folders.library = folder.path + "/data/morvane";
        fs::create_directories(folders.home);
    }
    void putOlder() const {
        TestMachine::put(older + "/Preferences/app.morvane.plist", "settings");
        TestMachine::put(older + "/Application Support/Caskery/Engines/e", "engine");
        TestMachine::put(older + "/Logs/Morvane/morvane.log", "log");
    }
    void expectTaken() const {
        EXPECT_EQ(TestMachine::get(library + "/Preferences/app.morvane.plist"), "settings");
        EXPECT_EQ(TestMachine::get(library + "/Application Support/Caskery/Engines/e"), "engine");
        EXPECT_FALSE(fs::exists(passing));
    }
};

TEST_F(OlderLibrary, IsTakenOverOnce) {
    putOlder();
    EXPECT_EQ(settleLibrary(folders),
              std::vector<std::string>{"What Morvane kept in " + older + " lies in " + library + " now."});
    expectTaken();
    EXPECT_FALSE(fs::exists(older));
    // One that comes later is somebody's own.
    TestMachine::put(older + "/Preferences/app.morvane.plist", "later");
    EXPECT_TRUE(settleLibrary(folders).empty());
    EXPECT_TRUE(fs::exists(older));
    expectTaken();
}

TEST_F(OlderLibrary, LeavesWhatIsNotOurs) {
    TestMachine::put(older + "/Books/a.epub", "book");
    TestMachine::put(older + "/Preferences/other.plist", "other");
    EXPECT_TRUE(settleLibrary(folders).empty());
    EXPECT_FALSE(fs::exists(folders.library));
    putOlder();
    EXPECT_EQ(settleLibrary(folders).size(), 1U);
    expectTaken();
    EXPECT_EQ(TestMachine::get(older + "/Books/a.epub"), "book");
    EXPECT_EQ(TestMachine::get(older + "/Preferences/other.plist"), "other");
    EXPECT_FALSE(fs::exists(older + "/Logs"));
}

TEST_F(OlderLibrary, GoesOnAfterAKill) {
    putOlder();
    fs::create_directories(passing + "/Preferences");
    fs::rename(older + "/Preferences/app.morvane.plist", passing + "/Preferences/app.morvane.plist");
    EXPECT_EQ(settleLibrary(folders).size(), 1U);
    expectTaken();
    EXPECT_FALSE(fs::exists(older));
}

TEST_F(OlderLibrary, StaysInUseWhereItCannotBeMoved) {
    putOlder();
    TestMachine::put(older + "/Books/a.epub", "book");
    TestMachine::put(folder.path + "/data", "a file in the way");
    const auto lines = settleLibrary(folders);
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines.front().starts_with("What Morvane keeps in " + older + " could not be moved"));
    EXPECT_EQ(folders.library, folders.home);
    EXPECT_EQ(TestMachine::get(older + "/Preferences/app.morvane.plist"), "settings");
}

}  // namespace
}  // namespace morvane
