#include <atomic>
#include <thread>

#include "building/building_machine.h"
#include "foundation/settings_keys.h"

namespace morvane {
namespace {

using testing::FakeWrapper;
using Names = std::vector<std::string>;

constexpr const char* twoWrappers = "You can't install two wrappers at the same time!";
constexpr const char* cancelled = "Cancelled: User requested wrapper creation termination";
constexpr const char* requirements =
    "That port has some requirements that must be met in order to install that application correctly. Do you "
    "have all "
    "the items from that list?\n\n";
constexpr const char* foreign =
    "That port wasn't downloaded directly from our server. It might contain download links";

class Entry : public testing::BuildingMachine {
  protected:
    Dictionary game() const {
        return {
            {"Engine", "CK9Wine3.0"},
            {"EXEs",
             Value(Array{Value(Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}})})}};
    }
    /// A master wrapper whose prefix holds the game, and the engine.
    void publish(FakeWrapper master = {}) {
        master.onPrefixCreate +=
            "\nmkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
            "echo MZ > \"$wrapper/Contents/Resources/drive_c/Game/game.exe\"\n";
        testing::publishMasterWrapper(site, master);
        testing::publishEngines(site, {"CK9Wine3.0"});
        put(engines + "/CK9Wine3.0.tar.7z", testing::packedEngine("CK9Wine3.0"));
    }
    int install(const std::string& file, Trust trust = Trust::no) {
        int result = 1;
        create([&](WrapperCreation& creation) { result = creation.installCKI(file, wrapper, trust); });
        EXPECT_FALSE(machine->creation.running());
        EXPECT_FALSE(progress->isCreatingWrapper());
        return result;
    }
    std::string requirementsOf(const NSPortData& port) {
        return WrapperCreation::requirementsListForPortData(port);
    }
};

TEST_F(Entry, InstallsAPort) {
    publish();
    const std::string file = cki(game());
    EXPECT_EQ(install(file), 0);
    EXPECT_TRUE(exists(wrapper + "/Contents/Resources/system.reg"));
    EXPECT_EQ(get(wrapper + "/mv_backup.cki"), get(file));
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_EQ(ui.progress.back().height, 0);
    const auto lines = ui.statusLines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Checking Caskery..."), lines.end());
    EXPECT_EQ(ui.notifications.size(), 1U);
    // Again, over the wrapper that is there now: nothing is made anew, and no copy of the file.
    std::filesystem::remove(wrapper + "/mv_backup.cki");
    std::filesystem::remove(testing::commandLog(wrapper));
    put(wrapper + "/Contents/Resources/drive_c/save.dat", "saved");
    EXPECT_EQ(install(file), 0);
    EXPECT_FALSE(exists(wrapper + "/mv_backup.cki"));
    EXPECT_EQ(get(wrapper + "/Contents/Resources/drive_c/save.dat"), "saved");
}

TEST_F(Entry, ChecksThePortBeforeAnythingIsMade) {
    testing::publishMasterWrapper(site);
    put(engines + "/CK9Wine3.0.tar.7z", "x");
    struct Row {
        const char* name;
        Dictionary keys;
        Trust trust;
        const char* question;
        const char* title;
        const char* defaultAnswer;
        const char* error;
    };
    const Row rows[] = {
        {"old version",
         {{"CKI Version", "1.5.3"}},
         Trust::no,
         nullptr,
         nullptr,
         nullptr,
         "That CKI file version is incompatible!"},
        {"no signature from the server",
         {{"Engine", "CK9Wine3.0"}, {"Creator", "Me"}},
         Trust::yes,
         "That CKI file doesn't have a valid signature, but it seems to have been downloaded from our "
         "server. Please, "
         "send us an email about that. Do you want to install it anyway? We don't recommend that.",
         "Error",
         "No",
         "The Port creation was canceled!"},
        {"requirements not met",
         {{"Engine", "CK9Wine4.0"}},
         Trust::no,
         requirements,
         "Warning",
         "Yes",
         "Get all the items from the list before installing that port!"},
        {"requirements of a signed one",
         {{"Engine", "CK9Wine4.0"}, {"Creator", "Me"}, {"Creator Mail", "me@there"}},
         Trust::yes,
         requirements,
         "Warning",
         "Yes",
         "Get all the items from the list before installing that port!"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.question != nullptr)
            ui.expect(row.question).titleIs(row.title).defaultIs(row.defaultAnswer).answer("No");
        ui.expectError(row.error);
        EXPECT_EQ(install(cki(row.keys), row.trust), -1);
    }
    ui.expectError("There is no CKI file at ");
    EXPECT_EQ(install(folder.path + "/none.cki"), -1);
    put(folder.path + "/page.cki", "<html>Not found</html>");
    ui.expectError("That CKI file isn't available in the database.");
    EXPECT_EQ(install(folder.path + "/page.cki"), -1);
    create([&](WrapperCreation& creation) {
        ui.expectError("An unknown error happened. Please contact the developer.");
        EXPECT_FALSE(creation.shouldInstallPortData(std::nullopt, Trust::no));
    });
    EXPECT_EQ(asked("/Wrapper/Caskery"), 0);
    EXPECT_EQ(namesIn(masters), Names{});
}

TEST_F(Entry, ListsWhatAPortRequires) {
    put(engines + "/CK9Wine3.0.zip", "x");
    NSPortData port;
    port.engine = "CK9Wine3.0";
    EXPECT_EQ(requirementsOf(port), "");
    port.source = "CD";
    port.originalInstallerNeeded = true;
    port.originalInstallerName = "autorun.inf";
    EXPECT_EQ(requirementsOf(port),
              "- The original application installer for Windows (INF setup file from CD)");
    port.source = "GOG";
    port.originalInstallerName = "setup.exe";
    port.engine = "CK9Wine4.0";
    port.extraFilesBeforeInstaller = {{.origin = "patch.exe", .destiny = {}, .autorun = true},
                                      {.origin = "http://host/a.zip", .destiny = {}},
                                      {.origin = {}, .destiny = {}}};
    port.extraFilesAfterInstaller = {{.origin = "ftp://host/b.zip", .destiny = {}},
                                     {.origin = "mod.zip", .destiny = {}}};
    EXPECT_EQ(requirementsOf(port),
              "- The patch.exe file\n"
              "- The mod.zip file\n"
              "- The original application installer for Windows (EXE setup file from GOG) (GOG games might "
              "also have "
              "BIN files, which are required as well)\n"
              "- Internet connection to download the port engine (CK9Wine4.0)");
}

TEST_F(Entry, RefusesPlacesBeforeAnythingIsDownloaded) {
    testing::publishMasterWrapper(site);
    put(engines + "/CK9Wine3.0.tar.7z", "x");
    put(home + "/Applications/File.app", "a file");
    const std::string file = cki(game());
    for (const std::string& place :
         {std::string("Game.app"), home + "/Game", home + "/Game.app/", home + "/.app",
          home + "/x/../Game.app", home + "/Nowhere/Game.app", home + "/Applications/File.app",
          home + "/Applications/File.app/Game.app"}) {
        SCOPED_TRACE(place);
        ui.expectError("The wrapper can't be created at ");
        create(
            [&](WrapperCreation& creation) { EXPECT_EQ(creation.installCKI(file, place, Trust::no), -1); });
        EXPECT_FALSE(machine->creation.running());
    }
    EXPECT_EQ(asked("/Wrapper/Caskery"), 0);
}

TEST_F(Entry, BuildsOneWrapperAtATime) {
    publish(
        {.onPrefixCreate = "touch '" + folder.path + "/started'\nread unused < '" + folder.path + "/go'"});
    testing::runTool(folder.path, {"/usr/bin/mkfifo", "go"});
    const std::string file = cki(game());
    ui.expectError(twoWrappers);
    int second = 1;
    std::thread other;
    const auto timer = machine->mainQueue.every(std::chrono::milliseconds(2), [&] {
        if (other.joinable() || !exists(folder.path + "/started")) return;
        other = std::thread([&] {
            WrapperCreation creation(progress);
            second = creation.installCKI(file, home + "/Applications/Second.app", Trust::no);
            put(folder.path + "/go", "");
        });
    });
    EXPECT_EQ(install(file), 0);
    machine->mainQueue.cancelTimer(timer);
    other.join();
    EXPECT_EQ(second, -1);
    EXPECT_FALSE(exists(home + "/Applications/Second.app"));
    EXPECT_TRUE(exists(wrapper + "/mv_backup.cki"));
    // The first has ended: a new one may start.
    EXPECT_EQ(install(file), 0);
    // Another process of the user counts as well.
    const auto lock = files::Lock::tryLock(home + "/Library/Application Support/Caskery/.creation.lock");
    ASSERT_TRUE(lock);
    ui.expectError(twoWrappers);
    EXPECT_EQ(install(file), -1);
}

TEST_F(Entry, SaysThatTheSupportFolderCannotBeWrittenTo) {
    const std::string support = home + "/Library/Application Support/Caskery";
    const std::string file = cki(game());
    std::filesystem::remove_all(support);
    put(support, "a file");
    ui.expectError("Nothing can be written to the folder \"" + support + "\".");
    EXPECT_EQ(install(file), -1);
}

TEST_F(Entry, AFailedBuildFreesTheWayAndLeavesWhatItMade) {
    publish({.makesPrefix = false});
    ui.expect("The Wine Prefix Creation failed!").answer("No");
    EXPECT_EQ(install(cki(game())), -1);
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
    const std::string started = folder.path + "/started";
    const std::string blocking = "touch '" + started + "'\nexec sleep 600\n";
    const auto hasStarted = [&] { return exists(started); };
    const std::string realTool = get(resources + "/7za");
    const auto downloading = [&](const char* path) { return [this, path] { return asked(path) > 0; }; };
    const Stage stages[] = {
        {"download of the master wrapper",
         [&] {
             site.answer("/Wrapper/Caskery-2.6.2.app.tar.7z",
                         {.body = "x", .announcedLength = 1000, .stall = true});
         },
         downloading("/Wrapper/Caskery")},
        {"unpacking",
         [&] { put(resources + "/7za", "#!/bin/sh\n[ $# -eq 0 ] && exec /usr/bin/7za\n" + blocking, true); },
         hasStarted},
        {"download of the engine",
         [&] {
             std::filesystem::remove_all(engines);
             site.answer("/Engines/CK9Wine3.0.tar.7z", {.body = "x", .announcedLength = 1000, .stall = true});
             ui.expect(requirements).answer("Yes");
         },
         downloading("/Engines/CK9Wine3.0")},
        {"unpacking of the engine",
         [&] {
             put(resources + "/7za",
                 "#!/bin/sh\ncase \"$*\" in *Engines*) ;; *) exec /usr/bin/7za \"$@\";; esac\n" + blocking,
                 true);
         },
         hasStarted},
        {"making the engine runnable", [&] { put(folder.path + "/chmod blocks", ""); }, hasStarted},
        {"prefix", [&] { publish({.onPrefixCreate = blocking}); }, hasStarted},
    };
    // Where a program lies is looked up once, so the script is there from the beginning.
    scriptProgram("chmod", "[ $1 = 777 ] && [ -e '" + folder.path +
                               "/chmod blocks' ] || exec /bin/chmod \"$@\"\n" + blocking);
    const std::string file = cki(game());
    put(temporary + "/Other.app/Contents/mine", "mine");
    for (const Stage& stage : stages) {
        SCOPED_TRACE(stage.name);
        std::filesystem::remove(started);
        std::filesystem::remove(folder.path + "/stops");
        std::filesystem::remove_all(masters);
        std::filesystem::remove(folder.path + "/chmod blocks");
        put(resources + "/7za", realTool, true);
        publish();
        stage.block();
        ui.expectError(cancelled);
        const auto timer = machine->mainQueue.every(std::chrono::milliseconds(2), [&] {
            if (stage.reached()) machine->creation.request();
        });
        EXPECT_EQ(install(file), -1);
        machine->mainQueue.cancelTimer(timer);
        EXPECT_TRUE(stage.reached());
        EXPECT_FALSE(exists(wrapper));
        EXPECT_EQ(namesIn(temporary), Names{"Other.app"});
        EXPECT_FALSE(exists(masters + "/../.unpacking"));
    }
    // The processes of the wrapper are looked for at both of its places.
    EXPECT_NE(stops().find("ps ax"), std::string::npos);
    // Nothing of the cancellations stays: the next creation succeeds.
    std::filesystem::remove_all(masters);
    publish();
    EXPECT_EQ(install(file), 0);
}

TEST_F(Entry, ACancellationSparesWhatWasThereBefore) {
    const std::string started = folder.path + "/started";
    const std::string block = "touch '" + started + "'\nexec sleep 600\n";
    publish();
    testing::makeFakeMasterWrapper(masters);
    // An engine is to be replaced, so the old wrapper's own tool makes the prefix anew.
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    put(wrapper + "/Contents/Resources/drive_c/save.dat", "saved");
    put(wrapper + "/Contents/Frameworks/bin/Caskery", "#!/bin/sh\n" + block, true);
    ui.expectError(cancelled);
    cancelWhen([&] { return exists(started); });
    EXPECT_EQ(install(cki(game())), -1);
    EXPECT_EQ(get(wrapper + "/Contents/Resources/drive_c/save.dat"), "saved");
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_NE(stops().find("ps ax"), std::string::npos);
}

/// A creation takes minutes, and the user may put a wrapper in its place meanwhile.
TEST_F(Entry, ACancellationSparesWhatSomebodyPutThereMeanwhile) {
    const std::string started = folder.path + "/started";
    const std::string old = folder.path + "/Old.app", save = "/Contents/Resources/drive_c/save.dat";
    const std::string putBack = "cp -r '" + old + "' '" + wrapper + "'\n";
    const std::string block = "touch '" + started + "'\nexec sleep 600\n";
    testing::makeFakeWrapperAt(old, "CK9Wine2.0");
    put(old + save, "saved");
    put(old + "/Contents/Frameworks/bin/Caskery", "#!/bin/sh\n" + block, true);
    const std::string file = cki(game());
    const auto expectSpared = [&](const char* when) {
        SCOPED_TRACE(when);
        ui.expectError(cancelled);
        EXPECT_EQ(install(file), -1);
        EXPECT_EQ(get(wrapper + save), "saved");
        EXPECT_EQ(namesIn(temporary), Names{});
        std::filesystem::remove(started);
        std::filesystem::remove_all(wrapper);
    };
    cancelWhen([&] { return exists(started); });
    publish({.onPrefixCreate = putBack + block});
    expectSpared("while the new one is at the temporary path");
    // The build then goes on with the wrapper that is there.
    put(resources + "/7za",
        "#!/bin/sh\n[ -e '" + wrapper + "' ] || " + putBack + "exec /usr/bin/7za \"$@\"\n", true);
    std::filesystem::remove_all(masters);
    expectSpared("before the master wrapper is copied");
}

TEST_F(Entry, TheCancelButtonAsksFirst) {
    const char* question =
        "Cancelling will stop the wrapper creation and remove what was created until now. Are you sure that "
        "you want to "
        "terminate the wrapper creation?";
    publish();
    site.answer("/Wrapper/Caskery-2.6.2.app.tar.7z", {.body = "x", .announcedLength = 1000, .stall = true});
    ui.expect(question).titleIs("Warning").defaultIs("No").answer("No");
    ui.expect(question).answer("Yes");
    ui.expectError(cancelled);
    const std::string file = cki(game());
    WrapperCreation* running = nullptr;
    int presses = 0;
    const auto timer = machine->mainQueue.every(std::chrono::milliseconds(2), [&] {
        if (presses > 1 || asked("/Wrapper/Caskery") == 0) return;
        EXPECT_EQ(running->cancelWrapperCreation(), ++presses == 2);
    });
    create([&](WrapperCreation& creation) {
        running = &creation;
        EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no), -1);
    });
    machine->mainQueue.cancelTimer(timer);
    EXPECT_EQ(presses, 2);
}

TEST_F(Entry, ABlankWrapperTakesThePanelsChoices) {
    publish();
    testing::publishEngines(site, {"CK9Wine2.0", "CK9Wine3.0"});
    const char* originNeeds =
        "In order to work, Origin needs two patches in the engine that you are going to use. Only install it "
        "in an engine "
        "with these patches.";
    std::unique_ptr<WrapperCreation> creation;
    onWorker([&] { creation = std::make_unique<WrapperCreation>(progress); });
    bool ended = false, failure = false;
    ui.expect("Read the license agreement before installing:").answer("I Agree");
    ui.expectSave("Create Port at...", wrapper, [](Form& form) {
        ASSERT_EQ(form.fields.size(), 5U);
        EXPECT_EQ(form.fields[0].options, (Names{"CK9Wine3.0", "CK9Wine2.0"}));
        for (const FormField& field : form.fields) EXPECT_EQ(field.chosen, 0U) << field.label;
        form.fields[3].chosen = 1;
        form.fields[3].changed(1);
        form.fields[4].chosen = 1;
        form.fields[4].changed ? form.fields[4].changed(1) : void();
    });
    ui.expect(originNeeds).titleIs("Warning");
    ui.expectError("This port needs Origin, Uplay, which");
    onWorker([&] {
        creation->createBlankPortWithCompletionHandler([&](bool failed, const std::string&) {
            failure = failed;
            machine->mainQueue.post([&] { ended = true; });
        });
    });
    machine->mainQueue.runUntil([&] { return ended; });
    machine->workQueues.joinAll();
    EXPECT_TRUE(failure);
    // Without an engine there is nothing to describe.
    ui.expectError(
        "An unknown error while creating that custom port! The custom port creation is going to be aborted.");
    onWorker([&] { EXPECT_EQ(creation->createBlankWrapperAtPath(wrapper, {}), -1); });
    EXPECT_FALSE(machine->creation.running());
    EXPECT_FALSE(exists(wrapper));
}

TEST_F(Entry, AsksBeforeItInstallsAFileOfTheUser) {
    publish();
    std::filesystem::create_directories(home + "/Games");
    const std::string file = cki(game());
    std::atomic<int> calls = 0;
    std::atomic<bool> failure = true;
    std::string place;
    WrapperCreation* creation = nullptr;
    const auto begin = [&] {
        onWorker([&] {
            if (creation == nullptr) creation = new WrapperCreation(progress);
        });
        creation->createPortFromCKIFile(file, [&](bool failed, const std::string& path) {
            failure = failed;
            place = path;
            ++calls;
            machine->mainQueue.wake();
        });
    };
    ui.expect("Read the license agreement before installing:")
        .titleIs("License Agreement")
        .defaultIs("I Agree")
        .answer("I Disagree");
    begin();
    ui.expect("Read the license agreement before installing:").answer("I Agree");
    ui.expect(foreign).titleIs("Warning").defaultIs("Cancel").answer("Cancel");
    begin();
    ui.expect("Read the license agreement before installing:").answer("I Agree");
    ui.expect(foreign).answer("Install it anyway");
    ui.expectSave("Create Port at...", "");
    begin();
    machine->workQueues.joinAll();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(std::get<LongText>(ui.dialogs.front().accessory).text, "Be fair.\n");
    EXPECT_EQ(ui.savePanels.back().startFolder, home + "/Applications");

    machine->defaults.set(settings::mainFolder,
                          Value(Array{Value(home + "/Games/"), Value("/Applications/")}));
    ui.expect("Read the license agreement before installing:").answer("I Agree");
    ui.expect(foreign).answer("Install it anyway");
    ui.expectSave("Create Port at...", wrapper);
    begin();
    machine->mainQueue.runUntil([&] { return calls > 0; });
    machine->workQueues.joinAll();
    EXPECT_FALSE(failure);
    EXPECT_EQ(place, wrapper);
    EXPECT_EQ(ui.savePanels.back().startFolder, home + "/Games/");
    EXPECT_EQ(ui.savePanels.back().proposedName, "Game");
    EXPECT_EQ(ui.savePanels.back().types, Names{"app"});
    delete creation;
}

}  // namespace
}  // namespace morvane
