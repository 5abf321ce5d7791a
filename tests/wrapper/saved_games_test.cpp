#include "wrapper/saved_games.h"

#include <algorithm>
#include <filesystem>

#include "platform/files.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class SavedGames : public testing::TestMachine {
  protected:
    SavedGames() {
        put(users + "me/Documents/Game/one.sav", "old");
        put(users + "me/AppData/Roaming/Studio/two\nlines.sav", "two");
        put(users + "me/AppData/Local/Temp/passing", "x");
        put(users + "me/AppData/Roaming/Microsoft/Windows/menu.lnk", "x");
        put(outside + "/one.sav", "mine");
        fs::create_directory_symlink(outside, users + "me/Saved Games");
        fs::create_directory_symlink(outside, users + "me/Documents/Game/out");
    }
    [[nodiscard]] Result<> restored(const Wrapper& wrapper, const std::string& archive) {
        Result<> result;
        onWorker([&] { result = saved_games::restore(wrapper, archive); });
        return result;
    }
    [[nodiscard]] std::string backedUp(saved_games::Occasion occasion = saved_games::Occasion::asked) {
        std::string path;
        onWorker([&] {
            const auto backup = saved_games::backUp(game, occasion);
            path = backup && *backup ? (*backup)->path : "";
        });
        return path;
    }

    const Wrapper game{home + "/Applications/Game.app"};
    const std::string users = game.driveC() + "/users/";
    const std::string outside = home + "/Documents";
};

TEST_F(SavedGames, AreTheFilesOfTheUsersAndNothingBehindLinks) {
    const auto saves = saved_games::savesOf(game);
    EXPECT_EQ(saves.files, (Names{"me/AppData/Roaming/Studio/two\nlines.sav", "me/Documents/Game/one.sav"}));
    EXPECT_EQ(saves.behind, (Names{"me/Documents/Game/out", "me/Saved Games"}));
    // The drive of another wrapper is not this one's.
    const Wrapper linked(home + "/Applications/Linked.app");
    fs::create_directories(linked.prefix());
    fs::create_directory_symlink(game.driveC(), linked.driveC());
    EXPECT_FALSE(saved_games::hasAny(linked));
}

TEST_F(SavedGames, ComeBackInANewWrapperOfAnotherUser) {
    const std::string archive = backedUp();
    ASSERT_NE(archive, "");
    fs::remove_all(game.path());
    put(users + "you/Documents/Game/three.sav", "three");
    ASSERT_TRUE(restored(game, archive));
    EXPECT_EQ(get(users + "you/Documents/Game/one.sav"), "old");
    EXPECT_EQ(get(users + "you/Documents/Game/three.sav"), "three");
    EXPECT_EQ(get(users + "you/AppData/Roaming/Studio/two\nlines.sav"), "two");
    EXPECT_FALSE(fs::exists(users + "me"));
    EXPECT_EQ(get(outside + "/one.sav"), "mine");
}

TEST_F(SavedGames, ThatAreNewerAreReplacedOnlyAfterAQuestionAndKept) {
    const std::string archive = backedUp(), save = users + "me/Documents/Game/one.sav";
    put(save, "new");
    fs::last_write_time(save, fs::last_write_time(save) + std::chrono::hours(1));
    for (const auto& [answer, then] : {std::pair("No", "new"), std::pair("Yes", "old")}) {
        ui.expect("Game has saved games that are newer")
            .titleIs("Saved Games")
            .defaultIs("No")
            .answer(answer);
        EXPECT_EQ(restored(game, archive).has_value(), then == std::string("old"));
        EXPECT_EQ(get(save), then);
    }
    const auto backups = saved_games::backupsFor(game);
    ASSERT_EQ(backups.size(), 2U);
    const auto& kept = backups[0].occasion == saved_games::Occasion::restore ? backups[0] : backups[1];
    ASSERT_TRUE(restored(game, kept.path));
    EXPECT_EQ(get(save), "new");
}

TEST_F(SavedGames, OfTheLastThreeUpdatesAreKeptAndAllThatWereAskedFor) {
    const std::string asked = backedUp();
    Names made;
    for (int update = 0; update < 5; ++update) made.push_back(backedUp(saved_games::Occasion::update));
    Names left;
    for (const auto& backup : saved_games::backupsFor(game)) left.push_back(backup.path);
    std::ranges::sort(left);
    Names expected{asked, made[2], made[3], made[4]};
    std::ranges::sort(expected);
    EXPECT_EQ(left, expected);
}

TEST_F(SavedGames, AreNotRestoredFromAnythingElse) {
    const std::string packed = folder.path + "/packed", archive = folder.path + "/strange.tar.gz";
    put(packed + "/users/me/Documents/Game/one.sav", "hostile");
    put(packed + "/users/me/Desktop/x", "hostile");
    put(packed + "/users/me/AppData/Roaming/Microsoft/Windows/x.lnk", "hostile");
    put(packed + "/users/me/Saved Games/one.sav", "hostile");
    put(packed + "/etc/x", "hostile");
    put(folder.path + "/x", "hostile");
    fs::create_directory_symlink(outside, packed + "/out");
    const Names rows[] = {
        {"users/me/Desktop/x"},
        {"users/me/AppData/Roaming/Microsoft/Windows/x.lnk"},
        {"users/me/Saved Games/one.sav"},
        {"etc/x"},
        {"-P", "../x"},
        {"-P", packed + "/etc/x"},
        {"--transform=s,^out$,users/me/Documents/evil,", "--transform=s,^etc,users/me/Documents/evil,", "out",
         "etc/x"},
        {"users/me/Documents/Game/one.sav", "etc/x"},
        {"--transform=s,^users/me,users/../../me,", "-P", "users/me/Documents/Game/one.sav"},
    };
    for (const Names& row : rows) {
        Names command{"/bin/tar", "-czf", archive};
        command.insert(command.end(), row.begin(), row.end());
        testing::runTool(packed, command);
        EXPECT_FALSE(restored(game, archive)) << row.back();
        EXPECT_EQ(get(users + "me/Documents/Game/one.sav"), "old") << row.back();
        EXPECT_EQ(get(outside + "/one.sav"), "mine") << row.back();
        EXPECT_EQ(files::list(outside)->size(), 1U) << row.back();
        EXPECT_FALSE(fs::exists(users + "me/Desktop")) << row.back();
        EXPECT_FALSE(fs::exists(users + "me/AppData/Roaming/Microsoft/Windows/x.lnk")) << row.back();
    }
    put(archive, "no archive");
    EXPECT_FALSE(restored(game, archive));
    EXPECT_TRUE(restored(game, backedUp())) << "what is as old is no question";
}

}  // namespace
}  // namespace morvane
