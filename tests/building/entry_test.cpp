#include <atomic>
#include <thread>

#include "building/archives.h"
#include "building/building_machine.h"
#include "building/port_checks.h"
#include "foundation/settings.h"
#include "wrapper/saved_games.h"

namespace morvane {
namespace {

using testing::FakeWrapper;
using namespace std::chrono_literals;

constexpr const char* twoWrappers = "You can't install two wrappers at the same time!";
constexpr const char* cancelled = "Cancelled: User requested wrapper creation termination";
constexpr const char* requirements =
    "That port has some requirements that must be met in order to install that application correctly. Do you "
    "have all the items from that list?\n\n";
constexpr const char* notMet = "Get all the items from the list before installing that port!";
constexpr const char* foreign =
    "That port wasn't downloaded directly from our server. It might contain download links";

class Entry : public testing::BuildingMachine {
  protected:
    Entry() { putSharedVerbScript(); }
    /// A CKI file of a game that the published master wrapper's prefix holds.
    std::string game() {
        return cki(
            {{"Engine", "CK9Wine3.0"},
             {"EXEs", Array{Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}}}}});
    }
    /// A master wrapper whose prefix holds the game, and the engine.
    void publish(FakeWrapper master = {}) {
        master.onPrefixCreate +=
            "\nmkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
            "echo MZ > \"$wrapper/Contents/Resources/drive_c/Game/game.exe\"\n";
        testing::publishMasterWrapper(site, master);
        testing::publishEngines(site, {"CK9Wine3.0"});
        putEngine();
    }
    void expectInstalled(int expected, const std::string& file, Trust trust, const std::string& place) {
        create([&](WrapperCreation& creation) {
            running = &creation;
            EXPECT_EQ(creation.installCKI(file, place, trust), expected);
        });
        EXPECT_FALSE(machine->creation.running());
        EXPECT_FALSE(progress->isCreatingWrapper());
    }
    void expectInstalled(int expected, const std::string& file, Trust trust = Trust::no) {
        expectInstalled(expected, file, trust, wrapper);
    }
    /// The site sends the beginning of the answer, and no more.
    void stall(const std::string& path) {
        site.answer(path, {.body = "x", .announcedLength = 1000, .stall = true});
    }
    WrapperCreation* running = nullptr;
    const std::string save = "/Contents/Resources/drive_c/save.dat";
    const std::string masterArchive = "/Wrapper/Caskery-2.6.2.app.tar.7z";
    const std::string started = folder.path + "/started";
    const std::string block = "touch '" + started + "'\nexec sleep 600\n";
};

TEST_F(Entry, InstallsAPort) {
    publish();
    const std::string file = game();
    expectInstalled(0, file);
    EXPECT_TRUE(exists(wrapper + "/Contents/Resources/system.reg"));
    EXPECT_EQ(get(wrapper + "/mv_backup.cki"), get(file));
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_EQ(ui.progress.back().height, 0);
    const auto lines = ui.statusLines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Checking Caskery..."), lines.end());
    EXPECT_EQ(ui.notifications.size(), 1U);
    // Again, over the wrapper that is there now: nothing is made anew, and no copy of the file.
    fs::remove(wrapper + "/mv_backup.cki");
    put(wrapper + save, "saved");
    expectInstalled(0, file);
    EXPECT_FALSE(exists(wrapper + "/mv_backup.cki"));
    EXPECT_EQ(get(wrapper + save), "saved");
}

TEST_F(Entry, ChecksThePortBeforeAnythingIsMade) {
    testing::publishMasterWrapper(site);
    put(engines + "/CK9Wine3.0.tar.7z", "x");
    const char* noSignature =
        "That CKI file doesn't have a valid signature, but it seems to have been downloaded";
    const char *incompatible = "That CKI file version is incompatible!", *none = nullptr;
    const Dictionary old{{"CKI Version", "1.5.3"}}, unsignedPort{{"Engine", "CK9Wine3.0"}, {"Creator", "Me"}},
        lacking{{"Engine", "CK9Wine4.0"}},
        lackingSigned{{"Engine", "CK9Wine4.0"}, {"Creator", "Me"}, {"Creator Mail", "me@there"}};
    struct Row {
        Dictionary keys;
        Trust trust;
        const char *question, *title, *defaultAnswer, *error;
    };
    const Row rows[] = {
        {old, Trust::no, none, "", "", incompatible},
        {unsignedPort, Trust::yes, noSignature, "Error", "No", "The Port creation was canceled!"},
        {lacking, Trust::no, requirements, "Warning", "Yes", notMet},
        {lackingSigned, Trust::yes, requirements, "Warning", "Yes", notMet},
    };
    for (const Row& row : rows) {
        if (row.question != nullptr)
            ui.expect(row.question).titleIs(row.title).defaultIs(row.defaultAnswer).answer("No");
        ui.expectError(row.error);
        expectInstalled(-1, cki(row.keys), row.trust);
    }
    ui.expectError("There is no CKI file at ");
    expectInstalled(-1, folder.path + "/none.cki");
    create([&](WrapperCreation& creation) {
        ui.expectError("An unknown error happened. Please contact the developer.");
        EXPECT_FALSE(creation.shouldInstallPortData(std::nullopt, Trust::no));
    });
    EXPECT_EQ(asked("/Wrapper/Caskery"), 0);
    EXPECT_EQ(namesIn(masters), Names{});
}

TEST_F(Entry, RefusesPlacesBeforeAnythingIsDownloaded) {
    testing::publishMasterWrapper(site);
    put(engines + "/CK9Wine3.0.tar.7z", "x");
    put(home + "/Applications/File.app", "a file");
    const std::string file = game();
    for (const std::string& place :
         {std::string("Game.app"), home + "/Game", home + "/Game.app/", home + "/.app",
          home + "/x/../Game.app", home + "/Nowhere/Game.app", home + "/Applications/File.app",
          home + "/Applications/File.app/Game.app"}) {
        SCOPED_TRACE(place);
        ui.expectError("The wrapper can't be created at ");
        expectInstalled(-1, file, Trust::no, place);
    }
    EXPECT_EQ(asked("/Wrapper/Caskery"), 0);
}

TEST_F(Entry, BuildsOneWrapperAtATime) {
    publish({.onPrefixCreate = "touch '" + started + "'\nread unused < '" + folder.path + "/go'"});
    testing::runTool(folder.path, {"/usr/bin/mkfifo", "go"});
    const std::string file = game();
    ui.expectError(twoWrappers);
    int second = 1;
    std::thread other;
    const auto timer = machine->mainQueue.every(2ms, [&] {
        if (other.joinable() || !exists(started)) return;
        other = std::thread([&] {
            WrapperCreation creation(progress);
            second = creation.installCKI(file, home + "/Applications/Second.app", Trust::no);
            put(folder.path + "/go", "");
        });
    });
    expectInstalled(0, file);
    machine->mainQueue.cancelTimer(timer);
    other.join();
    EXPECT_EQ(second, -1);
    EXPECT_FALSE(exists(home + "/Applications/Second.app"));
    EXPECT_TRUE(exists(wrapper + "/mv_backup.cki"));
    // The first has ended: a new one may start.
    expectInstalled(0, file);
    // Another process of the user counts as well.
    const auto lock = files::Lock::tryLock(home + "/Library/Application Support/Caskery/.creation.lock");
    ASSERT_TRUE(lock);
    ui.expectError(twoWrappers);
    expectInstalled(-1, file);
    // The one that is refused does not move away what the other may be building.
    put(wrapper + "/Contents/half", "x");
    ui.expectError(twoWrappers);
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no, Replacing::yes), -1);
    });
    EXPECT_TRUE(exists(wrapper + "/Contents/half"));
    EXPECT_EQ(namesIn(home + "/Applications"), Names{"Game.app"});
}

TEST_F(Entry, OffersABackupOfTheSavedGamesOfWhatLiesThere) {
    publish();
    const std::string file = game(), saved = "/Contents/Resources/drive_c/users/me/Documents/one.sav";
    for (const char* answer : {"No", "Yes"}) {
        put(wrapper + saved, "saved");
        ui.expect("Game has saved games.").titleIs("Saved Games").defaultIs("Yes").answer(answer);
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no, Replacing::yes), 0);
        });
        EXPECT_FALSE(exists(wrapper + saved));
        EXPECT_EQ(saved_games::backupsFor(Wrapper(wrapper)).size(), *answer == 'Y' ? 1U : 0U);
    }
    // Where it can't be made, nothing goes.
    put(wrapper + saved, "saved");
    fs::remove_all(files::parent(saved_games::folderFor(Wrapper(wrapper))));
    put(files::parent(saved_games::folderFor(Wrapper(wrapper))), "a file");
    ui.expect("Game has saved games.").answer("Yes");
    ui.expectError("The saved games of");
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no, Replacing::yes), -1);
    });
    EXPECT_EQ(get(wrapper + saved), "saved");
}

TEST_F(Entry, NothingStepsAsideForAFileThatIsNoPort) {
    put(wrapper + save, "saved");
    put(folder.path + "/no port.cki", "no archive");
    ui.expectError("That CKI file is corrupted or the format is invalid!");
    ui.whileAsking = [&] { EXPECT_TRUE(exists(wrapper + save)) << "moved before the port was known"; };
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(creation.installCKI(folder.path + "/no port.cki", wrapper, Trust::no, Replacing::yes), -1);
    });
    EXPECT_EQ(get(wrapper + save), "saved");
}

TEST_F(Entry, WhatStepsAsideDoesNotReplaceWhatDidBefore) {
    publish();
    put(wrapper + save, "saved");
    put(wrapper + ".morvane-replaced/save.dat", "older");
    ui.expectError(wrapper + ".morvane-replaced is what an earlier installation was to replace.");
    const std::string file = game();
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no, Replacing::yes), -1);
    });
    EXPECT_EQ(get(wrapper + save) + get(wrapper + ".morvane-replaced/save.dat"), "savedolder");
}

TEST_F(Entry, AFailedBuildFreesTheWayAndLeavesWhatItMade) {
    publish({.makesPrefix = false});
    ui.expect("The Wine Prefix Creation failed!").answer("No");
    expectInstalled(-1, game());
    EXPECT_TRUE(exists(wrapper + "/Contents"));
    EXPECT_FALSE(exists(wrapper + "/mv_backup.cki"));
    EXPECT_EQ(ui.progress.back().height, 0);
    EXPECT_EQ(stops(), "");
}

/// Where a creation is stopped: what blocks there, and how to see that it does.
struct Stage {
    const char* name;
    std::function<void()> block;
    std::function<bool()> reached;
};

TEST_F(Entry, ACancellationStopsEveryStageAndRemovesTheWrapper) {
    const auto hasStarted = [&] { return exists(started); };
    const std::string realTool = get(resources + "/7za"), blockChmod = folder.path + "/chmod blocks";
    const auto blockTool = [&](const std::string& lines) {
        put(resources + "/7za", "#!/bin/sh\n" + lines + "\n" + block, true);
    };
    const Stage stages[] = {
        {"download of the master wrapper", [&] { stall(masterArchive); },
         [&] { return asked("/Wrapper/Caskery") > 0; }},
        {"unpacking", [&] { blockTool("[ $# -eq 0 ] && exec /usr/bin/7za"); }, hasStarted},
        {"download of the engine",
         [&] {
             fs::remove_all(engines);
             stall("/Engines/CK9Wine3.0.tar.7z");
             ui.expect(requirements).answer("Yes");
         },
         [&] { return asked("/Engines/CK9Wine3.0") > 0; }},
        {"unpacking of the engine",
         [&] { blockTool("case \"$*\" in *Engines*) ;; *) exec /usr/bin/7za \"$@\";; esac"); }, hasStarted},
        {"making the engine runnable", [&] { put(blockChmod, ""); }, hasStarted},
        {"prefix", [&] { publish({.onPrefixCreate = block}); }, hasStarted},
    };
    // Where a program lies is looked up once, so the script is there from the beginning.
    scriptProgram("chmod", "[ $1 = 777 ] && [ -e '" + blockChmod + "' ] || exec /bin/chmod \"$@\"\n" + block);
    const std::string file = game();
    put(temporary + "/Other.app/Contents/mine", "mine");
    for (const Stage& stage : stages) {
        SCOPED_TRACE(stage.name);
        for (const std::string& path : {started, blockChmod, masters}) fs::remove_all(path);
        put(resources + "/7za", realTool, true);
        publish();
        stage.block();
        ui.expectError(cancelled);
        const auto timer = machine->mainQueue.every(2ms, [&] {
            if (stage.reached()) machine->creation.request();
        });
        expectInstalled(-1, file);
        machine->mainQueue.cancelTimer(timer);
        EXPECT_TRUE(stage.reached());
        EXPECT_FALSE(exists(wrapper));
        EXPECT_EQ(namesIn(temporary), Names{"Other.app"});
        EXPECT_FALSE(exists(masters + "/../.unpacking"));
    }
    // The processes of the wrapper are looked for at both of its places.
    EXPECT_NE(stops().find("ps ax"), std::string::npos);
    // Nothing of the cancellations stays: the next creation succeeds.
    fs::remove_all(masters);
    publish();
    expectInstalled(0, file);
}

/// A creation takes minutes, and the user may put a wrapper in its place meanwhile.
TEST_F(Entry, ACancellationSparesWhatIsNotOfThisCreation) {
    const std::string old = folder.path + "/Old.app";
    const std::string putBack = "cp -r '" + old + "' '" + wrapper + "'\n";
    testing::makeFakeWrapperAt(old, "CK9Wine2.0");
    put(old + save, "saved");
    // An engine is to be replaced, so the old wrapper's own tool makes the prefix anew.
    put(old + "/Contents/Frameworks/bin/Caskery", "#!/bin/sh\n" + block, true);
    const std::string file = game();
    const auto expectSpared = [&](const char* when) {
        SCOPED_TRACE(when);
        ui.expectError(cancelled);
        expectInstalled(-1, file);
        EXPECT_EQ(get(wrapper + save), "saved");
        EXPECT_EQ(namesIn(temporary), Names{});
        EXPECT_NE(stops().find("ps ax"), std::string::npos);
        for (const std::string& path : {started, wrapper, masters}) fs::remove_all(path);
    };
    cancelWhen([&] { return exists(started); });
    publish();
    fs::create_directories(home + "/Applications");
    fs::copy(old, wrapper, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    expectSpared("there before the creation");
    publish({.onPrefixCreate = putBack + block});
    expectSpared("while the new one is at the temporary path");
    // The build then goes on with the wrapper that is there.
    put(resources + "/7za",
        "#!/bin/sh\n[ -e '" + wrapper + "' ] || " + putBack + "exec /usr/bin/7za \"$@\"\n", true);
    expectSpared("before the master wrapper is copied");
}

TEST_F(Entry, TheCancelButtonAsksFirst) {
    const char* question = "Cancelling will stop the wrapper creation and remove what was created until now.";
    publish();
    stall(masterArchive);
    ui.expect(question).titleIs("Warning").defaultIs("No").answer("No");
    ui.expect(question).answer("Yes");
    ui.expectError(cancelled);
    const std::string file = game();
    int presses = 0;
    const auto timer = machine->mainQueue.every(2ms, [&] {
        if (presses > 1 || asked("/Wrapper/Caskery") == 0) return;
        EXPECT_EQ(running->cancelWrapperCreation(), ++presses == 2);
    });
    expectInstalled(-1, file);
    machine->mainQueue.cancelTimer(timer);
    EXPECT_EQ(presses, 2);
}

}  // namespace
}  // namespace morvane
