#include "library/description_view.h"

#include "building/building_machine.h"
#include "foundation/settings.h"
#include "platform/property_list.h"

namespace morvane {
namespace {

using Names = testing::BuildingMachine::Names;

/// A page, a catalogue on the site of the builds, and a user.
class DescriptionView : public testing::BuildingMachine {
  protected:
    DescriptionView() {
        machine->sites.catalogue = site.baseAddress();
        fs::create_directories(games);
        settings::store(settings::mainFolder, Array{games});
        settings::store(settings::appList, Array{});
        site.answer("/ckis/portDescription.php", {.body = descriptionAnswer("")});
        page = makePage(LibraryLayout::list);
    }
    std::unique_ptr<NSDescriptionView> makePage(LibraryLayout layout) {
        return std::make_unique<NSDescriptionView>(
            layout, progress,
            NSDescriptionView::Callbacks{
                .pageChanged = [this] { ++changes; },
                .actionTitleChanged = {},
                .selectPage = [this] { events.push_back("page"); },
                .showWindow =
                    [this](const NSDescriptionView::HtmlWindow& window) {
                        events.push_back(window.name + " " + window.link);
                    },
                .showVotingPanel =
                    [this](const auto& panel) {
                        events.push_back(panel->title());
                        votingPanel = panel;
                    },
                .votingPanelClosed = [this] { events.push_back("closed"); },
                .addPort =
                    [this](const std::string& path) {
                        EXPECT_TRUE(machine->mainQueue.isMainThread());
                        added = path;
                    },
                .removePort = [this](const std::string& path) { events.push_back("removed " + path); },
                .missingApp = [this](const std::string& path) { events.push_back("missing " + path); },
                .properties = {}});
    }
    static std::string descriptionAnswer(const std::string& sources) {
        return " ||  ||  ||  ||  ||  || Press “Download” <b>now</b> || \"http://video/x.png\" ||  || " +
               sources + " ||  || NVIDIA:3, ATi/AMD:4.5,  || 0 || \"\"";
    }
    std::shared_ptr<NSGameData> entry(CatalogueLine line, const std::string& sources = "") {
        site.answer("/ckis/portDescription.php", {.body = descriptionAnswer(sources)});
        if (line.name.empty()) line.name = "Half Life";
        auto game = NSGameData::initWithDictionary(line);
        game->isGameNative = line.isNative.value_or(false);
        return game;
    }
    /// Serves the main queue until everything that was begun has ended.
    void settle() {
        do onWorker([&] { machine->workQueues.joinAll(); });
        while (machine->workQueues.busy());
    }
    void show(std::shared_ptr<NSGameData> game) {
        page->setGameData(std::move(game), {});
        settle();
    }
    /// Something installed, with what its settings say, and a program that tells of its runs.
    std::string installed(const std::string& name, std::int64_t id, Dictionary settings = {}) {
        const std::string path = games + name + ".app";
        settings.set("CFBundleName", name);
        if (settings.find("CFBundleVersion") == nullptr) settings.set("CFBundleVersion", "Caskery 2.6.2");
        put(path + "/Contents/Info.plist", property_lists::xml(settings));
        const std::string script = "#!/bin/sh\necho \"$(basename \"$0\") $*\" >> '" + runs + "'\n";
        put(path + "/Contents/MacOS/CaskeryLauncher", script, true);
        put(path + "/Contents/Frameworks/bin/Caskery", script, true);
        fs::create_directories(path + "/Contents/Resources/drive_c");
        fs::create_directories(path + "/Contents/Resources/dosdevices");
        fs::create_symlink("../drive_c", path + "/Contents/Resources/dosdevices/c:");
        put(path + "/mv_desc.ckii", *typed_stream::archive(Dictionary{{"ID", id}}));
        return path;
    }
    [[nodiscard]] std::string ran() const { return exists(runs) ? get(runs) : ""; }

    const std::string games = home + "/Games/";
    const std::string runs = folder.path + "/runs";
    std::unique_ptr<NSDescriptionView> page;
    Names events;
    std::shared_ptr<NSVotingPanel> votingPanel;
    std::string added;
    int changes = 0;
};

TEST_F(DescriptionView, KeepsToTheGameThatWasClicked) {
    const auto inCatalogue = [&](std::int64_t id, const std::string& name) {
        return entry({.id = id, .name = name, .path = site.baseAddress() + "ckis/" + name + "/"},
                     "Steam=>http://" + name + "/;;Gog=>https://" + name + "/;;");
    };
    const auto bee = inCatalogue(21, "Bee"), ay = inCatalogue(22, "Ay");
    const std::string beePath = installed("Bee", 31), ayPath = installed("Ay", 32);
    const auto localBee = NSGameData::initWithPath(beePath), localAy = NSGameData::initWithPath(ayPath);
    const auto item = [&](const std::string& title) {
        for (const auto& each : page->moreMenu()) {
            if (each.title == title) return each.action;
        }
        ADD_FAILURE() << "no " << title;
        return std::function<void()>();
    };
    const auto choose = [&](const char* source, const char* button) {
        ui.expect("Select the game version you already own").answer(source);
        ui.expect("If you never installed a game").answer(button);
    };
    struct Row {
        const char* name;
        NSDescriptionView::Game shown, other;  ///< whatever is asked, the page shows the other one meanwhile
        std::function<std::function<void()>()> action;
        std::function<void()> script, check;
    };
    const Row rows[] = {{"install", bee, ay, [&] { return [&] { page->clickAction(); }; },
                         [&] {
                             ui.expect("Read the license agreement").answer("I Agree");
                             choose("GOG", "Install Now");
                             ui.expectSave("Create Port at...", games + "New.app");
                             ui.expect("The informed file isn't available.").answer("No");
                             ui.expectError("The CKI download failed for some unknown reason!");
                         },
                         [&] {
                             EXPECT_EQ(ui.savePanels.back().proposedName, "Bee");
                             EXPECT_EQ(asked("/ckis/download.php?id=21&type=GOG"), 1);
                             EXPECT_EQ(asked("/ckis/download.php"), 1);
                         }},
                        {"buy", bee, ay, [&] { return item("Install"); },
                         [&] {
                             ui.expect("Read the license agreement").answer("I Agree");
                             choose("Steam", "Buy");
                         },
                         [&] { EXPECT_EQ(ui.opened, Names{"http://Bee/"}); }},
                        {"save the port file", bee, ay, [&] { return item("Download CKI"); },
                         [&] {
                             ui.expectSave("Save CKI at...", home + "/mine.cki");
                             ui.expect("The informed file isn't available.").answer("No");
                             ui.expectError("The CKI download failed for some unknown reason!");
                         },
                         [&] { EXPECT_EQ(asked("/ckis/Bee/Steam.cki"), 1); }},
                        {"mod", localBee, localAy, [&] { return item("Install Mod/Patch"); },
                         [&] {
                             ui.expectChoice("Select the Mod/Patch file(s) and/or folder(s)", {home});
                             ui.expectChoice("Select the destination", {});
                         },
                         [&] { EXPECT_TRUE(ui.openPanels.back().startFolder.starts_with(beePath)); }},
                        {"remove", localBee, localAy, [&] { return item("Remove"); },
                         [&] {
                             ui.expect("Do you want to remove that app only").answer("Remove from Disk");
                             ui.expect("Are you sure that you want to move").answer("Yes");
                         },
                         [&] {
                             EXPECT_FALSE(exists(beePath));
                             EXPECT_TRUE(exists(ayPath));
                             EXPECT_EQ(events.back(), "removed " + beePath);
                             EXPECT_EQ(page->gameData(), localAy);
                         }}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        show(row.shown);
        const auto action = row.action();
        const bool isMenu = std::string(row.name) != "install";
        if (isMenu) show(row.other);
        row.script();
        ui.whileAsking = [&] {
            page->setGameData(row.other, {});
            machine->mainQueue.drain();
        };
        action();
        settle();
        ui.whileAsking = {};
        row.check();
    }
}

TEST_F(DescriptionView, ChoosesThePlace) {
    const std::string base = installed("Base", 3), elsewhere = installed("Elsewhere", 4);
    put(games + "Taken.app/save.dat", "saved");
    constexpr const char* save = "Create Port at...";
    constexpr const char* open = "Install at Port...";
    struct Row {
        std::string name;
        bool automatic;
        std::int64_t dependency;
        std::vector<const char*> panels;
        std::string proposal, chosen;
    };
    const std::string none;
    const Row rows[] = {{"A: Game", true, 0, {}, "", none},
                        {"A: Game", false, 0, {save}, "A - Game", none},
                        {"Taken", true, 0, {save}, "Taken", none},
                        {"../up", true, 0, {save}, "-up", none},
                        {std::string("nul\0x", 5), false, 0, {save}, "nulx", none},
                        {"Add-on", true, 3, {}, "", none},
                        {"Add-on", true, 5, {open, open}, "", none},
                        {"Add-on", false, 3, {open, open}, "", elsewhere},
                        {"Add-on", false, 3, {open}, "", base}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ui.savePanels.clear();
        settings::store(settings::automaticFolderSave, row.automatic);
        CatalogueLine line{.id = 9, .name = row.name};
        if (row.dependency != 0) line.dependencyID = row.dependency;
        show(entry(line));
        ui.expect("If you never").answer("Install Now");
        for (std::size_t at = 0; at < row.panels.size(); ++at) {
            const bool isLast = at + 1 == row.panels.size() && !row.chosen.empty();
            if (row.panels[at] == save) ui.expectSave(save, "");
            if (row.panels[at] == open) ui.expectChoice(open, isLast ? Names{row.chosen} : Names{});
        }
        // The port file is nowhere: nothing more is asked.
        const bool goesOn = row.panels.empty() || !row.chosen.empty();
        if (goesOn) {
            ui.expect("The informed file isn't available.").answer("No");
            ui.expectError("The CKI download failed for some unknown reason!");
        }
        page->installation().chooseDownloadSource(page->gameData());
        settle();
        EXPECT_EQ(ui.savePanels.empty() ? "" : ui.savePanels.back().proposedName, row.proposal);
    }
    NSValidPortDelegate valid(3);
    EXPECT_TRUE(valid.shouldEnable(base) && valid.shouldEnable(games) && !valid.shouldEnable(elsewhere));
    valid.anyCaskeryPortAllowed = true;
    EXPECT_TRUE(valid.shouldEnable(elsewhere) && !valid.shouldEnable(games + "Taken.app"));
    EXPECT_EQ(get(games + "Taken.app/save.dat"), "saved");
    EXPECT_EQ(validPortWithGameID(3), base);
    EXPECT_EQ(validPortWithGameID(1), std::nullopt);
}

TEST_F(DescriptionView, PortFilesPassThroughAFolderOfTheirOwn) {
    for (const char* source : {"../../x", "a/b", ""}) {
        ui.expectError("");
        const auto cki = pathForDownloadedCkiOfSource(source + std::string(*source == 0, '\n'));
        EXPECT_FALSE(cki) << source;
    }
    {
        const auto first = pathForDownloadedCkiOfSource("GOG");
        const auto second = pathForDownloadedCkiOfSource("GOG");
        ASSERT_TRUE(first && second);
        EXPECT_EQ(first->path, first->folder.path() + "/GOG.cki");
        EXPECT_NE(first->path, second->path);
    }
    EXPECT_TRUE(fs::is_empty(temporary));
    fs::remove(temporary);
    fs::create_directory_symlink(home, temporary);
    ui.expectError("Error while creating folder: " + temporary);
    EXPECT_FALSE(pathForDownloadedCkiOfSource("GOG"));
}

TEST_F(DescriptionView, InstallsAGameAndKeepsWhatItReplacesUntilThen) {
    putSharedVerbScript();
    const auto publish = [&] {
        testing::publishMasterWrapper(
            site, {.onPrefixCreate = "mkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
                                     "for exe in game edit; do echo MZ > "
                                     "\"$wrapper/Contents/Resources/drive_c/Game/$exe.exe\"; done\n"});
    };
    publish();
    testing::publishEngines(site, {"CK9Wine3.0"});
    putEngine();
    const std::string target = games + "Mine.app", save = target + "/save.dat";
    put(save, "saved");
    show(entry({.id = 21, .name = "Half Life"}, "Steam=>http://shop/;;Gog=>https://gog/;;"));
    const auto install = [&] {
        ui.expect("Select the game version you already own").titleIs("Choose a source").answer("GOG");
        ui.expect("If you never").answer("Install Now");
        ui.expectSave("Create Port at...", target);
    };
    // A place that is named beforehand is no leave to replace what is there.
    ui.expect("Select the game version you already own").answer("GOG");
    ui.expect("If you never").answer("Install Now");
    ui.expect("There is already something at " + target).defaultIs("No").answer("No");
    page->installation().chooseDownloadSource(page->gameData(), target);
    settle();
    EXPECT_EQ(asked("/ckis/download.php"), 0);
    for (const char* body : {"<html>404</html>", "damaged"}) {
        site.answer("/ckis/download.php", {.body = body});
        install();
        ui.expectError("");
        page->installation().chooseDownloadSource(page->gameData());
        settle();
        EXPECT_EQ(get(save), "saved") << body;
    }
    const Array exes{Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}},
                     Dictionary{{"name", "Editor"}, {"path", "C:/Game/edit.exe"}}};
    const Dictionary port{
        {"Engine", "CK9Wine3.0"}, {"Creator", "Me"}, {"Creator Mail", "me@there"}, {"EXEs", exes}};
    site.answer("/ckis/download.php", {.body = get(cki(port))});
    // A creation that is cancelled gives the place back.
    site.answer("/Wrapper/Caskery-2.6.2.app.tar.7z", {.body = "x", .announcedLength = 9, .stall = true});
    install();
    ui.expect("Cancelling will stop").answer("Yes");
    ui.expectError("Cancelled");
    bool pressed = false;
    machine->mainQueue.every(std::chrono::milliseconds(2), [&] {
        if (!pressed && exists(target + ".morvane-replaced") && asked("/Wrapper/Caskery") > 0) {
            pressed = true;
            EXPECT_TRUE(progress->cancel());
        }
    });
    page->installation().chooseDownloadSource(page->gameData());
    settle();
    EXPECT_EQ(get(save), "saved");
    EXPECT_FALSE(progress->cancel()) << "there is nothing to cancel any more";

    publish();
    install();
    page->installation().chooseDownloadSource(page->gameData());
    settle();
    EXPECT_EQ(asked("/ckis/download.php?id=21&type=GOG"), 4);
    EXPECT_FALSE(exists(save));
    EXPECT_FALSE(exists(target + ".morvane-replaced"));
    EXPECT_EQ(added, target);
    EXPECT_EQ(page->selectedGamePath(), target);
    EXPECT_EQ(page->page().actionTitle, "PLAY");
    EXPECT_EQ(NSGameData::getIdentifierOfGameAtPath(target), 21);
    EXPECT_EQ(NSGameData::getIdentifierOfGameAtPath(target + "/Editor.app"), 21);
}

TEST_F(DescriptionView, InstallsModsAndAsksForEachClash) {
    const std::string path = installed("Game", 7), drive = path + "/Contents/Resources/drive_c/";
    const std::string mods = home + "/mods/";
    put(drive + "Data/a.txt", "old a");
    put(drive + "Data/b.txt", "old b");
    put(drive + "file", "a file");
    for (const char* name :
         {"Data/a.txt", "Data/b.txt", "Data/deep/c.txt", "Data/.hidden", "file/x", "patch.exe"})
        put(mods + name, "new");
    const auto install = [&](const Names& names) {
        Names paths;
        for (const std::string& name : names) paths.push_back(mods + name);
        ui.expectChoice("Select the Mod/Patch file(s) and/or folder(s)", paths);
        const bool asks = names != Names{"patch.exe"};
        if (asks) ui.expectChoice("Select the destination", {drive});
        if (names.front() == "Data") {
            const std::string clash = "Data folder. Do you want to replace it?";
            ui.expect("There is already a file called a.txt in the " + drive + clash)
                .titleIs("Warning")
                .defaultIs("No")
                .answer("No");
            ui.expect("There is already a file called b.txt in the " + drive + clash).answer("Yes");
        }
        if (names.back() == "file") ui.expectError("file can't be copied to ");
        std::optional<bool> installed;
        installModPatchAtWrapper(path, [&](bool done) { installed = done; });
        EXPECT_EQ(installed, std::nullopt) << "nothing is done while the main thread waits";
        settle();
        EXPECT_EQ(installed, names.back() != "file");
    };
    install({"Data", "file"});
    EXPECT_EQ(get(drive + "Data/a.txt"), "old a");
    EXPECT_EQ(get(drive + "Data/b.txt"), "new");
    EXPECT_EQ(get(drive + "file"), "a file");
    EXPECT_EQ(namesIn(drive + "Data"), (Names{"a.txt", "b.txt", "deep"}));
    install({"patch.exe"});
    EXPECT_EQ(ran(), "Caskery " + mods + "patch.exe\n");
    testing::runTool(mods, {"/usr/bin/7za", "a", "pack.zip", "./Data/deep"});
    fs::rename(mods + "pack.zip", mods + "pack.ZIP");
    install({"pack.ZIP"});
    EXPECT_EQ(namesIn(drive), (Names{"Data", "deep", "file"})) << "unpacked from where it lies";
    EXPECT_TRUE(exists(mods + "pack.ZIP"));
    ui.expectError(drive + "Data can't be copied onto itself.");
    EXPECT_FALSE(copyFiles({drive + "Data"}, drive));
    EXPECT_EQ(get(drive + "Data/b.txt"), "new");
}

TEST_F(DescriptionView, AModThatCannotBeCopiedLeavesTheOldFile) {
    const std::string drive = installed("Game", 7) + "/Contents/Resources/drive_c/",
                      mod = home + "/mods/a.txt";
    put(drive + "a.txt", "old");
    put(mod, "new");
    ui.expect("There is already a file called a.txt").answer("Yes");
    ui.expectError("Error while copying file: ");
    ui.whileAsking = [&] { fs::remove(mod); };  // gone between the question and the copy
    EXPECT_FALSE(copyFiles({mod}, drive));
    EXPECT_EQ(get(drive + "a.txt"), "old");
    EXPECT_EQ(namesIn(drive), Names{"a.txt"});
}

}  // namespace
}  // namespace morvane
