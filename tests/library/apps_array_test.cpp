#include "library/apps_questions.h"

#include <algorithm>
#include <filesystem>

#include "foundation/tasks.h"
#include "foundation/text.h"
#include "library/library_machine.h"
#include "platform/property_list.h"

namespace morvane {
namespace {

class Library : public testing::LibraryMachine {
  protected:
    void load(NSAppsArray& array) {
        complete([&](auto done) { array.loadLocalAppsBlock(std::move(done)); });
    }
    void store(std::initializer_list<const char*> names) {
        Array list;
        for (const std::string name : names) {
            list.push_back(Dictionary{{"Name", name}, {"Path", applications + name + ".app"}});
        }
        settings::store(settings::appList, list);
    }
    NSAppsArray apps;
};

TEST_F(Library, TheFirstScanFindsEachThingOnceAtAnyDepth) {
    makeWrapper(applications + "Games.localized/b.app", "beta");
    put(applications + "Games.localized/b.app/Level Editor.app/Contents/MacOS/CustomEXE", "");
    put(applications + "Games.localized/b.app/notes/readme", "");
    makeWrapper(applications + "Games.localized/b.app/Contents/Inner.app");
    makeWrapper(applications + "one/two/Alpha.app");
    setPlist(applications + "one/two/Alpha.app", {{"CFBundleName", ""}});
    makeWrapper(applications + "DOS.boxer/Gamma.app");
    put(applications + "Native.app/Contents/MacOS/Native", "");
    put(applications + "Native.app/Data/file", "");
    ASSERT_TRUE(files::createSymbolicLink(applications + "a circle", applications));
    ASSERT_TRUE(files::createSymbolicLink(applications + "one/two/another", "../.."));
    ASSERT_TRUE(files::createSymbolicLink(applications + "dangling", "nowhere"));
    makeWrapper(applications + "bad\xFFname/Lost.app");

    const std::string notTheirs = folder.path + "/elsewhere/";
    makeWrapper(notTheirs + "Delta.app");
    ASSERT_TRUE(files::createSymbolicLink(applications + "link", notTheirs));
    load(apps);
    EXPECT_EQ(settings::stored(settings::mainFolder),
              Value(Array{applications + "Games.localized/", applications}));
    const Lines expected{"Alpha=one/two/Alpha.app",   "beta=Games.localized/b.app",
                         "Delta=link/Delta.app",      "DOS=DOS.boxer",
                         "Gamma=DOS.boxer/Gamma.app", "Level Editor=Games.localized/b.app/Level Editor.app"};
    EXPECT_EQ(shown(apps.localAppsArray()), expected);
    EXPECT_EQ(stored(), expected);
}

TEST_F(Library, ItemsAreAddedRemovedMovedAndRefreshed) {
    store({"b", "c"});
    const std::string wrapper = applications + "a.app";
    makeWrapper(wrapper, "Zeta");
    put(wrapper + "/tool.app/Contents/MacOS/CustomEXE", "");
    apps.addLocalPort(wrapper + "/", {});
    EXPECT_EQ(stored(), (Lines{"b=b.app", "c=c.app", "Zeta=a.app", "tool=a.app/tool.app"}));
    put(wrapper + "/new.app/Contents/MacOS/CustomEXE", "");
    apps.addLocalPort(wrapper, {});
    EXPECT_EQ(stored(),
              (Lines{"b=b.app", "c=c.app", "Zeta=a.app", "tool=a.app/tool.app", "new=a.app/new.app"}));

    settings::store(settings::autoOrderAppsList, 0);
    apps.moveLocalPortAtIndex(4, 0);
    apps.moveLocalPortAtIndex(0, 5);
    EXPECT_EQ(stored(),
              (Lines{"new=a.app/new.app", "b=b.app", "c=c.app", "Zeta=a.app", "tool=a.app/tool.app"}));
    EXPECT_FALSE(settings::stored(settings::autoOrderAppsList));

    setPlist(wrapper, {{"CFBundleName", "Eta"}});
    apps.refreshLocalPortAtPath(wrapper, CustomEXE::no);
    apps.refreshLocalPortAtPath(applications + "unknown.app", CustomEXE::no);
    apps.removeLocalPort(applications + "unknown.app", {});
    apps.removeLocalPort(applications + "b.app", {});
    EXPECT_EQ(stored(), (Lines{"new=a.app/new.app", "c=c.app", "Eta=a.app", "tool=a.app/tool.app"}));
    EXPECT_EQ(shown(apps.localAppsArray()), stored());

    settings::store(settings::autoOrderAppsList, 0);
    complete([&](auto done) { apps.addLocalPort(applications + "D.boxer", std::move(done)); });
    EXPECT_EQ(stored(),
              (Lines{"c=c.app", "D=D.boxer", "Eta=a.app", "new=a.app/new.app", "tool=a.app/tool.app"}));
    EXPECT_EQ(shown(apps.caskeryWrappersInLocalTab()), Lines{"Eta=a.app"});
}

TEST_F(Library, TwoProcessesLoseNoEntry) {
    store({"a", "b", "c"});
    NSAppsArray other;
    load(apps);
    load(other);
    other.addLocalPort(applications + "theirs.app", {});
    apps.addLocalPort(applications + "mine.app", {});
    EXPECT_EQ(stored(), (Lines{"a=a.app", "b=b.app", "c=c.app", "theirs=theirs.app", "mine=mine.app"}));
    other.removeLocalPort(applications + "b.app", {});
    apps.moveLocalPortAtIndex(4, 0);
    EXPECT_EQ(stored(), (Lines{"mine=mine.app", "a=a.app", "c=c.app", "theirs=theirs.app"}));

    // An order that was never stored does not bring back what the other has removed.
    complete([&](auto done) { apps.reorderLocalAppsArrayBy(orderByName, SavingOrder::no, std::move(done)); });
    other.removeLocalPort(applications + "a.app", {});
    other.addLocalPort(applications + "d.app", {});
    apps.removeLocalPort(applications + "c.app", {});
    EXPECT_EQ(stored(), (Lines{"mine=mine.app", "theirs=theirs.app", "d=d.app"}));

    // Settings that are lost take nothing along that is known here, nor does a scan lose what comes
    // meanwhile.
    other.saveLocalAppList();
    settings::store(settings::appList, std::nullopt);
    other.addLocalPort(applications + "e.app", {});
    EXPECT_EQ(stored(), (Lines{"mine=mine.app", "theirs=theirs.app", "d=d.app", "e=e.app"}));
    makeWrapper(applications + "found.app");
    settings::store(settings::appList, std::nullopt);
    complete([&](auto done) {
        apps.loadLocalAppsForTheFirstTimeBlock(std::move(done));
        store({"z"});
    });
    EXPECT_EQ(stored(), (Lines{"found=found.app", "z=z.app"}));
}

TEST_F(Library, RemovesFromTheDiskWhatIsAnAppOnly) {
    const std::string outside = folder.path + "/outside.app";
    put(outside + "/save", "precious");
    put(home + "/precious", "");
    put(applications + "real.app/Contents/file", "");
    put(applications + "kept.app/file", "");
    ASSERT_TRUE(files::createSymbolicLink(applications + "real.app/out", outside));
    ASSERT_TRUE(files::createSymbolicLink(applications + "link.app", outside));
    ASSERT_TRUE(files::createSymbolicLink(folder.path + "/way.app", home));
    const std::string disk = "Remove from Disk";
    struct Row {
        std::string path, button, sure;
        bool refused, runs, stays;
    } const rows[] = {{applications + "kept.app", "List Only", "", false, true, true},
                      {applications + "kept.app", "Cancel", "", false, false, true},
                      {applications + "kept.app", disk, "No", false, false, true},
                      {applications + "real.app", disk, "Yes", false, true, false},
                      {applications + "link.app", disk, "Yes", false, true, false},
                      {applications + "gone.app", disk, "Yes", false, true, false},
                      {home, disk, "Yes", true, true, true},
                      {applications, disk, "Yes", true, true, true},
                      {applications + "x/../../.app", disk, "Yes", true, true, false},
                      {applications + "../../outside.app", disk, "Yes", true, true, true},
                      {"outside.app", disk, "Yes", true, true, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        ui.expect("Do you want to remove that app")
            .titleIs("Remove App")
            .defaultIs("List Only")
            .answer(row.button);
        if (!row.sure.empty())
            ui.expect("Are you sure that you want to").titleIs("Warning").defaultIs("No").answer(row.sure);
        if (row.refused) ui.expectError("\"" + row.path);
        bool ran = false;
        apps_questions::shouldRemoveLocalPort(row.path, [&] { ran = true; });
        onWorker([&] { machine->workQueues.joinAll(); });
        EXPECT_EQ(ran, row.runs);
        EXPECT_EQ(files::kindOf(row.path) != files::Kind::none, row.stays);
    }
    EXPECT_EQ(get(outside + "/save"), "precious");
    EXPECT_EQ(files::kindOf(home + "/precious"), files::Kind::file);
    EXPECT_EQ(files::kindOf(home + "/.local/share/Trash/files/real.app/out"), files::Kind::link);
}

TEST_F(Library, RemovesForEverOnlyWhatIsMeantSo) {
    const std::string item = applications + "Game.app", data = home + "/.local";
    const std::string forEver = "Are you sure that you want to remove that app permanently";
    const struct {
        const char* name;
        RemovedFrom from;
        bool hasTrash;
        const char* sure;
        bool stays, inTrash;
    } rows[] = {{"for ever", RemovedFrom::diskPermanently, true, "Yes", false, false},
                {"into the trash", RemovedFrom::disk, true, "", false, true},
                {"no trash, refused", RemovedFrom::disk, false, "No", true, false},
                {"no trash, meant", RemovedFrom::disk, false, "Yes", false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(data);
        if (!row.hasTrash) put(data + "/share/Trash", "a file in the way");
        put(item + "/save", std::string(2000, 'x'));
        std::optional<Removal> removal;
        if (row.from == RemovedFrom::disk)
            ui.expect("Are you sure that you want to move that app (").titleIs("Warning").answer("Yes");
        if (*row.sure != 0)
            ui.expect(row.hasTrash ? forEver : "The trash can't take that app").answer(row.sure);
        apps_questions::removeFrom(row.from, item, [&](const Removal& made) { removal = made; });
        onWorker([&] { machine->workQueues.joinAll(); });
        EXPECT_EQ(files::kindOf(item) != files::Kind::none, row.stays);
        EXPECT_EQ(removal.has_value(), !row.stays);
        EXPECT_EQ(removal && removal->inTrash, row.inTrash);
        if (row.inTrash) {
            EXPECT_GE(removal->bytes, 2000U);
        }
    }
}

TEST_F(Library, AWrapperTakesAlongWhatLayInItAndTheLinksToThat) {
    const std::string wrapper = applications + "RPG/Game.app", away = folder.path + "/Game.app";
    makeWrapper(wrapper);
    for (const char* name : {"Tool.app", "Editor.app"})
        put(wrapper + "/" + name + "/Contents/MacOS/CustomEXE", "");
    put(applications + "Other.app/Tool.app/Contents/MacOS/CustomEXE", "");
    std::filesystem::create_directories(home + "/elsewhere");
    const std::pair<std::string, std::string> links[] = {
        {applications + "RPG/Tool.app", "Game.app/Tool.app"},
        {applications + "top.app", "RPG/../RPG/Game.app/Editor.app"},
        {applications + "whole.app", wrapper + "/Editor.app"},
        {applications + "to it.app", "RPG/Game.app"},
        {applications + "deep/dead.app", "../RPG/Game.app/none"},
        {applications + "alive.app", "Other.app/Tool.app"},
        {applications + "dead.app", "Game.app/Tool.app"},
        {applications + "twin.app", "RPG/Game.app2/Tool.app"},
        {home + "/elsewhere/Tool.app", wrapper + "/Tool.app"}};
    std::filesystem::create_directories(applications + "deep");
    for (const auto& [link, target] : links) ASSERT_TRUE(files::createSymbolicLink(link, target));
    load(apps);
    for (const char* name : {"top.app", "alive.app", "dead.app"}) apps.addLocalPort(applications + name, {});
    const std::size_t all = stored().size();
    EXPECT_EQ(all, 9U) << "by the link to it, too";

    // From the list only: it is still there, and so is all that lies in it.
    apps.removeLocalPort(wrapper, {});
    EXPECT_EQ(stored().size(), all - 1);
    apps.addLocalPort(wrapper, {});
    ui.expect("Do you want to remove that app only").answer("Remove from Disk");
    ui.expect("Are you sure that you want to move that app (").answer("Yes");
    complete([&](auto done) {
        apps_questions::shouldRemoveLocalPort(wrapper, [&, done] { apps.removeLocalPort(wrapper, done); });
    });
    EXPECT_EQ(stored(), (Lines{"alive=alive.app", "dead=dead.app"}));
    Lines left;
    for (const auto& [link, target] : links) {
        if (files::kindOf(link) == files::Kind::link) left.push_back(files::lastComponent(link));
    }
    EXPECT_EQ(left, (Lines{"dead.app", "alive.app", "dead.app", "twin.app", "Tool.app"}));
}

TEST_F(Library, AScanFindsAgainWhatWasMoved) {
    const std::string old = applications + "Game.app", now = applications + "RPG/Mine.app";
    makeWrapper(old, "The Game");
    put(old + "/Tool.app/Contents/MacOS/CustomEXE", "");
    ASSERT_TRUE(files::createSymbolicLink(applications + "Tool.app", "Game.app/Tool.app"));
    makeWrapper(applications + "Twin.app", "The Game");
    put(applications + "D.boxer/file", "");
    const std::string copied = applications + "Copied.app";
    makeWrapper(copied, "Copied");
    load(apps);
    apps.addLocalPort(applications + "Tool.app", {});
    apps.addLocalPort(applications + "gone.app", {});
    const auto place = [&](const std::string& line) {
        const auto lines = stored();
        return std::ranges::find(lines, line) - lines.begin();
    };
    apps.moveLocalPortAtIndex(static_cast<std::size_t>(place("The Game=Game.app")), 0);
    const auto before = stored();

    std::filesystem::create_directories(applications + "RPG");
    std::filesystem::rename(old, now);
    std::filesystem::rename(applications + "D.boxer", applications + "RPG/E.boxer");
    // To another file system, as far as a test can: an item of its own.
    std::filesystem::copy(copied, applications + "RPG/Copied.app", std::filesystem::copy_options::recursive);
    std::filesystem::remove_all(copied);
    makeWrapper(applications + "RPG/A new one.app");
    EXPECT_TRUE(local_items::isMissing(old));
    complete([&](auto done) { apps.scanAgain(std::move(done)); });

    Lines expected = before;
    const auto moved = [&](const char* from, const char* to) {
        std::ranges::replace(expected, std::string(from), std::string(to));
    };
    moved("The Game=Game.app", "The Game=RPG/Mine.app");
    moved("Tool=Game.app/Tool.app", "Tool=RPG/Mine.app/Tool.app");
    moved("Tool=Tool.app", "Tool=RPG/Tool.app");
    moved("D=D.boxer", "E=RPG/E.boxer");
    moved("Copied=Copied.app", "Copied=RPG/Copied.app");
    expected.emplace_back("A new one=RPG/A new one.app");
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(files::kindOf(applications + "Tool.app"), files::Kind::none);
    EXPECT_EQ(files::kindBehind(applications + "RPG/Tool.app"), files::Kind::folder);
    complete([&](auto done) { apps.scanAgain(std::move(done)); });
    EXPECT_EQ(stored(), expected);

    // Where no scan sees it the user does; what nobody finds leaves no links either.
    const std::string outside = home + "/Mine.app";
    std::filesystem::rename(now, outside);
    ui.expect("Your app isn't").answer("Locate the App");
    ui.expectChoice("Select the new application", {outside});
    EXPECT_EQ(apps_questions::askAboutMissingApp(apps, now, {}, {}), Lines{outside});
    EXPECT_EQ(files::kindOf(applications + "RPG/Tool.app"), files::Kind::none);
    EXPECT_EQ(files::kindBehind(home + "/Tool.app"), files::Kind::folder);
    ASSERT_TRUE(files::createSymbolicLink(applications + "Tool.app", "gone.app/Tool.app"));
    ui.expect("Your app isn't").answer("Remove it");
    apps_questions::askAboutMissingApp(apps, applications + "gone.app", {}, {});
    EXPECT_EQ(files::kindOf(applications + "Tool.app"), files::Kind::none);
}

TEST_F(Library, WhatWasAwayForAWhileIsKnownAgain) {
    const std::string away = home + "/away.app", now = applications + "Other.app";
    makeWrapper(applications + "Game.app", "Game");
    load(apps);
    std::filesystem::rename(applications + "Game.app", away);
    complete([&](auto done) { apps.scanAgain(std::move(done)); });
    apps.addLocalPort(applications + "D.boxer", {});
    std::filesystem::rename(away, now);
    setPlist(now, {{"CFBundleName", "Renamed"}});
    complete([&](auto done) { apps.scanAgain(std::move(done)); });
    EXPECT_EQ(stored(), (Lines{"Renamed=Other.app", "D=D.boxer"})) << "in its place";
}

TEST_F(Library, AMessedUpSettingsFileIsToldOnceAndScannedAnew) {
    makeWrapper(applications + "a.app");
    put(machine->defaults.path(), "<plist><dict><key>cut");
    ui.expect("Your settings were damaged, and are back at their defaults. The damaged file is kept at " +
              machine->defaults.path() + ".damaged.")
        .titleIs("Warning");
    EXPECT_TRUE(machine->defaults.set("any", 1));
    load(apps);
    EXPECT_EQ(stored(), Lines{"a=a.app"});
}

TEST_F(Library, NothingIsCalledOnceItIsGone) {
    auto brief = std::make_unique<NSAppsArray>();
    brief->loadLocalAppsForTheFirstTimeBlock([] { FAIL(); });
    brief.reset();
    machine->workQueues.joinAll();
    machine->mainQueue.drain();
    EXPECT_FALSE(settings::stored(settings::appList));
}

}  // namespace
}  // namespace morvane
