#include <sys/resource.h>

#include <thread>

#include "building/configured_wrapper.h"
#include "building/installation.h"
#include "platform/cancellation.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

class Installation : public testing::ConfiguredWrapper {
  protected:
    Installation() : volumes(folder.path + "/Volumes"), port(NSPortManager::managerWithPath(wrapper)) {}

    /// The installer that was run, or "".
    std::string install(const std::optional<std::string>& name, const std::optional<std::string>& source) {
        EXPECT_TRUE(files::write(testing::commandLog(wrapper), "", files::Atomically::no));
        onWorker([&] { EXPECT_TRUE(installApp(*build, name, source, port)); });
        const std::string line = asked();
        if (line.empty()) return "";
        EXPECT_TRUE(line.starts_with("CKS-installer ")) << line;
        return line.substr(14, line.size() - 15);
    }
    void expectChooser(const std::vector<std::string>& files) {
        for (const std::string& file : files) put(file, "MZ");
        ui.expectChoice("Select the installer", files);
    }

    const std::string chosen = home + "/chosen/";
    const std::string volumes, desktop = home + "/Desktop";
    NSPortManager port;
};

constexpr const char* withoutInstaller = "That port requires an installer in order to work.";

TEST_F(Installation, FindsTheInstallerWhereItsSourceSays) {
    for (const std::string& file :
         {home + "/Downloads/setup.txt", home + "/Downloads/Setup_v1.2.exe", volumes + "/A disc/readme.txt",
          volumes + "/B disc/SETUP.EXE", volumes + "/B disc/Disk1/Install.exe", volumes + "/C disc/setup.exe",
          volumes + "/C disc/game.exe", home + "/outside.exe",
          volumes + "/A disc/game.exe/a folder of that name is no installer"})
        put(file, "MZ");
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
             // Neither the start-up disk nor a folder above is searched.
             Row{"etc/passwd", "CD", ""},
             Row{"../outside.exe", "GOG", ""},
             Row{"*/../../outside.exe", "GOG", ""},
         }) {
        if (row.found.empty()) {
            expectChooser({});
            ui.expect(withoutInstaller).answer("Yes");
        }
        EXPECT_EQ(install(row.name, row.source), row.found) << row.name;
    }
}

TEST_F(Installation, AnEndingApplicationIsNotAskedForEver) {
    machine->mainQueue.close();
    std::thread worker([&] { EXPECT_TRUE(installApp(*build, std::nullopt, std::nullopt, port)); });
    worker.join();
    EXPECT_EQ(asked(), "");
}

using DesktopCleanUp = Installation;

TEST_F(DesktopCleanUp, RemovesNewShortcutsOnly) {
    put(desktop + "/Old.lnk", "");
    put(home + "/precious.txt", "kept");
    whenInstalling("cd '" + desktop +
                   "'; for f in Game.lnk Game.desktop Game.appref-ms notes.txt Upper.LNK; do : > $f; done\n"
                   "mkdir Folder.lnk; ln -s ../precious.txt Link.lnk; ln -s /nowhere Dangling.desktop\n");
    expectChooser({chosen + "setup.exe"});
    install(std::nullopt, std::nullopt);
    EXPECT_EQ(listing(desktop), (Names{"Folder.lnk", "Old.lnk", "Upper.LNK", "notes.txt"}));
    EXPECT_EQ(get(home + "/precious.txt"), "kept");

    EXPECT_THROW(removeUselessDesktopFilesCreatedOnBlock([&] {
                     put(desktop + "/Game.lnk", "");
                     throw Cancelled();
                 }),
                 Cancelled);
    EXPECT_FALSE(exists(desktop + "/Game.lnk")) << "also when the work throws";
}

}  // namespace
}  // namespace morvane
