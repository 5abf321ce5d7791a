#include "library/saved_games.h"

#include <filesystem>

#include "foundation/text.h"
#include "library/apps_questions.h"
#include "library/library_machine.h"
#include "platform/process.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using saved_games::Reason;
using Lines = std::vector<std::string>;

class SavedGames : public testing::LibraryMachine {
  protected:
    SavedGames() {
        for (const Wrapper* wrapper : {&game, &again}) {
            makeWrapper(wrapper->path());
            putArchive(wrapper->path() + "/mv_desc.ckii", {{"ID", 7}});
            fs::create_directories(users(*wrapper) + "Public");
        }
        put(users(game) + "anna/Saved Games/Half Life/one.sav", "one");
        put(users(game) + "anna/AppData/Roaming/Half Life/keys.cfg", "w a s d");
        put(users(game) + "anna/AppData/Local/Temp/big", "passes");
        put(users(game) + "anna/AppData/Roaming/Microsoft/Windows/menu", "Windows' own");
        put(folder.path + "/outside/diary", "private");
        fs::create_directory_symlink(folder.path + "/outside", users(game) + "anna/Documents");
    }
    static std::string users(const Wrapper& wrapper) { return wrapper.driveC() + "/users/"; }
    saved_games::Backup backUp(const Wrapper& wrapper, Reason reason = Reason::asked) {
        std::optional<Result<saved_games::Backup>> made;
        onWorker([&] { made = saved_games::backUp(wrapper, reason); });
        EXPECT_TRUE(*made) << made->error().message();
        return made->value_or(saved_games::Backup());
    }
    std::string restore(const saved_games::Backup& backup, const Wrapper& wrapper) {
        std::string failure;
        onWorker([&] {
            const auto restored = saved_games::restore(backup, wrapper);
            if (!restored) failure = restored.error().message();
        });
        return failure;
    }
    /// A backup as somebody else would make it.
    saved_games::Backup archiveOf(const std::string& tree, Lines options = {}) const {
        const std::string path = folder.path + "/foreign.tar.gz";
        options.insert(options.begin(), {"-czf", path, "-C", tree});
        options.emplace_back(".");
        EXPECT_TRUE(processes::run({.program = "/usr/bin/tar", .arguments = options})->ending.succeeded());
        return {.path = path};
    }

    const Wrapper game{applications + "Half Life.app"}, again{applications + "Again.app"};
};

TEST_F(SavedGames, GoIntoANewWrapperOfTheSameGame) {
    EXPECT_EQ(saved_games::foldersOf(game), (Lines{"anna/AppData", "anna/Saved Games"}));
    const auto backup = backUp(game);
    fs::remove_all(game.path());
    ASSERT_EQ(saved_games::backupsOf(again).size(), 1U);
    EXPECT_NE(restore(backup, again), "") << "nobody there to whom they could belong";
    // Another user name, and a game that has been played there.
    put(users(again) + "ben/Saved Games/Half Life/one.sav", "newer");
    put(users(again) + "ben/Saved Games/Half Life/two.sav", "two");
    EXPECT_EQ(restore(backup, again), "");
    EXPECT_EQ(get(users(again) + "ben/Saved Games/Half Life/one.sav"), "one");
    EXPECT_EQ(get(users(again) + "ben/Saved Games/Half Life/two.sav"), "two");
    EXPECT_EQ(get(users(again) + "ben/AppData/Roaming/Half Life/keys.cfg"), "w a s d");
    EXPECT_FALSE(fs::exists(users(again) + "ben/AppData/Local/Temp"));
    EXPECT_FALSE(fs::exists(users(again) + "ben/Documents")) << "what lies outside is not the wrapper's";
    // What was there is kept.
    const auto backups = saved_games::backupsOf(again);
    ASSERT_EQ(backups.size(), 2U);
    EXPECT_EQ(backups.front().reason == Reason::restore ? restore(backups.front(), again) : "none", "");
    EXPECT_EQ(get(users(again) + "ben/Saved Games/Half Life/one.sav"), "newer");
}

TEST_F(SavedGames, OfUpdatesTheLastThreeAreKept) {
    const auto asked = backUp(game);
    for (int times = 0; times < 5; ++times) backUp(game, Reason::update);
    const auto backups = saved_games::backupsOf(game);
    EXPECT_EQ(backups.size(), 4U);
    EXPECT_TRUE(fs::exists(asked.path));
    EXPECT_EQ(restore(backups.front(), game), "");
}

TEST_F(SavedGames, NothingOfABackupReachesWhatIsNoSavedGame) {
    const std::string tree = folder.path + "/tree";
    const auto kept = [&](const char* when) {
        EXPECT_EQ(get(folder.path + "/outside/diary"), "private") << when;
        EXPECT_EQ(get(users(game) + "anna/Saved Games/Half Life/one.sav"), "one") << when;
    };
    put(tree + "/anna/Documents/diary", "overwritten");
    EXPECT_NE(restore(archiveOf(tree), game), "");
    kept("behind a link of the wrapper's");
    fs::remove_all(tree);
    for (const char* path : {"/anna/Music/x", "/anna/x", "/x"}) {
        put(tree + "/anna/Saved Games/Half Life/one.sav", "changed");
        put(tree + path, "x");
        EXPECT_NE(restore(archiveOf(tree), game), "") << path;
        kept(path);
        fs::remove_all(tree);
    }
    put(tree + "/anna/Saved Games/Half Life/one.sav", "changed");
    EXPECT_NE(restore(archiveOf(tree, {"--transform=s,one.sav,../../../../../one.sav,"}), game), "");
    fs::create_directory_symlink(folder.path + "/outside", tree + "/anna/AppData");
    EXPECT_EQ(restore(archiveOf(tree), game), "") << "a link is left out";
    EXPECT_EQ(get(users(game) + "anna/AppData/Roaming/Half Life/keys.cfg"), "w a s d");
    put(folder.path + "/half.tar.gz", get(archiveOf(tree).path).substr(0, 60));
    EXPECT_NE(restore({.path = folder.path + "/half.tar.gz"}, game), "");
}

TEST_F(SavedGames, ARemovalOffersABackupAndEndsWithoutOne) {
    const auto remove = [&](const char* answer, const char* failure) {
        bool removed = false;
        ui.expect("Are you sure that you want to remove that app permanently").answer("Yes");
        ui.expect(game.name() + " holds saved games").defaultIs("Yes").answer(answer);
        if (failure != nullptr) ui.expectError(failure);
        apps_questions::removeFrom(RemovedFrom::diskPermanently, game.path(),
                                   [&](const Removal&) { removed = true; });
        onWorker([this] { machine->workQueues.joinAll(); });
        machine->mainQueue.drain();
        return removed;
    };
    scriptProgram("tar", "exit 2");
    EXPECT_FALSE(remove("Yes", ""));
    EXPECT_TRUE(fs::exists(game.path())) << "what was to be kept could not be";
    EXPECT_TRUE(remove("No", nullptr));
    EXPECT_FALSE(fs::exists(game.path()));
}

}  // namespace
}  // namespace morvane
