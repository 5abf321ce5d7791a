#include <sys/resource.h>

#include <thread>

#include "building/configured_wrapper.h"
#include "platform/cancellation.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

class Installation : public ConfiguredWrapper {
  protected:
    Installation() : volumes(folder.path + "/Volumes"), port(NSPortManager::managerWithPath(wrapper)) {}

    /// The installer that was run, or "".
    std::string install(const std::optional<std::string>& name, const std::optional<std::string>& source) {
        EXPECT_EQ(files::write(testing::commandLog(wrapper), "", files::Atomically::no), std::nullopt);
        onWorker([&] { EXPECT_TRUE(creation->installApp(name, source, port)); });
        const std::string line = asked();
        if (line.empty()) return "";
        EXPECT_TRUE(line.starts_with("CKS-installer ")) << line;
        return line.substr(14, line.size() - 15);
    }

    const std::string volumes;
    NSPortManager port;
};

constexpr const char* withoutInstaller = "That port requires an installer in order to work.";

TEST_F(Installation, FindsTheInstallerWhereItsSourceSays) {
    put(home + "/Downloads/setup.txt", "");
    put(home + "/Downloads/Setup_v1.2.exe", "MZ");
    put(volumes + "/A disc/readme.txt", "");
    put(volumes + "/B disc/SETUP.EXE", "MZ");
    put(volumes + "/B disc/Disk1/Install.exe", "MZ");
    put(volumes + "/C disc/setup.exe", "MZ");
    put(volumes + "/A disc/game.exe/folder", "a folder of that name is no installer");
    put(volumes + "/C disc/game.exe", "MZ");
    put(home + "/outside.exe", "MZ");
    link("/", volumes + "/Start-up");
    struct Row {
        const char *name, *source;
        std::string found;
    };
    for (const Row& row : {
             Row{"setup*.exe", "GOG", home + "/Downloads/Setup_v1.2.exe"},
             Row{"SETUP_V1.2.EXE", "Steam", home + "/Downloads/Setup_v1.2.exe"},
             Row{"setup.exe", "CD", volumes + "/B disc/SETUP.EXE"},
             Row{"disk1/*.exe", "CD", volumes + "/B disc/Disk1/Install.exe"},
             Row{"game.exe", "CD", volumes + "/C disc/game.exe"},
         }) {
        EXPECT_EQ(install(row.name, row.source), row.found) << row.name;
    }
    // Neither the start-up disk nor a folder above is searched.
    for (const char* name : {"etc/passwd", "../outside.exe", "*/../../outside.exe"}) {
        ui.expectChoice("Select the installer", {});
        ui.expect(withoutInstaller).answer("Yes");
        EXPECT_EQ(install(name, name[0] == 'e' ? "CD" : "GOG"), "") << name;
    }
}

TEST_F(Installation, FallsBackToTheDiscsAutorunFile) {
    put(volumes + "/A/autorun.inf", "[autorun]\r\nopen=missing.exe\r\n");
    put(volumes + "/B/autorun.inf", "[autorun]\r\nopen=lower.exe\r\n");
    put(volumes + "/B/AUTORUN.INF", "[autorun]\r\nOPEN=Upper.exe\r\n");
    put(volumes + "/B/lower.exe", "MZ");
    put(volumes + "/B/upper.exe", "MZ");
    EXPECT_EQ(install("setup.exe", "CD"), volumes + "/B/upper.exe");
    // Only discs have such files.
    put(home + "/Downloads/autorun.inf", "open=lower.exe\r\n");
    put(home + "/Downloads/lower.exe", "MZ");
    ui.expectChoice("Select the installer", {"/chosen/setup.exe"});
    EXPECT_EQ(install("setup.exe", "GOG"), "/chosen/setup.exe");
}

TEST_F(Installation, AsksUntilAFileIsChosenOrTheUserGivesUp) {
    put(home + "/Downloads/a.exe", "MZ");
    ui.expectChoice("Select the installer", {});
    ui.expect(withoutInstaller).titleIs("Warning").defaultIs("No").answer("No");
    ui.expectChoice("Select the installer", {"/chosen/setup_gog.exe"});
    EXPECT_EQ(install("disc1/setup_*.exe", "GOG"), "/chosen/setup_gog.exe");
    const OpenPanel& panel = ui.openPanels.back();
    EXPECT_TRUE(panel.files);
    EXPECT_FALSE(panel.folders);
    EXPECT_FALSE(panel.multiple);
    EXPECT_EQ(panel.types, (std::vector<std::string>{"exe", "EXE", "bat", "BAT", "msi", "MSI"}));
    EXPECT_TRUE(panel.shouldEnable);
    EXPECT_EQ(
        ui.progress.back().subtitle,
        "IMPORTANT NOTE: Don’t launch the app after the installation. GOG games might prompt some errors in "
        "the end, but that's normal.");

    ui.expectChoice("Select the installer", {});
    ui.expect(withoutInstaller).answer("Yes");
    EXPECT_EQ(install(std::nullopt, std::nullopt), "");
    ui.expectChoice("Select the installer", {"/chosen/any.exe"});
    EXPECT_EQ(install("", std::nullopt), "/chosen/any.exe")
        << "an empty name does not run the first download";
    EXPECT_EQ(ui.progress.back().subtitle, "IMPORTANT NOTE: Don’t launch the app after the installation.");
}

TEST_F(Installation, MissingFoldersOfTheUserAreNoErrors) {
    for (const std::string& gone : {home + "/Downloads", home + "/Desktop", volumes})
        ASSERT_EQ(files::remove(gone), std::nullopt);
    for (const char* source : {"CD", "GOG"}) {
        ui.expectChoice("Select the installer", {"/chosen/setup.exe"});
        EXPECT_EQ(install("setup.exe", source), "/chosen/setup.exe");
    }
}

TEST_F(Installation, AnEndingApplicationIsNotAskedForEver) {
    machine->mainQueue.close();
    std::thread worker([&] { EXPECT_TRUE(creation->installApp(std::nullopt, std::nullopt, port)); });
    worker.join();
    EXPECT_EQ(asked(), "");
}

using DesktopCleanUp = Installation;

TEST_F(DesktopCleanUp, RemovesNewShortcutsOnly) {
    const std::string desktop = home + "/Desktop";
    put(desktop + "/Old.lnk", "");
    put(home + "/precious.txt", "kept");
    whenInstalling("cd '" + desktop +
                   "'; for f in Game.lnk Game.desktop Game.appref-ms notes.txt Upper.LNK; do : > $f; done\n"
                   "mkdir Folder.lnk; ln -s '" +
                   home + "/precious.txt' Link.lnk; ln -s /nowhere Dangling.desktop\n");
    ui.expectChoice("Select the installer", {"/chosen/setup.exe"});
    install(std::nullopt, std::nullopt);
    EXPECT_EQ(listing(desktop),
              (std::vector<std::string>{"Folder.lnk", "Old.lnk", "Upper.LNK", "notes.txt"}));
    EXPECT_EQ(get(home + "/precious.txt"), "kept");
}

TEST_F(DesktopCleanUp, SparesEverythingWhenItCouldNotSeeWhatWasThere) {
    const std::string shortcut = home + "/Desktop/Old.lnk";
    put(shortcut, "");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    // No folder can be opened before the work, and every one after it.
    const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    bool worked = false;
    WrapperCreation::removeUselessDesktopFilesCreatedOnBlock(
        [&] { worked = ::setrlimit(RLIMIT_NOFILE, &before) == 0; });
    EXPECT_TRUE(worked);
    EXPECT_TRUE(exists(shortcut));
}

TEST_F(DesktopCleanUp, HappensAlsoWhenTheWorkThrows) {
    const std::string shortcut = home + "/Desktop/Game.lnk";
    EXPECT_THROW(WrapperCreation::removeUselessDesktopFilesCreatedOnBlock([&] {
                     put(shortcut, "");
                     throw Cancelled();
                 }),
                 Cancelled);
    EXPECT_FALSE(exists(shortcut));
}

TEST_F(Installation, ARunningInstallerIsKeptInFrontUntilItEnds) {
    put(driveC + "/SteamSetup.exe", "MZ");
    put(home + "/Desktop/Old.desktop", "");
    whenInstalling("cat \"$1\" > \"$wrapper/batch\"; : > '" + home + "/Desktop/Steam.desktop'\n");
    onWorker([&] {
        EXPECT_FALSE(machine->mainQueue.isMainThread());
        EXPECT_TRUE(creation->runInstaller(driveC + "/SteamSetup.exe", "/S /NCRC", port));
    });
    EXPECT_EQ(get(wrapper + "/batch"), "start \"C:\\SteamSetup.exe\" /S /NCRC");
    EXPECT_EQ(listing(home + "/Desktop"), std::vector<std::string>{"Old.desktop"});
    EXPECT_EQ(machine->mainQueue.drain(), std::nullopt) << "the timer has ended";

    onWorker([&] {
        ASSERT_TRUE(host().creation.begin());
        host().creation.request();
        EXPECT_THROW(creation->runInstaller(driveC + "/SteamSetup.exe", "", port), Cancelled);
        host().creation.end();
    });
    EXPECT_EQ(machine->mainQueue.drain(), std::nullopt) << "also after a cancellation";
    WrapperCreation::keepWindowInFrontForAppOfTimer(wrapper);
    EXPECT_EQ(ui.broughtToFront, std::vector<std::string>{wrapper});
}

TEST(RelativePathsAreInExes, LooksAtTheProgramPart) {
    struct Row {
        const char* path;
        bool relative;
    };
    for (const Row& row :
         {Row{"C:/Game/game.exe", false}, Row{"C:/*/Game/game.exe", true}, Row{"C:/nothing.exe", true},
          Row{"\"C:/nothing.exe\" -x", true}, Row{"\"C:/Game/game.exe\" *", false},
          Row{"C:\\nothing.exe", true}, Row{"", false}}) {
        ExeEntry known, exe;
        known.path = "C:/Game/other.exe";
        exe.path = row.path;
        EXPECT_EQ(WrapperCreation::relativePathsAreInExes({known, exe}), row.relative) << row.path;
    }
}

}  // namespace
}  // namespace morvane
